// One file on its way to another machine.
#pragma once

#include <string>
#include <vector>

#include "Endpoints.h"
#include "Server.h"
#include "Url.h"

class RemoteSink : public Sink {
 public:
  RemoteSink(Server& server, const Url& folder, const std::string& name, const FileInfo& info);
  ~RemoteSink() override;

  Step Take(Source& source, std::size_t length) override;

  // Gives the file its name, or "name (2)" and so on where that is taken. Answers which.
  std::string Publish();

 private:
  static std::size_t OnRead(char* bytes, std::size_t size, std::size_t count, void* self);
  static int OnSeek(void* self, curl_off_t offset, int origin);
  void Start(bool resumes);
  void Load(Source& source, std::size_t length);
  CURLcode Send();
  CURLcode Resume(Source& source);
  bool GiveName(const std::string& name);
  bool IsTaken(const std::string& name);
  CURLcode Command(const std::vector<std::string>& commands, bool obeys);

  Server& m_server;
  const Url& m_folder;
  const std::string m_name;
  const std::string m_temporary;
  const FileInfo m_info;
  Server::Handle m_request;
  std::vector<unsigned char> m_piece;
  std::size_t m_at = 0;                    // in the piece
  std::optional<std::uint64_t> m_resumed;  // where the server wants to go on
  std::uint64_t m_before = 0;              // bytes of the file in front of the piece
  bool m_end = false;                      // the piece is the last
  bool m_done = false;                     // the server has it all
  bool m_published = false;
};
