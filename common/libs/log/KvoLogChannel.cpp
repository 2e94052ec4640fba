#include "common/libs/log/KvoLogChannel.h"

#include <sched.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "common/libs/log/KvoTrace.h"

namespace kvolog {

namespace {

// The descriptor is ours while kHeld is set, and good for records while kConnected is set. The low
// bits count the threads that are using it.
constexpr std::uint32_t kHeld = 1U << 31;
constexpr std::uint32_t kConnected = 1U << 30;
constexpr std::uint32_t kClosing = 1U << 29;

std::atomic<std::uint32_t> g_state{0};
int g_socket = -1;  // written while the state is 0

constexpr std::int64_t kPatience = 1000000;  // microseconds a service that does not read may cost

std::int64_t Now() {
  timeval now;
  gettimeofday(&now, nullptr);
  return std::int64_t{now.tv_sec} * 1000000 + now.tv_usec;
}

bool Patient(std::int64_t start) { return Now() - start < kPatience; }

// Calls the system, again only where a signal came before it did anything. The socket's timeout
// starts anew then, hence the look at the clock.
template <class Call>
auto Uninterrupted(std::int64_t start, Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR && Patient(start)) result = call();
  return result;
}

bool SendWhole(int fd, const void* pData, std::size_t size, std::int64_t start) {
  return Uninterrupted(start, [=] { return send(fd, pData, size, MSG_NOSIGNAL); }) ==
         static_cast<ssize_t>(size);
}

bool Connect(int fd) {
  // Holds for connecting, too: a service whose queue of callers is full keeps us no longer.
  const timeval patience{kPatience / 1000000, 0};
  setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof(patience));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strcpy(address.sun_path, KVO_LOG_SOCKET_PATH);
  return Uninterrupted(Now(), [&] {
           return connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
         }) == 0;
}

bool Register(int fd, unsigned int session, const char* identity) {
  KvoLogHello hello{};
  const std::size_t length = strnlen(identity, sizeof(hello.identity) - 1);
  hello.head.length = static_cast<std::uint16_t>(sizeof(hello.session) + length + 1);
  hello.head.type = KVO_LOG_RECORD_HELLO;
  hello.session = static_cast<std::uint16_t>(session);
  std::memcpy(hello.identity, identity, length);
  return SendWhole(fd, &hello, sizeof(hello.head) + hello.head.length, Now());
}

int ConnectAndRegister(unsigned int session, const char* identity) {
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return -1;
  if (Connect(fd) && Register(fd, session, identity)) return fd;
  close(fd);
  return -1;
}

// The last one out of a connection that was given up closes it. A late comer that counted itself in
// meanwhile will be the last one then.
void Leave() {
  if (g_state.fetch_sub(1, std::memory_order_acq_rel) != (kHeld | 1)) return;
  std::uint32_t last = kHeld;
  if (!g_state.compare_exchange_strong(last, kClosing, std::memory_order_acq_rel)) return;
  close(g_socket);
  g_state.fetch_and(~kClosing, std::memory_order_release);
}

// Answers false where the connection is gone; true obliges to Leave.
bool Enter() {
  if (!ChannelOpen()) return false;
  if ((g_state.fetch_add(1, std::memory_order_acquire) & kConnected) != 0) return true;
  Leave();
  return false;
}

// Called between Enter and Leave.
void GiveUp() {
  kvolog_filter.store(nullptr, std::memory_order_relaxed);
  if ((g_state.fetch_and(~kConnected, std::memory_order_acq_rel) & kConnected) != 0) {
    shutdown(g_socket, SHUT_RDWR);  // wakes the others
  }
}

// Threads that were writing when the connection was given up are on their way out; a process that
// was forked off meanwhile waits in vain, for threads that only its parent has.
bool WaitUntilUnused() {
  const std::int64_t start = Now();
  while (g_state.load(std::memory_order_acquire) != 0) {
    if (!Patient(start)) return false;
    sched_yield();
  }
  return true;
}

}  // namespace

bool ChannelOpen() { return (g_state.load(std::memory_order_relaxed) & kConnected) != 0; }

bool OpenChannel(unsigned int session, const char* identity) {
  if (!WaitUntilUnused()) return false;
  struct sigaction ignore {};
  struct sigaction old;
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &ignore, &old);
  g_socket = ConnectAndRegister(session, identity);
  if (g_socket >= 0) g_state.store(kHeld | kConnected, std::memory_order_release);
  sigaction(SIGPIPE, &old, nullptr);
  return g_socket >= 0;
}

void CloseChannel() {
  if (!Enter()) return;
  GiveUp();
  Leave();
}

void WriteRecord(const KvoLogRecord& record, std::size_t size) {
  if (!Enter()) return;
  const std::int64_t start = record.seconds * 1000000 + record.microseconds;
  if (!SendWhole(g_socket, &record, size, start)) GiveUp();
  Leave();
}

}  // namespace kvolog
