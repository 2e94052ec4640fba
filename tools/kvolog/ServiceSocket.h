// The socket that the agent's processes find the log service by.
#pragma once

#include <sys/types.h>

#include "UniqueFd.h"

// Listens at KVO_LOG_SOCKET_PATH, for everyone. A socket file that nobody listens at any more is
// replaced. Throws Refused, also where another service listens.
class ServiceSocket {
 public:
  ServiceSocket();
  ~ServiceSocket();  // removes the socket file if it is still this one's

  int get() const { return m_fd.get(); }
  // Answers a client that has connected, without waiting for one; errno tells why there is none.
  UniqueFd Accept();
  // From now on nobody connects any more; who has connected can still be accepted.
  void Refuse();

 private:
  void Remove();

  UniqueFd m_fd;
  dev_t m_device = 0;
  ino_t m_inode = 0;
};
