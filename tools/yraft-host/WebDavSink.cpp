#include "WebDavSink.h"

#include <algorithm>
#include <cstring>

WebDavSink::WebDavSink(Server& server, const RemoteFile& file, const FileInfo& info)
    : m_server(server), m_file(file), m_info(info), m_request(m_file.Upload(server)) {
  CURL* request = m_request.get();
  curl_easy_setopt(request, CURLOPT_READFUNCTION, OnRead);
  curl_easy_setopt(request, CURLOPT_READDATA, this);
  if (info.size > 0) {
    curl_easy_setopt(request, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(info.size));
  }
}

// What was begun and not published goes, whatever the user wants meanwhile.
WebDavSink::~WebDavSink() {
  m_server.Drop(m_request.get());
  if (!m_published) m_file.Remove(m_server);
}

std::size_t WebDavSink::OnRead(char* bytes, std::size_t size, std::size_t count, void* self) {
  auto* sink = static_cast<WebDavSink*>(self);
  const std::size_t length = std::min(size * count, sink->m_piece.size() - sink->m_at);
  if (length == 0) return sink->m_end ? 0 : CURL_READFUNC_PAUSE;
  std::memcpy(bytes, &sink->m_piece[sink->m_at], length);
  sink->m_at += length;
  return length;
}

Step WebDavSink::Take(Source& source, std::size_t length) {
  m_before += m_piece.size();
  Load(source, length);
  Send();
  return {m_before + m_piece.size(), m_piece.size(), m_end};
}

void WebDavSink::Load(Source& source, std::size_t length) {
  length = std::min(length, RoomFor(m_info, m_before));
  m_piece.resize(length);
  m_piece.resize(source.Read(m_piece.data(), length));
  m_at = 0;
  m_end = m_piece.empty();
}

// Hands the piece over, and waits for the server's word behind the last one.
void WebDavSink::Send() {
  if (m_done && !m_end) throw FileFailed("became longer while it was copied");
  if (m_done) return;
  curl_easy_pause(m_request.get(), CURLPAUSE_CONT);
  const auto result =
      m_server.Run(m_request.get(), [this] { return !m_end && m_at == m_piece.size(); });
  m_done = result == CURLE_OK;
  if (result && !m_done) throw FileFailed(m_server.Words(m_request.get(), *result));
}

std::string WebDavSink::Publish() {
  std::string given = m_file.Publish(m_server);
  m_published = true;
  return given;
}
