// The log service: reads what the agent's processes send and has it written into the log file.
//
// One thread waits for all clients and gives each that has sent something a turn, in which it reads
// so much and no more. What is read stays in the inbox until its lines are in the file, so that a
// service that is killed loses nothing: the next one, which gets the inbox and the sockets from the
// service manager, reads it again. Only when the file could not be written for long are lines
// dropped.
#pragma once

#include <sys/socket.h>
#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "Commands.h"
#include "Configuration.h"
#include "FileWatch.h"
#include "Inbox.h"
#include "Json.h"
#include "LogLine.h"
#include "LogWriter.h"
#include "Names.h"
#include "RecordReader.h"
#include "ServiceSocket.h"
#include "UniqueFd.h"
#include "WrittenLines.h"

// Under which name a service manager keeps the inbox.
constexpr std::string_view kInboxName = "inbox";

// What a service manager kept for the service: the connections by the names that they are kept
// under.
struct Inheritance {
  struct Connection {
    UniqueFd fd;
    UniqueFd registration;
  };
  UniqueFd listener;
  UniqueFd inbox;
  std::map<std::string, Connection> connections;
};

class Service {
 public:
  // SIGTERM, SIGINT and SIGHUP are the service's from now on: they are blocked. The configuration
  // is mapped. Throws Refused.
  Service(const ServeOptions& options, Inheritance inheritance);

  const std::string& path() const { return m_target.path; }

  // Serves until SIGTERM or SIGINT, then takes in what clients have sent by then. SIGHUP opens the
  // log file anew. Answers how many lines were lost since the start.
  std::uint64_t Run();

 private:
  using Clock = std::chrono::steady_clock;

  // Who sends. For root there is no limit: it may remove the log.
  struct User {
    unsigned int connections = 0;
    double credit = 0;  // bytes
    Clock::time_point counted{};
    std::uint64_t refused = 0;  // lines, since they were last told
    bool turnedAway = false;    // and not yet told
  };
  struct Client {
    UniqueFd fd;
    std::uint64_t id = 0;     // that no other client has, nor had one whose lines are in the inbox
    UniqueFd registration{};  // a file in memory for the next service, which is not sent it again
    ucred peer{};
    Clock::time_point since{};
    RecordReader reader{};
    bool ready = false;    // has a turn to come
    bool ended = false;    // nothing more will be read
    std::string answer{};  // to its question, as far as it is not sent
    std::uint64_t lines = 0, bytes = 0, dropped = 0;
  };

  bool Watch(int fd, std::uint32_t events);
  void Gather();
  void Wait();
  void Tick();
  void HandleSignal();
  void AcceptSome();
  void Admit(Inheritance::Connection connection);
  static void Restore(Client& client);
  void TakeOver();
  Client* NewClient(Inheritance::Connection connection);
  void Turns();
  bool MayRead() const;
  void Read(Client& client);
  void TakeIn(Client& client, std::string_view bytes);
  void AddLine(Client& client, const LogRecord& record);
  void Forward(const Client& client, const LogRecord& record, std::string_view className);
  bool MayAdd(const ucred& peer, std::size_t bytes);
  void KeepRegistration(Client& client);
  void Settle();
  bool AnythingNew() const;
  void HandOver();
  void Written();
  void End(Client& client);
  void Forget(int fd);
  std::uint64_t Drain();
  void HandOverAtEnd();
  void AnswerStatus(Client& client);
  void SendAnswer(Client& client);
  Json Status() const;
  void Note(const Client& client, const std::string& what);
  void Note(const std::string& what);

  const ServeOptions m_options;
  const bool m_keeps = std::getenv("NOTIFY_SOCKET") != nullptr;  // a manager, for our successor
  UniqueFd m_signals;
  UniqueFd m_epoll;
  UniqueFd m_syslog;
  ServiceSocket m_socket;
  const Names m_names;
  ConfigurationWatch m_configuration;
  LogTarget m_target;
  FileWatch m_logFolder;
  Inbox m_inbox;
  WrittenLines m_written;  // by a service that died
  LogWriter m_writer;
  LogLineWriter m_line;
  std::string m_lines;  // not handed to the writer yet
  Clock::time_point m_handed;
  bool m_stalled = false;            // the writer takes too long
  std::uint64_t m_dropped = 0;       // lines, since they were last told
  std::uint64_t m_lost = 0;          // lines, since the start
  std::uint64_t m_notForwarded = 0;  // lines, since the start
  std::map<int, Client> m_clients;
  std::map<uid_t, User> m_users;
  std::deque<int> m_ready;
  // Who has ended, but may have lines that are not in the file: not handed over yet, or since.
  std::vector<int> m_ending, m_ended;
  Clock::time_point m_nextTick;
  Clock::time_point m_round;  // when the last one ended in which something came
  bool m_any = false;         // has come in this round
  bool m_accepting = true;    // false while no descriptor is free
  bool m_running = true;
  bool m_late = false;  // at the end, the writer was waited for in vain
};
