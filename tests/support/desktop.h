// A real screen with a window manager, a user with a keyboard and a mouse on it, and a home.
#pragma once

#include <X11/Xlib.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

// The process's one screen: Xvfb and openbox, started on first use and gone with the process.
// DISPLAY, HOME and the language are set for everything that the process starts later.
class Desktop {
 public:
  static Desktop& Get();
  const std::string& Home() const { return m_home; }
  // Writes a file of `size` random bytes (or a hole) below the home directory; answers its path.
  std::string AddFile(const std::string& name, std::size_t size);
  std::string AddFolder(const std::string& name);

 private:
  Desktop();
  ~Desktop();
  std::string m_home;
  int m_xvfb = -1;
  int m_manager = -1;
};

// Looks at windows by their titles and uses keyboard and mouse through its own connection.
class User {
 public:
  User();
  ~User();

  // Each waits for the window manager's word, and answers false or None after half a minute.
  Window WaitWindow(const std::string& titlePart);
  bool WaitNoWindow(const std::string& titlePart);
  bool WaitWindows(std::size_t count);
  bool WaitActive(Window window);
  // The whole window is on the screen, and in its middle.
  bool WaitCentred(Window window);

  // Brings the window to the front and waits for its focus.
  Window Face(const std::string& titlePart);

  void Type(const std::string& ascii);
  void Key(const char* keysym, bool control = false);
  void ClickAt(int x, int y, bool control = false);
  void Close(Window window);     // as by a click on the window's close control
  void Activate(Window window);  // as by a click in a task bar
  // Moves a window, or iconifies it and asks for it again.
  void Disturb(Window window, bool iconify, int by);
  std::string Title(Window window);
  std::vector<Window> Windows();
  struct Box {
    int x, y, width, height;
  };
  Box Geometry(Window window);
  Box Screen();

 private:
  bool WaitFor(const std::function<bool()>& condition);
  Window Find(const std::string& titlePart);
  void Send(Window to, Window about, const char* type, long value, long mask);
  Display* m_display;
};
