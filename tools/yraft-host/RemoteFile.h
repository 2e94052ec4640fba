// A file on a server on its way to its name. It goes by a temporary one until it is whole, and gets
// its own by a rename that replaces nothing. Every function may run in a thread of its own.
#pragma once

#include <string>
#include <vector>

#include "Endpoints.h"
#include "Server.h"
#include "Url.h"

class RemoteFile {
 public:
  // folder  stays the caller's
  // resumes go on with what another process has left of this file, and leave it to another
  RemoteFile(const Url& folder, const std::string& name, const FileInfo& info, bool resumes);

  // A request that writes the file, from its beginning or as it is set up further.
  Server::Handle Upload(Server& server) const;

  // Gives the file its name, or "name (2)" and so on where that is taken. Answers which.
  std::string Publish(Server& server) const;

  // Ends without it.
  void Remove(Server& server) const;

 private:
  bool Command(Server& server, const std::vector<std::string>& words, bool obeys) const;
  bool GiveName(Server& server, const std::string& name) const;
  bool IsTaken(Server& server, const std::string& name) const;

  const Url& m_folder;
  const std::string m_name;
  const FileInfo m_info;
  const bool m_resumes;
  const std::string m_temporary;
};
