// A folder of this machine that files are copied into.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "Endpoints.h"
#include "LocalSink.h"
#include "UniqueFd.h"

// Opens a folder that files can be put into; empty, with the reason in `why`, where it is none.
UniqueFd OpenFolder(const std::string& path, Text& why);

// Files arrive on the disk before they get their names. Small ones wait for each other, since the
// disk takes many as fast as one.
class LocalFolder : public Target {
 public:
  // path     what the folder is called
  // shares   let the file system share a file's blocks where it can, which takes no time
  // resumes  go on with what other processes have left, and leave what does not arrive
  LocalFolder(UniqueFd folder, const std::string& path, bool shares, bool resumes,
              const Permission& permission);
  ~LocalFolder() override;

  std::unique_ptr<Sink> Begin(const std::string& name, const FileInfo& info) override;
  void Finish(std::unique_ptr<Sink> sink, const Arrived& arrived) override;
  void Settle() override;
  std::string PlaceOf(const std::string& name) const override;

 private:
  using Clock = std::chrono::steady_clock;
  struct Finished {
    std::unique_ptr<LocalSink> sink;
    Arrived arrived;
    Text why;  // it does not arrive; empty where it does
  };

  const UniqueFd m_folder;
  const std::string m_path;
  const bool m_shares;
  const bool m_resumes;
  const Permission& m_permission;
  const std::size_t m_mostFinished;
  bool m_named = false;  // a file, since the folder was last on the disk
  std::vector<Finished> m_finished;
  std::uint64_t m_finishedBytes = 0;
  std::uint64_t m_together = std::uint64_t{16} << 20;  // bytes that wait for each other at most
  Clock::time_point m_finishedSince;
};
