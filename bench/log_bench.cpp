// The log service and its reader beside what others do with the same lines. What is measured are
// processes: their CPU time, or the time between what they do.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "harness.h"
#include "kvolog.h"
#include "log_sink.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kRounds = 5;
constexpr int kRecords = 1000000;
constexpr const char* kLog = KVO_LOG_OUTPUT_PATH_DEFAULT;
constexpr const char* kPlain = "/var/log/qmz/plain";  // a socket of a peer
constexpr const char* kBig = "/var/log/qmz/big.log";  // 1 GiB

// A child that ends with this process. Its output goes where `out` says, if that is anywhere.
template <class Body>
pid_t Child(Body body) {
  const pid_t pid = fork();
  if (pid != 0) return pid;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  body();
  _exit(0);
}
pid_t Start(const std::string& command, int out = -1) {
  return Child([&] {
    if (out >= 0) dup2(out, STDOUT_FILENO);
    execl("/bin/sh", "sh", "-c", ("exec " + command).c_str(), nullptr);
  });
}

// Waits for its end and answers its CPU time in nanoseconds.
double End(pid_t pid, int number = 0) {
  if (number != 0) kill(pid, number);
  rusage usage{};
  int status = 0;
  wait4(pid, &status, 0, &usage);
  const auto nanoseconds = [](const timeval& t) {
    return 1e9 * static_cast<double>(t.tv_sec) + 1e3 * static_cast<double>(t.tv_usec);
  };
  return nanoseconds(usage.ru_utime) + nanoseconds(usage.ru_stime);
}

void Run(const std::string& command) { End(Start(command + " 2>/dev/null")); }

sockaddr_un Address(const char* path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::string(path).copy(address.sun_path, sizeof(address.sun_path) - 1);
  return address;
}

int Connect(const char* path, int type) {
  const sockaddr_un address = Address(path);
  for (int i = 0; i < 2000; ++i) {
    const int fd = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    const int room = 4 << 20;  // as the library's clients have
    setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &room, sizeof(room));
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) return fd;
    close(fd);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  throw std::runtime_error(std::string("nobody listens at ") + path);
}

int Listen(const char* path) {
  const sockaddr_un address = Address(path);
  unlink(path);
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
      listen(fd, 1) != 0)
    throw std::runtime_error("cannot listen");
  return fd;
}

int Registered(const char* identity) {
  const int fd = Connect(KVO_LOG_SOCKET_PATH, SOCK_STREAM);
  KvoLogHello hello{};
  const std::string name(identity);
  hello.head = {static_cast<std::uint16_t>(3 + name.size()), KVO_LOG_RECORD_HELLO};
  name.copy(hello.identity, sizeof(hello.identity) - 1);
  return write(fd, &hello, hello.head.length + sizeof(hello.head)) > 0 ? fd : -1;
}

void SendLine(int fd, const std::string& text) {
  KvoLogRecord record{};
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  record.head = {static_cast<std::uint16_t>(offsetof(KvoLogRecord, text) + text.size() + 1 - 4),
                 KVO_LOG_RECORD_TRACE};
  record.level = KVO_LOG_WARNING;
  record.classId = KVO_CLASS_YRAFT_RW;
  record.seconds = std::chrono::duration_cast<std::chrono::seconds>(now).count();
  record.microseconds = static_cast<std::uint32_t>(now.count() / 1000 % 1000000);
  text.copy(record.text, sizeof(record.text) - 1);
  if (write(fd, &record, record.head.length + 4UL) < 0) throw std::runtime_error("not written");
}

const std::string kText(57, 'x');  // a record of 80 bytes

std::size_t SizeOf(const char* path) {
  std::error_code none;
  const auto size = fs::file_size(path, none);
  return none ? 0 : size;
}
void AwaitSize(const char* path, std::size_t size) {
  while (SizeOf(path) < size) std::this_thread::sleep_for(std::chrono::milliseconds(2));
}

