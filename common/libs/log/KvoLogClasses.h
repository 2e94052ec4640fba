// The trace classes and levels that all components of the agent share, and what the configuration
// holds before anyone changed it. Ids index the shared configuration, so rows keep their places.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "kvolog.h"

namespace kvolog {

constexpr std::size_t kNameSize = 32;  // bytes of a name, NUL-padded

struct LevelRow {
  char name[kNameSize];
  char displayName[kNameSize];
};

inline constexpr LevelRow kLevels[KVO_LOG_LEVELS] = {
    {"INHERIT", "Inherited"}, {"VERBOSE", "Verbose"}, {"INFO", "Information"},
    {"WARNING", "Warnings"},  {"ERROR", "Errors"},    {"FATAL", "Fatal Errors"},
    {"NONE", "Disabled"}};

struct ClassRow {
  char name[kNameSize];
  char displayName[kNameSize];
  std::int32_t parent;  // smaller than the row's own id; -1: the root
  std::uint32_t defaultLevel;
};

// Consecutive rows. Where they are several, each name goes on with its row's id.
struct ClassRange {
  unsigned int first;
  unsigned int last;
  std::string_view name;
  std::string_view displayName;
  std::int32_t parent;
  std::uint32_t defaultLevel = KVO_LOG_INHERIT;
};

// The classes of the agent's other components are known here by their numbers only.
inline constexpr ClassRange kClassRanges[] = {
    {0, 0, "ALL", "All", -1, KVO_LOG_WARNING},
    {1, 26, "COMPONENT_", "Component ", 0, KVO_LOG_WARNING},
    {27, 37, "COMPONENT_", "Component ", 0},
    {38, 62, "COMPONENT_", "Component ", 1},
    {63, 63, "LOCALISE", "Localisation", 0},
    {64, 174, "COMPONENT_", "Component ", 27},
    {175, 175, "YRAFT", "Yraft", 0},
    {176, 176, "YRAFT_CMD", "YraftCmd", 175},
    {177, 177, "YRAFT_LIB", "YraftLib", 175},
    {178, 178, "YRAFT_POLICY", "YraftPolicy", 175},
    {179, 179, "YRAFT_QUEUE", "YraftQueue", 175},
    {180, 180, "YRAFT_SERVICE", "YraftService", 175},
    {181, 181, "YRAFT_SESSION", "YraftSession", 175},
    {182, 182, "YRAFT_UI", "YraftUi", 175},
    {183, 183, "YRAFT_VC", "YraftVc", 175},
    {184, 184, "YRAFT_WS", "YraftWs", 175},
    {185, 185, "YRAFT_GTK", "YraftGtk", 175},
    {186, 186, "YRAFT_MON", "YraftMon", 175},
    {187, 187, "YRAFT_RW", "YraftRw", 175},
    {188, 188, "YRAFT_WIN", "YraftWin", 175},
    {189, 200, "COMPONENT_", "Component ", 38},
};

constexpr void Label(char (&text)[kNameSize], const ClassRange& range, std::string_view word,
                     unsigned int id) {
  std::size_t at = word.copy(text, word.size());
  if (range.first == range.last) return;
  for (unsigned int unit = 100; unit != 0; unit /= 10) {
    text[at++] = static_cast<char>('0' + id / unit % 10);
  }
}

constexpr auto MakeClasses() {
  std::array<ClassRow, KVO_LOG_CLASSES> rows{};
  for (const ClassRange& range : kClassRanges) {
    for (unsigned int id = range.first; id <= range.last; ++id) {
      Label(rows[id].name, range, range.name, id);
      Label(rows[id].displayName, range, range.displayName, id);
      rows[id].parent = range.parent;
      rows[id].defaultLevel = range.defaultLevel;
    }
  }
  return rows;
}

inline constexpr auto kClasses = MakeClasses();

// From a class to the root it is never further than this.
constexpr int kMaxSteps = 3;

// For each number of steps, the class that is that far above each class; the root stands above
// itself. Any byte is an index.
using AboveTable = std::array<std::array<std::uint8_t, 256>, kMaxSteps>;

constexpr AboveTable MakeAbove() {
  AboveTable above{};
  for (unsigned int id = 1; id < KVO_LOG_CLASSES; ++id) {
    above[0][id] = static_cast<std::uint8_t>(kClasses[id].parent);
    for (int i = 1; i < kMaxSteps; ++i) above[i][id] = above[0][above[i - 1][id]];
  }
  return above;
}

inline constexpr AboveTable kAbove = MakeAbove();

// Every id has its row, behind that of its parent and not too far from the root; so many hang below
// the root itself, and so many have a level by default.
constexpr bool Complete() {
  unsigned int heads = 0;
  unsigned int withLevel = 0;
  for (unsigned int id = 0; id < KVO_LOG_CLASSES; ++id) {
    const ClassRow& row = kClasses[id];
    if (row.name[0] == '\0' || row.parent >= static_cast<std::int32_t>(id)) return false;
    if (kAbove[kMaxSteps - 1][id] != KVO_CLASS_ALL) return false;
    heads += row.parent == KVO_CLASS_ALL ? 1 : 0;
    withLevel += row.defaultLevel == KVO_LOG_WARNING ? 1 : 0;
  }
  return heads == 39 && withLevel == 1 + 26;
}
static_assert(Complete());

}  // namespace kvolog
