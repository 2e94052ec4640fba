// What a log service that died has written last, so that its successor does not write it twice.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_set>

class WrittenLines {
 public:
  // Reads at least so many bytes at the end of a log, where there are so many. Takes a line back
  // that was not written to its end: it will be read again.
  void Load(const std::string& path, std::size_t size);

  bool empty() const { return m_lines.empty(); }
  // Answers whether the line, which has its line feed, is one of them; it is not any more then.
  bool Take(const std::string& line);

 private:
  std::unordered_multiset<std::string> m_lines;
};
