#include "RemoteFile.h"

#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "FileNames.h"

namespace {

constexpr std::size_t kLongestName = 180;  // of a temporary file; servers differ

// What can be resumed has a name that another process finds again, and that changes with the file.
std::string TemporaryName(const std::string& name, const FileInfo& info, bool resumes) {
  static unsigned int number = 0;
  const std::size_t folder = name.rfind('/') + 1;
  const std::string mark =
      resumes ? info.version : std::to_string(getpid()) + "-" + std::to_string(number++);
  return name.substr(0, folder) + ".yraft-" + mark + "-" +
         CutName(name.substr(folder), kLongestName) + ".part";
}

// A path as a command of SFTP takes it.
std::string Quoted(const std::string& path) {
  std::string quoted = "\"";
  for (const char c : path) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + "\"";
}

// As a command of SFTP takes it, whatever the user's language.
std::string Date(std::time_t time) {
  char text[64];
  std::tm parts{};
  gmtime_r(&time, &parts);
  return std::string(text, std::strftime(text, sizeof(text), "\"%Y%m%d %H:%M:%S GMT\"", &parts));
}

std::size_t Collect(char* bytes, std::size_t size, std::size_t count, void* text) {
  static_cast<std::string*>(text)->append(bytes, size * count);
  return size * count;
}

}  // namespace

RemoteFile::RemoteFile(const Url& folder, const std::string& name, const FileInfo& info,
                       bool resumes)
    : m_folder(folder),
      m_name(name),
      m_info(info),
      m_resumes(resumes),
      m_temporary(TemporaryName(name, info, resumes)) {}

Server::Handle RemoteFile::Upload(Server& server) const {
  auto request = server.Prepare(m_folder.Of(m_temporary));
  curl_easy_setopt(request.get(), CURLOPT_UPLOAD, 1L);
  curl_easy_setopt(request.get(), CURLOPT_NEW_FILE_PERMS, static_cast<long>(m_info.mode));
  return request;
}

void RemoteFile::Remove(Server& server) const {
  if (m_resumes) return;
  try {
    Command(server, {m_folder.IsSftp() ? "rm " + Quoted(m_folder.PathOf(m_temporary)) : "DELETE"},
            false);
  } catch (const std::exception&) {  // then it stays
  }
}

// Runs a command on the server: lines of SFTP, or a method of WebDAV with its headers. Answers
// false where the server refuses it.
bool RemoteFile::Command(Server& server, const std::vector<std::string>& words, bool obeys) const {
  const bool sftp = m_folder.IsSftp();
  const auto request = server.Prepare(sftp ? m_folder.text + "/" : m_folder.Of(m_temporary));
  Server::Lines lines;
  for (std::size_t i = sftp ? 0 : 1; i < words.size(); ++i) {
    lines.reset(curl_slist_append(lines.release(), words[i].c_str()));
  }
  if (sftp) {
    curl_easy_setopt(request.get(), CURLOPT_QUOTE, lines.get());
  } else {
    curl_easy_setopt(request.get(), CURLOPT_CUSTOMREQUEST, words.front().c_str());
    curl_easy_setopt(request.get(), CURLOPT_HTTPHEADER, lines.get());
  }
  curl_easy_setopt(request.get(), CURLOPT_NOBODY, 1L);
  const CURLcode result = obeys ? server.Run(request.get(), [] { return false; }).value()
                                : server.RunShort(request.get());
  constexpr long kPreconditionFailed = 412;
  long code = 0;
  curl_easy_getinfo(request.get(), CURLINFO_RESPONSE_CODE, &code);
  if (result == CURLE_OK) return true;
  if (result == CURLE_QUOTE_ERROR || code == kPreconditionFailed) return false;
  throw FileFailed(server.Words(request.get(), result));
}

// Answers false where the name is taken.
bool RemoteFile::GiveName(Server& server, const std::string& name) const {
  if (!m_folder.IsSftp()) {
    return Command(server, {"MOVE", "Destination: " + m_folder.Of(name), "Overwrite: F"}, true);
  }
  const std::string temporary = Quoted(m_folder.PathOf(m_temporary));
  std::vector<std::string> words{"rename " + temporary + " " + Quoted(m_folder.PathOf(name))};
  if (const std::time_t time = m_info.modified.tv_sec; time != 0) {  // refused, it still arrives
    words.insert(words.begin(), "*mtime " + Date(time) + " " + temporary);
  }
  if (Command(server, words, true)) return true;
  if (IsTaken(server, name)) return false;
  throw FileFailed(Say(Said::kNoSuchName));
}

// SFTP says only that a rename failed.
bool RemoteFile::IsTaken(Server& server, const std::string& name) const {
  const std::size_t folder = name.rfind('/') + 1;
  std::string list;
  const auto request = server.Prepare(m_folder.Of(name.substr(0, folder)) + "/");
  curl_easy_setopt(request.get(), CURLOPT_DIRLISTONLY, 1L);
  curl_easy_setopt(request.get(), CURLOPT_WRITEFUNCTION, Collect);
  curl_easy_setopt(request.get(), CURLOPT_WRITEDATA, &list);
  server.Run(request.get(), [] { return false; });
  return ("\n" + list).find("\n" + name.substr(folder) + "\n") != std::string::npos;
}

std::string RemoteFile::Publish(Server& server) const {
  const std::size_t folder = m_name.rfind('/') + 1;
  std::string given = FirstFreeName(m_name.substr(folder), [&](const std::string& one) {
    return GiveName(server, m_name.substr(0, folder) + one);
  });
  if (given.empty()) throw FileFailed(Say(Said::kNotNamed, {ErrorText(EEXIST)}));
  return given;
}
