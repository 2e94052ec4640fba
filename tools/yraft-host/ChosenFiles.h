// The paths in the block that answers a choice.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

// Reads the paths of a block of `length` bytes, in its order. Answers nothing for a block that is
// not well formed: what a length in it claims is believed only after it was held against the room
// that is left.
std::optional<std::vector<std::string>> ChosenPaths(const void* block, std::size_t length);
