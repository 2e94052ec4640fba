#include "RemoteSource.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "FileNames.h"

namespace {

constexpr std::size_t kBuffer = 2UL << 20;  // that is held at most, and what curl adds
constexpr int kAttempts = 3;                // at a connection that was lost

}  // namespace

RemoteSource::RemoteSource(Server& server, const std::string& url) : m_server(server), m_url(url) {
  Start(0);
  Await();
  curl_off_t size = -1;
  curl_off_t time = -1;
  curl_easy_getinfo(m_request.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &size);
  curl_easy_getinfo(m_request.get(), CURLINFO_FILETIME_T, &time);
  m_info.size = static_cast<std::uint64_t>(std::max(size, curl_off_t{0}));
  m_info.modified.tv_sec = std::max(time, curl_off_t{0});
  if (size > 0 && time > 0) {
    m_info.version = Digest(url + " " + std::to_string(size) + " " + std::to_string(time));
  }
}

RemoteSource::~RemoteSource() { m_server.Drop(m_request.get()); }

void RemoteSource::Start(std::uint64_t offset) {
  if (m_request) m_server.Drop(m_request.get());
  m_request = m_server.Prepare(m_url);
  curl_easy_setopt(m_request.get(), CURLOPT_WRITEFUNCTION, OnWrite);
  curl_easy_setopt(m_request.get(), CURLOPT_WRITEDATA, this);
  curl_easy_setopt(m_request.get(), CURLOPT_FILETIME, 1L);
  curl_easy_setopt(m_request.get(), CURLOPT_RESUME_FROM_LARGE, static_cast<curl_off_t>(offset));
  m_buffer.clear();
  m_at = 0;
  m_behind = offset;
  m_done = m_lost = false;
}

std::size_t RemoteSource::OnWrite(char* bytes, std::size_t size, std::size_t count, void* self) {
  auto* source = static_cast<RemoteSource*>(self);
  if (source->m_buffer.size() >= kBuffer) return CURL_WRITEFUNC_PAUSE;
  const auto* first = reinterpret_cast<unsigned char*>(bytes);  // chars are copied one by one
  source->m_buffer.insert(source->m_buffer.end(), first, first + size * count);
  source->m_behind += size * count;
  return size * count;
}

// Waits for bytes, or the end; goes on where a connection was lost.
void RemoteSource::Await() {
  for (int attempt = 0; m_buffer.empty() && !m_done; ++attempt) {
    if (m_lost) Start(m_behind);
    const auto result = m_server.Run(m_request.get(), [this] { return !m_buffer.empty(); });
    // Nothing is redirected: this is what libcurl up to 8.16 makes of an empty file that comes over
    // a connection which brought another before.
    m_done = result == CURLE_OK || result == CURLE_TOO_MANY_REDIRECTS;
    m_lost = result && !m_done;
    if (!m_lost) continue;
    if (!IsLost(*result) || attempt == kAttempts) {
      throw FileFailed(m_server.Words(m_request.get(), *result));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(300 << attempt));
  }
}

std::size_t RemoteSource::Read(unsigned char* bytes, std::size_t length) {
  if (m_at == m_buffer.size()) {
    m_buffer.clear();
    m_at = 0;
    if (!m_done && !m_lost) curl_easy_pause(m_request.get(), CURLPAUSE_CONT);
    Await();
  }
  length = std::min(length, m_buffer.size() - m_at);
  std::copy_n(m_buffer.begin() + static_cast<std::ptrdiff_t>(m_at), length, bytes);
  m_at += length;
  return length;
}
