// A file that has no name yet, in the folder where it is to get one.
#pragma once

#include <string>

#include "Endpoints.h"
#include "UniqueFd.h"

// Where the file system can, the file has no name at all until it is published, and whatever ends
// the process, nothing is left. Elsewhere it goes by ".yraft-….part" and is locked for as long as
// its process lives, so that another can tell what was left.
class PartialFile {
 public:
  // Throws FileFailed where the folder takes no such file, a name that it cannot hold included.
  //
  // folder  stays the caller's
  // name    that the file is to get
  PartialFile(int folder, const std::string& name, mode_t mode);
  ~PartialFile();
  PartialFile(const PartialFile&) = delete;
  PartialFile& operator=(const PartialFile&) = delete;

  int fd() const { return m_fd.get(); }

  // Gives the file its name, or "name (2)" and so on where that is taken: nothing is ever replaced.
  // Answers which.
  std::string Publish(const std::string& name);

 private:
  bool Create(const std::string& temporary, mode_t mode);
  int GiveName(const std::string& name);

  const int m_folder;
  UniqueFd m_fd;
  std::string m_temporary;  // its name until it is published; empty for none
};

// Removes the partial files of processes that are gone.
void RemoveLeftovers(int folder);
