#include "RemoteSink.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

namespace {

constexpr int kAttempts = 3;  // at a connection that was lost

}  // namespace

RemoteSink::RemoteSink(Server& server, const RemoteFile& file, const FileInfo& info, bool goesOn,
                       bool resumes)
    : m_server(server), m_file(file), m_info(info), m_goesOn(goesOn), m_resumes(resumes) {
  Start(false);
}

// What was begun and not published goes, whatever the user wants meanwhile.
RemoteSink::~RemoteSink() {
  m_server.Drop(m_request.get());
  if (!m_published) m_file.Remove(m_server);
}

// The file is read to where curl sends it from.
std::size_t RemoteSink::OnRead(char* bytes, std::size_t size, std::size_t count, void* self) {
  auto* sink = static_cast<RemoteSink*>(self);
  const std::size_t length = std::min(size * count, std::exchange(sink->m_room, 0));
  sink->m_wanting = length == 0;
  if (length == 0) return sink->m_end ? 0 : CURL_READFUNC_PAUSE;
  try {
    const std::size_t got = sink->m_source->Read(reinterpret_cast<unsigned char*>(bytes), length);
    sink->m_sent += got;
    sink->m_end = got == 0;
    return got;
  } catch (...) {
    sink->m_failed = std::current_exception();
    return CURL_READFUNC_ABORT;
  }
}

// Where the server has bytes of the file already it says so, and curl asks to go on from there.
int RemoteSink::OnSeek(void* self, curl_off_t offset, int) {
  static_cast<RemoteSink*>(self)->m_resumed = static_cast<std::uint64_t>(offset);
  return CURL_SEEKFUNC_OK;
}

void RemoteSink::Start(bool resumes) {
  m_request = m_file.Upload(m_server);
  CURL* request = m_request.get();
  curl_easy_setopt(request, CURLOPT_READFUNCTION, OnRead);
  curl_easy_setopt(request, CURLOPT_READDATA, this);
  curl_easy_setopt(request, CURLOPT_SEEKFUNCTION, OnSeek);
  curl_easy_setopt(request, CURLOPT_SEEKDATA, this);
  if (resumes) curl_easy_setopt(request, CURLOPT_RESUME_FROM_LARGE, curl_off_t{-1});
  if (!m_goesOn && m_info.size > 0) {
    curl_easy_setopt(request, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(m_info.size));
  }
}

Step RemoteSink::Take(Source& source, std::size_t length) {
  const std::uint64_t before = m_sent;
  const bool resumes = std::exchange(m_resumes, false);
  CURLcode result = resumes ? Resume(source) : Send(source, length);
  const std::size_t moved = resumes ? 0 : m_sent - before;
  for (int attempt = 0; IsLost(result) && m_goesOn && attempt < kAttempts; ++attempt) {
    std::this_thread::sleep_for(std::chrono::milliseconds(300 << attempt));
    result = Resume(source);
  }
  if (m_failed) std::rethrow_exception(m_failed);
  if (result != CURLE_OK) throw FileFailed(m_server.Words(m_request.get(), result));
  return {m_sent, moved, m_end};
}

// Lets the server have a piece, and waits for its word behind the last one.
CURLcode RemoteSink::Send(Source& source, std::size_t length) {
  if (m_done) {  // it was told a size
    unsigned char more;
    m_end = source.Read(&more, 1) == 0;
    return m_end ? CURLE_OK : throw FileFailed(Say(Said::kChanged));
  }
  m_source = &source;
  m_room = length;
  curl_easy_pause(m_request.get(), CURLPAUSE_CONT);
  const auto result = m_server.Run(m_request.get(), [this] { return !m_end && m_room == 0; });
  m_done = result == CURLE_OK;
  return result.value_or(CURLE_OK);
}

// What the server has counts, not what was handed over.
CURLcode RemoteSink::Resume(Source& source) {
  m_server.Drop(m_request.get());
  m_room = 0;
  m_end = m_done = m_wanting = false;
  m_resumed = 0;
  Start(true);
  const auto result = m_server.Run(m_request.get(), [this] { return m_wanting; });
  m_sent = m_resumed;
  source.Seek(m_sent);
  return result.value_or(CURLE_OK);
}

std::string RemoteSink::Publish() {
  m_request.reset();
  std::string given = m_file.Publish(m_server);
  m_published = true;
  return given;
}
