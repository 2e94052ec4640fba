// An error box of the running UI, until the user closes it.
#pragma once

#include <string>

#include "Commands.h"
#include "Console.h"
#include "Session.h"
#include "Texts.h"

// Shows a box and waits. Answers kExitDone when the user has closed it; else it has said why not,
// and answers the status to exit with. Throws WrongUsage for texts that are too long.
//
// text  may carry Pango markup
// more  smaller, shown as it stands
ExitStatus ShowErrorBox(Session& session, Console& console, const std::string& title,
                        const std::string& text, const std::string& more);

// The same in the user's language, about a transfer.
ExitStatus ShowFailure(Session& session, Console& console, const Text& text,
                       const std::string& more);
