// yraft-host as a person uses it: real windows, real keys, real files.
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <random>
#include <set>
#include <sstream>

#include "support/await.h"
#include "support/desktop.h"
#include "support/program.h"

namespace fs = std::filesystem;

namespace {

constexpr char kOpen[] = "Select Files to Download";
constexpr char kUploadFolder[] = "Select Upload Folder";
constexpr char kProgress[] = "File transfer: ";

// How the program is started.
struct Situation {
  fs::path folder{};  // working directory; empty for the test's own
  bool display = true;
  bool ordinaryUser = false;  // file modes bind it, although the test may be root
  int columns = 0;            // of a terminal
  fs::path home{};            // where the choosers open; empty for the test's
};

class HostTest : public testing::Test {
 protected:
  HostTest() {
    char root[] = "/tmp/yra-host-XXXXXX";
    m_root = mkdtemp(root);
    setenv("XDG_CONFIG_HOME", (m_root / "config").c_str(), 1);
    for (const char* name : {"home", "files", "config"}) fs::create_directory(m_root / name);
  }
  ~HostTest() override {
    std::error_code ignored;
    fs::remove_all(m_root, ignored);
  }

  fs::path Home() const { return m_root / "home"; }
  fs::path Files() const { return m_root / "files"; }
  Program Start(std::vector<std::string> arguments, const Situation& in = {}) const {
    arguments.insert(arguments.begin(), YRAFT_HOST);
    const auto inChild = [&] {
      setenv("HOME", (in.home.empty() ? Home() : in.home).c_str(), 1);
      setenv("TERM", "xterm", 1);
      if (!in.display) unsetenv("DISPLAY");
      if (in.ordinaryUser) {
        for (const int right : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
          prctl(PR_CAPBSET_DROP, right);
        }
      }
      if (!in.folder.empty()) fs::current_path(in.folder);
    };
    return Program(std::move(arguments), inChild, in.columns);
  }
  static void ExpectEnd(Program& program, int status, const std::string& output,
                        const std::string& errors) {
    EXPECT_EQ(program.Wait(), status);
    EXPECT_EQ(program.Output(), output);
    EXPECT_EQ(program.Errors(), errors.empty() ? "" : "yraft-host: " + errors + "\n");
  }
  std::vector<std::string> Download() const { return {"download", "--to", Files()}; }
  std::vector<std::string> SlowDownload(const char* rate) const {
    return {"download", "--to", Files(), "--rate", rate};
  }

  Desktop& m_desktop = Desktop::Get();  // in front of its user
  User m_user;

 private:
  fs::path m_root;
};

// Bytes without a hole.
std::string Bytes(std::size_t size) {
  std::minstd_rand random(static_cast<unsigned>(size) + 1);
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

void Write(const fs::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

std::set<std::string> Names(const fs::path& folder) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) names.insert(entry.path().filename());
  return names;
}

using Lines = std::multiset<std::string>;

Lines LinesOf(const std::string& text, char end = '\n') {
  Lines lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line, end);) lines.insert(line);
  return lines;
}

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

void Press(const std::string& keys) {
  if (std::system(("xdotool key " + keys).c_str()) != 0) throw std::runtime_error(keys);
}

Window Shown(User& user, const std::string& titlePart) {
  for (const Window window : user.Windows()) {
    if (Contains(user.Title(window), titlePart)) return window;
  }
  return None;
}

// Presses keys until the chooser is gone. Before its list is there they choose nothing, and
// whatever comes up behind it takes no notice of them.
bool Accept(User& user, const std::string& title, const std::string& keys) {
  if (user.Face(title) == None) return false;
  int i = 0;
  return WaitUntil([&] {
    if (Shown(user, title) == None) return true;
    if (i++ % 100 == 0) Press(keys);
    return false;
  });
}

bool AcceptAllFiles(User& user, const std::string& title) {
  return Accept(user, title, "ctrl+a alt+o");
}

bool AcceptFolder(User& user, const std::string& title) { return Accept(user, title, "alt+s"); }

// ---- Transfers ---------------------------------------------------------------------------------

