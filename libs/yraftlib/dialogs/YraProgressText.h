// The texts and figures of the progress window, which need no screen.
#pragma once

#include <string>

#include "ui/YraGtk.h"
// After the trace vocabulary.
#include "yraft.h"

struct YraProgress {
  double fraction;  // above 1.0 where the offset is beyond the size; 1.0 for an empty file
  int percent;      // cut off, not rounded, and not above the largest int
};

YraProgress YraProgressOf(WinTrace trace, const YRAFT_PROGRESS_BAR_INFO& info);

// All of these may throw std::bad_alloc.

// The window's title.
std::string YraProgressTitle(WinTrace trace, int percent);
// The label: the direction, which file of how many, and in a second line the file's name.
std::string YraProgressLabel(WinTrace trace, const YRAFT_PROGRESS_BAR_INFO& info);
// The label of a window that has no file yet.
std::string YraProgressFirstLabel(WinTrace trace);
// The label of the one-call window, which is put together without the catalog's format.
std::string YraProgressCallLabel(const YRAFT_PROGRESS_BAR_INFO& info);
