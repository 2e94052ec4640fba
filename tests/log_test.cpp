// Logging as the processes of the agent meet it: the shared file, the log service and syslog.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "common/libs/log/KvoTracer.h"
#include "support/await.h"
#include "support/log_service.h"

namespace {

void Error(const char* text) { __KvoTrace(188, KVO_LOG_ERROR, "file", "Function", 1, "%s", text); }

bool HasService() { return kvolog::Filter() != nullptr; }

// Runs `body` in a child and answers its exit status; -1 where it died.
int InChild(const std::function<int()>& body) {
  const pid_t child = fork();
  if (child == 0) _exit(body());
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class Log : public testing::Test {
 protected:
  Log() {
    unlink(KVO_LOG_CONFIG_PATH);
    unsetenv("BRELKA_SESSION_ID");
  }
  ~Log() override { KvoLogShutdown(); }
};

// Logging of this process, connected, with its registration read.
class Connected : public Log {
 protected:
  Connected() { Connect(); }
  void Connect() {
    EXPECT_EQ(KvoLogInit(), 1);
    EXPECT_TRUE(service.Accept() && service.Next());
  }
  Line NextLine() { return Line(service.Next().value_or(std::string(22, '\0'))); }
  LogService service;
};

// ---- The shared file ---------------------------------------------------------------------------

using Answers = std::vector<unsigned int>;

// All that is known of a class.
Answers AnswersFor(unsigned int id) {
  return {KvoLogGetWorkingLevel(id), KvoLogGetCurrentLevel(id), KvoLogGetDefaultLevel(id),
          KvoLogGetParent(id)};
}
std::string NamesOf(unsigned int id, unsigned int level) {
  return std::string(TraceText(KvoLogGetClassName(id))) + " " +
         TraceText(KvoLogGetClassDisplayName(id)) + " " + TraceText(KvoLogGetLevelName(level)) +
         " " + TraceText(KvoLogGetLevelDisplayName(level));
}

TEST_F(Log, AnswersWhatIsKnownAndMapped) {
  const unsigned int none = KVO_LOG_UNKNOWN;
  const Answers unknown(4, none);
  unsigned int flags = 5;
  for (int again = 0; again < 2; ++again) {
    EXPECT_EQ(AnswersFor(188), unknown);
    EXPECT_EQ(NamesOf(188, 2), "(NULL) (NULL) (NULL) (NULL)");
    EXPECT_EQ(KvoLogGetCurrentFlags(&flags) + KvoLogGetDefaultFlags(&flags) + KvoLogEnableFlags(1) +
                  KvoLogDisableFlags(1) + KvoLogSetCurrentLevel(188, 1) + KvoLogSetOutputPath("x") +
                  KvoLogSetRolloverSize(1) + KvoLogSetRolloverCount(1),
              0);
    EXPECT_EQ(KvoLogGetOutputPath(), nullptr);
    EXPECT_EQ(KvoLogGetRolloverSize() & KvoLogGetRolloverCount(), none);
    ASSERT_EQ(KvoLogInitConfigOnly(), 1);
    EXPECT_EQ(AnswersFor(188), (Answers{3, 0, 0, 175}));
    EXPECT_EQ(NamesOf(63, 2), "LOCALISE Localisation INFO Information");
    EXPECT_EQ(AnswersFor(201), unknown);
    EXPECT_EQ(NamesOf(none, 7), "(NULL) (NULL) (NULL) (NULL)");
    EXPECT_EQ(KvoLogSetCurrentLevel(201, 1) + KvoLogGetCurrentFlags(nullptr), 0);
    KvoLogShutdown();
  }
  EXPECT_EQ(flags, 5U);
}

TEST_F(Log, InitialisesAFileThatIsNoneAndKeepsOneThatIs) {
  ASSERT_EQ(KvoLogInitConfigOnly(), 1);
  KvoLogShutdown();
  KvoLogConfig config;
  const std::string defaults = Contents(KVO_LOG_CONFIG_PATH);
  ASSERT_EQ(defaults.copy(reinterpret_cast<char*>(&config), sizeof(config)), 1076U);
  EXPECT_STREQ(config.outputPath, "/var/log/qmz/fsr.log");
  EXPECT_EQ((Answers{config.flags, config.rolloverSize, config.rolloverCount, config.magic}),
            (Answers{0x627, 200, 2, 0x12345678}));
  struct stat status;
  ASSERT_EQ(stat(KVO_LOG_CONFIG_PATH, &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0664U);  // whatever the process's mask
  for (const std::string& broken : {std::string(1076, '\0'), std::string("short"), std::string()}) {
    std::ofstream(KVO_LOG_CONFIG_PATH, std::ios::binary) << broken;
    for (const unsigned int level : {0U, 2U}) {
      ASSERT_EQ(KvoLogInitConfigOnly(), 1);
      EXPECT_EQ(KvoLogGetCurrentLevel(188) * 10 + KvoLogGetCurrentLevel(0), level * 10 + 3);
      EXPECT_EQ(KvoLogSetCurrentLevel(188, 2), 1);
      KvoLogShutdown();
    }
    EXPECT_EQ(Contents(KVO_LOG_CONFIG_PATH).size(), 1076U);
  }
}

TEST_F(Log, MapsNothingButAFileWhoseBytesExist) {
  const auto maps = [] {
    const bool mapped = KvoLogInitConfigOnly() == 1 && KvoLogSetCurrentLevel(188, 2) == 1;
    KvoLogShutdown();
    return mapped;
  };
  const std::string target = testing::TempDir() + "target";
  std::ofstream(target) << "not the log's";
  ASSERT_EQ(symlink(target.c_str(), KVO_LOG_CONFIG_PATH), 0);
  EXPECT_FALSE(maps());
  EXPECT_EQ(Contents(target), "not the log's");
  unlink(KVO_LOG_CONFIG_PATH);
  // A full file system, and on it a file that is one hole.
  ASSERT_EQ(mount("none", "/var/qmz", "tmpfs", 0, "size=4k"), 0);
  std::ofstream("/var/qmz/full") << std::string(4096, 'x');
  EXPECT_FALSE(maps());
  EXPECT_EQ(truncate(KVO_LOG_CONFIG_PATH, 1076), 0);
  EXPECT_FALSE(maps());
  unlink("/var/qmz/full");
  EXPECT_TRUE(maps());
  EXPECT_EQ(umount2("/var/qmz", MNT_DETACH), 0);
}

TEST_F(Log, StoresWhatIsInRangeAndRefusesTheRest) {
  ASSERT_EQ(KvoLogInitConfigOnly(), 1);
  const std::string longest(255, 'p');
  EXPECT_EQ(KvoLogSetCurrentLevel(188, 6) + KvoLogSetRolloverSize(2000) +
                KvoLogSetRolloverCount(100) + KvoLogEnableFlags(0x1008) +
                KvoLogDisableFlags(0x401) + KvoLogSetOutputPath("/x") +
                KvoLogSetOutputPath(longest.c_str()),
            7);
  EXPECT_EQ(KvoLogSetCurrentLevel(188, 7) + KvoLogSetRolloverSize(0) + KvoLogSetRolloverSize(2001) +
                KvoLogSetRolloverCount(101) + KvoLogSetOutputPath((longest + "p").c_str()),
            0);
  unsigned int flags = 0;
  EXPECT_EQ(KvoLogGetCurrentFlags(&flags), 1);
  EXPECT_EQ((Answers{KvoLogGetCurrentLevel(188), KvoLogGetRolloverSize(), flags}),
            (Answers{6, 2000, 0x122E}));
  EXPECT_EQ(Contents(KVO_LOG_CONFIG_PATH).substr(808, 260),
            longest + std::string("\0\xD0\a\0\0", 5));
}

TEST_F(Log, LetsAProcessOfAnotherGroupReadAndNotWrite) {
  ASSERT_EQ(KvoLogInitConfigOnly(), 1);
  KvoLogShutdown();
  const int status = InChild([] {
    if (setgid(65534) != 0) return 77;
    if (KvoLogInitConfigOnly() != 1 || KvoLogGetWorkingLevel(188) != KVO_LOG_WARNING) return 1;
    return KvoLogSetCurrentLevel(188, 1) + KvoLogEnableFlags(1) + KvoLogDisableFlags(1) +
           KvoLogSetOutputPath("x") + KvoLogSetRolloverSize(1) + KvoLogSetRolloverCount(1);
  });
  if (status == 77) GTEST_SKIP() << "no other group can be had in this namespace";
  EXPECT_EQ(status, 0);
}

// ---- Which lines are written -------------------------------------------------------------------

// The rule, told once more.
bool Wanted(unsigned int id, int level) {
  if (level < KVO_LOG_VERBOSE || level > KVO_LOG_FATAL || id >= KVO_LOG_CLASSES) return false;
  while (KvoLogGetCurrentLevel(id) == KVO_LOG_INHERIT && id != 0) id = KvoLogGetParent(id);
  const unsigned int working = KvoLogGetCurrentLevel(id);
  return working >= KVO_LOG_VERBOSE && working <= static_cast<unsigned int>(level);
}

TEST_F(Connected, WritesALineExactlyWhereTheWorkingLevelAdmitsIt) {
  std::minstd_rand random(1);
  KvoLogDisableFlags(KVO_LOG_FLAG_FUNCTION);
  for (int round = 0; round < 20; ++round) {
    // Mostly inherited levels, so that the ways to the root are walked.
    for (unsigned int id = 0; id < KVO_LOG_CLASSES; ++id) {
      KvoLogSetCurrentLevel(id, random() % 4 == 0 || id == 0 ? random() % KVO_LOG_LEVELS : 0);
    }
    for (unsigned int id = -1U; id + 1 < 260; ++id) {
      std::string expected;
      for (int level = -1; level <= 8; ++level) {
        const bool wanted = Wanted(id, level);
        EXPECT_TRUE(level < 1 || level > 5 || kvolog::Admits(id, level) == wanted) << id << level;
        if (wanted) expected += static_cast<char>('0' + level);
        __KvoTrace(id, level, "file", "f", 1, "%d", level);
      }
      std::string written;
      const std::string records = service.Waiting();
      for (std::size_t at = 22; at < records.size(); at += 24) written += records[at];
      ASSERT_EQ(written, expected) << "class " << id;
    }
  }
}

TEST_F(Connected, LosesNoLineToAChangeOfItsLevelBetweenTwoThatAdmitIt) {
  KvoLogSetCurrentLevel(KVO_CLASS_YRAFT, 1);
  std::atomic<bool> stop{false};
  std::thread changer([&] {
    for (unsigned int i = 0; !stop; ++i) KvoLogSetCurrentLevel(188, i % 2);
  });
  std::size_t written = 0;
  for (int batch = 0; batch < 2000; ++batch) {
    for (int i = 0; i < 50; ++i) __KvoTrace(188, KVO_LOG_VERBOSE, "file", "f", 1, "text");
    written += service.Waiting().size();
  }
  stop = true;
  changer.join();
  EXPECT_EQ(written, 100000 * (22 + sizeof("f: text")));
}

TEST_F(Connected, WritesNothingForBadArgumentsOrWithoutALevelAnywhere) {
  __KvoTrace(188, 4, nullptr, "f", 1, "x");
  __KvoTrace(188, 4, "file", nullptr, 1, "x");
  __KvoTrace(188, 4, "file", "f", 1, nullptr);
  __KvoLog(4, "file", nullptr, 1, "x");
  __KvoLog(KVO_LOG_NONE, "file", "f", 1, "x");
  KvoLogSetCurrentLevel(0, 0);
  Error("x");
  int evaluated = 0;
  TRACE_AT(KvoTracer<188>(), 5, "%d", ++evaluated);
  EXPECT_EQ(evaluated, 0);
  EXPECT_EQ(service.Waiting(), "");
}

// ---- What a line becomes -----------------------------------------------------------------------

TEST_F(Connected, LaysARecordOutToTheByteAndCutsItsText) {
  const auto before = time(nullptr);
  __KvoTrace(188, 4, "file", "Function", 1, "%s %.1f %lld %d%%", "text", 2.5, 1LL << 40, 9);
  const Line line = NextLine();
  EXPECT_EQ(line.text, "Function: text 2.5 1099511627776 9%");
  EXPECT_EQ((Answers{line.head.head.length, line.head.head.type, line.head.level, line.head.classId,
                     line.head.thread}),
            (Answers{19 + 35, 1, 4, 188, static_cast<unsigned int>(gettid()) & 0xFFFF}));
  EXPECT_TRUE(line.head.seconds >= before && line.head.seconds <= time(nullptr) &&
              line.head.microseconds < 1000000);

  pthread_setname_np(pthread_self(), "painter");
  const auto text = [this](const std::string& message, const std::string& function = "Function") {
    __KvoTrace(188, 4, "file", function.c_str(), 1, "%s", message.c_str());
    const Line written = NextLine();
    EXPECT_EQ(written.head.head.length, 19 + written.text.size());
    return written.text;
  };
  for (const std::size_t length : {8181UL, 8182UL, 10000UL}) {
    EXPECT_EQ(text(std::string(length, 'x')), "Function: " + std::string(8181, 'x'));
  }
  EXPECT_EQ(text("never seen", std::string(9000, 'f')), std::string(8191, 'f'));
  const wchar_t noCharacter[] = {static_cast<wchar_t>(0xD800), 0};
  errno = ENOENT;
  __KvoTrace(188, 4, "file", "f", 1, "before %ls after", noCharacter);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(NextLine().text, "f: ");  // what cannot be formatted is dropped
  KvoLogEnableFlags(KVO_LOG_FLAG_THREAD);
  EXPECT_EQ(text("x"), "[painter]: Function: x");
  KvoLogDisableFlags(0xFFFFFFFF);
  EXPECT_EQ(text(""), "");
}

// ---- A service that is not as it should be -----------------------------------------------------

// The number that the next file to be opened gets.
int NextDescriptor() {
  const int fd = dup(0);
  close(fd);
  return fd;
}

TEST_F(Connected, GivesUpAServiceThatHungUpOnceAndForAll) {
  service.HangUp();
  const int next = NextDescriptor();
  errno = ENOENT;
  Error("finds out");  // and gets no SIGPIPE, whose default would end this process
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(HasService());
  EXPECT_EQ(NextDescriptor(), next);  // a file that got the number would get lines under way
  Error("goes nowhere");
  KvoLogShutdown();
  Connect();
  Error("arrives");
  EXPECT_EQ(NextLine().text, "Function: arrives");
}

double SecondsOf(const std::function<void()>& call) {
  const auto start = std::chrono::steady_clock::now();
  call();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TEST_F(Connected, WaitsASecondForAServiceThatStoppedReadingWhateverComesMeanwhile) {
  signal(SIGALRM, [](int) {});
  const itimerval often{{0, 500}, {0, 500}};
  setitimer(ITIMER_REAL, &often, nullptr);
  const double seconds = SecondsOf([] {
    std::vector<std::thread> threads(4);
    for (std::thread& thread : threads) {
      thread = std::thread([] {
        while (HasService()) Error("nobody reads this");
      });
      pthread_cancel(thread.native_handle());  // not in the middle of a line
    }
    sigset_t alarm;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    pthread_sigmask(SIG_BLOCK, &alarm, nullptr);  // the writers get them all
    for (std::thread& thread : threads) thread.join();
    signal(SIGALRM, SIG_IGN);
    pthread_sigmask(SIG_UNBLOCK, &alarm, nullptr);
  });
  setitimer(ITIMER_REAL, nullptr, nullptr);
  EXPECT_GE(seconds, 0.9);
  EXPECT_LE(seconds, 4.0);
  EXPECT_FALSE(HasService());
  const std::string text("Function: nobody reads this\0", 28);
  const std::string records = service.Waiting();  // whole, whoever wrote beside whom
  for (std::size_t at = 22; at + text.size() <= records.size(); at += 22 + text.size()) {
    ASSERT_EQ(records.substr(at, text.size()), text);
  }
}

TEST_F(Log, StartsWithoutAServiceOrWithOneThatTakesNoCallers) {
  const int next = NextDescriptor();
  EXPECT_EQ(KvoLogInit(), 1);
  EXPECT_FALSE(HasService());
  KvoLogShutdown();
  EXPECT_EQ(NextDescriptor(), next);
  LogService full(0);
  EXPECT_EQ(InChild([] { return KvoLogInit() - 1; }), 0);  // and waits there
  EXPECT_LE(SecondsOf([] { EXPECT_EQ(KvoLogInit(), 1); }), 4.0);
  EXPECT_FALSE(HasService());
}

// ---- Start and end -----------------------------------------------------------------------------

TEST_F(Log, RegistersAProcessByItsNameAndSession) {
  LogService service;
  const auto expect = [&](const char* program, const char* session, const std::string& identity,
                          int number) {
    char* const old = program_invocation_short_name;
    program_invocation_short_name = const_cast<char*>(program);
    setenv("BRELKA_SESSION_ID", session, 1);
    EXPECT_EQ(KvoLogInit(), 1);
    program_invocation_short_name = old;
    EXPECT_TRUE(service.Accept());
    const std::uint16_t head[] = {static_cast<std::uint16_t>(identity.size() + 3), 2,
                                  static_cast<std::uint16_t>(number)};
    EXPECT_EQ(service.Next(),
              std::string(reinterpret_cast<const char*>(head), 6) + identity + '\0');
    KvoLogShutdown();
  };
  expect("vcagent", "", "brelka-vcagent", 0);
  expect("java", "17", "brelka-kvoavk", 17);
  expect(nullptr, "letters", "brelka", 0);
  expect("", "70000x", "brelka", 70000);
  expect(std::string(40, 'n').c_str(), "3 4", "brelka-" + std::string(24, 'n'), 3);
}

TEST_F(Log, StartsAndEndsAsOftenAsItIsTold) {
  LogService service;
  ASSERT_EQ(KvoLogInitConfigOnly(), 1);
  EXPECT_EQ(KvoLogInit(), 0);
  EXPECT_FALSE(HasService());
  for (int i = 0; i < 3; ++i) {
    KvoLogShutdown();
    Error("no line");
    EXPECT_EQ(KvoLogInit() + KvoLogInit(), 2);
    ASSERT_TRUE(service.Accept() && service.Next());
    KvoLogShutdown();
    EXPECT_FALSE(service.Next().has_value());  // the end
  }
}

TEST_F(Log, SendsUnfilteredLinesToSyslogAndToTheService) {
  __KvoLog(4, "file", "f", 1, "not initialised, nowhere");
  const int syslogService = BoundSocket("/dev/log", SOCK_DGRAM);
  LogService service;
  ASSERT_EQ(KvoLogInit(), 1);
  ASSERT_TRUE(service.Accept() && service.Next());
  for (unsigned int id = 0; id < KVO_LOG_CLASSES; ++id) KvoLogSetCurrentLevel(id, KVO_LOG_NONE);
  constexpr int kPriorities[] = {LOG_INFO, LOG_NOTICE, LOG_WARNING, LOG_ERR, LOG_ALERT};
  for (int level = 1; level <= 5; ++level) {
    __KvoLog(level, "file", "f", 1, "line %d", level);
    const std::string text = "line " + std::to_string(level);
    char buffer[1000] = {};
    recv(syslogService, buffer, sizeof(buffer) - 1, MSG_DONTWAIT);
    const std::string sent = buffer;
    EXPECT_TRUE(sent.starts_with("<" + std::to_string(LOG_USER | kPriorities[level - 1]) + ">") &&
                sent.ends_with("brelka-log_test[" + std::to_string(getpid()) + "]: " + text))
        << sent;
    const Line line(service.Next().value_or(std::string(22, '\0')));
    EXPECT_EQ((Answers{line.head.classId, line.head.level}), (Answers{0, unsigned(level)}));
    EXPECT_EQ(line.text, "f: " + text);
  }
  close(syslogService);
  unlink("/dev/log");
}

}  // namespace