TEST_F(HostTest, ADownloadBringsEveryFileAndReplacesNone) {
  const std::string names[] = {"a b.txt",   "\u00fcber.txt", "line\nfeed",
                               "b\xff.bin", "empty",         std::string(251, 'x') + ".txt"};
  for (const std::string& name : names) Write(Home() / name, Bytes(name == "empty" ? 0 : 300000));
  Write(Files() / "a b.txt", "old");
  Write(Files() / names[5], "old");
  Program program = Start(Download());
  ASSERT_TRUE(AcceptAllFiles(m_user, kOpen));
  EXPECT_EQ(program.Wait(), 0) << program.Errors();

  EXPECT_TRUE(Contents(Files() / "a b.txt") == "old");
  EXPECT_TRUE(Contents(Files() / names[5]) == "old");
  EXPECT_TRUE(Contents(Files() / "a b (2).txt") == Bytes(300000));
  EXPECT_TRUE(Contents(Files() / (std::string(247, 'x') + " (2).txt")) == Bytes(300000));
  for (const std::string& name : {names[1], names[2], names[3]}) {
    EXPECT_TRUE(Contents(Files() / name) == Bytes(300000)) << name;
  }
  EXPECT_EQ(fs::file_size(Files() / "empty"), 0U);
  EXPECT_EQ(Names(Files()).size(), 8U);
  const Lines lines = LinesOf(program.Output());
  EXPECT_EQ(lines.size(), 6U);
  EXPECT_EQ(lines.count("a b.txt: 300000 bytes, kept as a b (2).txt"), 1U);
  EXPECT_EQ(lines.count("line?feed: 300000 bytes"), 1U);
  EXPECT_EQ(program.Errors(), "");
}

TEST_F(HostTest, AnUploadBringsWhatCanBeReadAndSaysWhatCannot) {
  Write(Files() / "note.txt", "new");
  Write(Files() / "[a,b]", Bytes(1000));
  Write(Home() / "note.txt", "old");
  {
    Program program =
        Start({"upload", "note.txt", "../files/note.txt", "[a,b]"}, {.folder = Files()});
    ASSERT_TRUE(AcceptFolder(m_user, kUploadFolder));
    EXPECT_EQ(program.Wait(), 0) << program.Errors();
  }
  EXPECT_TRUE(Contents(Home() / "note.txt") == "old");
  EXPECT_TRUE(Contents(Home() / "note (2).txt") == "new");
  EXPECT_TRUE(Contents(Home() / "note (3).txt") == "new");
  EXPECT_TRUE(Contents(Home() / "[a,b]") == Bytes(1000));

  Write(Files() / "secret", "secret");
  fs::permissions(Files() / "secret", fs::perms::none);
  Program program = Start({"upload", "nowhere", "secret", ".", "note.txt"},
                          {.folder = Files(), .ordinaryUser = true});
  ASSERT_TRUE(AcceptFolder(m_user, kUploadFolder));
  EXPECT_EQ(program.Wait(), 1);
  EXPECT_TRUE(Contents(Home() / "note (4).txt") == "new");
  EXPECT_EQ(Names(Home()).size(), 5U);
  EXPECT_TRUE(Contains(program.Errors(), "nowhere: cannot be opened: No such file"))
      << program.Errors();
  EXPECT_TRUE(Contains(program.Errors(), "secret: cannot be opened: Permission denied"));
  EXPECT_TRUE(Contains(program.Errors(), "is a folder, not a file"));
  EXPECT_TRUE(Contains(program.Errors(), "1 of 4 files arrived"));
}

// A transfer of a small file and a long one, interrupted during the second.
struct Ending {
  const char* keys;  // in the progress window
  int signal;
};

void PrintTo(const Ending& ending, std::ostream* stream) {
  *stream << (ending.keys != nullptr ? ending.keys : "no key") << ", signal " << ending.signal;
}

class EndedTransfer : public HostTest, public testing::WithParamInterface<Ending> {};

TEST_P(EndedTransfer, KeepsWholeFilesAndRemovesThePartialOne) {
  Write(Home() / "1", Bytes(1000));
  Write(Home() / "2", Bytes(4000000));
  Program program = Start(SlowDownload("200000"));
  ASSERT_TRUE(AcceptAllFiles(m_user, kOpen));
  const Window progress = m_user.WaitWindow(kProgress);
  ASSERT_NE(progress, None);
  // Any percentage of the second file will do; what is said of the first ends in "0%".
  ASSERT_TRUE(WaitUntil([&] { return !Contains(m_user.Title(progress), "0%"); }));
  EXPECT_EQ(Names(Files()).size(), 2U);  // the second by its temporary name
  ASSERT_NE(m_user.Face(kProgress), None);
  if (GetParam().keys != nullptr) Press(GetParam().keys);
  if (GetParam().signal != 0) program.Signal(GetParam().signal);
  ExpectEnd(program, 1, "1: 1000 bytes\n", "cancelled; 1 of 2 files arrived");
  EXPECT_EQ(Names(Files()), std::set<std::string>{"1"});
}

INSTANTIATE_TEST_SUITE_P(By, EndedTransfer,
                         testing::Values(Ending{"Tab Tab space", 0}, Ending{nullptr, SIGINT},
                                         Ending{nullptr, SIGTERM}, Ending{"Tab space", SIGINT},
                                         Ending{"Tab space Tab space", 0}));

