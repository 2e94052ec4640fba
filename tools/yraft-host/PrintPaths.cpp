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

using Json = nlohmann::ordered_json;

void AddPath(Json& object, const std::string& name, const std::string& path) {
  try {
    static_cast<void>(Json(path).dump());
    object[name] = path;
  } catch (const Json::type_error&) {  // not UTF-8
    object[name + "_hex"] = Hex(path);
  }
}

// An object a line.
std::string JsonArray(const std::vector<Json>& objects) {
  std::string text = "[";
  for (const Json& object : objects) text += (text.size() > 1 ? ",\n " : "") + object.dump();
  return text + "]\n";
}

bool Print(const std::string& text) {
  return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() &&
         std::fflush(stdout) == 0;
}

std::string Formatted(const std::vector<std::string>& paths, PathFormat format) {
  if (format == PathFormat::kJson) {
    std::vector<Json> objects(paths.size());
    for (std::size_t i = 0; i < paths.size(); ++i) AddPath(objects[i], "path", paths[i]);
    return JsonArray(objects);
  }
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
  return Print(Formatted(paths, format));
}

bool PrintArrivals(const std::vector<Arrival>& arrivals, PathFormat format) {
  if (format != PathFormat::kJson) {
    std::vector<std::string> paths;
    paths.reserve(arrivals.size());
    for (const Arrival& one : arrivals) paths.push_back(one.path);
    return PrintPaths(paths, format);
  }
  std::vector<Json> objects;
  for (const Arrival& one : arrivals) {
    AddPath(objects.emplace_back(), "source", one.source);
    AddPath(objects.back(), "path", one.path);
    objects.back()["bytes"] = one.bytes;
  }
  return Print(JsonArray(objects));
}
