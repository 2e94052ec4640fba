// One file on its way to another machine, in one request for as long as that takes.
#pragma once

#include <string>
#include <vector>

#include "Endpoints.h"
#include "RemoteFile.h"
#include "Server.h"

class RemoteSink : public Sink {
 public:
  // goesOn   a connection that was lost is followed by another: a server of SFTP takes the rest
  // resumes  begin behind what another process has left there
  RemoteSink(Server& server, const RemoteFile& file, const FileInfo& info, bool goesOn,
             bool resumes);
  ~RemoteSink() override;

  Step Take(Source& source, std::size_t length) override;
  std::string Publish();

 private:
  static std::size_t OnRead(char* bytes, std::size_t size, std::size_t count, void* self);
  static int OnSeek(void* self, curl_off_t offset, int origin);
  void Start(bool resumes);
  void Load(Source& source, std::size_t length);
  CURLcode Send();
  CURLcode Resume(Source& source);

  Server& m_server;
  const RemoteFile m_file;
  const FileInfo m_info;
  const bool m_goesOn;
  bool m_resumes;  // with the first piece
  Server::Handle m_request;
  std::vector<unsigned char> m_piece;
  std::size_t m_at = 0;         // in the piece
  bool m_wanting = false;       // the server has asked for more than the piece
  std::uint64_t m_resumed = 0;  // where the server wants to go on
  std::uint64_t m_before = 0;   // bytes of the file in front of the piece
  bool m_end = false;           // the piece is the last
  bool m_done = false;          // the server has it all
  bool m_published = false;
};
