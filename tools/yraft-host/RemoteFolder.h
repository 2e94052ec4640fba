// A folder of another machine that files are sent to: by SFTP, or by WebDAV over HTTPS.
#pragma once

#include <memory>
#include <string>

#include "Endpoints.h"
#include "Server.h"
#include "Url.h"

// A file goes by a temporary name until it is whole, and gets its own by a rename that replaces
// nothing.
class RemoteFolder : public Target {
 public:
  RemoteFolder(Server& server, Url url) : m_server(server), m_url(std::move(url)) {}

  // Goes there for the first time. Throws FileFailed where that is no place for files.
  void Visit();

  std::unique_ptr<Sink> Begin(const std::string& name, const FileInfo& info) override;
  void Finish(std::unique_ptr<Sink> sink, const Arrived& arrived) override;
  void Settle() override {}
  std::string PlaceOf(const std::string& name) const override { return m_url.Of(name); }

 private:
  Server& m_server;
  const Url m_url;
};