// The progress lines of a terminal's text: each is taken back by what follows it.
std::vector<std::string> ProgressLines(const std::string& text) {
  const std::string takeBack = "\r\033[K";
  std::vector<std::string> lines;
  std::size_t start = text.find(takeBack);
  while (start != std::string::npos) {
    start += takeBack.size();
    const std::size_t end = text.find(takeBack, start);
    if (end != std::string::npos) lines.push_back(text.substr(start, end - start));
    start = end;
  }
  return lines;
}

TEST_F(HostTest, APauseHoldsAndTheProgressLineFitsTheTerminal) {
  const std::string name = "\u65e5\u672c\u8a9e " + std::string(60, 'x');
  Write(Home() / name, Bytes(1000000));
  Program program = Start(SlowDownload("500000"), {.columns = 50});
  ASSERT_TRUE(AcceptAllFiles(m_user, kOpen));
  const Window window = m_user.Face(kProgress);
  Press("Tab space");
  ASSERT_TRUE(WaitUntil([&] { return Contains(program.Output(), "KiB  paused"); }));
  const std::string title = m_user.Title(window);
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  EXPECT_EQ(m_user.Title(window), title);
  EXPECT_TRUE(program.Running());
  Press("space");
  EXPECT_EQ(program.Wait(), 0);

  EXPECT_TRUE(Contents(Files() / name) == Bytes(1000000));
  const auto lines = ProgressLines(program.Output());
  EXPECT_GE(lines.size(), 5U);
  for (const std::string& line : lines) {
    std::string ascii = line;  // a wide character has three bytes and two columns
    ascii.erase(std::remove(ascii.begin(), ascii.end(), '\xe6'), ascii.end());
    EXPECT_LE(ascii.size(), 50U) << line;
    EXPECT_EQ(line.substr(line.size() - 3), "...");
  }
  EXPECT_TRUE(Contains(program.Output(), "\r\033[K" + name + ": 1000000 bytes\r\n"));
}

TEST_F(HostTest, AFolderThatTakesNothingIsRefused) {
  Write(Home() / "1", "1");
  fs::permissions(Files(), fs::perms::owner_read | fs::perms::owner_exec);
  const std::string error = Files().string() + ": Permission denied";
  Program download = Start(Download(), {.ordinaryUser = true});
  ExpectEnd(download, 2, "", error);
  Program upload = Start({"upload", Home() / "1"}, {.ordinaryUser = true, .home = Files()});
  ASSERT_TRUE(AcceptFolder(m_user, kUploadFolder));
  ASSERT_NE(m_user.Face("File Transfer Error"), None);
  Press("Escape");
  ASSERT_NE(m_user.Face(kUploadFolder), None);  // to choose again
  Press("Escape");
  ExpectEnd(upload, 1, "", error + "\nyraft-host: nothing was chosen");
  fs::permissions(Files(), fs::perms::owner_all);
}

TEST_F(HostTest, AFullDiskTakesNoPartOfAFile) {
  ASSERT_EQ(mount("tmpfs", Files().c_str(), "tmpfs", 0, "size=1m"), 0);
  Write(Home() / "1", Bytes(2000000));
  Write(Home() / "2", Bytes(500000));
  Program program = Start(Download());
  EXPECT_TRUE(AcceptAllFiles(m_user, kOpen));
  EXPECT_EQ(program.Wait(), 1);
  EXPECT_EQ(Names(Files()), std::set<std::string>{"2"});
  EXPECT_TRUE(Contents(Files() / "2") == Bytes(500000));
  EXPECT_TRUE(Contains(program.Errors(), "/1: cannot be written: No space left on device"));
  EXPECT_TRUE(Contains(program.Errors(), "1 of 2 files arrived"));
  umount(Files().c_str());
}

// ---- One-call dialogs --------------------------------------------------------------------------

TEST_F(HostTest, WhatWasChosenIsPrintedForPeopleAndForScripts) {
  Program directory = Start({"pick-directory"});
  ASSERT_TRUE(AcceptFolder(m_user, "Upload To"));
  ExpectEnd(directory, 0, Home().string() + "\n", "");

  for (const char* name : {"a b", "line\nfeed", "b\xff"}) Write(Home() / name, "123");
  const std::string home = Home();
  const auto output = [&](const char* format) {
    Program program = Start({"pick-files", "--max-files", "3", "--max-bytes", "9", format});
    EXPECT_TRUE(AcceptAllFiles(m_user, "Open:"));
    EXPECT_EQ(program.Wait(), 0) << program.Errors();
    return program.Output();
  };
  const Lines paths{home + "/a b", home + "/line\nfeed", home + "/b\xff"};
  EXPECT_EQ(LinesOf(output("--null"), '\0'), paths);
  const auto json = nlohmann::json::parse(output("--json"));
  ASSERT_EQ(json.size(), 3U);
  std::set<std::string> members;
  for (const auto& object : json) {
    members.insert(object.begin().key() + ' ' + object.begin()->get<std::string>());
  }
  std::ostringstream hex;
  for (const unsigned char byte : home + "/b\xff") hex << std::hex << int{byte};
  EXPECT_EQ(members, (std::set<std::string>{"path " + home + "/a b", "path " + home + "/line\nfeed",
                                            "path_hex " + hex.str()}));
}

