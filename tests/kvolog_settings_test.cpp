// What kvolog shows and changes, against the library in another process and against the file.
#include <nlohmann/json.hpp>

#include "kvolog_run.h"

namespace {

using Json = nlohmann::json;
namespace fs = std::filesystem;

// Does it and says nothing.
void Do(const std::vector<std::string>& arguments) {
  const Result result = Kvolog(arguments);
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out + result.err, "");
}

Json Shown(std::vector<std::string> arguments) {
  arguments.emplace_back("--json");
  const Result result = Kvolog(arguments);
  EXPECT_EQ(result.status, 0) << result.err;
  return Json::parse(result.out, nullptr, false);
}

using Settings = KvologTest;

TEST_F(Settings, GoRoundAndBack) {
  const std::string defaults = Contents(KVO_LOG_CONFIG_PATH);
  Do({"set", "yraft", "Info"});
  Do({"set", "187", "NONE"});
  Do({"set", "YRAFT_WIN", "1"});
  Do({"flags", "+thread", "-0x400", "+0x10000"});
  Do({"output", "/srv/agent.log"});
  Do({"rollover", "2000", "0"});
  KvoLogConfig changed{};
  Contents(KVO_LOG_CONFIG_PATH).copy(reinterpret_cast<char*>(&changed), sizeof changed);
  EXPECT_EQ(changed.levels[KVO_CLASS_YRAFT], 2U);
  EXPECT_EQ(changed.levels[KVO_CLASS_YRAFT_RW], 6U);
  EXPECT_EQ(changed.levels[KVO_CLASS_YRAFT_WIN], 1U);
  EXPECT_EQ(changed.flags, 0x11227U);
  EXPECT_EQ(Shown({"flags"}), Json::parse(R"({"flags": 70183, "default": 1575,
                                              "names": {"FUNCTION": false, "THREAD": true}})"));
  EXPECT_EQ(Shown({"output"}), Json::parse(R"({"output": "/srv/agent.log"})"));
  EXPECT_EQ(Shown({"rollover"}), Json::parse(R"({"size": 2000, "count": 0})"));
  EXPECT_EQ(Kvolog({"output"}).out, "/srv/agent.log\n");
  Do({"reset"});
  EXPECT_EQ(Contents(KVO_LOG_CONFIG_PATH), defaults);
}

TEST_F(Settings, ShowTheTreeOfLevels) {
  Do({"set", "YRAFT", "ERROR"});
  Do({"set", "YRAFT_WIN", "VERBOSE"});
  const Json rows = Shown({"levels"});
  ASSERT_EQ(rows.size(), 201U);
  EXPECT_EQ(rows[0]["parent"], Json());
  EXPECT_EQ(rows[187], Json::parse(R"({"id": 187, "class": "YRAFT_RW", "displayName": "YraftRw",
      "parent": "YRAFT", "configured": "INHERIT", "effective": "ERROR", "default": "INHERIT"})"));
  EXPECT_EQ(Shown({"levels", "yraft"}).size(), 14U);
  const std::string tree = Kvolog({"levels"}).out;
  EXPECT_EQ(std::count(tree.begin(), tree.end(), '\n'), 202);
  EXPECT_NE(tree.find("\n175    YRAFT                   ERROR       ERROR      INHERIT  *\n"
                      "176      YRAFT_CMD             INHERIT     ERROR      INHERIT\n"),
            std::string::npos)
      << tree;
  Do({"set", "YRAFT", "INHERIT"});
  EXPECT_NE(Kvolog({"set", "ALL", "INHERIT"}).err.find("nothing of ALL is written"),
            std::string::npos);
  EXPECT_EQ(Shown({"levels", "YRAFT_RW"})[0]["effective"], Json());
  EXPECT_EQ(Kvolog({"names", "levels"}).out,
            "INHERIT\nVERBOSE\nINFO\nWARNING\nERROR\nFATAL\nNONE\n");
}

