// Classes, levels and flags as users name them: by name in any case, or by number.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "kvolog.h"

// The library's tables, which it shows only while the configuration is mapped. The texts are
// constants.
struct Names {
  Names();  // call while the configuration is mapped

  std::array<const char*, KVO_LOG_CLASSES> classes;
  std::array<unsigned int, KVO_LOG_CLASSES> parents;  // KVO_LOG_UNKNOWN above the root
  std::array<const char*, KVO_LOG_LEVELS> levels;

  // Throw Refused for what there is not, with the names that may have been meant.
  unsigned int Class(const std::string& word) const;
  unsigned int Level(const std::string& word) const;

  // The same for names exactly as the tables have them.
  std::optional<unsigned int> ClassOf(std::string_view name) const;
  std::optional<unsigned int> LevelOf(std::string_view name) const;

  // The class itself or one below it.
  bool IsWithin(unsigned int classId, unsigned int ancestor) const;
};

struct FlagName {
  const char* name;
  std::uint32_t bits;
};
constexpr std::array<FlagName, 2> kFlagNames = {
    {{"FUNCTION", KVO_LOG_FLAG_FUNCTION}, {"THREAD", KVO_LOG_FLAG_THREAD}}};

// The bits of a flag's name or number. Throws Refused.
std::uint32_t FlagBits(const std::string& word);

// A decimal number, or a hexadecimal one behind 0x.
std::optional<std::uint32_t> Number(const std::string& word);
