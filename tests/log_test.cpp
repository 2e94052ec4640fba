// Logging as the processes of the agent meet it: the shared file, the log service and syslog.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "common/libs/log/KvoTracer.h"
#include "support/await.h"
#include "support/log_service.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned int kNobody = 65534;

void Trace(unsigned int classId, int level, const char* text) {
  __KvoTrace(classId, level, "file", "Function", 1, "%s", text);
}

void Error(const char* text) { Trace(KVO_CLASS_YRAFT_WIN, KVO_LOG_ERROR, text); }

bool HasService() { return kvolog::Filter() != nullptr; }

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
  Connected() {
    EXPECT_EQ(KvoLogInit(), 1);
    EXPECT_TRUE(service.Accept());
    EXPECT_TRUE(service.Next().has_value());
  }
  Line NextLine() {
    const auto record = service.Next();
    EXPECT_TRUE(record.has_value());
    return Line(record.value_or(LineRecord("", 0, 0, 0)));
  }
  LogService service;
};

// ---- Classes -----------------------------------------------------------------------------------

TEST_F(Log, HasATreeOfClassesThatEveryComponentCanIndex) {
  ASSERT_EQ(KvoLogInitConfigOnly(), 1);
  std::set<std::string> names;
  int heads = 0;
  int withLevel = 0;
  for (unsigned int id = 0; id < KVO_LOG_CLASSES; ++id) {
    names.insert(KvoLogGetClassName(id));
    heads += KvoLogGetParent(id) == 0;
    withLevel += KvoLogGetDefaultLevel(id) == KVO_LOG_WARNING;
    EXPECT_EQ(KvoLogGetCurrentLevel(id), KvoLogGetDefaultLevel(id));
  }
  EXPECT_EQ(names.size(), KVO_LOG_CLASSES);
  EXPECT_EQ(heads, 39);
  EXPECT_EQ(withLevel, 1 + 26);
  EXPECT_STREQ(KvoLogGetClassDisplayName(KVO_CLASS_LOCALISE), "Localisation");
  EXPECT_EQ(KvoLogGetDefaultLevel(KVO_CLASS_YRAFT_RW), KVO_LOG_INHERIT);
  EXPECT_EQ(KvoLogGetParent(KVO_CLASS_YRAFT_WIN), 175U);
  EXPECT_EQ(KvoLogGetParent(0), KVO_LOG_UNKNOWN);
  EXPECT_STREQ(KvoLogGetLevelName(6), "NONE");
  EXPECT_STREQ(KvoLogGetLevelDisplayName(2), "Information");
}

TEST_F(Log, AnswersUnknownForWhatIsUnknownOrNotMapped) {
  const auto expectUnknown = [](unsigned int id) {
    EXPECT_EQ(KvoLogGetWorkingLevel(id), KVO_LOG_UNKNOWN);
    EXPECT_EQ(KvoLogGetCurrentLevel(id), KVO_LOG_UNKNOWN);
    EXPECT_EQ(KvoLogGetDefaultLevel(id), KVO_LOG_UNKNOWN);
    EXPECT_EQ(KvoLogGetParent(id), KVO_LOG_UNKNOWN);
    EXPECT_EQ(KvoLogGetClassName(id), nullptr);
    EXPECT_EQ(KvoLogGetClassDisplayName(id), nullptr);
    EXPECT_EQ(KvoLogSetCurrentLevel(id, 1), 0);
  };
  unsigned int flags = 5;
  expectUnknown(0);
  EXPECT_EQ(KvoLogGetLevelName(1), nullptr);
  EXPECT_EQ(KvoLogGetCurrentFlags(&flags) + KvoLogGetDefaultFlags(&flags), 0);
  EXPECT_EQ(KvoLogEnableFlags(1) + KvoLogDisableFlags(1), 0);
  EXPECT_EQ(KvoLogGetOutputPath(), nullptr);
  EXPECT_EQ(KvoLogGetRolloverSize(), KVO_LOG_UNKNOWN);
  EXPECT_EQ(KvoLogGetRolloverCount(), KVO_LOG_UNKNOWN);
  EXPECT_EQ(KvoLogSetOutputPath("x") + KvoLogSetRolloverSize(1) + KvoLogSetRolloverCount(1), 0);
  EXPECT_EQ(flags, 5U);
  KvoLogShutdown();
  ASSERT_EQ(KvoLogInitConfigOnly(), 1);
  for (const unsigned int id : {201U, 202U, 0x7FFFFFFFU, 0xFFFFFFFFU}) expectUnknown(id);
  EXPECT_EQ(KvoLogGetLevelName(7), nullptr);
  EXPECT_EQ(KvoLogGetLevelDisplayName(7), nullptr);
  EXPECT_EQ(KvoLogGetCurrentFlags(nullptr) + KvoLogGetDefaultFlags(nullptr), 0);
}

