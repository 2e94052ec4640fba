#include "Service.h"

#include <linux/sockios.h>
#include <signal.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <syslog.h>
#include <systemd/sd-daemon.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <thread>

#include "Complain.h"
#include "Failure.h"

namespace {

constexpr std::chrono::milliseconds kWriterPatience{100};
constexpr std::chrono::milliseconds kFolderPatience{50};  // until the writer has made it anew
constexpr std::chrono::milliseconds kRow{1};
constexpr std::chrono::microseconds kGathering{200};
constexpr std::chrono::seconds kRegistrationPatience{5};
constexpr std::chrono::seconds kPatienceAtTheEnd{5};
constexpr std::size_t kTurn = std::size_t{64} << 10;         // bytes that a client's turn reads
constexpr std::size_t kBatch = std::size_t{1} << 20;         // bytes that are written at once
constexpr std::size_t kWrite = std::size_t{256} << 10;       // bytes, or
constexpr std::chrono::milliseconds kDelay{5};               // since the last write
constexpr std::size_t kMostWaiting = std::size_t{32} << 20;  // bytes, while the writer stalls
constexpr int kMostAccepted = 64;                            // between two rounds of turns
constexpr double kBurstSeconds = 60;  // in which a user may use up the bytes of as many
constexpr int kTurnsAtTheEnd = 160;   // more than a socket holds

std::string Error() { return std::strerror(errno); }

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

// How far into what waits in a socket we have looked.
void SetPeeked(int fd, int bytes) { setsockopt(fd, SOL_SOCKET, SO_PEEK_OFF, &bytes, sizeof bytes); }

// How much waits in a socket.
std::size_t Waiting(int fd) {
  int bytes = 0;
  ioctl(fd, SIOCINQ, &bytes);
  return static_cast<std::size_t>(std::max(bytes, 0));
}

// The lines that services before us may have written without having taken them out of the sockets
// that we get: not more than a batch each.
WrittenLines WrittenBefore(const Inheritance& inheritance, const std::string& path) {
  WrittenLines lines;
  const bool any = std::ranges::any_of(
      inheritance.connections, [](const auto& one) { return Waiting(one.second.fd.get()) > 0; });
  if (any) lines.Load(path, 16 * kBatch);
  return lines;
}

// The name of a connection in the service manager's store: a number that no other one has.
std::string StoreName(int fd) {
  struct stat status {};
  fstat(fd, &status);
  return std::to_string(status.st_ino);
}

// The service manager keeps the connection when we are gone, until it is told otherwise: that the
// client has gone does not mean that its last lines are in the file. The registration's file is
// kept beside it from the start, and written when there is one.
void Store(const Inheritance::Connection& connection) {
  const int fds[] = {connection.fd.get(), connection.registration.get()};
  const std::string state = "FDSTORE=1\nFDPOLL=0\nFDNAME=" + StoreName(fds[0]);
  sd_pid_notify_with_fds(0, 0, state.c_str(), fds, std::size(fds));
}

void Unstore(const std::string& name) { sd_notify(0, ("FDSTOREREMOVE=1\nFDNAME=" + name).c_str()); }

void Restore(int registration, RecordReader* reader) {
  std::array<char, sizeof(KvoLogHello)> bytes;
  const ssize_t n = pread(registration, bytes.data(), bytes.size(), 0);
  reader->Feed({bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(n, 0))});
  LogRecord none{};
  reader->Next(&none);
}

// What waits first in a socket is no registration.
bool Registered(int fd) {
  KvoLogRecordHead head{};
  const ssize_t n = recv(fd, &head, sizeof head, MSG_PEEK | MSG_DONTWAIT);
  return n != sizeof head || head.type != KVO_LOG_RECORD_HELLO;
}

}  // namespace