TEST_F(Settings, SayWhyTheyRefuse) {
  const std::string tooLong = "/" + std::string(255, 'x');
  const struct {
    std::vector<std::string> arguments;
    int status;
    const char* why;
  } kCases[] = {
      {{"set", "yraft_winn", "1"}, 1, "did you mean YRAFT_WIN?"},
      {{"set", "win", "1"}, 1, "did you mean YRAFT_WIN?"},
      {{"set", "", "1"}, 1, "there is no class ''"},
      {{"set", "201", "1"}, 1, "there is no class 201; they are 0 to 200"},
      {{"set", "YRAFT", "7"}, 1, "they are 0 to 6"},
      {{"set", "YRAFT", "verbos"}, 1, "did you mean VERBOSE?"},
      {{"set", "YRAFT"}, 2, "kvolog set: LEVEL is required"},
      {{"set", "YRAFT", "1", "2"}, 2, "not expected: 2"},
      {{"flags", "0x400"}, 2, "starts with + or -"},
      {{"flags", "--jsn"}, 2, "'--jsn' is no change of flags"},
      {{"flags", "+tread"}, 1, "did you mean THREAD?"},
      {{"flags", "+0x400", "-0x401"}, 2, "both set and cleared"},
      {{"output", "agent.log"}, 1, "start with /"},
      {{"output", tooLong}, 1, "256 bytes, the most is 255"},
      {{"rollover", "0", "1"}, 1, "the size has to be 1 to 2000"},
      {{"rollover", "2001", "1"}, 1, "the size has to be 1 to 2000"},
      {{"rollover", "5", "101"}, 1, "the count has to be 0 to 100"},
      {{"rollover", "5"}, 2, "SIZE requires COUNT"},
      {{"rollover", "5MB", "1"}, 2, "'5MB' is no number"},
      {{"levels", "--jsn"}, 2, "not expected: --jsn"},
      {{"tail", "-n", "3", "-fx"}, 2, "not expected: -x\n"},
      {{"tail", "--lines"}, 2, "--lines: 1 required N missing"},
      {{"tell"}, 2, "not expected: tell"},
      {{}, 2, "a command is missing"},
  };
  const std::string before = Contents(KVO_LOG_CONFIG_PATH);
  for (const auto& c : kCases) {
    const Result result = Kvolog(c.arguments);
    EXPECT_EQ(result.status, c.status) << testing::PrintToString(c.arguments);
    EXPECT_NE(result.err.find(c.why), std::string::npos) << result.err;
    EXPECT_EQ(result.out, "");
  }
  EXPECT_EQ(Contents(KVO_LOG_CONFIG_PATH), before);
}

TEST_F(Settings, AreOnlyShownToOtherGroups) {
  const auto inOtherGroup = [](const std::vector<std::string>& arguments) {
    return Kvolog(arguments, [] {
      if (setgid(65534) != 0) _exit(126);
    });
  };
  if (inOtherGroup({"--help"}).status == 126) GTEST_SKIP() << "no other group here";
  EXPECT_EQ(inOtherGroup({"levels"}).out, Kvolog({"levels"}).out);
  const std::vector<std::string> kChanges[] = {
      {"set", "ALL", "1"}, {"flags", "+1"}, {"output", "/x"}, {"rollover", "1", "1"}, {"reset"}};
  for (const auto& change : kChanges) {
    const Result refused = inOtherGroup(change);
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("only a process of group 0 may change"), std::string::npos);
  }
  fs::resize_file(KVO_LOG_CONFIG_PATH, 1075);
  EXPECT_NE(inOtherGroup({"levels"}).err.find("too short"), std::string::npos);
  fs::remove(KVO_LOG_CONFIG_PATH);
  const Result missing = inOtherGroup({"serve"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_NE(missing.err.find("does not exist yet"), std::string::npos);
}

TEST(Help, IsThereForEveryCommand) {
  EXPECT_EQ(Kvolog({"--help"}).status, 0);
  for (const char* command :
       {"levels", "set", "flags", "output", "rollover", "reset", "serve", "tail", "names"}) {
    const Result help = Kvolog({command, "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find(std::string("\nUsage: kvolog ") + command), std::string::npos);
  }
}

}  // namespace
