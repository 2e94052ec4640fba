// JSON on standard output, for programs.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

using Json = nlohmann::ordered_json;

// Bytes that are no UTF-8 become U+FFFD.
inline std::string JsonText(const Json& value, int indent) {
  return value.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}
