// `kvolog serve` with real clients: what they write arrives whole, and no one disturbs the others.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <chrono>
#include <memory>

#include "kvolog_run.h"
#include "tools/kvolog/LogLine.h"

namespace {

namespace fs = std::filesystem;

using Serve = KvologTest;

constexpr int kProcesses = 8;
constexpr int kLinesEach = 25000;

std::string Numbered(int process, int line) {
  return "process " + std::to_string(process) + " line " + std::to_string(line) + " " +
         std::string(static_cast<std::size_t>(line % 60), 'x');
}

void WriteRaw(int process) {
  Sender sender("brelka-raw");
  for (int line = 0; line < kLinesEach; ++line) {
    if (!sender.Line(Numbered(process, line))) _exit(1);
  }
}

void WriteThroughTheLibrary(int process) {
  KvoLogInit();
  for (int line = 0; line < kLinesEach; ++line) {
    __KvoTrace(KVO_CLASS_YRAFT_RW, KVO_LOG_WARNING, "file", "Function", 1, "%s",
               Numbered(process, line).c_str());
  }
  KvoLogShutdown();
}

// Every line of every process, whole, once and in its order.
void ExpectAll(const std::string& path, const std::string& prefix) {
  std::vector<int> next(kProcesses, 0);
  for (const std::string& line : Lines(path)) {
    const auto fields = ParseLogLine(line);
    ASSERT_TRUE(fields) << line;
    ASSERT_EQ(fields->className, "YRAFT_RW") << line;
    const auto process = static_cast<std::size_t>(line[line.find("process ") + 8] - '0');
    ASSERT_LT(process, next.size()) << line;
    ASSERT_EQ(fields->text, prefix + Numbered(static_cast<int>(process), next[process]++)) << line;
  }
  EXPECT_EQ(next, std::vector<int>(kProcesses, kLinesEach));
}

class ServeMany : public Serve, public testing::WithParamInterface<bool> {};

TEST_P(ServeMany, LosesNothingAndGoesOnInItsFile) {
  const bool library = GetParam();
  auto service = std::make_unique<Served>();
  const auto start = std::chrono::steady_clock::now();
  for (int process = 0; process < kProcesses; ++process) {
    if (fork() != 0) continue;
    (library ? WriteThroughTheLibrary : WriteRaw)(process);
    _exit(0);
  }
  for (int process = 0; process < kProcesses; ++process) {
    int status = 0;
    wait(&status);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(service->Stop(), 0);
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  std::printf("%.0f records a second\n", kProcesses * kLinesEach / taken.count());
  ExpectAll(kLogPath, library ? "Function: " : "");
  EXPECT_FALSE(fs::exists(KVO_LOG_SOCKET_PATH));

  service = std::make_unique<Served>();
  Sender("brelka-late").Line("after the restart");
  EXPECT_TRUE(AwaitText(kLogPath, "after the restart"));
  EXPECT_EQ(Lines(kLogPath).size(), 1U + kProcesses * kLinesEach);
}

INSTANTIATE_TEST_SUITE_P(Roads, ServeMany, testing::Bool(),
                         [](const auto& way) { return way.param ? "TheLibrary" : "RawRecords"; });

TEST_F(Serve, DropsWhoSendsNonsenseAndSaysSo) {
  const Served service;
  Sender good("brelka-good");
  ASSERT_TRUE(good.Line("before"));
  const std::string line = LineRecord("fine", KVO_LOG_ERROR, KVO_CLASS_YRAFT, 1);
  const std::string registered = HelloRecord("brelka-bad", 1) + line;
  const struct {
    std::string bytes;
    const char* note;
  } kCases[] = {
      {"GET / HTTP/1.1\r\n\r\n", "not registered, sent a record of the unknown type 8276"},
      {registered + HelloRecord("x", 1), "brelka-bad, sent a second registration and was dropped"},
      {registered + line.substr(0, line.size() - 1), "brelka-bad, ended within a record"},
  };
  for (const auto& c : kCases) {
    Sender bad;
    ASSERT_TRUE(bad.Send(c.bytes));
    if (std::string(c.note).ends_with("record")) {
      bad.Close();
    } else {
      EXPECT_TRUE(bad.HungUp()) << c.note;
    }
    EXPECT_TRUE(AwaitText(kLogPath, c.note)) << c.note;
  }
  ASSERT_TRUE(good.Line("after\nall\x1b[2J", KVO_LOG_FATAL, KVO_CLASS_YRAFT_WIN));
  EXPECT_TRUE(AwaitText(kLogPath, " FATAL YRAFT_WIN brelka-good 17 " + std::to_string(getpid()) +
                                      " after\\nall\\x1b[2J\n"));
  EXPECT_EQ(Lines(kLogPath).size(), 7U);  // two good, two fine, three notes
}

TEST_F(Serve, TakesInWhatWasSentBeforeItsEnd) {
  Served service;
  Sender early("brelka-early");
  early.Line("first");
  ASSERT_TRUE(AwaitText(kLogPath, "first"));
  service.Signal(SIGSTOP);
  for (int i = 0; i < 100; ++i) ASSERT_TRUE(early.Line("early"));
  Sender late("brelka-late");
  ASSERT_TRUE(late.Line("late"));
  service.Signal(SIGINT);
  service.Signal(SIGCONT);
  EXPECT_EQ(service.Wait(), 0);
  EXPECT_EQ(Lines(kLogPath).size(), 102U);
  EXPECT_NE(Contents(kLogPath).find("brelka-late"), std::string::npos);
  EXPECT_FALSE(early.Line("nobody hears it"));
}

TEST_F(Serve, ReplacesADeadServiceAndNoLivingOne) {
  Served first([] { umask(077); });
  EXPECT_EQ(fs::status(KVO_LOG_SOCKET_PATH).permissions(), fs::perms(0666));  // for everyone
  const Result second = Kvolog({"serve"});
  EXPECT_EQ(second.status, 1);
  EXPECT_NE(second.err.find("listens at /var/qmz/.kvologd already"), std::string::npos);
  Sender("brelka").Line("still there");
  EXPECT_TRUE(AwaitText(kLogPath, "still there"));
  first.Signal(SIGKILL);
  EXPECT_EQ(first.Wait(), 128 + SIGKILL);
  EXPECT_TRUE(fs::exists(KVO_LOG_SOCKET_PATH));
  Served third;
  Sender("brelka").Line("again");
  EXPECT_TRUE(AwaitText(kLogPath, "again"));
  EXPECT_EQ(third.Stop(), 0);
  std::ofstream(KVO_LOG_SOCKET_PATH) << "a file";
  EXPECT_EQ(Kvolog({"serve"}).status, 1);
  EXPECT_TRUE(fs::exists(KVO_LOG_SOCKET_PATH));
}

TEST_F(Serve, FollowsTheConfigurationAndItsFile) {
  Served service;
  Sender sender("brelka");
  sender.Line("one");
  ASSERT_TRUE(AwaitText(kLogPath, "one"));

  // On hangup it opens its file anew, and goes on with the old one until then.
  fs::rename(kLogPath, "/var/log/qmz/renamed");
  sender.Line("two");
  ASSERT_TRUE(AwaitText("/var/log/qmz/renamed", "two"));
  service.Signal(SIGHUP);
  ASSERT_TRUE(WaitUntil([] { return fs::exists(kLogPath); }));
  sender.Line("three");
  ASSERT_TRUE(AwaitText(kLogPath, "three"));
  EXPECT_EQ(Lines(kLogPath).size(), 1U);

  // What cannot be written waits until it can.
  std::ofstream("/var/log/other") << "a file in the way";
  Kvolog({"output", "/var/log/other/agent.log"});
  ASSERT_TRUE(service.AwaitError("Not a directory"));
  sender.Line("elsewhere");
  fs::remove("/var/log/other");
  EXPECT_TRUE(AwaitText("/var/log/other/agent.log", "elsewhere"));
  EXPECT_TRUE(service.AwaitError("is written again"));

  // The file of the configuration itself gives way to another one.
  fs::copy_file(KVO_LOG_CONFIG_PATH, "/var/qmz/new");
  Kvolog({"output", "/var/log/other/wrong.log"});
  fs::rename("/var/qmz/new", KVO_LOG_CONFIG_PATH);
  Kvolog({"output", "/var/log/other/right.log"});
  ASSERT_TRUE(WaitUntil([] { return fs::exists("/var/log/other/right.log"); }));
  fs::resize_file(KVO_LOG_CONFIG_PATH, 10);
  sender.Line("while damaged");
  EXPECT_TRUE(AwaitText("/var/log/other/right.log", "while damaged"));
  EXPECT_EQ(service.Stop(), 0);
}

TEST_F(Serve, LetsWaitWhoComesWhileItIsFull) {
  Served service([] {
    const rlimit few = {16, 16};
    setrlimit(RLIMIT_NOFILE, &few);
  });
  std::vector<std::unique_ptr<Sender>> senders;
  for (int i = 0; i < 30; ++i) {
    senders.push_back(std::make_unique<Sender>("brelka"));
    ASSERT_TRUE(senders.back()->Line("client " + std::to_string(i) + "."));
  }
  EXPECT_TRUE(AwaitText(kLogPath, "client 0."));
  EXPECT_EQ(Contents(kLogPath).find("client 29."), std::string::npos);
  senders.erase(senders.begin(), senders.begin() + 10);
  EXPECT_TRUE(AwaitText(kLogPath, "client 14."));
  EXPECT_EQ(service.Stop(), 0);
  EXPECT_EQ(Lines(kLogPath).size(), 30U);
}

TEST_F(Serve, TellsAServiceManagerWhenItListens) {
  DatagramService manager("/var/qmz/notify");
  const Served service([] { setenv("NOTIFY_SOCKET", "/var/qmz/notify", 1); });
  EXPECT_EQ(manager.Next(), "READY=1");
}

}  // namespace
