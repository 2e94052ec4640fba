// One file on its way to another machine, in one request for as long as that takes.
#pragma once

#include <exception>
#include <string>

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
  CURLcode Send(Source& source, std::size_t length);
  CURLcode Resume(Source& source);

  Server& m_server;
  const RemoteFile m_file;
  const FileInfo m_info;
  const bool m_goesOn;
  bool m_resumes;  // with the first piece
  Server::Handle m_request;
  Source* m_source = nullptr;
  std::size_t m_room = 0;       // bytes that may be read now
  bool m_wanting = false;       // the server has asked for more
  std::uint64_t m_resumed = 0;  // where the server wants to go on
  std::uint64_t m_sent = 0;     // bytes of the file that were read
  bool m_end = false;           // there are no more
  bool m_done = false;          // the server has it all
  std::exception_ptr m_failed;  // what the source threw amid a request
  bool m_published = false;
};
