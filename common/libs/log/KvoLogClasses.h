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
};

// From a class to the root it is never further than this.
constexpr int kMaxSteps = 3;

namespace rows {

struct Named {
  unsigned int id;
  ClassRow row;
};

inline constexpr Named kNamed[] = {
    {0, {"ALL", "All", -1}},
    {63, {"LOCALISE", "Localisation", 0}},
    {175, {"YRAFT", "Yraft", 0}},
    {176, {"YRAFT_CMD", "YraftCmd", 175}},
    {177, {"YRAFT_LIB", "YraftLib", 175}},
    {178, {"YRAFT_POLICY", "YraftPolicy", 175}},
    {179, {"YRAFT_QUEUE", "YraftQueue", 175}},
    {180, {"YRAFT_SERVICE", "YraftService", 175}},
    {181, {"YRAFT_SESSION", "YraftSession", 175}},
    {182, {"YRAFT_UI", "YraftUi", 175}},
    {183, {"YRAFT_VC", "YraftVc", 175}},
    {184, {"YRAFT_WS", "YraftWs", 175}},
    {185, {"YRAFT_GTK", "YraftGtk", 175}},
    {186, {"YRAFT_MON", "YraftMon", 175}},
    {187, {"YRAFT_RW", "YraftRw", 175}},
    {188, {"YRAFT_WIN", "YraftWin", 175}},
};

// Writes a word and an id of three digits.
constexpr void Label(char (&text)[kNameSize], std::string_view word, unsigned int id) {
  std::size_t at = word.copy(text, word.size());
  for (unsigned int unit = 100; unit != 0; unit /= 10) {
    text[at++] = static_cast<char>('0' + id / unit % 10);
  }
}

// The rows of the agent's other components go by their ids. They come in families of five: a head
// under the root, its members, and one that hangs a step deeper.
constexpr unsigned int kFamily = 5;
constexpr unsigned int kOthersWithLevel = 26;  // heads that have a level of their own by default

}  // namespace rows

struct Classes {
  std::array<ClassRow, KVO_LOG_CLASSES> rows{};
  std::array<std::uint32_t, KVO_LOG_CLASSES> defaultLevels{};

  constexpr Classes() {
    for (const rows::Named& named : rows::kNamed) rows[named.id] = named.row;
    defaultLevels[KVO_CLASS_ALL] = KVO_LOG_WARNING;
    unsigned int other = 0;  // counts the rows without a name of their own
    unsigned int ids[rows::kFamily] = {};
    for (unsigned int id = 0; id < KVO_LOG_CLASSES; ++id) {
      if (rows[id].name[0] != '\0') continue;
      const unsigned int member = other % rows::kFamily;
      ids[member] = id;
      rows::Label(rows[id].name, "COMPONENT_", id);
      rows::Label(rows[id].displayName, "Component ", id);
      const unsigned int parents[] = {KVO_CLASS_ALL, ids[0], ids[0], ids[0], ids[3]};
      rows[id].parent = static_cast<std::int32_t>(parents[member]);
      if (member == 0 && other / rows::kFamily < rows::kOthersWithLevel) {
        defaultLevels[id] = KVO_LOG_WARNING;
      }
      ++other;
    }
  }
};

inline constexpr Classes kClasses;

// The class above each class; the root stands above itself. Any byte is an index.
using AboveTable = std::array<std::uint8_t, 256>;

constexpr AboveTable MakeAbove() {
  AboveTable above{};
  for (std::size_t id = 0; id < KVO_LOG_CLASSES; ++id) {
    const std::int32_t parent = kClasses.rows[id].parent;
    above[id] = static_cast<std::uint8_t>(id == KVO_CLASS_ALL ? KVO_CLASS_ALL : parent);
  }
  return above;
}

}  // namespace kvolog
