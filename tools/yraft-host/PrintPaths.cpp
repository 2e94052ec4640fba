#include "PrintPaths.h"

#include <unistd.h>

#include <cstdio>
#include <nlohmann/json.hpp>

#include "Console.h"

namespace {

std::string Hex(const std::string& bytes) {
  std::string hex;
  for (const char byte : bytes) {
    char digits[3];
    std::snprintf(digits, sizeof(digits), "%02x", static_cast<unsigned char>(byte));
    hex += digits;
  }
  return hex;
}

std::string JsonObject(const std::string& path) {
  try {
    return nlohmann::json{{"path", path}}.dump();
  } catch (const nlohmann::json::type_error&) {  // not UTF-8
    return nlohmann::json{{"path_hex", Hex(path)}}.dump();
  }
}

std::string JsonArray(const std::vector<std::string>& paths) {
  std::string text;
  for (const std::string& path : paths) text += (text.empty() ? "[" : ",\n ") + JsonObject(path);
  return text + "]\n";
}

std::string Formatted(const std::vector<std::string>& paths, PathFormat format) {
  if (format == PathFormat::kJson) return JsonArray(paths);
  const bool shown = format == PathFormat::kLines && isatty(STDOUT_FILENO) == 1;
  std::string text;
  for (const std::string& path : paths) {
    text += shown ? Printable(path) : path;
    text += format == PathFormat::kNul ? '\0' : '\n';
  }
  return text;
}

}  // namespace

bool PrintPaths(const std::vector<std::string>& paths, PathFormat format) {
  const std::string text = Formatted(paths, format);
  return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() &&
         std::fflush(stdout) == 0;
}
