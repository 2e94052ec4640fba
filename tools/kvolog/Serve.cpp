// kvolog serve: the log service as a program.
#include <sys/resource.h>
#include <sys/stat.h>
#include <systemd/sd-daemon.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "Commands.h"
#include "Complain.h"
#include "Configuration.h"
#include "Failure.h"
#include "Service.h"

namespace {

bool JournalReadsErrors() {
  const char* stream = std::getenv("JOURNAL_STREAM");
  struct stat status {};
  return stream != nullptr && fstat(STDERR_FILENO, &status) == 0 &&
         std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino) == stream;
}

// A descriptor for each process that logs: as many as there may be.
void RaiseDescriptors() {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

// The socket to listen at, and the connections of a service before us.
Inheritance Inherit() {
  Inheritance inheritance;
  char** names = nullptr;
  const int count = sd_listen_fds_with_names(1, &names);
  for (int i = 0; i < count; ++i) {
    UniqueFd fd(SD_LISTEN_FDS_START + i);
    if (sd_is_socket_unix(fd.get(), SOCK_STREAM, 1, KVO_LOG_SOCKET_PATH, 0) > 0) {
      inheritance.listener = std::move(fd);
    } else if (names[i] == kInboxName) {
      inheritance.inbox = std::move(fd);
    } else {
      Inheritance::Connection& connection = inheritance.connections[names[i]];
      const bool socket = sd_is_socket_unix(fd.get(), SOCK_STREAM, 0, nullptr, 0) > 0;
      (socket ? connection.fd : connection.registration) = std::move(fd);
    }
    std::free(names[i]);
  }
  std::free(names);
  return inheritance;
}

}  // namespace

void Complain(int priority, const std::string& what) {
  static const bool journal = JournalReadsErrors();
  const std::string prefix = journal ? "<" + std::to_string(priority) + ">" : "kvolog serve: ";
  std::fprintf(stderr, "%s%s\n", prefix.c_str(), what.c_str());
}

void Serve(const ServeOptions& options) {
  Inheritance inheritance = Inherit();
  std::error_code ignored;  // mapping tells
  std::filesystem::create_directories(std::filesystem::path(KVO_LOG_SOCKET_PATH).parent_path(),
                                      ignored);
  MapConfiguration();
  RaiseDescriptors();
  std::uint64_t lost = 0;
  {
    Service service(options, std::move(inheritance));
    Complain(kInformation, std::string("listening at ") + KVO_LOG_SOCKET_PATH + ", writing into " +
                               service.path());
    sd_notify(0, "READY=1");
    lost = service.Run();
    sd_notify(0, "STOPPING=1");
  }
  if (lost != 0) throw Refused(std::to_string(lost) + " lines were lost");
}
