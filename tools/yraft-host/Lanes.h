// Several connections to one server, each with a thread of its own. A small file waits for the
// server most of the time, and a large one costs more encryption than one processor does.
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
  // first  is connected, and the lanes' own from now on; the others connect where there is work for
  //        them, and are done without where the server takes no more connections
  // url    where they go
  Lanes(Server& first, std::string url);

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
  const Permission m_whileNeeded;
  Server& m_first;
  std::vector<std::unique_ptr<Server>> m_others;
  std::vector<std::thread> m_threads;
  std::mutex m_mutex;  // for what follows
  std::condition_variable m_changed;
  std::deque<Task> m_waiting;
  std::size_t m_idle = 0;  // lanes that wait for work, or connect
  bool m_ending = false;
};
