// Chosen paths on standard output.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

enum class PathFormat { kLines, kNul, kJson };

// Prints the paths. kLines: one a line, control characters as '?' where a terminal shows them;
// kNul: each ends with a NUL; kJson: an array of objects with the member "path", or for a path that
// is not UTF-8, which JSON cannot hold, "path_hex": its bytes. Answers false when they could not be
// written.
bool PrintPaths(const std::vector<std::string>& paths, PathFormat format);

// A file that arrived.
struct Arrival {
  std::string source, path;
  std::uint64_t bytes;
};

// Prints where files arrived: as PrintPaths; the objects of kJson have "source", "path" and
// "bytes".
bool PrintArrivals(const std::vector<Arrival>& arrivals, PathFormat format);
