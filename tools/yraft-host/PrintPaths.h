// Chosen paths on standard output.
#pragma once

#include <string>
#include <vector>

#include "Command.h"

enum class PathFormat { kLines, kNul, kJson };

// The format that a command's --null and --json ask for. Throws UsageError for both.
PathFormat PathFormatOf(const Arguments& arguments);

// Prints the paths. kLines: one a line, control characters as '?' where a terminal shows them;
// kNul: each ends with a NUL; kJson: an array of objects with the member "path", or for a path that
// is not UTF-8, which JSON cannot hold, "path_hex": its bytes. Answers false when they could not be
// written.
bool PrintPaths(const std::vector<std::string>& paths, PathFormat format);
