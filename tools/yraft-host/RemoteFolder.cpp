#include "RemoteFolder.h"

#include <utility>

#include "RemoteSink.h"

void RemoteFolder::Visit() {
  Server::Handle request;
  const CURLcode result = m_server.Enter(m_url.text + "/", request);
  // A folder of WebDAV may show nobody what is in it and take files all the same.
  const bool hidden =
      result == CURLE_HTTP_RETURNED_ERROR && !Server::IsDenied(request.get(), result);
  if (result != CURLE_OK && !hidden) throw FileFailed(m_server.Words(request.get(), result));
}

std::unique_ptr<Sink> RemoteFolder::Begin(const std::string& name, const FileInfo& info) {
  return std::make_unique<RemoteSink>(m_server, m_url, name, info);
}

void RemoteFolder::Finish(std::unique_ptr<Sink> sink, const Arrived& arrived) {
  arrived(static_cast<RemoteSink&>(*sink).Publish(), {});
}
