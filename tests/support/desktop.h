// The screen, the home and the user with a keyboard and a mouse that tools/screen has made.
#pragma once

#include <X11/Xlib.h>

#include <string>
#include <vector>

struct xdo;

// The home directory. Made ready for the toolkit on first use.
class Desktop {
 public:
  static Desktop& Get();
  const std::string& Home() const { return m_home; }
  // Writes a file of `size` random bytes (or a hole) below the home directory; answers its path.
  std::string AddFile(const std::string& name, std::size_t size);
  std::string AddFolder(const std::string& name);

 private:
  Desktop();
  std::string m_home;
};

// Looks at windows by their titles and uses keyboard and mouse through its own connection.
class User {
 public:
  User();
  ~User();
  User(const User&) = delete;
  User& operator=(const User&) = delete;

  // Each waits for the window manager's word, and answers false or None after half a minute.
  Window WaitWindow(const std::string& titlePart);
  bool WaitNoWindow(const std::string& titlePart);
  // The whole window is on the screen, and in its middle.
  bool WaitCentred(Window window);

  void Type(const std::string& text);
  void Key(const std::string& keysym, bool control = false);
  void ClickAt(int x, int y);
  void Close(Window window);     // as by a click on the window's close control
  void Activate(Window window);  // as by a click in a task bar
  void Minimize(Window window);
  void Move(Window window, int x, int y);
  std::string Title(Window window);
  std::vector<Window> Windows();
  struct Box {
    int x, y, width, height;
  };
  Box Geometry(Window window);

  // None where there is none.
  Window Find(const std::string& titlePart);

 private:
  xdo* m_xdo;
};
