#include "Service.h"

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

// The lines of what is in the inbox may have been written.
WrittenLines WrittenBefore(const Inbox& inbox, const std::string& path) {
  constexpr std::size_t kGrowth = 10;  // a record becomes a line of so many times its size at most
  std::size_t size = 0;
  const auto add = [&](std::uint64_t, std::string_view bytes, bool) { size += bytes.size(); };
  inbox.Before(add);
  inbox.Since(add);
  WrittenLines lines;
  if (size > 0) lines.Load(path, std::min(kGrowth * size, 2 * kMostWaiting));
  return lines;
}

// By which the service manager has it, too: the number of a socket is its own as long as it is
// open.
std::uint64_t IdOf(int fd) {
  struct stat status {};
  fstat(fd, &status);
  return status.st_ino;
}

std::string StoreAs(const std::string& name) { return "FDSTORE=1\nFDPOLL=0\nFDNAME=" + name; }

// The service manager keeps the connection when we are gone, until it is told otherwise: that the
// client has gone does not mean that its last lines are in the file. The registration's file is
// kept beside it from the start, and written when there is one.
void Store(const Inheritance::Connection& connection) {
  const int fds[] = {connection.fd.get(), connection.registration.get()};
  const std::string state = StoreAs(std::to_string(IdOf(fds[0])));
  sd_pid_notify_with_fds(0, 0, state.c_str(), fds, std::size(fds));
}

void Unstore(const std::string& name) { sd_notify(0, ("FDSTOREREMOVE=1\nFDNAME=" + name).c_str()); }

bool HasUnread(int fd) {
  int bytes = 0;
  return ioctl(fd, FIONREAD, &bytes) == 0 && bytes > 0;
}

bool IsRegistration(std::string_view bytes) {
  KvoLogRecordHead head{};
  bytes.copy(reinterpret_cast<char*>(&head), sizeof head);
  return head.type == KVO_LOG_RECORD_HELLO;
}

}  // namespace

Service::Service(const ServeOptions& options, Inheritance inheritance)
    : m_options(options),
      m_signals(OpenSignals()),
      m_epoll(epoll_create1(EPOLL_CLOEXEC)),
      m_syslog(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)),
      m_socket(std::move(inheritance.listener)),
      m_target(m_configuration.Now()),
      m_inbox(std::move(inheritance.inbox)),
      m_written(WrittenBefore(m_inbox, m_target.path)),
      m_writer(m_target, [](const std::string& what) { Complain(kError, what); }),
      m_nextTick(Clock::now()) {
  for (const int fd : {m_signals.get(), m_socket.get(), m_writer.event(), m_configuration.event(),
                       m_logFolder.fd()}) {
    if (!Watch(fd, EPOLLIN)) throw Refused("cannot wait for clients: " + Error());
  }
  if (m_keeps && m_inbox.fresh()) {
    const int inbox = m_inbox.fd();
    const std::string state = StoreAs(std::string(kInboxName));
    sd_pid_notify_with_fds(0, 0, state.c_str(), &inbox, 1);
  }
  for (auto& [name, connection] : inheritance.connections) {
    connection.fd ? static_cast<void>(NewClient(std::move(connection))) : Unstore(name);
  }
  TakeOver();
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
  if (!m_ready.empty() && !MayRead()) return static_cast<void>(m_writer.Await(kDelay));
  std::array<epoll_event, 256> events{};
  const auto tick = std::chrono::ceil<std::chrono::milliseconds>(m_nextTick - Clock::now());
  const auto patience = AnythingNew() ? kDelay : std::max(tick, tick.zero());
  const int n = epoll_wait(m_epoll.get(), events.data(), static_cast<int>(events.size()),
                           m_ready.empty() ? static_cast<int>(patience.count()) : 0);
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
    if (client.answer.empty()) {
      if (HasUnread(fd)) continue;  // it is we who are late
      Note(client, "did not register and was dropped");
    }
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
  if (!Watch(number, EPOLLIN | EPOLLRDHUP)) return nullptr;
  Client& client = m_clients[number];
  client.fd = std::move(connection.fd);
  client.id = IdOf(number);
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
  const std::string name = std::to_string(IdOf(connection.fd.get()));
  Client* client = NewClient(std::move(connection));
  if (client == nullptr) {
    if (m_keeps) Unstore(name);
    return Note("a client was turned away: " + Error());
  }
  User& user = m_users[client->peer.uid];
  if (client->peer.uid == 0 || user.connections <= m_options.connections) return;
  user.turnedAway = true;
  End(*client);
}

void Service::Restore(Client& client) {
  std::array<char, sizeof(KvoLogHello)> bytes;
  const ssize_t n = pread(client.registration.get(), bytes.data(), bytes.size(), 0);
  client.reader.Feed({bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(n, 0))});
  LogRecord none{};
  client.reader.Next(&none);
}

// Reads what is in the inbox once more, and is then where the service before us was. What a client
// sends first is its registration: where that is not there any more, it was kept.
void Service::TakeOver() {
  std::map<std::uint64_t, Client*> clients;
  for (auto& [fd, client] : m_clients) clients[client.id] = &client;
  const auto again = [&](std::uint64_t id, std::string_view bytes, bool carried) {
    const auto found = clients.find(id);
    if (found == clients.end()) return;
    RecordReader& reader = found->second->reader;
    if (carried) reader.DropPartial();
    if (!reader.Registered() && !IsRegistration(bytes)) Restore(*found->second);
    TakeIn(*found->second, bytes);
  };
  m_inbox.Before(again);
  m_handed = Clock::now();
  if (!m_lines.empty()) m_writer.Write(&m_lines);
  m_inbox.Since(again);
  for (auto& [id, client] : clients) {
    if (!client->reader.Registered()) Restore(*client);
  }
  m_written = {};
}

