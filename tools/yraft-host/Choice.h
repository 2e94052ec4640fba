// A choice that the user makes in a dialog of the running UI.
#pragma once

#include <string>
#include <vector>

#include "Commands.h"
#include "Console.h"
#include "Session.h"

struct Choice {
  ExitStatus status = kExitIncomplete;
  std::vector<std::string> paths;  // not empty where the status is kExitDone
};

// Sends the session's first request and waits for the user. Where there is no choice, it has said
// why, and the status is the one to exit with.
//
// signalType  YRAFT_UI_SIGNAL_SELECT_FLIES or YRAFT_UI_SIGNAL_SELECT_DIR
// request     the record that the signal takes
Choice Choose(Session& session, Console& console, int signalType, Allocated<void> request);

// Sends the session's first request. Answers kExitDone, or complains and answers the status to exit
// with where the UI does not take it.
ExitStatus SendFirst(Session& session, Console& console, int signalType, Allocated<void> request);
