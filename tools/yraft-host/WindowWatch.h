// What the library does not report of its windows. They are GTK's in this process, though, and GTK
// tells everyone who asks what its widgets do.
#pragma once

// Called in the UI thread. A host that needs more of a window's life adds it here.
struct WindowEvents {
  void (*boxClosed)();     // an error box has left the screen
  void (*windowClosed)();  // the window manager closed the progress window
};

// Gives the calling thread, which is to become the UI thread, a working directory of its own, and
// lets it follow the folder that a chooser shows. The library's filter looks for each name that the
// folder chooser lists in the working directory, and greys out what it finds no leave to write: in
// any other directory that is the wrong folder, or none. Where the system refuses, the chooser
// greys out too much; a typed path still goes.
void FollowChooser();

// From now on tells of windows. Called before the UI starts; once a process.
void WatchWindows(const WindowEvents& events);