void MakeFolder() { fs::create_directories(fs::path(kLog).parent_path()); }

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// ---- Writing
// -------------------------------------------------------------------------------------

// What is read from a stream goes into a file as it is.
double SocketToFile() {
  const int listener = Listen(kPlain);
  const pid_t pid = Child([&] {
    const int client = accept(listener, nullptr, nullptr);
    const int file = open(kLog, O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0640);
    static char block[1 << 16];
    for (ssize_t n; (n = recv(client, block, sizeof(block), 0)) > 0;) {
      if (write(file, block, static_cast<std::size_t>(n)) != n) _exit(1);
    }
  });
  close(listener);
  const int fd = Connect(kPlain, SOCK_STREAM);
  for (int i = 0; i < kRecords; ++i) SendLine(fd, kText);
  close(fd);
  return End(pid) / kRecords;
}

double Kvolog(const std::string& environment) {
  fs::remove(kLog);
  const pid_t pid = Start("env " + environment + " " KVOLOG_TOOL " serve 2>/dev/null");
  const int fd = Registered("brelka");
  for (int i = 0; i < kRecords; ++i) SendLine(fd, kText);
  close(fd);
  return End(pid, SIGTERM) / kRecords;
}

double Rsyslog() {
  std::ofstream("/var/log/qmz/rsyslog.conf")
      << "module(load=\"imuxsock\" SysSock.Use=\"off\")\n"
      << "input(type=\"imuxsock\" Socket=\"" << kPlain << "\" RateLimit.Interval=\"0\")\n"
      << "*.* action(type=\"omfile\" file=\"" << kLog << "\")\n";
  fs::remove(kLog);
  fs::remove(kPlain);
  const pid_t pid = Start("/usr/sbin/rsyslogd -n -i NONE -f /var/log/qmz/rsyslog.conf 2>/dev/null");
  const int fd = Connect(kPlain, SOCK_DGRAM);
  const std::string line = "<12>brelka[1]: " + kText;
  constexpr int kFewer = kRecords / 10;
  for (int i = 0; i < kFewer; ++i) {
    if (write(fd, line.data(), line.size()) < 0) throw std::runtime_error("not written");
  }
  close(fd);
  AwaitSize(kLog, kFewer * kText.size());
  return End(pid, SIGTERM) / kFewer;
}

std::vector<bench::Row> Records() {
  MakeFolder();
  Run(KVOLOG_TOOL " rollover off");
  std::vector<double> floor, ours, kept, peer;
  const std::string manager = "/var/log/qmz/manager";
  const int drain = ConnectToDrain(manager, SOCK_DGRAM);
  const bool rsyslog = access("/usr/sbin/rsyslogd", X_OK) == 0;
  for (int round = 0; round < kRounds; ++round) {
    floor.push_back(SocketToFile());
    ours.push_back(Kvolog(""));
    kept.push_back(Kvolog("NOTIFY_SOCKET=" + manager));
    if (rsyslog) peer.push_back(Rsyslog());
  }
  std::vector<bench::Row> rows = {
      {"what a stream socket brings, written into a file", Median(floor)},
      {"kvolog serve", Median(ours), 1.25},
      {"kvolog serve that a manager keeps safe from a crash", Median(kept), 1.25}};
  shutdown(drain, SHUT_RDWR);
  if (rsyslog) rows.push_back({"rsyslogd, from its socket to a file", Median(peer)});
  return rows;
}

// ---- Reading
// -------------------------------------------------------------------------------------

void MakeBigLog() {
  MakeFolder();
  if (SizeOf(kBig) >= 1UL << 30) return;
  const char* kLevels[] = {"VERBOSE", "VERBOSE", "VERBOSE", "INFO", "WARNING", "ERROR"};
  std::ofstream log(kBig);
  for (std::size_t i = 0, size = 0; size < 1UL << 30; ++i) {
    std::string line = "2026-11-24T20:08:10.123456+01:00 ";
    line += kLevels[i * 7919 % 6] + std::string(" YRAFT_RW brelka-vcagent[4711,1000] 17 4711 ");
    line += "YraRW_QueuePush: callback number " + std::to_string(i) + " of a text that fills it\n";
    log << line;
    size += line.size();
  }
}