// ---- The shared file ---------------------------------------------------------------------------

TEST_F(Log, InitialisesAFileThatIsNoneAndKeepsOneThatIs) {
  ASSERT_EQ(KvoLogInitConfigOnly(), 1);
  KvoLogShutdown();
  const std::string defaults = Contents(KVO_LOG_CONFIG_PATH);
  ASSERT_EQ(defaults.size(), 1076U);
  KvoLogConfig config;
  memcpy(&config, defaults.data(), sizeof(config));
  EXPECT_EQ(config.flags, 0x627U);
  EXPECT_STREQ(config.outputPath, "/var/log/qmz/fsr.log");
  EXPECT_EQ(config.rolloverSize, 200U);
  EXPECT_EQ(config.rolloverCount, 2U);
  EXPECT_EQ(config.magic, KVO_LOG_CONFIG_MAGIC);
  struct stat status;
  ASSERT_EQ(stat(KVO_LOG_CONFIG_PATH, &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0664U);  // whatever the process's mask
  for (const std::string& broken : {std::string(1076, '\0'), std::string("short"), std::string()}) {
    std::ofstream(KVO_LOG_CONFIG_PATH, std::ios::binary) << broken;
    ASSERT_EQ(KvoLogInitConfigOnly(), 1);
    EXPECT_EQ(KvoLogSetCurrentLevel(188, 2), 1);
    KvoLogShutdown();
    EXPECT_EQ(Contents(KVO_LOG_CONFIG_PATH).size(), 1076U);
    ASSERT_EQ(KvoLogInitConfigOnly(), 1);
    EXPECT_EQ(KvoLogGetCurrentLevel(188), 2U);
    EXPECT_EQ(KvoLogGetCurrentLevel(0), 3U);
    KvoLogShutdown();
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
  unlink(target.c_str());
  ASSERT_EQ(mkfifo(KVO_LOG_CONFIG_PATH, 0600), 0);
  EXPECT_FALSE(maps());
  unlink(KVO_LOG_CONFIG_PATH);
  EXPECT_EQ(InChild([&] {
              const rlimit none{0, 0};
              return setrlimit(RLIMIT_FSIZE, &none) == 0 && !maps() ? 0 : 1;
            }),
            0);
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
  EXPECT_EQ(KvoLogSetCurrentLevel(188, 6), 1);
  EXPECT_EQ(KvoLogSetCurrentLevel(188, 7), 0);
  EXPECT_EQ(KvoLogGetCurrentLevel(188), 6U);
  EXPECT_EQ(KvoLogSetRolloverSize(0) + KvoLogSetRolloverSize(-1) + KvoLogSetRolloverSize(2001), 0);
  EXPECT_EQ(KvoLogSetRolloverSize(2000), 1);
  EXPECT_EQ(KvoLogGetRolloverSize(), 2000U);
  EXPECT_EQ(KvoLogSetRolloverCount(101), 0);
  EXPECT_EQ(KvoLogSetRolloverCount(100) + KvoLogSetRolloverCount(0), 2);
  EXPECT_EQ(KvoLogGetRolloverCount(), 0U);
  EXPECT_EQ(KvoLogEnableFlags(0x1008), 1);
  EXPECT_EQ(KvoLogDisableFlags(0x401), 1);
  unsigned int flags = 0;
  EXPECT_EQ(KvoLogGetCurrentFlags(&flags), 1);
  EXPECT_EQ(flags, 0x122EU);
  const std::string longest(255, 'p');
  EXPECT_EQ(KvoLogSetOutputPath(longest.c_str()), 1);
  EXPECT_EQ(KvoLogSetOutputPath((longest + "p").c_str()) + KvoLogSetOutputPath(nullptr), 0);
  EXPECT_EQ(KvoLogGetOutputPath(), longest);
  EXPECT_EQ(KvoLogSetOutputPath("/x"), 1);
  EXPECT_EQ(Contents(KVO_LOG_CONFIG_PATH).substr(808, 256), "/x" + std::string(254, '\0'));
}

#define EXPECT_CHILD(status)                                                           \
  do {                                                                                 \
    const int answered = status;                                                       \
    if (answered == 77) GTEST_SKIP() << "no other group can be had in this namespace"; \
    EXPECT_EQ(answered, 0);                                                            \
  } while (false)

TEST_F(Log, LetsAProcessOfAnotherGroupReadAndNotWrite) {
  ASSERT_EQ(KvoLogInitConfigOnly(), 1);
  EXPECT_CHILD(InChild(
      [] {
        KvoLogShutdown();
        if (KvoLogInitConfigOnly() != 1) return 1;
        if (KvoLogGetWorkingLevel(188) != KVO_LOG_WARNING) return 2;
        if (KvoLogSetCurrentLevel(188, 1) != 0 || KvoLogEnableFlags(1) != 0) return 3;
        if (KvoLogSetOutputPath("x") != 0 || KvoLogSetRolloverSize(1) != 0) return 4;
        if (KvoLogSetRolloverCount(1) != 0 || KvoLogDisableFlags(1) != 0) return 5;
        return 0;
      },
      kNobody));
  KvoLogShutdown();
  // What is too short or has a hole is not mapped: reading there could end the process.
  for (const off_t size : {0, 5, 1076}) {
    unlink(KVO_LOG_CONFIG_PATH);
    std::ofstream(KVO_LOG_CONFIG_PATH).flush();
    ASSERT_EQ(truncate(KVO_LOG_CONFIG_PATH, size), 0);
    EXPECT_CHILD(InChild(
        [] {
          return KvoLogInitConfigOnly() == 0 && KvoLogGetWorkingLevel(0) == KVO_LOG_UNKNOWN ? 0 : 1;
        },
        kNobody));
  }
}

TEST_F(Connected, LosesNoLineToAChangeOfItsLevelBetweenTwoThatAdmitIt) {
  EXPECT_EQ(InChild([] { return KvoLogSetCurrentLevel(KVO_CLASS_YRAFT, 1) == 1 ? 0 : 1; }), 0);
  std::atomic<bool> stop{false};
  std::thread changer([&] {
    for (unsigned int i = 0; !stop; ++i) KvoLogSetCurrentLevel(KVO_CLASS_YRAFT_RW, i % 2);
  });
  std::size_t written = 0;
  for (int batch = 0; batch < 2000; ++batch) {
    for (int i = 0; i < 100; ++i) Trace(KVO_CLASS_YRAFT_RW, KVO_LOG_VERBOSE, "text");
    written += service.Waiting().size();
  }
  stop = true;
  changer.join();
  EXPECT_EQ(written, 200000 * (offsetof(KvoLogRecord, text) + sizeof("Function: text")));
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
  std::vector<unsigned int> ids(KVO_LOG_CLASSES);
  for (unsigned int id = 0; id < ids.size(); ++id) ids[id] = id;
  ids.insert(ids.end(), {201, 255, 256, 0xFFFFFFFF});
  KvoLogDisableFlags(KVO_LOG_FLAG_FUNCTION);
  for (int round = 0; round < 20; ++round) {
    // Mostly inherited levels, so that the ways to the root are walked.
    for (unsigned int id = 0; id < KVO_LOG_CLASSES; ++id) {
      KvoLogSetCurrentLevel(id, random() % 4 == 0 || id == 0 ? random() % KVO_LOG_LEVELS : 0);
    }
    for (const unsigned int id : ids) {
      std::string expected;
      for (int level = -1; level <= 8; ++level) {
        const bool wanted = Wanted(id, level);
        if (level >= 1 && level <= 5) {
          EXPECT_EQ(kvolog::Admits(id, level), wanted) << id << level;
        }
        if (wanted) expected += static_cast<char>('0' + level);
        __KvoTrace(id, level, "file", "f", 1, "%d", level);
      }
      std::string written;
      for (const Line& line : service.WaitingLines()) written += line.text;
      ASSERT_EQ(written, expected) << "class " << id;
    }
  }
}

TEST_F(Connected, WritesNothingForBadArgumentsOrWithoutALevelAnywhere) {
  __KvoTrace(188, 4, nullptr, "f", 1, "x");
  __KvoTrace(188, 4, "file", nullptr, 1, "x");
  __KvoTrace(188, 4, "file", "f", 1, nullptr);
  __KvoLog(4, nullptr, "f", 1, "x");
  __KvoLog(4, "file", nullptr, 1, "x");
  __KvoLog(4, "file", "f", 1, nullptr);
  for (const int level : {0, 6}) __KvoLog(level, "file", "f", 1, "x");
  KvoLogSetCurrentLevel(0, 0);
  EXPECT_EQ(KvoLogGetWorkingLevel(188), KVO_LOG_UNKNOWN);
  Trace(188, 5, "x");
  int evaluated = 0;
  TRACE_AT(KvoTracer<188>(), 5, "%d", ++evaluated);
  EXPECT_EQ(evaluated, 0);
  EXPECT_EQ(service.Waiting(), "");
}

// ---- What a line becomes -----------------------------------------------------------------------

TEST_F(Connected, LaysARecordOutToTheByte) {
  const auto before = time(nullptr);
  __KvoTrace(KVO_CLASS_YRAFT_WIN, KVO_LOG_ERROR, "file", "Function", 1, "%s %.1f %lld %d%%", "text",
             2.5, 1LL << 40, 9);
  const Line line = NextLine();
  EXPECT_EQ(line.text, "Function: text 2.5 1099511627776 9%");
  EXPECT_EQ(uint16_t{line.head.head.length}, 19 + line.text.size());
  EXPECT_EQ(line.head.head.type, 1);
  EXPECT_EQ(line.head.level, 4);
  EXPECT_EQ(line.head.classId, 188);
  EXPECT_EQ(line.head.thread, static_cast<uint16_t>(gettid()));
  EXPECT_GE(int64_t{line.head.seconds}, before);
  EXPECT_LE(int64_t{line.head.seconds}, time(nullptr));
  EXPECT_LT(uint32_t{line.head.microseconds}, 1000000U);
}

TEST_F(Connected, PrefixesALineAndCutsItWhereItsRoomEnds) {
  pthread_setname_np(pthread_self(), "painter");
  const auto text = [this](const std::string& message) {
    Error(message.c_str());
    const Line line = NextLine();
    EXPECT_EQ(line.head.head.length, 19 + line.text.size());
    return line.text;
  };
  for (const std::size_t length : {1UL, 8181UL, 8182UL, 10000UL}) {
    EXPECT_EQ(text(std::string(length, 'x')),
              "Function: " + std::string(std::min<std::size_t>(length, 8181), 'x'));
  }
  const std::string function(9000, 'f');
  __KvoTrace(188, 4, "file", function.c_str(), 1, "%s", "never seen");
  EXPECT_EQ(NextLine().text, std::string(8191, 'f'));
  const wchar_t noCharacter[] = {static_cast<wchar_t>(0xD800), 0};
  __KvoTrace(188, 4, "file", "f", 1, "before %ls after", noCharacter);
  EXPECT_EQ(NextLine().text, "f: ");  // what cannot be formatted is dropped
  KvoLogEnableFlags(KVO_LOG_FLAG_THREAD);
  EXPECT_EQ(text("x"), "[painter]: Function: x");
  KvoLogDisableFlags(KVO_LOG_FLAG_FUNCTION);
  EXPECT_EQ(text("x"), "[painter]: x");
  KvoLogDisableFlags(0xFFFFFFFF);
  EXPECT_EQ(text(""), "");
}

TEST_F(Connected, LeavesTheCallersErrorNumberAlone) {
  for (int i = 0; i < 2; ++i) {
    errno = ENOENT;
    Error("x");
    __KvoLog(4, "file", "f", 1, "x");
    EXPECT_EQ(errno, ENOENT);
    service.HangUp();
  }
}

TEST_F(Connected, WritesWholeRecordsFromManyThreads) {
  constexpr int kLines = 10000;
  std::vector<std::thread> threads(8);
  for (std::size_t thread = 0; thread < threads.size(); ++thread) {
    threads[thread] = std::thread([thread] {
      for (int i = 0; i < kLines; ++i) {
        __KvoTrace(188, 4, "file", "f", 1, "%zu %d %*d", thread, i, i % 300, i);
      }
    });
  }
  std::vector<int> next(threads.size());
  for (std::size_t i = 0; i < threads.size() * kLines; ++i) {
    std::size_t thread = 0;
    int number = -1;
    int again = -1;
    ASSERT_EQ(sscanf(NextLine().text.c_str(), "f: %zu %d %d", &thread, &number, &again), 3);
    ASSERT_EQ(number, next.at(thread)++);
    ASSERT_EQ(number, again);
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(service.Waiting(), "");
}

// ---- A service that is not as it should be -----------------------------------------------------

TEST_F(Connected, GivesUpAServiceThatHungUpOnceAndForAll) {
  service.HangUp();
  const std::vector<int> open = OpenDescriptors();
  Error("finds out");  // and gets no SIGPIPE, whose default would end this process
  EXPECT_FALSE(HasService());
  EXPECT_EQ(OpenDescriptors(), open);  // a file that got the number would get lines under way
  service.StopListening();
  LogService other;
  Error("goes nowhere");
  KvoLogShutdown();
  EXPECT_EQ(KvoLogInit(), 1);
  ASSERT_TRUE(other.Accept());
  EXPECT_EQ(other.Next().has_value(), true);
  Error("arrives");
  EXPECT_NE(other.Next().value_or("").find("arrives"), std::string::npos);
}

double SecondsOf(const std::function<void()>& call) {
  const auto start = Clock::now();
  call();
  return std::chrono::duration<double>(Clock::now() - start).count();
}

TEST_F(Connected, WaitsASecondForAServiceThatStoppedReadingWhateverSignalsCome) {
  signal(SIGALRM, [](int) {});
  const itimerval often{{0, 500}, {0, 500}};
  setitimer(ITIMER_REAL, &often, nullptr);
  const double seconds = SecondsOf([] {
    std::vector<std::thread> threads(4);
    for (std::thread& thread : threads) {
      thread = std::thread([] {
        for (int line = 0; line < 20000; ++line) Error("nobody reads this");
      });
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
  EXPECT_LE(seconds, 2.0);
  EXPECT_FALSE(HasService());
}

TEST_F(Log, StartsWithoutAServiceOrWithOneThatTakesNoCallers) {
  const std::vector<int> open = OpenDescriptors();
  EXPECT_EQ(KvoLogInit(), 1);
  EXPECT_FALSE(HasService());
  KvoLogShutdown();
  EXPECT_EQ(OpenDescriptors(), open);
  LogService full(0);
  const int callers[] = {CallLogService(false), CallLogService(false), CallLogService(false)};
  EXPECT_LE(SecondsOf([] { EXPECT_EQ(KvoLogInit(), 1); }), 2.0);
  EXPECT_FALSE(HasService());
  for (const int fd : callers) close(fd);
}

// ---- Start and end -----------------------------------------------------------------------------

// What a process of this name registers as.
std::string HelloOf(const char* program, const char* session) {
  LogService service;
  char* const old = program_invocation_short_name;
  std::string name = program == nullptr ? "" : program;
  program_invocation_short_name = program == nullptr ? nullptr : name.data();
  if (session != nullptr) setenv("BRELKA_SESSION_ID", session, 1);
  EXPECT_EQ(KvoLogInit(), 1);
  program_invocation_short_name = old;
  unsetenv("BRELKA_SESSION_ID");
  EXPECT_TRUE(service.Accept());
  std::string hello = service.Next().value_or("");
  KvoLogShutdown();
  return hello;
}

TEST_F(Log, RegistersAProcessByItsNameAndSession) {
  EXPECT_EQ(HelloOf("vcagent", nullptr), HelloRecord("brelka-vcagent", 0));
  EXPECT_EQ(HelloOf("java", "17"), HelloRecord("brelka-kvoavk", 17));
  EXPECT_EQ(HelloOf(nullptr, "letters"), HelloRecord("brelka", 0));
  EXPECT_EQ(HelloOf("", "70000x"), HelloRecord("brelka", 70000 & 0xFFFF));
  EXPECT_EQ(HelloOf(std::string(40, 'n').c_str(), "3 4"),
            HelloRecord("brelka-" + std::string(24, 'n'), 3));
}

TEST_F(Log, StartsAndEndsAsOftenAsItIsTold) {
  KvoLogShutdown();
  LogService service;
  ASSERT_EQ(KvoLogInitConfigOnly(), 1);
  EXPECT_EQ(KvoLogInit(), 0);
  EXPECT_FALSE(HasService());
  KvoLogShutdown();
  EXPECT_EQ(KvoLogGetOutputPath(), nullptr);
  struct sigaction before;
  struct sigaction after;
  sigaction(SIGPIPE, nullptr, &before);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(KvoLogInit(), 1);
    EXPECT_EQ(KvoLogInit(), 1);
    ASSERT_TRUE(service.Accept());
    service.Next();
    Error("a line");
    KvoLogShutdown();
    KvoLogShutdown();
    Error("no line");
    EXPECT_NE(service.Next().value_or("").find("a line"), std::string::npos);
    EXPECT_FALSE(service.Next().has_value());  // the end
  }
  sigaction(SIGPIPE, nullptr, &after);
  EXPECT_EQ(after.sa_handler, before.sa_handler);
}

// ---- Syslog ------------------------------------------------------------------------------------

TEST_F(Log, SendsUnfilteredLinesToSyslogAndToTheService) {
  __KvoLog(4, "file", "f", 1, "not initialised, nowhere");
  DatagramService syslogService("/dev/log");
  LogService service;
  ASSERT_EQ(KvoLogInit(), 1);
  ASSERT_TRUE(service.Accept());
  service.Next();
  for (unsigned int id = 0; id < KVO_LOG_CLASSES; ++id) KvoLogSetCurrentLevel(id, KVO_LOG_NONE);
  constexpr int kPriorities[] = {LOG_INFO, LOG_NOTICE, LOG_WARNING, LOG_ERR, LOG_ALERT};
  for (int level = 1; level <= 5; ++level) {
    __KvoLog(level, "file", "f", 1, "line %d", level);
    const std::string sent = syslogService.Next();
    const std::string priority = "<" + std::to_string(LOG_USER | kPriorities[level - 1]) + ">";
    EXPECT_TRUE(sent.starts_with(priority)) << sent;
    EXPECT_TRUE(sent.ends_with("brelka-log_test[" + std::to_string(getpid()) + "]: line " +
                               std::to_string(level)))
        << sent;
    const Line line(service.Next().value_or(LineRecord("", 0, 0, 0)));
    EXPECT_EQ(line.head.classId, 0);
    EXPECT_EQ(line.head.level, level);
    EXPECT_EQ(line.text, "f: line " + std::to_string(level));
  }
}

}  // namespace
