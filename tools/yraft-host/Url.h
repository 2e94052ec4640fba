// Places on another machine.
#pragma once

#include <string>

// Whether a place is a URL of a kind that files go to and come from: sftp://, or https:// for
// WebDAV.
bool IsUrl(const std::string& place);

struct Url {
  std::string text;    // without a '/' at the end
  std::string scheme;  // in small letters
  std::string user;    // empty for none
  std::string host;
  std::string path;  // decoded, as the server knows it; begins with '/'

  // Throws WrongUsage for what is no such URL, and where it holds a password, which every process
  // of the machine could read.
  explicit Url(const std::string& place);

  bool IsSftp() const { return scheme == "sftp"; }
  std::string Of(const std::string& name) const;      // the URL of a name below it
  std::string PathOf(const std::string& name) const;  // its path for a command of SFTP
  std::string Name() const;                           // the last part of the path, as a file name
};