std::vector<bench::Row> Last() {
  MakeBigLog();
  std::vector<double> times;
  for (int i = 0; i < 41; ++i) {
    const auto start = Clock::now();
    Run(KVOLOG_TOOL " tail " + std::string(kBig) + " >/dev/null");
    times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
  }
  return {{"the time allowed, 5 ms", 5}, {"the middle of 41", Median(times), 1}};
}

std::vector<bench::Row> Filtered() {
  MakeBigLog();
  const std::string file = " " + std::string(kBig) + " >/var/log/qmz/found";
  std::vector<double> grep, level, expression, grepExpression;
  for (int round = 0; round < kRounds; ++round) {
    grep.push_back(End(Start("grep -F ' ERROR '" + file)) / 1e6);
    level.push_back(End(Start(KVOLOG_TOOL " tail -n all -l error" + file)) / 1e6);
    grepExpression.push_back(End(Start("grep -P 'number \\d*7777 '" + file)) / 1e6);
    expression.push_back(End(Start(KVOLOG_TOOL " tail -n all -g 'number \\d*7777 '" + file)) / 1e6);
  }
  const double floor = Median(grep);
  return {{"grep -F", floor},
          {"kvolog tail --level", Median(level), 1.3},
          {"grep -P", Median(grepExpression)},
          {"kvolog tail --grep", Median(expression), 1.3 * Median(grepExpression) / floor}};
}

// The times from a line's sending to its showing in milliseconds, the 99th of a hundred.
double Delay(bool load) {
  fs::remove(kLog);
  const pid_t service = Start(KVOLOG_TOOL " serve 2>/dev/null");
  const int fd = Registered("brelka-probe");
  int pipes[2];
  if (pipe2(pipes, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
  SendLine(fd, "first");
  AwaitSize(kLog, 1);
  const pid_t tail = Start(KVOLOG_TOOL " tail -f -i brelka-probe", pipes[1]);
  const pid_t crowd = Child([&] {
    const int other = Registered("brelka-crowd");
    while (load) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
      for (int i = 0; i < 250; ++i) SendLine(other, kText);  // 50,000 a second
    }
  });
  char block[65536];
  std::vector<double> delays;
  const auto shown = [&] { return read(pipes[0], block, sizeof(block)) > 0; };
  for (int i = 0; shown() && i < 500; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(7));
    const auto start = Clock::now();
    SendLine(fd, "probe");
    pollfd any{pipes[0], POLLIN, 0};
    poll(&any, 1, 5000);
    delays.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
  }
  for (const pid_t pid : {crowd, tail, service}) End(pid, SIGTERM);
  for (const int end : {fd, pipes[0], pipes[1]}) close(end);
  std::sort(delays.begin(), delays.end());
  return delays.at(delays.size() * 99 / 100);
}

std::vector<bench::Row> Idle() {
  return {{"the time allowed, 20 ms", 20}, {"99 of 100 lines, idle", Delay(false), 1}};
}
std::vector<bench::Row> Loaded() {
  return {{"the time allowed, 60 ms", 60},
          {"99 of 100 lines, 50,000 others a second", Delay(true), 1}};
}

const bench::Registration registration([] {
  bench::RegisterFigure("log service: a record of 80 bytes", "ns of CPU per record", Records);
  bench::RegisterFigure("log reader: the last 10 lines of 1 GiB", "ms", Last);
  bench::RegisterFigure("log reader: a filter over 1 GiB", "ms of CPU", Filtered);
  bench::RegisterFigure("log reader: from a line's sending to its showing", "ms", Idle);
  bench::RegisterFigure("log reader: the same under load", "ms", Loaded);
});

}  // namespace