Service::Service(const ServeOptions& options, Inheritance inheritance)
    : m_options(options),
      m_signals(OpenSignals()),
      m_epoll(epoll_create1(EPOLL_CLOEXEC)),
      m_syslog(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)),
      m_socket(std::move(inheritance.listener)),
      m_target(m_configuration.Now()),
      m_written(WrittenBefore(inheritance, m_target.path)),
      m_writer(m_target, [](const std::string& what) { Complain(kError, what); }),
      m_received(kTurn),
      m_nextTick(Clock::now()) {
  for (const int fd : {m_signals.get(), m_socket.get(), m_writer.event(), m_configuration.event(),
                       m_logFolder.fd()}) {
    if (!Watch(fd, EPOLLIN)) throw Refused("cannot wait for clients: " + Error());
  }
  for (auto& [name, connection] : inheritance.connections) {
    connection.fd ? Adopt(std::move(connection)) : Unstore(name);
  }
}

bool Service::Watch(int fd, std::uint32_t events) {
  epoll_event event{};
  event.events = events;
  event.data.fd = fd;
  return epoll_ctl(m_epoll.get(), EPOLL_CTL_ADD, fd, &event) == 0;
}

std::uint64_t Service::Run() {
  while (m_running) {
    Tick();
    Wait();
    Turns();
    Settle();
    Gather();
  }
  return m_lost + Drain();
}

// Where one round follows the other, lets some more come: to wake up costs more than to read a
// line.
void Service::Gather() {
  if (!std::exchange(m_any, false)) return;
  const auto last = std::exchange(m_round, Clock::now());
  if (m_round - last < kRow) std::this_thread::sleep_for(kGathering);
}

void Service::Wait() {
  std::array<epoll_event, 256> events{};
  const bool turns = !m_ready.empty() && (m_lines.size() < kBatch || m_stalled);
  const auto tick = std::chrono::ceil<std::chrono::milliseconds>(m_nextTick - Clock::now());
  const auto patience = !m_lines.empty()   ? (m_keeps && m_idle ? kDelay.zero() : kDelay)
                        : m_pinned.empty() ? std::max(tick, tick.zero())
                                           : kWriterPatience;
  const int n = epoll_wait(m_epoll.get(), events.data(), static_cast<int>(events.size()),
                           turns ? 0 : static_cast<int>(patience.count()));
  for (int i = 0; i < n; ++i) {
    const int fd = events[static_cast<std::size_t>(i)].data.fd;
    if (fd == m_signals.get()) {
      HandleSignal();
    } else if (fd == m_socket.get()) {
      AcceptSome();
    } else if (fd == m_configuration.event()) {
      m_nextTick = Clock::now();
    } else if (fd == m_logFolder.fd()) {
      m_logFolder.Clear();
      m_writer.Look();
      m_nextTick = Clock::now();
    } else if (const auto client = m_clients.find(fd); client != m_clients.end()) {
      if (!std::exchange(client->second.ready, true)) m_ready.push_back(fd);
    }
  }
}

// What is done now and then, however busy the clients are.
void Service::Tick() {
  const auto now = Clock::now();
  if (now < m_nextTick) return;
  sd_notify(0, "WATCHDOG=1");
  if (const LogTarget& target = m_configuration.Now(); target != m_target) {
    m_target = target;
    m_writer.Use(m_target);
  }
  if (m_logFolder.Watch(m_target.path)) m_writer.Look();
  m_nextTick = now + (m_logFolder.Watches() ? m_configuration.Patience() : kFolderPatience);
  if (!m_accepting) m_accepting = Watch(m_socket.get(), EPOLLIN);
  for (auto& [fd, client] : m_clients) {
    if (client.reader.Registered() || client.ended || now - client.since < kRegistrationPatience) {
      continue;
    }
    if (client.answer.empty()) Note(client, "did not register and was dropped");
    End(client);
  }
  for (auto& [uid, user] : m_users) {
    if (std::exchange(user.turnedAway, false)) {
      Note("user " + std::to_string(uid) + " has " + std::to_string(m_options.connections) +
           " connections; more were turned away");
    }
    if (const auto lines = std::exchange(user.refused, 0); lines != 0) {
      Note("user " + std::to_string(uid) + " writes too much: " + std::to_string(lines) +
           " lines are missing here");
    }
  }
}

