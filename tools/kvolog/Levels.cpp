// kvolog levels: what is configured and what decides, class by class. kvolog names: for completion.
#include <cstdio>
#include <string>

#include "Commands.h"
#include "Configuration.h"
#include "Json.h"
#include "Names.h"

namespace {

// A class's row; a level is null where none decides or the file holds none.
struct Row {
  unsigned int id;
  const char* configured;
  const char* effective;
  const char* standard;
};

Row RowOf(const Names& names, unsigned int id) {
  const auto name = [&](unsigned int level) {
    return level < names.levels.size() ? names.levels[level] : nullptr;
  };
  return {id, name(KvoLogGetCurrentLevel(id)), name(KvoLogGetWorkingLevel(id)),
          name(KvoLogGetDefaultLevel(id))};
}

const char* Shown(const char* level) { return level != nullptr ? level : "-"; }

void PrintTree(const Names& names, unsigned int id, int depth) {
  const Row row = RowOf(names, id);
  std::printf("%3u  %*s%-*s  %-10s  %-9s  %-7s%s\n", id, 2 * depth, "", 24 - 2 * depth,
              names.classes[id], Shown(row.configured), Shown(row.effective), Shown(row.standard),
              row.configured == row.standard ? "" : "  *");
  for (unsigned int child = id + 1; child < names.classes.size(); ++child) {
    if (names.parents[child] == id) PrintTree(names, child, depth + 1);
  }
}

Json Level(const char* level) { return level != nullptr ? Json(level) : Json(); }

void PrintJson(const Names& names, unsigned int top) {
  Json rows = Json::array();
  for (unsigned int id = top; id < names.classes.size(); ++id) {
    if (!names.IsWithin(id, top)) continue;
    const Row row = RowOf(names, id);
    const bool root = names.parents[id] == KVO_LOG_UNKNOWN;
    rows.push_back({{"id", id},
                    {"class", names.classes[id]},
                    {"displayName", KvoLogGetClassDisplayName(id)},
                    {"parent", root ? Json() : Json(names.classes[names.parents[id]])},
                    {"configured", Level(row.configured)},
                    {"effective", Level(row.effective)},
                    {"default", Level(row.standard)}});
  }
  std::fputs(JsonText(rows, 2).c_str(), stdout);
}

}  // namespace

void ShowLevels(const std::string& className, bool json) {
  MapConfiguration();
  const Names names;
  const unsigned int top = names.Class(className);
  if (json) {
    PrintJson(names, top);
  } else {
    std::printf("%3s  %-24s  %-10s  %-9s  DEFAULT\n", "ID", "CLASS", "CONFIGURED", "EFFECTIVE");
    PrintTree(names, top, 0);
  }
}

void PrintNames(const std::string& kind) {
  MapConfiguration();
  const Names names;
  const auto print = [](const auto& table) {
    for (const char* name : table) std::puts(name);
  };
  kind == "classes" ? print(names.classes) : print(names.levels);
}
