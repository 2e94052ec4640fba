// A choice that the user makes in a dialog of the running UI.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Commands.h"
#include "Console.h"
#include "Session.h"
#include "UniqueFd.h"

struct Choice {
  ExitStatus status = kExitIncomplete;
  std::vector<std::string> paths;  // not empty where the status is kExitDone
};

// What to tell the user in a box where more was chosen than one choice can hold.
std::string TooManyFiles();

// Asks for files, and again where there are too many for one choice, which a box says. Where there
// is no choice, it has said why, and the status is the one to exit with.
Choice ChooseFiles(Session& session, Console& console);

// Asks for a folder that files can be put into. The chooser greys out what takes no files, but a
// typed path passes by that; a box says so, and the user chooses again.
//
// request  the record that the signal takes, made anew for each time it is asked
struct FolderChoice {
  ExitStatus status = kExitIncomplete;
  UniqueFd folder;  // open where the status is kExitDone
  std::string path;
};
FolderChoice ChooseFolder(Session& session, Console& console,
                          const std::function<Allocated<YRAFT_FILEINFO_ITEM>()>& request);
