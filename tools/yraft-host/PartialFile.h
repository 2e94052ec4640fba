// A file that has no name yet, in the folder where it is to get one.
#pragma once

#include <cstdint>
#include <string>

#include "Endpoints.h"
#include "UniqueFd.h"

// Where the file system can, the file has no name at all until it is published, and whatever ends
// the process, nothing is left. Elsewhere it goes by ".yraft-….part" and is locked for as long as
// its process lives, so that another can tell what was left. A file that is to be resumed goes by
// ".yraft+….part" and stays; an attribute says what it is of, and how much of that is on the disk.
class PartialFile {
 public:
  // Throws FileFailed where the folder takes no such file, a name that it cannot hold included.
  //
  // folder   stays the caller's
  // name     that the file is to get
  // version  of what comes, to go on with what is there of it; empty for a new file. Where the
  //          folder cannot keep it, the file is new as well
  PartialFile(int folder, const std::string& name, mode_t mode, const std::string& version);
  ~PartialFile();
  PartialFile(const PartialFile&) = delete;
  PartialFile& operator=(const PartialFile&) = delete;

  int fd() const { return m_fd.get(); }

  // Bytes of that version that are there already.
  std::uint64_t Resumed() const { return m_resumed; }

  // Lets whoever resumes the file begin at `end`, up to where all has been written.
  void Keep(std::uint64_t end);

  // Gives the file its name, or "name (2)" and so on where that is taken: nothing is ever replaced.
  // Answers which.
  std::string Publish(const std::string& name);

 private:
  bool Create(const std::string& temporary, mode_t mode);
  bool Resume(const std::string& temporary);
  bool Mark(std::uint64_t end);
  int GiveName(const std::string& name);

  const int m_folder;
  UniqueFd m_fd;
  std::string m_temporary;  // its name until it is published; empty for none
  std::string m_version;    // empty where it is not to be resumed
  std::uint64_t m_resumed = 0;
};

// Removes the partial files of processes that are gone.
void RemoveLeftovers(int folder);
