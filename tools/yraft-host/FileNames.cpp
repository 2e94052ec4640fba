#include "FileNames.h"

#include <glib.h>

#include <climits>
#include <memory>

namespace {

constexpr int kNameAttempts = 10000;
constexpr std::size_t kLongestExtension = 16;

}  // namespace

std::string BaseName(const std::string& path) {
  return path.substr(path.rfind('/') + 1);  // npos + 1 is 0
}

std::string CutName(const std::string& name, std::size_t length) {
  if (name.size() <= length) return name;
  while (length > 1 && (static_cast<unsigned char>(name[length]) & 0xC0) == 0x80) --length;
  return name.substr(0, length);
}

std::string Numbered(const std::string& name, int number) {
  if (number == 1) return name;
  const std::string mark = " (" + std::to_string(number) + ")";
  std::size_t dot = name.rfind('.');
  if (dot == std::string::npos || dot == 0 || name.size() - dot > kLongestExtension) {
    dot = name.size();
  }
  const std::string extension = name.substr(dot);
  return CutName(name.substr(0, dot), NAME_MAX - mark.size() - extension.size()) + mark + extension;
}

std::string Digest(const std::string& description) {
  constexpr std::size_t kLength = 24;
  const std::unique_ptr<char, decltype(&g_free)> digest(
      g_compute_checksum_for_string(G_CHECKSUM_SHA256, description.c_str(), -1), g_free);
  return std::string(digest.get(), kLength);
}

std::string FirstFreeName(const std::string& name,
                          const std::function<bool(const std::string&)>& take) {
  for (int number = 1; number < kNameAttempts; ++number) {
    std::string one = Numbered(name, number);
    if (take(one)) return one;
  }
  return {};
}
