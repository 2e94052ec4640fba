#include "RemoteSink.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>

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

std::size_t RemoteSink::OnRead(char* bytes, std::size_t size, std::size_t count, void* self) {
  auto* sink = static_cast<RemoteSink*>(self);
  const std::size_t length = std::min(size * count, sink->m_piece.size() - sink->m_at);
  sink->m_wanting = length == 0;
  if (length == 0) return sink->m_end ? 0 : CURL_READFUNC_PAUSE;
  std::memcpy(bytes, &sink->m_piece[sink->m_at], length);
  sink->m_at += length;
  return length;
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
  CURLcode result = CURLE_OK;
  if (m_resumes) {
    m_resumes = false;
    result = Resume(source);
  } else {
    m_before += m_piece.size();
    Load(source, length);
    result = Send();
  }
  const std::size_t moved = m_piece.size();
  for (int attempt = 0; IsLost(result) && m_goesOn && attempt < kAttempts; ++attempt) {
    std::this_thread::sleep_for(std::chrono::milliseconds(300 << attempt));
    result = Resume(source);
  }
  if (result != CURLE_OK) throw FileFailed(m_server.Words(m_request.get(), result));
  return {m_before + m_piece.size(), moved, m_end};
}

void RemoteSink::Load(Source& source, std::size_t length) {
  length = std::min(length, RoomFor(m_info, m_before));
  m_piece.resize(length);
  m_piece.resize(source.Read(m_piece.data(), length));
  m_at = 0;
  m_end = m_piece.empty();
}

// Hands the piece over, and waits for the server's word behind the last one.
CURLcode RemoteSink::Send() {
  if (m_done) return m_end ? CURLE_OK : throw FileFailed(Say(Said::kChanged));
  curl_easy_pause(m_request.get(), CURLPAUSE_CONT);
  const auto result =
      m_server.Run(m_request.get(), [this] { return !m_end && m_at == m_piece.size(); });
  m_done = result == CURLE_OK;
  return result.value_or(CURLE_OK);
}

// What the server has counts, not what was handed over.
CURLcode RemoteSink::Resume(Source& source) {
  m_server.Drop(m_request.get());
  m_piece.clear();
  m_at = 0;
  m_end = m_done = m_wanting = false;
  m_resumed = 0;
  Start(true);
  const auto result = m_server.Run(m_request.get(), [this] { return m_wanting; });
  m_before = m_resumed;
  source.Seek(m_before);
  return result.value_or(CURLE_OK);
}

std::string RemoteSink::Publish() {
  m_request.reset();
  std::string given = m_file.Publish(m_server);
  m_published = true;
  return given;
}
