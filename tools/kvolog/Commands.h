// The commands of the tool.
#pragma once

#include "Arguments.h"

extern const Command kLevelsCommand;    // Levels.cpp
extern const Command kNamesCommand;     //
extern const Command kSetCommand;       // Settings.cpp
extern const Command kFlagsCommand;     //
extern const Command kOutputCommand;    //
extern const Command kRolloverCommand;  //
extern const Command kResetCommand;     //
extern const Command kServeCommand;     // Serve.cpp
extern const Command kTailCommand;      // Tail.cpp