TEST_F(HostTest, AChoiceOverALimitIsRefusedInABox) {
  for (const char* name : {"1", "2"}) Write(Home() / name, "123");
  for (const auto& [option, limit] : {std::pair{"--max-files", "1"}, {"--max-bytes", "5"}}) {
    Program program = Start({"pick-files", option, limit});
    ASSERT_TRUE(AcceptAllFiles(m_user, "Open:"));
    ASSERT_NE(m_user.Face("File Transfer Error"), None);
    EXPECT_TRUE(program.Running());
    Press("Return");
    ExpectEnd(program, 1, "", "the choice is over a limit");
  }
}

TEST_F(HostTest, ADeclinedChooserLeavesNothing) {
  Write(Files() / "1", "1");
  const std::pair<std::vector<std::string>, const char*> kCommands[] = {
      {{"pick-files"}, "Open:"},
      {{"pick-directory", "--json"}, "Upload To"},
      {Download(), kOpen},
      {{"upload", Files() / "1"}, kUploadFolder}};
  for (const auto& [arguments, title] : kCommands) {
    Program program = Start(arguments);
    ASSERT_NE(m_user.Face(title), None);
    Press("Escape");
    ExpectEnd(program, 1, "", "nothing was chosen");
  }
}

TEST_F(HostTest, AMessageStaysUntilItIsClosed) {
  const std::vector<std::string> arguments = {"message", "A title", "5 < 6 & <b>no markup", "\xff"};
  for (const char* key : {"Return", "Escape", "interrupt"}) {
    Program program = Start(arguments);
    ASSERT_NE(m_user.Face("A title"), None);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_TRUE(program.Running());
    const bool interrupt = key == std::string("interrupt");
    if (interrupt)
      program.Signal(SIGINT);
    else
      Press(key);
    ExpectEnd(program, interrupt ? 1 : 0, "", interrupt ? "interrupted" : "");
  }
}

// ---- Without a dialog --------------------------------------------------------------------------

TEST_F(HostTest, WithoutADisplayEveryCommandSaysSo) {
  Write(Files() / "1", "1");
  const std::vector<std::string> kCommands[] = {Download(),
                                                {"upload", Files() / "1"},
                                                {"pick-files"},
                                                {"pick-directory"},
                                                {"message", "a", "b"}};
  for (const auto& arguments : kCommands) {
    Program program = Start(arguments, {.display = false});
    ExpectEnd(program, 2, "", "no display: the dialogs cannot be shown (is DISPLAY set?)");
  }
}

TEST_F(HostTest, WrongUsageIsNamed) {
  const std::pair<std::vector<std::string>, const char*> kLines[] = {
      {{}, "a command is missing"},
      {{"copy"}, "not expected: copy"},
      {{"download"}, "--to is required"},
      {{"download", "--to"}, "--to: 1 required DIR missing"},
      {{"download", "--to", "/tmp", "--rate", "0"}, "--rate takes a number from 1"},
      {{"download", "--to", "/tmp", "more"}, "not expected: more"},
      {{"download", "--to", "/nowhere"}, "/nowhere: No such file or directory"},
      {{"download", "--to", "/dev/null"}, "/dev/null: Not a directory"},
      {{"upload"}, "FILE is required"},
      {{"pick-files", "--max-files", "65536"}, "--max-files takes a number from 1 to 65535"},
      {{"pick-files", "--max-bytes", "-1"}, "--max-bytes takes a number"},
      {{"pick-files", "-0", "--json"}, "--null excludes --json"},
      {{"pick-directory", "-x"}, "not expected: -x"},
      {{"message", "title"}, "TEXT is required"},
      {{"message", "title", std::string(65524, 'x')}, "longer than"},
  };
  for (const auto& [arguments, what] : kLines) {
    Program program = Start(arguments);
    EXPECT_EQ(program.Wait(), 2) << what;
    EXPECT_TRUE(Contains(program.Errors(), what)) << program.Errors();
  }
  Program nothingToUpload = Start({"upload", "/nowhere"});
  EXPECT_EQ(nothingToUpload.Wait(), 1);
}

}  // namespace
