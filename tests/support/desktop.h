// The screen, the home and the user with a keyboard and a mouse that tools/screen has made.
#pragma once

#include <X11/Xlib.h>

#include <string>
#include <vector>

extern "C" {
#include <xdo.h>
}

// The user's home directory.
std::string Home();
// Makes a file (of nothing but a hole) or a folder below it; answers its path.
std::string AddFile(const std::string& name, std::size_t size);
std::string AddFolder(const std::string& name);

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

  // One of libxdo's functions, and the server has done it.
  template <class Function, class... Argument>
  void Do(Function function, Argument... argument) {
    function(m_xdo, argument...);
    XSync(m_xdo->xdpy, False);
  }
  void Type(const std::string& text) { Do(xdo_enter_text_window, CURRENTWINDOW, text.c_str(), 0); }
  void Key(const std::string& keys) {
    Do(xdo_send_keysequence_window, CURRENTWINDOW, keys.c_str(), 0);
  }
  void ClickAt(int x, int y);
  void Close(Window window);  // as by a click on the window's close control
  std::string Title(Window window);
  std::vector<Window> Windows();
  struct Box {
    int x, y, width, height;
  };
  Box Geometry(Window window);

  // It would get the keys that are pressed now.
  bool HasFocus(const std::string& titlePart);
  // On the screen, as the server knows it; None where there is none.
  Window Find(const std::string& titlePart);

 private:
  xdo_t* m_xdo;
};
