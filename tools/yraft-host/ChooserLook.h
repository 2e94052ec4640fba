// How a one-call chooser looks, beyond what its call can tell.
#pragma once

#include <string>

struct ChooserLook {
  std::string title;    // empty for the library's
  std::string folder;   // in which it opens; empty for the home folder
  std::string filter;   // patterns with ';' between, such as "*.png;*.jpg"; empty for all files
  bool single = false;  // one file can be chosen
};

// Gives the look to the next chooser of this thread, when it is shown. Called before the call that
// shows it.
void ShapeNextChooser(const ChooserLook& look);