void Service::HandleSignal() {
  signalfd_siginfo info{};
  while (read(m_signals.get(), &info, sizeof info) == sizeof info) {
    if (info.ssi_signo == SIGHUP) {
      m_writer.Reopen();
    } else {
      m_running = false;
    }
  }
}

// ---- Who connects ------------------------------------------------------------------------------

void Service::AcceptSome() {
  for (int n = 0; n < kMostAccepted; ++n) {
    // Whoever is accepted is kept in the very next step.
    Inheritance::Connection connection;
    if (m_keeps) connection.registration = UniqueFd(memfd_create("registration", MFD_CLOEXEC));
    if (!m_keeps || connection.registration) connection.fd = m_socket.Accept();
    if (connection.fd) {
      if (m_keeps) Store(connection);
      Admit(std::move(connection));
    } else if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
      // Who connects now waits until a client has gone.
      const std::string why = Error();
      if (m_running) epoll_ctl(m_epoll.get(), EPOLL_CTL_DEL, m_socket.get(), nullptr);
      if (std::exchange(m_accepting, false)) {
        Note("who connects has to wait: " + why);
        Complain(kWarning, "who connects has to wait: " + why);
      }
      return;
    } else {
      return;
    }
  }
}

Service::Client* Service::NewClient(Inheritance::Connection connection) {
  const int number = connection.fd.get();
  // What stays in a socket is told once.
  if (!Watch(number, EPOLLIN | EPOLLRDHUP | (m_keeps ? EPOLLET : 0U))) return nullptr;
  Client& client = m_clients[number];
  client.fd = std::move(connection.fd);
  client.registration = std::move(connection.registration);
  client.since = Clock::now();
  socklen_t size = sizeof client.peer;
  getsockopt(number, SOL_SOCKET, SO_PEERCRED, &client.peer, &size);
  ++m_users[client.peer.uid].connections;
  client.ready = true;
  m_ready.push_back(number);
  return &client;
}

void Service::Admit(Inheritance::Connection connection) {
  const std::string name = StoreName(connection.fd.get());
  Client* client = NewClient(std::move(connection));
  if (client == nullptr) {
    if (m_keeps) Unstore(name);
    return Note("a client was turned away: " + Error());
  }
  if (m_keeps) SetPeeked(client->fd.get(), 0);
  User& user = m_users[client->peer.uid];
  if (client->peer.uid == 0 || user.connections <= m_options.connections) return;
  user.turnedAway = true;
  End(*client);
}

void Service::Adopt(Inheritance::Connection connection) {
  Client* client = NewClient(std::move(connection));
  if (client == nullptr) return;
  const int fd = client->fd.get();
  client->again = Waiting(fd);
  SetPeeked(fd, -1);
  if (Registered(fd)) Restore(client->registration.get(), &client->reader);
  SetPeeked(fd, 0);
}

// Nothing more is read from the client, and it hears of it. Its next turn is its last.
void Service::End(Client& client) {
  client.ended = true;
  shutdown(client.fd.get(), SHUT_RDWR);
  if (!std::exchange(client.ready, true)) m_ready.push_back(client.fd.get());
}

void Service::Forget(int fd) {
  const auto client = m_clients.find(fd);
  if (client == m_clients.end()) return;
  if (m_keeps) Unstore(StoreName(fd));
  const auto user = m_users.find(client->second.peer.uid);
  --user->second.connections;
  m_clients.erase(client);
}

// ---- What they send ----------------------------------------------------------------------------

// Each client that has something gets one turn.
void Service::Turns() {
  for (std::size_t turns = m_ready.size(); turns > 0; --turns) {
    if (m_lines.size() >= kBatch && !m_stalled) return;
    const int fd = m_ready.front();
    m_ready.pop_front();
    const auto client = m_clients.find(fd);
    if (client == m_clients.end() || !client->second.ready) continue;
    Read(client->second);
    if (client->second.ended && !client->second.pinned) {
      Forget(fd);
    } else if (client->second.ready) {
      m_ready.push_back(fd);
    }
  }
}

