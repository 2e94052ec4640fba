// Several connections to one server, each with a thread of its own, as a small file waits for the
// server's answers most of the time.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Server.h"

class Lanes {
 public:
  // They connect where there is work for them. All but the first are done without where the server
  // takes no more connections.
  //
  // like  has been there, and its user been asked
  Lanes(const Server& like, std::string url) : m_url(std::move(url)), m_like(like) {}

  // Does what is still to be done.
  ~Lanes();
  Lanes(const Lanes&) = delete;
  Lanes& operator=(const Lanes&) = delete;

  // Does a job soon, in a lane's thread.
  template <typename Job>
  auto Do(Job job) {
    std::packaged_task<std::invoke_result_t<Job, Server&>(Server&)> task(std::move(job));
    auto result = task.get_future();
    Add(Task(std::move(task)));
    return result;
  }

 private:
  using Task = std::packaged_task<void(Server&)>;
  void Add(Task task);
  void Connect(Server& server);
  void Work(Server& server);

  const std::string m_url;
  const Permission m_always;
  const Server& m_like;
  std::vector<std::unique_ptr<Server>> m_servers;
  std::vector<std::thread> m_threads;
  std::mutex m_mutex;  // for what follows
  std::condition_variable m_changed;
  std::deque<Task> m_waiting;
  std::size_t m_idle = 0;  // lanes that wait for work, or connect
  bool m_ending = false;
};
