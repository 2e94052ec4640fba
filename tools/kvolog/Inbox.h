// What clients have sent and what is not in the log yet, in memory that outlives the service.
//
// A service manager keeps the memory's descriptor, so that what a service had received when it was
// killed is there for the next one. The kernel itself notes how much it has handed over, in the
// same system call: at no moment is something neither in a socket nor here.
//
// There are two halves. One receives, while the lines of what the other one holds are written.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "UniqueFd.h"

class Inbox {
 public:
  static constexpr std::size_t kTurn = std::size_t{64} << 10;  // bytes that are received at once

  // Goes on with the one that another service had, or makes one. Throws Refused.
  explicit Inbox(UniqueFd kept);
  ~Inbox();
  Inbox(const Inbox&) = delete;
  Inbox& operator=(const Inbox&) = delete;

  int fd() const { return m_fd.get(); }
  bool fresh() const { return m_fresh; }  // no other service had it

  // Receives what a client has sent, without waiting for it, and answers as recv() does. The bytes
  // stay where they are until Turn() was called twice. When there is no room for them, and only
  // then, they do not outlive the service.
  ssize_t Receive(int fd, std::uint64_t client, std::string_view* bytes);

  std::size_t size() const { return m_used; }            // of what the half holds that receives
  bool received() const { return m_count > m_carried; }  // something, since it does

  // Before Turn(): what a client has sent of a record whose end has not come yet. It is all that is
  // needed of the client's bytes so far, when their lines are written.
  void Carry(std::uint64_t client, std::string_view bytes);
  // The other half receives, which has to be free.
  void Turn();
  // What came before the last Turn() is in the log.
  void Free();

  // What came before the last Turn() and is not free, and what came since, piece by piece. What is
  // carried takes the place of what a client has sent of a record before.
  using Visitor = std::function<void(std::uint64_t client, std::string_view bytes, bool carried)>;
  void Before(const Visitor& visit) const;
  void Since(const Visitor& visit) const;

 private:
  struct Shared;
  struct Entry;

  static bool Fits(std::size_t count, std::size_t used, std::size_t size);
  bool Both() const;
  unsigned int First() const;
  unsigned int Receiving() const { return Both() ? 1 - First() : First(); }
  char* Half(unsigned int half) const;
  Entry& At(unsigned int half, std::size_t number) const;
  void Visit(unsigned int half, const Visitor& visit) const;

  UniqueFd m_fd;
  bool m_fresh = false;
  Shared* m_shared = nullptr;
  std::size_t m_count = 0, m_carried = 0, m_used = 0;  // in the half that receives
  std::size_t m_nextCount = 0, m_nextUsed = 0;         // carried into the other one
  std::size_t m_usedBefore = 0;                        // in the other one, before Turn()
  std::vector<char> m_overflow;
};
