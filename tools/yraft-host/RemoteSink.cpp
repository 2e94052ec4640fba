#include "RemoteSink.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>

#include "FileNames.h"

namespace {

constexpr int kAttempts = 3;               // at a connection that was lost
constexpr std::size_t kLongestName = 200;  // of a temporary file; servers differ

std::string TemporaryName(const std::string& name) {
  static unsigned int number = 0;
  const std::size_t folder = name.rfind('/') + 1;
  return name.substr(0, folder) + ".yraft-" + std::to_string(getpid()) + "-" +
         std::to_string(number++) + "-" + CutName(name.substr(folder), kLongestName) + ".part";
}

// A path as a command of SFTP takes it.
std::string Quoted(const std::string& path) {
  std::string quoted = "\"";
  for (const char c : path) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + "\"";
}

std::size_t Collect(char* bytes, std::size_t size, std::size_t count, void* text) {
  static_cast<std::string*>(text)->append(bytes, size * count);
  return size * count;
}

}  // namespace

RemoteSink::RemoteSink(Server& server, const Url& folder, const std::string& name,
                       const FileInfo& info)
    : m_server(server),
      m_folder(folder),
      m_name(name),
      m_temporary(TemporaryName(name)),
      m_info(info) {
  Start(false);
}

// What was begun and not published goes, whatever the user wants meanwhile.
RemoteSink::~RemoteSink() {
  if (m_published) return;
  if (m_request) m_server.Drop(m_request.get());
  m_request.reset();
  try {
    Command({m_folder.IsSftp() ? "rm " + Quoted(m_folder.PathOf(m_temporary)) : "DELETE"}, false);
  } catch (const std::exception&) {  // without memory it stays
  }
}

std::size_t RemoteSink::OnRead(char* bytes, std::size_t size, std::size_t count, void* self) {
  auto* sink = static_cast<RemoteSink*>(self);
  const std::size_t length = std::min(size * count, sink->m_piece.size() - sink->m_at);
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
  m_request = m_server.Prepare(m_folder.Of(m_temporary));
  CURL* request = m_request.get();
  curl_easy_setopt(request, CURLOPT_UPLOAD, 1L);
  curl_easy_setopt(request, CURLOPT_READFUNCTION, OnRead);
  curl_easy_setopt(request, CURLOPT_READDATA, this);
  curl_easy_setopt(request, CURLOPT_SEEKFUNCTION, OnSeek);
  curl_easy_setopt(request, CURLOPT_SEEKDATA, this);
  curl_easy_setopt(request, CURLOPT_NEW_FILE_PERMS, static_cast<long>(m_info.mode));
  if (resumes) curl_easy_setopt(request, CURLOPT_RESUME_FROM_LARGE, curl_off_t{-1});
  if (!m_folder.IsSftp() && m_info.size > 0) {
    curl_easy_setopt(request, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(m_info.size));
  }
}

Step RemoteSink::Take(Source& source, std::size_t length) {
  m_before += m_piece.size();
  Load(source, length);
  const std::size_t moved = m_piece.size();
  CURLcode result = Send();
  for (int attempt = 0; IsLost(result) && m_folder.IsSftp() && attempt < kAttempts; ++attempt) {
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
  if (m_done) return m_end ? CURLE_OK : throw FileFailed("became longer while it was copied");
  curl_easy_pause(m_request.get(), CURLPAUSE_CONT);
  const auto result =
      m_server.Run(m_request.get(), [this] { return !m_end && m_at == m_piece.size(); });
  m_done = result == CURLE_OK;
  return result.value_or(CURLE_OK);
}

// What the server has counts, not what was handed over.
CURLcode RemoteSink::Resume(Source& source) {
  m_piece.clear();
  m_at = 0;
  m_end = m_done = false;
  m_resumed.reset();
  Start(true);
  const auto result = m_server.Run(m_request.get(), [this] { return m_resumed.has_value(); });
  m_before = m_resumed.value_or(0);
  source.Seek(m_before);
  return result.value_or(CURLE_OK);
}

// ---- Names
// ---------------------------------------------------------------------------------------

// Runs a command on the server: lines of SFTP, or a method of WebDAV with its headers.
CURLcode RemoteSink::Command(const std::vector<std::string>& words, bool obeys) {
  const auto request =
      m_server.Prepare(m_folder.IsSftp() ? m_folder.text + "/" : m_folder.Of(m_temporary));
  Server::Lines lines;
  for (std::size_t i = m_folder.IsSftp() ? 0 : 1; i < words.size(); ++i) {
    lines.reset(curl_slist_append(lines.release(), words[i].c_str()));
  }
  if (m_folder.IsSftp()) {
    curl_easy_setopt(request.get(), CURLOPT_QUOTE, lines.get());
  } else {
    curl_easy_setopt(request.get(), CURLOPT_CUSTOMREQUEST, words.front().c_str());
    curl_easy_setopt(request.get(), CURLOPT_HTTPHEADER, lines.get());
  }
  curl_easy_setopt(request.get(), CURLOPT_NOBODY, 1L);
  const CURLcode result = obeys ? m_server.Run(request.get(), [] { return false; }).value()
                                : m_server.RunShort(request.get());
  if (result != CURLE_HTTP_RETURNED_ERROR) return result;
  long code = 0;
  curl_easy_getinfo(request.get(), CURLINFO_RESPONSE_CODE, &code);
  constexpr long kPreconditionFailed = 412;
  return code == kPreconditionFailed ? CURLE_QUOTE_ERROR : result;
}

// Answers false where the name is taken.
bool RemoteSink::GiveName(const std::string& name) {
  const bool sftp = m_folder.IsSftp();
  const CURLcode result =
      sftp ? Command({"rename " + Quoted(m_folder.PathOf(m_temporary)) + " " +
                      Quoted(m_folder.PathOf(name))},
                     true)
           : Command({"MOVE", "Destination: " + m_folder.Of(name), "Overwrite: F"}, true);
  if (result == CURLE_OK) return true;
  if (result == CURLE_QUOTE_ERROR && (!sftp || IsTaken(name))) return false;
  throw FileFailed(result == CURLE_QUOTE_ERROR ? "the server takes no such name"
                                               : m_server.Words(m_request.get(), result));
}

// SFTP says only that a rename failed.
bool RemoteSink::IsTaken(const std::string& name) {
  const std::size_t folder = name.rfind('/') + 1;
  std::string list;
  const auto request = m_server.Prepare(m_folder.Of(name.substr(0, folder)) + "/");
  curl_easy_setopt(request.get(), CURLOPT_DIRLISTONLY, 1L);
  curl_easy_setopt(request.get(), CURLOPT_WRITEFUNCTION, Collect);
  curl_easy_setopt(request.get(), CURLOPT_WRITEDATA, &list);
  m_server.Run(request.get(), [] { return false; });
  return ("\n" + list).find("\n" + name.substr(folder) + "\n") != std::string::npos;
}

std::string RemoteSink::Publish() {
  m_request.reset();
  const std::size_t folder = m_name.rfind('/') + 1;
  std::string given = FirstFreeName(m_name.substr(folder), [&](const std::string& one) {
    return GiveName(m_name.substr(0, folder) + one);
  });
  if (given.empty()) throw FileFailed("cannot be named: all names are taken");
  m_published = true;
  return given;
}
