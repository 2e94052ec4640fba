#include "Lanes.h"

namespace {

constexpr std::size_t kMost = 4;

}  // namespace

Lanes::~Lanes() {
  {
    const std::lock_guard lock(m_mutex);
    m_ending = true;
  }
  m_changed.notify_all();
  for (std::thread& thread : m_threads) thread.join();
}

void Lanes::Add(Task task) {
  const std::lock_guard lock(m_mutex);
  m_waiting.push_back(std::move(task));
  m_changed.notify_one();
  if (m_waiting.size() <= m_idle || m_threads.size() == kMost) return;
  ++m_idle;
  Server& server = *m_servers.emplace_back(std::make_unique<Server>(m_like, m_always));
  if (m_threads.empty()) {
    m_threads.emplace_back([this, &server] { Work(server); });
  } else {
    m_threads.emplace_back([this, &server] { Connect(server); });
  }
}

void Lanes::Connect(Server& server) {
  Server::Handle request;
  if (server.Enter(m_url, request) == CURLE_OK) {
    Work(server);
  } else {
    const std::lock_guard lock(m_mutex);
    --m_idle;
  }
}

void Lanes::Work(Server& server) {
  std::unique_lock lock(m_mutex);
  while (true) {
    m_changed.wait(lock, [this] { return m_ending || !m_waiting.empty(); });
    if (m_waiting.empty()) return;
    Task task = std::move(m_waiting.front());
    m_waiting.pop_front();
    --m_idle;
    lock.unlock();
    task(server);
    lock.lock();
    ++m_idle;
  }
}
