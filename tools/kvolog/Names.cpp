#include "Names.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <numeric>
#include <utility>
#include <vector>

#include "Failure.h"

namespace {

std::string Upper(std::string word) {
  std::transform(word.begin(), word.end(), word.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return word;
}

// How many letters to insert, remove or replace to make one word of the other.
std::size_t Distance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i);
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = std::exchange(row[j], std::min({replaced, row[j] + 1, row[j - 1] + 1}));
    }
  }
  return row[b.size()];
}

// The nearest name, if it is near, or the one name that the word is a part of.
template <typename Table>
const char* MeantBy(const std::string& word, const Table& names) {
  const std::string wanted = Upper(word).substr(0, 64);
  const auto distance = [&](const char* name) { return Distance(wanted, name); };
  const char* nearest =
      *std::min_element(names.begin(), names.end(),
                        [&](const char* a, const char* b) { return distance(a) < distance(b); });
  if (distance(nearest) <= std::max<std::size_t>(1, wanted.size() / 4)) return nearest;
  const auto holds = [&](const char* name) {
    return std::string(name).find(wanted) != std::string::npos;
  };
  const auto first = std::find_if(names.begin(), names.end(), holds);
  if (first == names.end() || std::find_if(first + 1, names.end(), holds) != names.end()) {
    return nullptr;
  }
  return *first;
}

template <typename Table>
unsigned int IndexOf(const char* what, const std::string& word, const Table& names) {
  if (const auto number = Number(word)) {
    if (*number < names.size()) return *number;
    throw Refused(std::string("there is no ") + what + " " + word + "; they are 0 to " +
                  std::to_string(names.size() - 1));
  }
  const auto found = std::find_if(names.begin(), names.end(), [&](const char* name) {
    return strcasecmp(name, word.c_str()) == 0;
  });
  if (found != names.end()) return static_cast<unsigned int>(found - names.begin());
  const char* meant = word.empty() ? nullptr : MeantBy(word, names);
  throw Refused(std::string("there is no ") + what + " '" + word + "'" +
                (meant != nullptr ? std::string("; did you mean ") + meant + "?" : ""));
}

template <typename Table>
std::optional<unsigned int> Find(std::string_view name, const Table& names) {
  const auto found = std::find(names.begin(), names.end(), name);
  if (found == names.end()) return std::nullopt;
  return static_cast<unsigned int>(found - names.begin());
}

}  // namespace

Names::Names() : classes(), parents(), levels() {
  for (unsigned int id = 0; id < classes.size(); ++id) {
    classes[id] = KvoLogGetClassName(id);
    parents[id] = KvoLogGetParent(id);
  }
  for (unsigned int level = 0; level < levels.size(); ++level) {
    levels[level] = KvoLogGetLevelName(level);
  }
}

unsigned int Names::Class(const std::string& word) const { return IndexOf("class", word, classes); }

unsigned int Names::Level(const std::string& word) const {
  // What syslog and others call them.
  constexpr std::array<std::pair<const char*, unsigned int>, 9> kOthers = {
      {{"DEBUG", KVO_LOG_VERBOSE},
       {"TRACE", KVO_LOG_VERBOSE},
       {"NOTICE", KVO_LOG_INFO},
       {"WARN", KVO_LOG_WARNING},
       {"ERR", KVO_LOG_ERROR},
       {"CRIT", KVO_LOG_FATAL},
       {"ALERT", KVO_LOG_FATAL},
       {"EMERG", KVO_LOG_FATAL},
       {"OFF", KVO_LOG_NONE}}};
  for (const auto& [name, level] : kOthers) {
    if (strcasecmp(name, word.c_str()) == 0) return level;
  }
  return IndexOf("level", word, levels);
}

std::optional<unsigned int> Names::ClassOf(std::string_view name) const {
  return Find(name, classes);
}

std::optional<unsigned int> Names::LevelOf(std::string_view name) const {
  return Find(name, levels);
}

bool Names::IsWithin(unsigned int classId, unsigned int ancestor) const {
  while (classId != ancestor && classId < parents.size()) classId = parents[classId];
  return classId == ancestor;
}

std::uint32_t FlagBits(const std::string& word) {
  if (const auto number = Number(word)) return *number;
  std::array<const char*, kFlagNames.size()> names{};
  std::transform(kFlagNames.begin(), kFlagNames.end(), names.begin(),
                 [](const FlagName& flag) { return flag.name; });
  return kFlagNames[IndexOf("flag", word, names)].bits;
}

std::optional<std::uint32_t> Number(const std::string& word) {
  const bool hexadecimal = word.rfind("0x", 0) == 0 || word.rfind("0X", 0) == 0;
  const char* first = word.data() + (hexadecimal ? 2 : 0);
  const char* end = word.data() + word.size();
  std::uint32_t number = 0;
  const auto [rest, error] = std::from_chars(first, end, number, hexadecimal ? 16 : 10);
  if (error != std::errc() || rest != end) return std::nullopt;
  return number;
}
