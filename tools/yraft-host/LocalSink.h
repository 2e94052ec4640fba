// One file on its way into a folder of this machine.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "Endpoints.h"
#include "PartialFile.h"
#include "WriteBack.h"

class LocalSink : public Sink {
 public:
  // name     of the file in the open folder
  // shares   let the file system share blocks where it can
  // resumes  go on with what another process has left, and leave it to another
  LocalSink(UniqueFd folder, const std::string& name, const FileInfo& info, bool shares,
            bool resumes);

  Step Take(Source& source, std::size_t length) override;

  // Waits until all of it is there.
  void Sync();
  std::string Publish() { return m_file.Publish(m_name); }
  std::uint64_t Size() const { return m_offset; }

 private:
  bool Share(int source);
  std::size_t Move(Source& source, std::size_t length);
  void Write(std::size_t length);
  void End(const Source& source);

  const UniqueFd m_folder;
  const std::string m_name;
  const FileInfo m_info;
  const bool m_shares;
  PartialFile m_file;
  WriteBack m_writeBack;
  std::vector<unsigned char> m_block;
  std::uint64_t m_offset = 0;
  std::uint64_t m_written = 0;  // the end of the last bytes that are no hole
  bool m_begun = false;
  std::chrono::steady_clock::time_point m_kept = std::chrono::steady_clock::now();
  bool m_kernelCopies = true;
};