// Looks at what was sent since the last turn, and leaves it where it is if that is of use.
void Service::Read(Client& client) {
  client.ready = false;
  if (client.ended) return;
  if (!client.answer.empty()) return SendAnswer(client);
  const ssize_t n = recv(client.fd.get(), m_received.data(), m_received.size(),
                         MSG_DONTWAIT | (m_keeps ? MSG_PEEK : 0));
  if (n < 0 && errno == EAGAIN) {
    // A record that comes in pieces: there may be no room for the others.
    if (client.whole == 0) Discard(client.fd.get(), std::exchange(client.read, 0));
    return;
  }
  client.ready = n == static_cast<ssize_t>(m_received.size());
  m_any = m_any || n > 0;
  if (n > 0) {
    TakeIn(client, {m_received.data(), static_cast<std::size_t>(n)});
    client.ready = client.ready || (m_keeps && client.reader.Partial() > 0);
    return;
  }
  if (client.reader.Partial() > 0) Note(client, "ended within a record");
  End(client);
}

void Service::TakeIn(Client& client, std::string_view bytes) {
  RecordReader& reader = client.reader;
  if (!reader.Registered() && bytes == kStatusRequest) {
    return AnswerStatus(client);
  }
  reader.Feed(bytes);
  const bool registered = reader.Registered();
  for (LogRecord record{}; reader.Next(&record);) AddLine(client, record);
  client.bytes += bytes.size();
  if (m_keeps && !registered && reader.Registered()) KeepRegistration(client);
  if (m_keeps) Keep(client, bytes.size());
  if (reader.error().empty()) return;
  Note(client, "sent " + reader.error() + " and was dropped");
  End(client);
}

// Before its bytes are taken out of the socket.
void Service::KeepRegistration(Client& client) {
  const std::string& bytes = client.reader.registration();
  if (pwrite(client.registration.get(), bytes.data(), bytes.size(), 0) < 0) {
    Note(client, "is cut off when the log service restarts: " + Error());
  }
}

// Takes down that so many bytes more are left in the client's socket.
void Service::Keep(Client& client, std::size_t bytes) {
  client.again -= std::min(client.again, bytes);
  client.read += bytes;
  client.whole = client.read - std::min(client.read, client.reader.Partial());
  if (client.whole > 0 && !std::exchange(client.pinned, true)) m_pinned.push_back(client.fd.get());
}

void Service::AddLine(Client& client, const LogRecord& record) {
  const std::size_t before = m_lines.size();
  const std::string number = record.classId < KVO_LOG_CLASSES ? "" : std::to_string(record.classId);
  const std::string_view className =
      number.empty() ? m_names.classes[record.classId] : std::string_view(number);
  // Nobody else is called what the service calls itself.
  const std::string_view identity = client.reader.identity();
  const bool cut = record.text.size() == KVO_LOG_TEXT_SIZE - 1;
  m_line.Append(
      {record.seconds, record.microseconds, m_names.levels[record.level], className,
       identity == kServiceName ? "(kvologd)" : identity,
       static_cast<unsigned int>(client.peer.pid), client.peer.uid, client.reader.session(),
       record.thread, cut ? WholeCharacters(record.text) : record.text},
      &m_lines);
  if (client.again > 0 && m_written.Take(m_lines.substr(before))) {
    m_lines.resize(before);
  } else if (before >= kMostWaiting || !MayAdd(client.peer, m_lines.size() - before)) {
    if (before >= kMostWaiting) ++m_dropped;
    ++client.dropped;
    m_lines.resize(before);
  } else {
    ++client.lines;
    // A line without a class was handed over by its process.
    if (m_options.syslog && record.classId != KVO_CLASS_ALL) Forward(client, record, className);
  }
}