// Nothing more is read from the client, and it hears of it. It is forgotten when its lines are
// written: until then a next service needs to know whose they are.
void Service::End(Client& client) {
  if (std::exchange(client.ended, true)) return;
  shutdown(client.fd.get(), SHUT_RDWR);
  epoll_ctl(m_epoll.get(), EPOLL_CTL_DEL, client.fd.get(), nullptr);
  --m_users.at(client.peer.uid).connections;
  m_ending.push_back(client.fd.get());
}

void Service::Forget(int fd) {
  const auto client = m_clients.find(fd);
  if (client == m_clients.end()) return;
  if (m_keeps) Unstore(std::to_string(client->second.id));
  m_clients.erase(client);
}

// ---- What they send ----------------------------------------------------------------------------

// Each client that has something gets one turn.
void Service::Turns() {
  for (std::size_t turns = m_ready.size(); turns > 0; --turns) {
    if (!MayRead()) return;
    const int fd = m_ready.front();
    m_ready.pop_front();
    const auto client = m_clients.find(fd);
    if (client == m_clients.end() || !client->second.ready) continue;
    Read(client->second);
    if (client->second.ready) m_ready.push_back(fd);
  }
}

// While lines are written, only so much more is taken in.
bool Service::MayRead() const {
  return m_stalled || std::max(m_lines.size(), m_inbox.size()) < kBatch;
}

void Service::Read(Client& client) {
  client.ready = false;
  if (client.ended) return;
  if (!client.answer.empty()) return SendAnswer(client);
  std::string_view bytes;
  const ssize_t n = m_inbox.Receive(client.fd.get(), client.id, &bytes);
  if (n < 0 && errno == EAGAIN) return;
  m_any = m_any || n > 0;
  if (n > 0) {
    client.ready = bytes.size() == Inbox::kTurn;
    return TakeIn(client, bytes);
  }
  if (!client.reader.Partial().empty()) Note(client, "ended within a record");
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
  if (reader.error().empty()) return;
  Note(client, "sent " + reader.error() + " and was dropped");
  End(client);
}

// While it still is in the inbox.
void Service::KeepRegistration(Client& client) {
  const std::string& bytes = client.reader.registration();
  if (pwrite(client.registration.get(), bytes.data(), bytes.size(), 0) < 0) {
    Note(client, "is cut off when the log service restarts: " + Error());
  }
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
  if (!m_written.empty() && m_written.Take(m_lines.substr(before))) {
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

// Hands the next lines to the writer when the last ones are written: under load few large writes.
void Service::Settle() {
  const bool idle = m_writer.Idle();
  const auto now = Clock::now();
  m_stalled = !idle && now - m_handed > kWriterPatience;
  if (!idle) return;
  Written();
  if (m_dropped != 0) {
    Note(std::to_string(m_dropped) + " lines are missing here: the file could not be written");
    m_lost += std::exchange(m_dropped, 0);
  }
  const std::size_t size = std::max(m_lines.size(), m_inbox.size());
  if (AnythingNew() && (size >= kWrite || now - m_handed >= kDelay)) HandOver();
}

// Since the last lines were handed over.
bool Service::AnythingNew() const {
  return !m_lines.empty() || m_inbox.received() || !m_ending.empty();
}

// What was handed over before is in the file.
void Service::Written() {
  m_inbox.Free();
  for (const int fd : std::exchange(m_ended, {})) Forget(fd);
}

// Only when all before is written.
void Service::HandOver() {
  for (const auto& [fd, client] : m_clients) {
    const std::string_view partial = client.reader.Partial();
    if (!partial.empty() && !client.ended) m_inbox.Carry(client.id, partial);
  }
  m_inbox.Turn();
  m_ended.swap(m_ending);
  m_handed = Clock::now();
  if (!m_lines.empty()) m_writer.Write(&m_lines);
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
      for (auto* fds : {&m_ending, &m_ended}) fds->clear();
      m_clients.clear();
    }
  }
  const std::uint64_t lost = m_writer.Finish(m_lines) + m_dropped;
  if (lost != 0) {
    Complain(kError, std::to_string(lost) + " lines could not be written and are lost");
    return lost;
  }
  m_lines.clear();
  Written();
  HandOver();
  Written();
  return 0;
}

// So that what many sockets hold does not have to fit into the memory for lines.
void Service::HandOverAtEnd() {
  if (m_late || m_lines.size() < kBatch) return;
  m_late = !m_writer.Await(kPatienceAtTheEnd);
  if (m_late) return;
  Written();
  HandOver();
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
  const ssize_t n = send(client.fd.get(), client.answer.data(), client.answer.size(), MSG_NOSIGNAL);
  if (n > 0) client.answer.erase(0, static_cast<std::size_t>(n));
  if (client.answer.empty() || (n < 0 && errno != EAGAIN)) End(client);
}

Json Service::Status() const {
  Json clients = Json::array();
  for (const auto& [fd, client] : m_clients) {
    if (!client.reader.Registered() || client.ended) continue;
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
