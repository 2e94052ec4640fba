// The catalogs that stand where the library looks, and the check that keeps bad ones out.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "common/libs/kvolocalise/format.h"
#include "common/libs/kvolocalise/messages.h"
#include "kvolocalise.h"
#include "support/await.h"

namespace {

TEST(Localise, OpensTheCatalogOfTheLanguage) {
  const std::string english = "en_US.UTF-8";
  const std::string cases[][3] = {
      // LANG, a text, LANG afterwards
      {english, "_Cancel", english},
      {"de_DE.UTF-8", "_Abbrechen", "de_DE.UTF-8"},
      {"fr", "A_nnuler", "fr"},
      {"zh_CN.UTF-8", "取消(_C)", "zh_CN.UTF-8"},
      {"C", "_Cancel", english},
      {"", "_Cancel", english},
      {"tlh_KX.UTF-8", "_Cancel", english},
      {"../qmz/de", "_Cancel", english},
  };
  // No catalog, and whoever opened it would wait.
  std::filesystem::create_directory("/opt/Brelka/AVK/qmz/de_DE");
  ASSERT_EQ(mkfifo("/opt/Brelka/AVK/qmz/de_DE/strings.cat", 0600), 0);
  for (const auto& [lang, cancel, afterwards] : cases) {
    setenv("LANG", lang.c_str(), 1);
    ASSERT_EQ(KvoLocaliseInit(), 1);
    EXPECT_EQ(KvoLocalise(YRAFT_ENG_BUTTON_CANCEL), cancel);
    EXPECT_EQ(getenv("LANG"), afterwards);
    setenv("NLSPATH", "untouched", 1);
    EXPECT_EQ(KvoLocaliseInit(), 1);  // open already: nothing changes
    EXPECT_STREQ(getenv("NLSPATH"), "untouched");
    KvoLocaliseShutdown();
  }
  std::filesystem::rename("/opt/Brelka/AVK/qmz/en", "/opt/Brelka/AVK/qmz/away");
  EXPECT_EQ(KvoLocaliseInit(), 0);
  EXPECT_STREQ(KvoLocalise(YRAFT_ENG_BUTTON_CANCEL), "Message catalog is not open.");
  std::filesystem::rename("/opt/Brelka/AVK/qmz/away", "/opt/Brelka/AVK/qmz/en");
}

TEST(Localise, PrintsALineAndItsNewline) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(KvoPrint("%d files", 3), '\n');
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "3 files\n");
  testing::internal::CaptureStderr();
  EXPECT_EQ(KvoPrintError("%s", "100%"), '\n');
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "100%\n");
}

TEST(Format, FitsOnlyTextsThatTakeExactlyTheirArguments) {
  for (const char* text : {"%d", "%d %%", "%i%%%%", "%03d", "%-+5.2d", "%1$d", "a %1$3d%% b"}) {
    EXPECT_TRUE(KvoLocaliseFormatFits(text, "d")) << text;
  }
  for (const char* text : {"%s %d of %d: %s", "%4$s: %2$d/%3$d (%1$s)", "%.9s%d%d%s"}) {
    EXPECT_TRUE(KvoLocaliseFormatFits(text, "sdds")) << text;
  }
  for (const char* text :
       {"",        "%",         "%%",      "%%d",   "%d %d", "%s",   "%n",    "%*d",
        "%.*d",    "%ld",       "%hhd",    "%x",    "%c",    "%d %", "%0$d",  "%2$d",
        "%1$d %d", "%1$d %1$d", "%99999d", "%d %n", "%1$n",  "%'d",  "% d %s"}) {
    EXPECT_FALSE(KvoLocaliseFormatFits(text, "d")) << text;
  }
  EXPECT_FALSE(KvoLocaliseFormatFits("%s %d of %s: %d", "sdds"));
  EXPECT_FALSE(KvoLocaliseFormatFits("%1$s %2$d %4$s", "sdds"));
  EXPECT_FALSE(KvoLocaliseFormatFits("%1$s %2$d %2$d %4$s", "sdds"));
  EXPECT_FALSE(KvoLocaliseFormatFits(nullptr, "d"));
}

// Compiles a changed English catalog as the build does; answers whether the check lets it pass.
bool Passes(const std::string& from, const std::string& to) {
  std::string text = Contents(CATALOG_SOURCE);
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  text.replace(at, from.size(), to);
  const std::string folder = testing::TempDir();
  std::ofstream(folder + "changed.msg") << text;
  const std::string catalog = folder + "changed.cat";
  std::filesystem::remove(catalog);
  const std::string command = "LC_ALL=C.UTF-8 gencat " + catalog + " " + folder +
                              "changed.msg 2>/dev/null && " CATALOG_CHECK " " + catalog +
                              " 2>/dev/null";
  return system(command.c_str()) == 0;
}

TEST(CatalogCheck, RefusesCatalogsThatTheDialogsCouldNotUse) {
  EXPECT_TRUE(Passes("_Cancel", "Stop"));
  EXPECT_FALSE(Passes("_Cancel", "Sto_p"));
  EXPECT_FALSE(Passes("%d%%", "%s%%"));
  EXPECT_FALSE(Passes("%s%d of %d", "%s%d of %d %n"));
  EXPECT_FALSE(Passes("\"_Cancel\"", "\"\""));
  EXPECT_FALSE(Passes("175 \"_Cancel\"", "176 \"_Cancel\""));
  EXPECT_FALSE(Passes("Cancel", "100% Cancel"));
  EXPECT_FALSE(Passes("Uploading file ", "Uploading the file no. "));
}

}  // namespace
