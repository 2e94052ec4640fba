// `kvolog tail` on a log that a real service writes.
#include <sstream>

#include "kvolog_run.h"

namespace {

using Tail = KvologTest;

// The texts of printed lines.
std::string Texts(const std::string& out) {
  std::string texts;
  std::istringstream lines(out);
  for (std::string line; std::getline(lines, line);)
    texts += line.substr(line.rfind(' ') + 1) + ' ';
  return texts;
}

TEST_F(Tail, ShowsTheLinesThatMatter) {
  const Served service;
  Sender agent("brelka-vcagent");
  Sender other("brelka-Web Content");
  agent.Line("a", KVO_LOG_VERBOSE, KVO_CLASS_YRAFT);
  agent.Line("b", KVO_LOG_INFO, KVO_CLASS_YRAFT_RW);
  agent.Line("c", KVO_LOG_WARNING, KVO_CLASS_LOCALISE);
  agent.Line("d", KVO_LOG_ERROR, KVO_CLASS_YRAFT_WIN);
  ASSERT_TRUE(AwaitText(kLogPath, " d\n"));
  other.Line("e", KVO_LOG_FATAL, KVO_CLASS_ALL);
  other.Line("f", KVO_LOG_WARNING, KVO_CLASS_YRAFT_RW);
  ASSERT_TRUE(AwaitText(kLogPath, " f\n"));
  std::ofstream(kLogPath, std::ios::app) << "foreign\n";
  const struct {
    std::vector<std::string> options;
    const char* texts;
  } kCases[] = {
      {{}, "a b c d e f foreign "},
      {{"-n", "3"}, "e f foreign "},
      {{"-n0"}, ""},
      {{"--class", "yraft"}, "a b d f "},
      {{"--class", "187"}, "b f "},
      {{"--class", "all"}, "a b c d e f foreign "},
      {{"--level", "warning"}, "c d e f "},
      {{"--level=5"}, "e "},
      {{"--identity", "brelka-vcagent"}, "a b c d "},
      {{"--identity", "*Web C*"}, "e f "},
      {{"-n", "1", "-c", "YRAFT", "-l", "info", "-i", "brelka-vc*"}, "d "},
  };
  for (const auto& c : kCases) {
    std::vector<std::string> arguments = {"tail"};
    arguments.insert(arguments.end(), c.options.begin(), c.options.end());
    const Result result = Kvolog(arguments);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(Texts(result.out), c.texts) << testing::PrintToString(c.options);
    EXPECT_EQ(result.out.find('\033'), std::string::npos);
  }
  EXPECT_EQ(Kvolog({"tail", "-n", "many"}).status, 2);
  EXPECT_EQ(Kvolog({"tail", "--level", "none"}).status, 1);
}

TEST_F(Tail, FollowsAcrossRolloversAndToAnotherFile) {
  Kvolog({"rollover", "1", "100"});
  const Served service;
  Running tail({"tail", "-f"});
  Sender sender("brelka");
  sender.Line("start");
  ASSERT_TRUE(WaitUntil([&] { return Texts(tail.Output()) == "start "; }));
  const std::string padding(8000, 'x');
  std::string expected = "start ";
  for (int i = 0; i < 1000; ++i) {
    ASSERT_TRUE(sender.Line(padding + " " + std::to_string(i)));
    expected += std::to_string(i) + ' ';
  }
  EXPECT_TRUE(WaitUntil([&] { return Texts(tail.Output()) == expected; }));
  EXPECT_EQ(Texts(tail.Output()), expected);
  for (const char* number : {".1", ".7"}) {
    EXPECT_GT(std::filesystem::file_size(kLogPath + std::string(number)), (1U << 20) - 8100);
    EXPECT_LE(std::filesystem::file_size(kLogPath + std::string(number)), 1U << 20);
  }

  Kvolog({"output", "/var/log/qmz/other.log"});
  expected += "moved ";
  ASSERT_TRUE(WaitUntil([] { return std::filesystem::exists("/var/log/qmz/other.log"); }));
  sender.Line("moved");
  EXPECT_TRUE(WaitUntil([&] { return Texts(tail.Output()) == expected; }));

  // The last lines are found in old files, too.
  Kvolog({"output", kLogPath});
  EXPECT_EQ(Texts(Kvolog({"tail", "-n", "500"}).out),
            expected.substr(expected.find(" 500 ") + 1, 2000));
}

TEST_F(Tail, IsColouredOnATerminal) {
  const Served service;
  Sender("brelka").Line("text", KVO_LOG_ERROR);
  ASSERT_TRUE(AwaitText(kLogPath, " text\n"));
  for (const bool coloured : {true, false}) {
    const auto setUp = [coloured] {
      setenv("TERM", "xterm", 1);
      setenv("NO_COLOR", coloured ? "" : "1", 1);
    };
    Running tail({"tail"}, setUp, 200);
    EXPECT_EQ(tail.Wait(), 0);
    const std::string shown = tail.Output();
    EXPECT_NE(
        shown.find(coloured ? "\033[31mERROR\033[0m YRAFT_RW brelka" : " ERROR YRAFT_RW brelka"),
        std::string::npos)
        << shown;
    EXPECT_EQ(shown.find('\033') != std::string::npos, coloured);
  }
}

}  // namespace
