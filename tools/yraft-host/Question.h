// A question that the library's dialogs have none for: yes or no.
#pragma once

#include <string>

// Shows a box in the UI thread of a running UI, in front, and calls `answered` there. A box that is
// closed says no. Any thread.
void AskInBox(const std::string& title, const std::string& text, void (*answered)(bool yes));
