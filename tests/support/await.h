// What a test of several threads or processes waits with, and how it looks at what they wrote.
#pragma once

#include <chrono>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

inline constexpr std::chrono::seconds kPatience{30};

// Looks again and again until it is so; answers false after half a minute.
template <class Condition>
bool WaitUntil(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

// The bytes of a file; none where it cannot be read.
inline std::string Contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}
