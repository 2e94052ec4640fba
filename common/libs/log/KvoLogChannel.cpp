#include "common/libs/log/KvoLogChannel.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>

#include "common/libs/log/KvoTrace.h"

namespace kvolog {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience{1};
// What a service that stands still may leave unread, as far as the kernel allows. Of its own accord
// it gives room for some 280 short lines; each takes some 800 bytes of this.
constexpr int kRoom = 4 << 20;
// Milliseconds after which to look for room though nobody was told of any: the kernel tells when
// three quarters of it are free, and a busy service may take longer than we wait.
constexpr int kLook = 10;

std::atomic<bool> g_connected{false};
std::atomic<Clock::time_point> g_passed{};  // when a line that had waited for room was sent
// Written by the start and the end, which no line overlaps.
int g_socket = -1;
const char* g_identity = nullptr;

// Milliseconds, none when it is over.
int Left(Clock::time_point end) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
  return std::max(static_cast<int>(left.count()), 0);
}

// Sends a record whole. Gives up when for a second none of those that wait got through, whatever
// signals come meanwhile.
bool SendWhole(int fd, const void* pData, std::size_t size) {
  std::optional<Clock::time_point> start;  // nobody looks at the clock who need not wait
  for (;;) {
    const ssize_t sent = send(fd, pData, size, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent >= 0 || errno != EAGAIN) {
      if (start) g_passed = Clock::now();
      return sent == static_cast<ssize_t>(size);
    }
    if (!start) start = Clock::now();
    const int left = Left(std::max(*start, g_passed.load()) + kPatience);
    if (left == 0) return false;
    pollfd room{fd, POLLOUT, 0};
    poll(&room, 1, std::min(left, kLook));
  }
}

void Address(const char* path, sockaddr_un* pAddress) {
  pAddress->sun_family = AF_UNIX;
  std::string_view(path).copy(pAddress->sun_path, sizeof(pAddress->sun_path) - 1);
}

// A service whose queue of callers is full may cost a second at most, too.
bool Connect(int fd) {
  sockaddr_un address{};
  Address(KVO_LOG_SOCKET_PATH, &address);
  const Clock::time_point end = Clock::now() + kPatience;
  while (const int left = Left(end)) {
    const timeval patience{left / 1000, left % 1000 * 1000L};
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof(patience));
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) return true;
    if (errno != EINTR) break;
  }
  return false;
}

bool Register(int fd, unsigned int session, const char* identity) {
  KvoLogHello hello{};
  const std::size_t length = strnlen(identity, sizeof(hello.identity) - 1);
  hello.head.length = static_cast<std::uint16_t>(sizeof(hello.session) + length + 1);
  hello.head.type = KVO_LOG_RECORD_HELLO;
  hello.session = static_cast<std::uint16_t>(session);
  std::memcpy(hello.identity, identity, length);
  return SendWhole(fd, &hello, sizeof(hello.head) + hello.head.length);
}

// Whatever waits for room wakes up. The descriptor stays, dead, until the logging ends: as long as
// lines may be under way, nothing else may get its number.
// Answers whether this is the thread that did it.
bool GiveUp() {
  kvolog_filter.store(nullptr, std::memory_order_relaxed);
  const bool first = g_connected.exchange(false, std::memory_order_relaxed);
  shutdown(g_socket, SHUT_RDWR);
  return first;
}

// Tells syslog that lines will be missing from now on. Not by syslog(3), which waits for a reader
// for good, and what stalls one log may stall the other.
void SayGivenUp() {
  sockaddr_un address{};
  Address(_PATH_LOG, &address);
  char text[160];
  const int length = std::snprintf(
      text, sizeof(text),
      "<%d>%s[%d]: the log service is gone or stalled; this process logs nothing more",
      LOG_USER | LOG_WARNING, g_identity, getpid());
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return;
  sendto(fd, text, static_cast<std::size_t>(length), MSG_DONTWAIT | MSG_NOSIGNAL,
         reinterpret_cast<const sockaddr*>(&address), sizeof(address));
  close(fd);
}

}  // namespace

bool ChannelOpen() { return g_connected.load(std::memory_order_relaxed); }

bool OpenChannel(unsigned int session, const char* identity) {
  struct sigaction ignore {};
  struct sigaction old;
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &ignore, &old);
  g_identity = identity;
  g_socket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  setsockopt(g_socket, SOL_SOCKET, SO_SNDBUF, &kRoom, sizeof(kRoom));
  if (g_socket >= 0 && !(Connect(g_socket) && Register(g_socket, session, identity))) {
    close(g_socket);
    g_socket = -1;
  }
  sigaction(SIGPIPE, &old, nullptr);
  g_connected.store(g_socket >= 0, std::memory_order_relaxed);
  return g_socket >= 0;
}

void CloseChannel() {
  if (g_socket < 0) return;
  GiveUp();
  close(g_socket);
  g_socket = -1;
}

void WriteRecord(const KvoLogRecord& record, std::size_t size) {
  int old;  // no caller reckons with its end at a line of the log
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &old);
  if (!SendWhole(g_socket, &record, size) && GiveUp()) SayGivenUp();
  pthread_setcancelstate(old, nullptr);
}

}  // namespace kvolog
