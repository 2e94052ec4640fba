#include "ServiceSocket.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include "Failure.h"
#include "kvolog.h"

namespace {

constexpr const char* kPath = KVO_LOG_SOCKET_PATH;

[[noreturn]] void Refuse(const char* what) {
  throw Refused(std::string("cannot ") + what + " " + kPath + ": " + std::strerror(errno));
}

const sockaddr_un& Address() {
  static const sockaddr_un address = [] {
    sockaddr_un a{};
    a.sun_family = AF_UNIX;
    static_assert(sizeof(KVO_LOG_SOCKET_PATH) <= sizeof a.sun_path);
    std::memcpy(a.sun_path, KVO_LOG_SOCKET_PATH, sizeof(KVO_LOG_SOCKET_PATH));
    return a;
  }();
  return address;
}

const sockaddr* Generic(const sockaddr_un& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

UniqueFd NewSocket() {
  UniqueFd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!fd) Refuse("make a socket for");
  return fd;
}

// Held as long as the service runs. Nobody else may open the file: whoever could, could lock it.
UniqueFd Lock() {
  constexpr const char* kLock = KVO_LOG_SOCKET_PATH ".lock";
  constexpr int kFlags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
  UniqueFd fd(open(kLock, kFlags, 0600));
  if (!fd || fchmod(fd.get(), 0600) != 0) {
    throw Refused(std::string("cannot open ") + kLock + ": " + std::strerror(errno));
  }
  if (flock(fd.get(), LOCK_EX | LOCK_NB) != 0) {
    throw Refused("a log service runs already: it has locked " + std::string(kLock));
  }
  return fd;
}

void RemoveStaleSocket() {
  struct stat status {};
  if (lstat(kPath, &status) != 0) return;  // binding tells
  if (!S_ISSOCK(status.st_mode)) {
    throw Refused(std::string(kPath) + " is in the way: it is no socket");
  }
  const UniqueFd probe = NewSocket();
  if (connect(probe.get(), Generic(Address()), sizeof(sockaddr_un)) == 0 || errno == EAGAIN) {
    throw Refused(std::string("a log service listens at ") + kPath + " already");
  }
  if (errno != ECONNREFUSED) Refuse("examine");
  if (unlink(kPath) != 0) Refuse("remove");
}

}  // namespace

ServiceSocket::ServiceSocket(UniqueFd inherited)
    : m_lock(Lock()), m_fd(std::move(inherited)), m_outlives(static_cast<bool>(m_fd)) {
  if (m_outlives) {
    fcntl(m_fd.get(), F_SETFL, O_NONBLOCK);
  } else {
    Listen();
  }
}

void ServiceSocket::Listen() {
  RemoveStaleSocket();
  UniqueFd fd = NewSocket();
  if (bind(fd.get(), Generic(Address()), sizeof(sockaddr_un)) != 0) ::Refuse("bind");
  struct stat status {};
  if (lstat(kPath, &status) != 0) ::Refuse("find");
  m_device = status.st_dev;
  m_inode = status.st_ino;
  // Whoever may log may connect, which takes the right to write. Nobody can before we listen.
  if (chmod(kPath, 0666) != 0 || listen(fd.get(), SOMAXCONN) != 0) {
    Remove();
    ::Refuse("listen at");
  }
  m_fd = std::move(fd);
}

// The file goes first: an inode's number is not given away while the socket is open.
ServiceSocket::~ServiceSocket() { Remove(); }

void ServiceSocket::Remove() {
  struct stat status {};
  const bool ours = m_inode != 0 && lstat(kPath, &status) == 0 && status.st_dev == m_device &&
                    status.st_ino == m_inode;
  if (ours) unlink(kPath);
}

UniqueFd ServiceSocket::Accept() {
  return UniqueFd(accept4(m_fd.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
}

void ServiceSocket::Refuse() { shutdown(m_fd.get(), SHUT_RD); }