// Never waits: a line for which there is no room is left out there.
void Service::Forward(const Client& client, const LogRecord& record, std::string_view className) {
  constexpr std::array kPriorities = {LOG_INFO, LOG_NOTICE, LOG_WARNING, LOG_ERR, LOG_ALERT};
  std::string text = "<" + std::to_string(LOG_USER | kPriorities.at(record.level - 1)) + ">";
  AppendEscaped(client.reader.identity(), &text);
  text.append("[" + std::to_string(client.peer.pid) + "]: ").append(className).append(" ");
  AppendEscaped(record.text, &text);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::string_view(_PATH_LOG).copy(address.sun_path, sizeof address.sun_path - 1);
  if (sendto(m_syslog.get(), text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
             reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
    ++m_notForwarded;
  }
}

// Answers whether the user still may write so much, and takes it down.
bool Service::MayAdd(const ucred& peer, std::size_t bytes) {
  if (peer.uid == 0 || m_options.bytesPerSecond == 0) return true;
  User& user = m_users[peer.uid];
  const auto now = Clock::now();
  const double seconds = std::chrono::duration<double>(now - user.counted).count();
  user.counted = now;
  user.credit = std::min(user.credit + seconds * m_options.bytesPerSecond,
                         kBurstSeconds * m_options.bytesPerSecond);
  if (user.credit < static_cast<double>(bytes)) {
    ++user.refused;
    return false;
  }
  user.credit -= static_cast<double>(bytes);
  return true;
}

// ---- What becomes of it ------------------------------------------------------------------------

// Takes out of the sockets what is written, and hands the next lines to the writer.
void Service::Settle() {
  const bool idle = m_idle = m_writer.Idle();
  m_stalled = !idle && Clock::now() - m_handed > kWriterPatience;
  if (!idle && !m_stalled) return;
  std::erase_if(m_pinned, [&](int fd) {
    Client& client = m_clients.at(fd);
    Consume(client, m_stalled ? client.whole : client.handed);
    client.handed = 0;
    const bool settled = !client.pinned;
    if (settled && client.ended) Forget(fd);
    return settled;
  });
  if (!idle) return;
  if (m_dropped != 0) {
    Note(std::to_string(m_dropped) + " lines are missing here: the file could not be written");
    m_lost += std::exchange(m_dropped, 0);
  }
  // Under load few large writes; but where lines are kept in the sockets, nothing more may come
  // until there is room.
  const auto now = Clock::now();
  const bool more = (m_any || !m_keeps) && m_lines.size() < kWrite && now - m_handed < kDelay;
  if (!m_lines.empty() && more) return;
  for (const int fd : m_pinned) m_clients.at(fd).handed = m_clients.at(fd).whole;
  if (m_lines.empty()) return;
  m_writer.Write(&m_lines);
  m_handed = now;
  m_idle = false;
}

void Service::Consume(Client& client, std::size_t size) {
  client.read -= size;
  client.whole -= size;
  Discard(client.fd.get(), size);
  client.pinned = client.whole > 0;
  const bool partial = client.read > 0 && !client.pinned;
  if (partial && !std::exchange(client.ready, true)) m_ready.push_back(client.fd.get());
}

void Service::Discard(int fd, std::size_t size) {
  while (size > 0) {
    const ssize_t n = recv(fd, m_received.data(), std::min(size, m_received.size()), MSG_DONTWAIT);
    if (n <= 0) break;
    size -= static_cast<std::size_t>(n);
  }
}

// Takes in what was sent until now and nothing more. Who sends again hears that we have gone,
// unless the service manager keeps the connection for the next service. Answers how many lines are
// lost.
std::uint64_t Service::Drain() {
  if (!m_socket.Outlives()) m_socket.Refuse();
  m_stalled = true;  // what is read need not stay in the sockets
  for (bool more = true; more;) {
    m_accepting = true;
    AcceptSome();
    more = !m_socket.Outlives() && !m_clients.empty();
    for (auto& [fd, client] : m_clients) {
      if (!m_socket.Outlives()) shutdown(fd, SHUT_RD);
      m_any = true;
      for (int n = 0; std::exchange(m_any, false) && n < kTurnsAtTheEnd; ++n) {
        Read(client);
        HandOverAtEnd();
      }
    }
    if (!m_socket.Outlives()) {
      m_clients.clear();
      m_pinned.clear();
    }
  }
  const std::uint64_t lost = m_writer.Finish(m_lines) + m_dropped;
  if (lost == 0) {
    for (auto& [fd, client] : m_clients) Consume(client, client.whole);
    while (!m_clients.empty()) {
      const auto client = m_clients.begin();
      client->second.ended ? Forget(client->first) : static_cast<void>(m_clients.erase(client));
    }
    return 0;
  }
  Complain(kError, std::to_string(lost) + " lines could not be written and are lost");
  return lost;
}

// So that what many sockets hold does not have to fit into the memory for lines.
void Service::HandOverAtEnd() {
  if (m_late || m_lines.size() < kBatch) return;
  m_late = !m_writer.Await(kPatienceAtTheEnd);
  if (!m_late) m_writer.Write(&m_lines);
}

// ---- What is told ------------------------------------------------------------------------------

void Service::AnswerStatus(Client& client) {
  if (client.peer.uid != 0 && client.peer.gid != 0) return End(client);
  client.answer = JsonText(Status(), 2);
  epoll_event event{};
  event.events = EPOLLOUT;
  event.data.fd = client.fd.get();
  epoll_ctl(m_epoll.get(), EPOLL_CTL_MOD, client.fd.get(), &event);
  SendAnswer(client);
}

// As much as there is room for. Who takes too long to read it is dropped, as one who does not
// register.
void Service::SendAnswer(Client& client) {
  const ssize_t n = send(client.fd.get(), client.answer.data(), client.answer.size(),
                         MSG_NOSIGNAL | MSG_DONTWAIT);
  if (n > 0) client.answer.erase(0, static_cast<std::size_t>(n));
  if (client.answer.empty() || (n < 0 && errno != EAGAIN)) End(client);
}

Json Service::Status() const {
  Json clients = Json::array();
  for (const auto& [fd, client] : m_clients) {
    if (!client.reader.Registered()) continue;
    clients.push_back({{"pid", client.peer.pid},
                       {"uid", client.peer.uid},
                       {"identity", client.reader.identity()},
                       {"session", client.reader.session()},
                       {"lines", client.lines},
                       {"bytes", client.bytes},
                       {"dropped", client.dropped}});
  }
  rlimit descriptors{};
  getrlimit(RLIMIT_NOFILE, &descriptors);
  return {{"pid", getpid()},
          {"output", m_target.path},
          {"rolls", m_target.rolls},
          {"waiting", std::ranges::count(m_lines, '\n')},
          {"stalled", m_stalled},
          {"lost", m_lost + m_dropped},
          {"notForwarded", m_notForwarded},
          {"limits",
           {{"descriptors", descriptors.rlim_cur},
            {"userConnections", m_options.connections},
            {"userBytesPerSecond", m_options.bytesPerSecond}}},
          {"clients", clients}};
}

// A client's misbehaviour counts as a line of its user's.
void Service::Note(const Client& client, const std::string& what) {
  const RecordReader& reader = client.reader;
  if (!MayAdd(client.peer, what.size() + KVO_LOG_IDENTITY_SIZE)) return;
  Note("process " + std::to_string(client.peer.pid) + " of user " +
       std::to_string(client.peer.uid) + ", " +
       (reader.Registered() ? reader.identity() : "not registered") + ", " + what);
}

// A line of the service's own.
void Service::Note(const std::string& what) {
  timeval now{};
  gettimeofday(&now, nullptr);
  m_line.Append(
      {now.tv_sec, static_cast<std::uint32_t>(now.tv_usec), m_names.levels[KVO_LOG_WARNING],
       m_names.classes[KVO_CLASS_ALL], kServiceName, static_cast<unsigned int>(getpid()), getuid(),
       0, static_cast<unsigned int>(gettid()) & 0xFFFF, what},
      &m_lines);
}
