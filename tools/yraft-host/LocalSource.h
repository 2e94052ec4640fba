// A file of this machine to be read.
#pragma once

#include <string>

#include "Endpoints.h"
#include "UniqueFd.h"

class LocalSource : public Source {
 public:
  // Opens a file, links followed. Refuses everything but a regular file.
  //
  // asItIs  take a file that others write meanwhile: up to the size that it has now
  LocalSource(const std::string& path, bool asItIs);

  const FileInfo& Info() const override { return m_info; }
  std::size_t Read(unsigned char* bytes, std::size_t length) override;
  void Seek(std::uint64_t offset) override;
  void ExpectUnchanged() const override;
  int Descriptor() const override { return m_fd.get(); }

 private:
  UniqueFd m_fd;
  FileInfo m_info;
  std::uint64_t m_read = 0;  // bytes
  timespec m_changed{};
  bool m_asItIs;
};
