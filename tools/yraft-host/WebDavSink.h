// One file on its way to a server of WebDAV, in one request for as long as that takes: a part of a
// file cannot be put there.
#pragma once

#include <string>
#include <vector>

#include "Endpoints.h"
#include "RemoteFile.h"
#include "Server.h"

class WebDavSink : public Sink {
 public:
  WebDavSink(Server& server, const RemoteFile& file, const FileInfo& info);
  ~WebDavSink() override;

  Step Take(Source& source, std::size_t length) override;
  std::string Publish();

 private:
  static std::size_t OnRead(char* bytes, std::size_t size, std::size_t count, void* self);
  void Load(Source& source, std::size_t length);
  void Send();

  Server& m_server;
  const RemoteFile m_file;
  const FileInfo m_info;
  Server::Handle m_request;
  std::vector<unsigned char> m_piece;
  std::size_t m_at = 0;        // in the piece
  std::uint64_t m_before = 0;  // bytes of the file in front of the piece
  bool m_end = false;          // the piece is the last
  bool m_done = false;         // the server has it all
  bool m_published = false;
};
