#include "Attributes.h"

#include <sys/stat.h>
#include <sys/xattr.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

// What a call answers that tells how much room it needs first; empty where it fails.
template <typename Call>
std::vector<char> Answer(const Call& call) {
  const ssize_t size = call(nullptr, std::size_t{0});
  if (size <= 0) return {};
  std::vector<char> bytes(static_cast<std::size_t>(size));
  const ssize_t got = call(bytes.data(), bytes.size());
  bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  return bytes;
}

}  // namespace

void KeepAttributes(const FileInfo& info, int source, int target) {
  const std::vector<char> names =
      Answer([source](char* list, std::size_t size) { return flistxattr(source, list, size); });
  for (std::size_t at = 0; at < names.size(); at += std::strlen(&names[at]) + 1) {
    const char* name = &names[at];
    if (std::strncmp(name, "user.", 5) != 0) continue;
    const std::vector<char> value = Answer([source, name](char* bytes, std::size_t size) {
      return fgetxattr(source, name, bytes, size);
    });
    fsetxattr(target, name, value.data(), value.size(), 0);
  }
  const timespec times[] = {{0, UTIME_OMIT}, info.modified};
  if (info.modified.tv_sec != 0) futimens(target, times);
}
