// kvolog serve: the log service as a program.
#include <sys/socket.h>
#include <sys/un.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "Commands.h"
#include "Configuration.h"
#include "Service.h"

namespace {

// Tells a service manager that waits for it how far we are.
void Notify(const char* state) {
  const char* path = std::getenv("NOTIFY_SOCKET");
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path == nullptr || *path == '\0' || std::strlen(path) >= sizeof address.sun_path) return;
  const std::size_t length = std::strlen(path);
  std::memcpy(address.sun_path, path, length);
  if (*path == '@') address.sun_path[0] = '\0';
  const UniqueFd fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  sendto(fd.get(), state, std::strlen(state), MSG_NOSIGNAL,
         reinterpret_cast<const sockaddr*>(&address),
         static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length));
}

}  // namespace

void Serve() {
  std::error_code ignored;  // mapping tells
  std::filesystem::create_directories(std::filesystem::path(KVO_LOG_SOCKET_PATH).parent_path(),
                                      ignored);
  MapConfiguration();
  Service service;
  std::fprintf(stderr, "kvolog serve: listening at %s, writing into %s\n", KVO_LOG_SOCKET_PATH,
               service.path().c_str());
  Notify("READY=1");
  service.Run();
  Notify("STOPPING=1");
}
