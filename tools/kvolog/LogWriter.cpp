#include "LogWriter.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace {

constexpr std::chrono::milliseconds kTick{250};      // between two attempts, and two looks
constexpr std::size_t kKept = std::size_t{4} << 20;  // bytes of a batch's memory that is used again

}  // namespace

LogWriter::LogWriter(const LogTarget& target, RollingFile::Report report)
    : m_event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      m_file(std::move(report)),
      m_target(target),
      m_thread([this] { Run(); }) {}

LogWriter::~LogWriter() { Stop(); }

void LogWriter::Stop() {
  if (!m_thread.joinable()) return;
  {
    const std::lock_guard lock(m_mutex);
    m_stop = m_any = true;
  }
  m_news.notify_one();
  m_thread.join();
}

bool LogWriter::Idle() {
  eventfd_t ignored = 0;
  eventfd_read(m_event.get(), &ignored);
  const std::lock_guard lock(m_mutex);
  return m_written == m_batch.size();
}

bool LogWriter::Await(std::chrono::milliseconds patience) {
  if (Idle()) return true;
  pollfd event{m_event.get(), POLLIN, 0};
  poll(&event, 1, static_cast<int>(patience.count()));
  return Idle();
}

void LogWriter::Write(std::string* lines) {
  {
    const std::lock_guard lock(m_mutex);
    m_batch.swap(*lines);
    m_written = 0;
    m_any = true;
  }
  lines->clear();
  if (lines->capacity() > kKept) lines->shrink_to_fit();
  m_news.notify_one();
}

void LogWriter::Use(const LogTarget& target) {
  {
    const std::lock_guard lock(m_mutex);
    m_target = target;
    m_look = m_any = true;
  }
  m_news.notify_one();
}

void LogWriter::Reopen() {
  {
    const std::lock_guard lock(m_mutex);
    m_reopen = m_any = true;
  }
  m_news.notify_one();
}

void LogWriter::Look() {
  {
    const std::lock_guard lock(m_mutex);
    m_look = m_any = true;
  }
  m_news.notify_one();
}

void LogWriter::Run() {
  pthread_setname_np(pthread_self(), "kvolog-writer");
  std::unique_lock lock(m_mutex);
  auto next = std::chrono::steady_clock::now() + kTick;
  bool again = true;  // there is something to look at, or to try again
  for (bool stop = false; !stop;) {
    const auto news = [this] { return m_any; };
    again ? static_cast<void>(m_news.wait_until(lock, next, news)) : m_news.wait(lock, news);
    m_any = false;
    again = std::exchange(m_look, false) || again;
    const LogTarget target = m_target;
    const bool reopen = std::exchange(m_reopen, false);
    stop = m_stop;
    const bool busy = m_written < m_batch.size();  // else the batch is the caller's to replace
    const std::size_t from = m_written;
    lock.unlock();
    m_file.Use(target);
    if (reopen) m_file.Reopen();
    if (const auto now = std::chrono::steady_clock::now(); (again || busy) && now >= next) {
      next = now + kTick;
      again = m_file.Check();
    }
    const std::size_t done = busy ? m_file.Append(std::string_view(m_batch).substr(from)) : 0;
    lock.lock();
    m_written += done;
    again = again || busy;
    if (busy && m_written == m_batch.size()) eventfd_write(m_event.get(), 1);
  }
}

std::uint64_t LogWriter::Finish(std::string_view rest) {
  Stop();
  std::uint64_t lost = 0;
  for (std::string_view lines : {std::string_view(m_batch).substr(m_written), rest}) {
    lines.remove_prefix(m_file.Append(lines));
    lost += static_cast<std::uint64_t>(std::ranges::count(lines, '\n'));
  }
  return lost;
}
