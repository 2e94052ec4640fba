// A folder of another machine that files are sent to: by SFTP, or by WebDAV over HTTPS.
#pragma once

#include <deque>
#include <memory>
#include <set>
#include <string>
#include <utility>

#include "Endpoints.h"
#include "Lanes.h"
#include "Server.h"
#include "SmallSink.h"
#include "Url.h"

class RemoteFolder : public Target {
 public:
  // resumes  go on with what other processes have left, and leave what does not arrive
  RemoteFolder(Server& server, Url url, bool resumes, const Permission& permission)
      : m_server(server), m_url(std::move(url)), m_resumes(resumes), m_permission(permission) {}

  // Goes there for the first time. Throws FileFailed where that is no place for files.
  void Visit();

  std::unique_ptr<Sink> Begin(const std::string& name, const FileInfo& info) override;
  void Finish(std::unique_ptr<Sink> sink, const Arrived& arrived) override;
  void Settle() override;
  std::string PlaceOf(const std::string& name) const override { return m_url.Of(name); }

 private:
  struct Finished {
    std::unique_ptr<SmallSink> sink;
    Arrived arrived;
  };
  void SettleFirst();
  void MakeFolderOf(const std::string& name);

  Server& m_server;
  const Url m_url;
  const bool m_resumes;
  const Permission& m_permission;
  std::set<std::string> m_folders;  // of WebDAV, that have been made
  std::unique_ptr<Lanes> m_lanes;   // of SFTP, for small files
  std::deque<Finished> m_finished;
};
