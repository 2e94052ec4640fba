// A request to the running UI, and the wait for what answers it.
#pragma once

#include <functional>
#include <optional>

#include "Commands.h"
#include "Console.h"
#include "Session.h"

// Sends a request, the first as soon as the UI is ready for it. Answers kExitDone, or complains and
// answers the status to exit with where the UI does not take it.
ExitStatus Request(Session& session, Console& console, int signalType, Allocated<void> record);

// Waits for the user. Answers the event that is the answer, or complains and answers nothing where
// the UI ends or the program is interrupted before.
std::optional<Event> Await(Session& session, Console& console,
                           const std::function<bool(const Event&)>& isAnswer);
