// The log service: reads what the agent's processes send and writes it into the log file.
//
// One thread waits for all clients. Each round reads once from every client that has something and
// writes what came of it, so that no client waits for another and lines are in the file at once.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "Configuration.h"
#include "LogLine.h"
#include "Names.h"
#include "RecordReader.h"
#include "RollingFile.h"
#include "ServiceSocket.h"
#include "UniqueFd.h"

class Service {
 public:
  // SIGTERM, SIGINT and SIGHUP are the service's from now on: they are blocked. The configuration
  // is mapped. Throws Refused.
  Service();

  const std::string& path() const { return m_target.path; }

  // Serves until SIGTERM or SIGINT, then takes in what clients have sent by then. SIGHUP opens the
  // log file anew.
  void Run();

 private:
  struct Client {
    UniqueFd fd;
    pid_t process = 0;
    RecordReader reader;
  };
  using Clients = std::map<int, Client>;
  using Clock = std::chrono::steady_clock;

  bool Watch(int fd);
  void Tick();
  void HandleSignal();
  void AcceptAll();
  void Admit(UniqueFd fd);
  bool Read(Client& client);
  bool TakeIn(Client& client, std::string_view bytes);
  void Drain();
  void Flush();
  void Note(const Client& client, const std::string& what);
  void Note(const std::string& what);
  void UseTarget();

  UniqueFd m_signals;
  UniqueFd m_epoll;
  ServiceSocket m_socket;
  const Names m_names;
  ConfigurationWatch m_configuration;
  LogTarget m_target;
  RollingFile m_file;
  LogLineWriter m_writer;
  Clients m_clients;
  std::vector<char> m_received;
  Clock::time_point m_nextTick;
  bool m_accepting = true;  // false while there are too many clients
  bool m_running = true;
};
