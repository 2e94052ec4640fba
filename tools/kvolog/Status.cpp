// kvolog status: what the log service says of itself.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "Commands.h"
#include "Failure.h"
#include "Json.h"
#include "UniqueFd.h"
#include "kvolog.h"

namespace {

std::string Ask() {
  const UniqueFd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::string_view(KVO_LOG_SOCKET_PATH).copy(address.sun_path, sizeof address.sun_path - 1);
  const timeval patience{5, 0};
  setsockopt(fd.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  if (connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw Refused(std::string("no log service listens at ") + KVO_LOG_SOCKET_PATH + ": " +
                  std::strerror(errno));
  }
  send(fd.get(), kStatusRequest.data(), kStatusRequest.size(), MSG_NOSIGNAL);
  std::string answer;
  std::array<char, 65536> block;
  for (ssize_t n; (n = recv(fd.get(), block.data(), block.size(), 0)) > 0;) {
    answer.append(block.data(), static_cast<std::size_t>(n));
  }
  return answer;
}

void Print(const Json& status) {
  const Json& limits = status["limits"];
  std::printf("process     %d\noutput      %s\nwaiting     %lld lines%s\nlost        %lld lines\n",
              status["pid"].get<int>(), status["output"].get<std::string>().c_str(),
              status["waiting"].get<long long>(),
              status["stalled"].get<bool>() ? ", the file cannot be written" : "",
              status["lost"].get<long long>());
  std::printf("limits      %lld descriptors; a user: %lld connections, %.0f KiB a second\n\n",
              limits["descriptors"].get<long long>(), limits["userConnections"].get<long long>(),
              limits["userBytesPerSecond"].get<double>() / 1024);
  std::printf("%7s  %7s  %-31s  %7s  %10s  %12s  %s\n", "PID", "UID", "IDENTITY", "SESSION",
              "LINES", "BYTES", "DROPPED");
  for (const Json& client : status["clients"]) {
    std::printf("%7d  %7u  %-31s  %7u  %10lld  %12lld  %lld\n", client["pid"].get<int>(),
                client["uid"].get<unsigned>(), client["identity"].get<std::string>().c_str(),
                client["session"].get<unsigned>(), client["lines"].get<long long>(),
                client["bytes"].get<long long>(), client["dropped"].get<long long>());
  }
}

}  // namespace

void ShowStatus(bool json) {
  const std::string answer = Ask();
  const Json status = Json::parse(answer, nullptr, false);
  if (!status.is_object()) {
    throw Refused(getuid() == 0 || getgid() == 0
                      ? "the log service does not tell its status: it is older, or busy"
                      : "only root and processes of group 0 are told");
  }
  json ? static_cast<void>(std::fputs(answer.c_str(), stdout)) : Print(status);
}
