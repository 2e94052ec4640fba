// The socket that the agent's processes find the log service by.
#pragma once

#include <sys/types.h>

#include "UniqueFd.h"

// Listens at KVO_LOG_SOCKET_PATH, for everyone; or is handed the socket that a service manager
// listens at. A socket file that nobody listens at any more is replaced. One service at a time has
// it. Throws Refused.
class ServiceSocket {
 public:
  explicit ServiceSocket(UniqueFd inherited);
  ~ServiceSocket();  // removes the socket file if it was made here

  int get() const { return m_fd.get(); }
  // The socket outlives this process, and who connects in between waits.
  bool Outlives() const { return m_outlives; }
  // Answers a client that has connected, without waiting for one; errno tells why there is none.
  UniqueFd Accept();
  // From now on nobody connects any more; who has connected can still be accepted.
  void Refuse();

 private:
  void Listen();
  void Remove();

  UniqueFd m_lock;
  UniqueFd m_fd;
  bool m_outlives;
  dev_t m_device = 0;
  ino_t m_inode = 0;
};
