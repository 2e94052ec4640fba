#include "RemoteFolder.h"

#include "RemoteSink.h"

namespace {

constexpr std::size_t kTogether = 16;  // files that wait for the server at most

}  // namespace

void RemoteFolder::Visit() {
  Server::Handle request;
  const CURLcode result = m_server.Enter(m_url.text + "/", request);
  // A folder of WebDAV may show nobody what is in it and take files all the same.
  const bool hidden =
      result == CURLE_HTTP_RETURNED_ERROR && !Server::IsDenied(request.get(), result);
  if (result != CURLE_OK && !hidden) throw FileFailed(m_server.Words(request.get(), result));
  if (m_url.IsSftp()) m_lanes = std::make_unique<Lanes>(m_server, m_url.text + "/");
}

std::unique_ptr<Sink> RemoteFolder::Begin(const std::string& name, const FileInfo& info) {
  const bool resumes = m_lanes && m_resumes && !info.version.empty() && !SmallSink::Takes(info);
  const RemoteFile file(m_url, name, info, resumes);
  if (m_lanes && SmallSink::Takes(info)) return std::make_unique<SmallSink>(*m_lanes, file, info);
  if (!m_lanes) MakeFolderOf(name);
  return std::make_unique<RemoteSink>(m_server, file, info, m_lanes != nullptr, resumes);
}

// SFTP's are made by curl. What a server answers here does not matter: one that is there already
// is an error, too, and one that is not fails the file.
void RemoteFolder::MakeFolderOf(const std::string& name) {
  const std::size_t end = name.rfind('/');
  const std::string folder = end == name.npos ? "" : name.substr(0, end);
  if (folder.empty() || !m_folders.insert(folder).second) return;
  MakeFolderOf(folder);
  const auto request = m_server.Prepare(m_url.Of(folder) + "/");
  curl_easy_setopt(request.get(), CURLOPT_CUSTOMREQUEST, "MKCOL");
  curl_easy_setopt(request.get(), CURLOPT_NOBODY, 1L);
  m_server.Run(request.get(), [] { return false; });
}

void RemoteFolder::Finish(std::unique_ptr<Sink> sink, const Arrived& arrived) {
  if (auto* large = dynamic_cast<RemoteSink*>(sink.get())) {
    arrived(large->Publish(), {});
    return;
  }
  std::unique_ptr<SmallSink> mine(static_cast<SmallSink*>(sink.release()));  // this target's own
  mine->Publish();
  m_finished.push_back({std::move(mine), arrived});
  while (m_finished.size() >= kTogether) SettleFirst();
}

void RemoteFolder::Settle() {
  while (!m_finished.empty()) SettleFirst();
}

// What has arrived when the user wants to stop is told as any other.
void RemoteFolder::SettleFirst() {
  bool isWanted = true;
  while (!m_finished.front().sink->IsDecided()) {
    isWanted = isWanted && m_permission.goOn();
    for (Finished& one : m_finished) {
      if (!isWanted) one.sink->GiveUp();
    }
  }
  const Finished first = std::move(m_finished.front());
  m_finished.pop_front();
  try {
    first.arrived(first.sink->Given(), {});
  } catch (const FileFailed& failed) {
    if (isWanted) first.arrived({}, failed.why);
  }
}
