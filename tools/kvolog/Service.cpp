#include "Service.h"

#include <signal.h>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "Failure.h"

namespace {

constexpr std::chrono::milliseconds kTick{250};
constexpr std::size_t kReceiveSize = std::size_t{256} << 10;
constexpr std::size_t kWriteSize = std::size_t{256} << 10;  // written before the next client's turn

void Complain(const std::string& what) { std::fprintf(stderr, "kvolog serve: %s\n", what.c_str()); }

UniqueFd OpenSignals() {
  // A closed pipe or a file size limit shows in the result of a write.
  signal(SIGPIPE, SIG_IGN);
  signal(SIGXFSZ, SIG_IGN);
  sigset_t set;
  sigemptyset(&set);
  for (const int number : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&set, number);
  sigprocmask(SIG_BLOCK, &set, nullptr);
  return UniqueFd(signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
}

}  // namespace

Service::Service()
    : m_signals(OpenSignals()),
      m_epoll(epoll_create1(EPOLL_CLOEXEC)),
      m_target(m_configuration.Now()),
      m_file(Complain),
      m_received(kReceiveSize),
      m_nextTick(Clock::now()) {
  if (!Watch(m_signals.get()) || !Watch(m_socket.get())) {
    throw Refused(std::string("cannot wait for clients: ") + std::strerror(errno));
  }
  UseTarget();
}

bool Service::Watch(int fd) {
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.fd = fd;
  return epoll_ctl(m_epoll.get(), EPOLL_CTL_ADD, fd, &event) == 0;
}

void Service::Run() {
  std::array<epoll_event, 64> events{};
  while (m_running) {
    Tick();
    const int n = epoll_wait(m_epoll.get(), events.data(), static_cast<int>(events.size()),
                             static_cast<int>(kTick.count()));
    for (int i = 0; i < n; ++i) {
      const int fd = events[static_cast<std::size_t>(i)].data.fd;
      if (fd == m_signals.get()) {
        HandleSignal();
      } else if (fd == m_socket.get()) {
        AcceptAll();
      } else if (const auto client = m_clients.find(fd);
                 client != m_clients.end() && !Read(client->second)) {
        m_clients.erase(client);
      }
    }
    Flush();
  }
  Drain();
}

// What is done now and then, however busy the clients are.
void Service::Tick() {
  if (Clock::now() < m_nextTick) return;
  m_nextTick = Clock::now() + kTick;
  if (const LogTarget& now = m_configuration.Now(); now != m_target) {
    m_target = now;
    UseTarget();
  }
  m_file.Retry();
  if (!m_accepting) m_accepting = Watch(m_socket.get());
}

void Service::UseTarget() {
  m_file.Use(m_target.path, std::uint64_t{m_target.size} << 20, m_target.count);
}

void Service::HandleSignal() {
  signalfd_siginfo info{};
  while (read(m_signals.get(), &info, sizeof info) == sizeof info) {
    if (info.ssi_signo == SIGHUP) {
      m_file.Reopen();
    } else {
      m_running = false;
    }
  }
}

void Service::AcceptAll() {
  while (UniqueFd fd = m_socket.Accept()) Admit(std::move(fd));
  if (errno != EMFILE && errno != ENFILE && errno != ENOBUFS && errno != ENOMEM) return;
  // Who connects now waits until a client has gone.
  if (m_running) epoll_ctl(m_epoll.get(), EPOLL_CTL_DEL, m_socket.get(), nullptr);
  m_accepting = false;
}

void Service::Admit(UniqueFd fd) {
  ucred peer{};
  socklen_t size = sizeof peer;
  getsockopt(fd.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size);
  const int number = fd.get();
  Client client{std::move(fd), peer.pid, {}};
  if (!Watch(number)) return Note(client, std::string("was turned away: ") + std::strerror(errno));
  m_clients.insert_or_assign(number, std::move(client));
}

// Reads once. Answers false when nothing more is to be expected.
bool Service::Read(Client& client) {
  const ssize_t n = recv(client.fd.get(), m_received.data(), m_received.size(), 0);
  if (n < 0) return errno == EAGAIN || errno == EINTR;
  if (n == 0 && client.reader.InsideRecord()) Note(client, "ended within a record");
  return n > 0 && TakeIn(client, {m_received.data(), static_cast<std::size_t>(n)});
}

// Answers false for a client whose bytes cannot be understood.
bool Service::TakeIn(Client& client, std::string_view bytes) {
  RecordReader& reader = client.reader;
  reader.Feed(bytes);
  for (LogRecord record{}; reader.Next(&record);) {
    m_writer.Append({record.seconds, record.microseconds, m_names.levels[record.level],
                     m_names.classes[record.classId], reader.identity(), reader.session(),
                     record.thread, record.text},
                    &m_file.buffer());
  }
  if (!reader.error().empty()) Note(client, "sent " + reader.error() + " and was dropped");
  if (m_file.buffer().size() >= kWriteSize) m_file.Flush();
  return reader.error().empty();
}

// Takes in what was sent until now and nothing more: whoever sends again hears that we have gone.
void Service::Drain() {
  m_socket.Refuse();
  for (bool more = true; more;) {
    m_accepting = true;
    AcceptAll();
    more = !m_accepting && !m_clients.empty();
    for (auto& [fd, client] : m_clients) {
      shutdown(fd, SHUT_RD);
      while (Read(client)) Flush();
    }
    m_clients.clear();
  }
  m_file.Retry();
  Flush();
  if (const auto lost = m_file.Unwritten(); lost != 0) {
    Complain(std::to_string(lost) + " lines could not be written and are lost");
  }
}

void Service::Flush() {
  m_file.Flush();
  if (const auto lost = m_file.TakeLost(); lost != 0) {
    Note(std::to_string(lost) + " lines are missing here: the file could not be written");
    m_file.Flush();
  }
}

void Service::Note(const Client& client, const std::string& what) {
  const RecordReader& reader = client.reader;
  Note("process " + std::to_string(client.process) + ", " +
       (reader.Registered() ? reader.identity() : "not registered") + ", " + what);
}

// A line of the service's own.
void Service::Note(const std::string& what) {
  timeval now{};
  gettimeofday(&now, nullptr);
  m_writer.Append(
      {now.tv_sec, static_cast<std::uint32_t>(now.tv_usec), m_names.levels[KVO_LOG_WARNING],
       m_names.classes[KVO_CLASS_ALL], "kvologd", 0, static_cast<unsigned int>(getpid()), what},
      &m_file.buffer());
}
