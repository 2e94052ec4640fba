#include "LocalFolder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <utility>

#include "FileNames.h"

namespace {

constexpr std::uint64_t kLeastTogether = std::uint64_t{1} << 20;  // bytes
constexpr std::uint64_t kMostTogether = std::uint64_t{64} << 20;
constexpr std::uint64_t kWorthResuming = std::uint64_t{1} << 20;
constexpr long kMostFiles = 256;
constexpr auto kLongestWait = std::chrono::seconds(1);  // for others
constexpr auto kLong = std::chrono::milliseconds(200);  // for the disk; what a user notices
constexpr auto kShort = std::chrono::milliseconds(100);

// The folder below `folder` that a name's file goes into, made where it is not there.
UniqueFd FolderOf(int folder, const std::string& name) {
  UniqueFd at(fcntl(folder, F_DUPFD_CLOEXEC, 0));
  std::size_t start = 0;
  for (std::size_t end; (end = name.find('/', start)) != std::string::npos; start = end + 1) {
    const std::string part = name.substr(start, end - start);
    if (mkdirat(at.get(), part.c_str(), 0777) != 0 && errno != EEXIST) break;
    at = UniqueFd(openat(at.get(), part.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!at) break;
  }
  if (!at || name.find('/', start) != std::string::npos) {
    throw FileFailed(Say(Said::kNoFolder, {ErrorText(errno)}));
  }
  return at;
}

// Answers why a step failed; empty where it did not.
template <typename Do>
Text WhyNot(const Do& step) {
  try {
    step();
    return {};
  } catch (const FileFailed& failed) {
    return failed.why;
  }
}

}  // namespace

UniqueFd OpenFolder(const std::string& path, Text& why) {
  UniqueFd folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder && faccessat(folder.get(), ".", W_OK | X_OK, AT_EACCESS) == 0) return folder;
  why = ErrorText(errno);
  return UniqueFd();
}

// Each file that waits holds two descriptors.
LocalFolder::LocalFolder(UniqueFd folder, const std::string& path, bool shares, bool resumes,
                         const Permission& permission)
    : m_folder(std::move(folder)),
      m_path(path),
      m_shares(shares),
      m_resumes(resumes),
      m_permission(permission),
      m_mostFinished(
          static_cast<std::size_t>(std::clamp(sysconf(_SC_OPEN_MAX) / 4, 1L, kMostFiles))) {
  RemoveLeftovers(m_folder.get());
}

// The names of the files are on the disk as well when the transfer ends.
LocalFolder::~LocalFolder() {
  if (m_named) fsync(m_folder.get());
}

std::string LocalFolder::PlaceOf(const std::string& name) const {
  return std::filesystem::absolute(m_path).lexically_normal() / name;
}

std::unique_ptr<Sink> LocalFolder::Begin(const std::string& name, const FileInfo& info) {
  if (m_finishedBytes + info.size > m_together || Clock::now() - m_finishedSince > kLongestWait) {
    Settle();
  }
  return std::make_unique<LocalSink>(FolderOf(m_folder.get(), name), BaseName(name), info, m_shares,
                                     m_resumes && info.size >= kWorthResuming);
}

void LocalFolder::Finish(std::unique_ptr<Sink> sink, const Arrived& arrived) {
  if (m_finished.empty()) m_finishedSince = Clock::now();
  std::unique_ptr<LocalSink> mine(static_cast<LocalSink*>(sink.release()));  // this target's own
  m_finishedBytes += mine->Size();
  m_finished.push_back({std::move(mine), arrived, {}});
  if (m_finished.size() >= m_mostFinished || m_finishedBytes >= m_together) Settle();
}

// All start for the disk as they are finished, so that waiting for the first is most of the wait;
// and a name given in between would make the next one wait again.
void LocalFolder::Settle() {
  auto finished = std::exchange(m_finished, {});
  m_finishedBytes = 0;
  if (!m_permission.goOn()) return;
  for (Finished& one : finished) {
    one.why = WhyNot([&one] { one.sink->Sync(); });
  }
  for (Finished& one : finished) {
    std::string given;
    if (one.why.empty() && !m_permission.goOn()) continue;
    if (one.why.empty()) one.why = WhyNot([&] { given = one.sink->Publish(); });
    m_named = m_named || one.why.empty();
    one.arrived(given, one.why);
  }
}
