// Every dialog in every language: the right words, nothing cut, in the middle of a small screen.
//
// With YRA_PICTURES naming a folder, a picture of each is left there.
#include <gtk/gtk.h>

#include <filesystem>

#include "ui_fixture.h"

namespace {

class Language : public UI, public testing::WithParamInterface<std::string> {
 protected:
  void SetUp() override {
    Speak(GetParam());
    ASSERT_EQ(std::string(getenv("LANG")).rfind(GetParam(), 0), 0U) << "no catalog";
    chooser = Text("YRAFT_ENG_CHOOSE_DIALOG_TITLE");
    folderChooser = Text("YRAFT_ENG_DIRECTORY_DIALOG_TITLE");
  }
  void TearDown() override { Speak("en_US"); }

  static void Speak(const std::string& language) {
    KvoLocaliseShutdown();
    setenv("LANG", (language + ".UTF-8").c_str(), 1);
    ASSERT_EQ(KvoLocaliseInit(), 1);
  }

  // By its mnemonic, where the language's text names a letter of every keyboard.
  void Press(const std::string& title, const std::string& button) {
    const char key = button[button.find('_') + 1];
    if (button.find('_') == std::string::npos || !g_ascii_isalpha(key)) return Click(button);
    EXPECT_TRUE(With(title, [key](GtkWidget* window) {
      return gtk_window_mnemonic_activate(GTK_WINDOW(window), g_ascii_tolower(key), GDK_MOD1_MASK);
    }));
  }

  static std::string Title(int percent) {
    std::string title = Text("YRAFT_ENG_PROGRESSBAR_TITLE");
    title.replace(title.find("%d"), 2, std::to_string(percent));
    return title.erase(title.find("%%"), 1);
  }

  // The window with this title is up, looks right, and has its picture taken.
  void Look(const std::string& title, const char* name) {
    ASSERT_TRUE(Face(title)) << title;
    EXPECT_EQ(CutLabels(title), "");
    EXPECT_TRUE(user.WaitCentred(user.WaitWindow(title))) << title;
    const char* folder = getenv("YRA_PICTURES");
    if (folder == nullptr) return;
    InUI([] {
      while (gtk_events_pending()) gtk_main_iteration();
      gdk_flush();
    });
    const std::string command =
        "import -window root '" + std::string(folder) + "/" + GetParam() + "-" + name + ".png'";
    EXPECT_EQ(system(command.c_str()), 0) << command;  // NOLINT: a fixed command
  }
};

TEST_P(Language, FitsIntoEveryDialog) {
  for (const char* name : {"note.txt", "photo album.zip"}) AddFile(name, 100);
  Host host;
  host.RequestFiles();
  Look(chooser, "files");
  user.Key("Escape");
  ExpectDeclined();
  host.RequestDirectory(1);
  Look(folderChooser, "directory");
  user.Key("Escape");
  ExpectDeclined(5);

  host.Progress(YRAFT_PROGRESS_CREATE, "dir/photo album.zip", 42, 100, 122, 1234);
  Look(Title(42), "progress");
  EXPECT_EQ(LabelText(Title(42)).rfind(Text("YRAFT_ENG_TRANSFER_DOWNLOAD"), 0), 0U);
  Press(Title(42), Text("YRAFT_ENG_BUTTON_PAUSE"));
  ExpectNote(8, 7, YRAFT_OPT_STATUS_PAUSED, 122);
  ASSERT_NE(ButtonSpot(Text("YRAFT_ENG_BUTTON_RESUME")).x, -1);
  Look(Title(42), "paused");
  host.Progress(YRAFT_PROGRESS_CLOSE, "", 0, 0);  // the next one begins in the middle again
  host.Progress(YRAFT_PROGRESS_CREATE, "dir/" + std::string(251, 'W') + ".txt", 10, 100, 0, 3);
  Look(Title(10), "long");
  host.Progress(YRAFT_PROGRESS_CLOSE, "", 0, 0);
  EXPECT_TRUE(user.WaitNoWindow(Title(10)));

  const std::string box = Text("YRAFT_ENG_ERROR_DIALOG_TITLE");
  for (const char* reason : {"YRAFT_ENG_ERROR_TOO_MANY_FILES", "YRAFT_ENG_ERROR_FILE_SIZE_EXCEEDED",
                             "YRAFT_ENG_ERROR_POLICY_DISABLE"}) {
    host.Error(box, Text("YRAFT_ENG_ERROR_DIALOG_MAIN_TEXT"), Text(reason));
    Look(box, reason);
    EXPECT_EQ(LabelText(box, 1), Text(reason));
    user.Key("Escape");
    EXPECT_TRUE(user.WaitNoWindow(box));
  }
}

std::vector<std::string> Languages() {
  std::vector<std::string> languages;
  for (const auto& entry : std::filesystem::directory_iterator("/opt/Brelka/AVK/qmz")) {
    languages.push_back(entry.path().filename());
  }
  return languages;
}

INSTANTIATE_TEST_SUITE_P(All, Language, testing::ValuesIn(Languages()),
                         [](const auto& test) { return test.param; });

}  // namespace
