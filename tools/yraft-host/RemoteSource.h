// A file of another machine to be read.
#pragma once

#include <string>
#include <vector>

#include "Endpoints.h"
#include "Server.h"

class RemoteSource : public Source {
 public:
  RemoteSource(Server& server, const std::string& url);
  ~RemoteSource() override;

  const FileInfo& Info() const override { return m_info; }
  std::size_t Read(unsigned char* bytes, std::size_t length) override;
  void Seek(std::uint64_t offset) override { Start(offset); }

 private:
  static std::size_t OnWrite(char* bytes, std::size_t size, std::size_t count, void* self);
  void Start(std::uint64_t offset);
  void Await();

  Server& m_server;
  const std::string m_url;
  Server::Handle m_request;
  FileInfo m_info;
  std::vector<unsigned char> m_buffer;
  std::size_t m_at = 0;        // in the buffer
  std::uint64_t m_behind = 0;  // bytes of the file in front of what comes next
  bool m_done = false;
  bool m_lost = false;  // its connection
};
