#include "support/desktop.h"

#include <X11/Xatom.h>
#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <stdexcept>

extern "C" {
#include <xdo.h>
}

#include "support/await.h"

namespace {

// Windows come and go as a user looks: errors on a user's connection mean nothing, those of the
// dialogs' connection go to the toolkit, which ends the process.
std::set<Display*> g_userDisplays;
XErrorHandler g_toolkitHandler = nullptr;

int OnXError(Display* display, XErrorEvent* event) {
  if (g_userDisplays.count(display) > 0 || g_toolkitHandler == nullptr) return 0;
  return g_toolkitHandler(display, event);
}

// The toolkit sets its own when it starts.
void GuardAgainstXErrors() {
  const XErrorHandler old = XSetErrorHandler(OnXError);
  if (old != OnXError) g_toolkitHandler = old;
}

// The toolkit complains, and goes on, when its location entry looks for completions while the
// folder is still being read, and when a chooser goes while it looks for icons: its own faults, and
// harmless. Everything else is fatal.
gboolean IsFatal(const gchar*, GLogLevelFlags, const gchar* message, gpointer) {
  for (const char* harmless : {"gtk_tree_model_get_iter_first: assertion 'GTK_IS_TREE_MODEL",
                               "gtk_widget_get_screen: assertion 'GTK_IS_WIDGET"}) {
    if (strstr(message, harmless) != nullptr) return FALSE;
  }
  return TRUE;
}

}  // namespace

Desktop& Desktop::Get() {
  static Desktop desktop;
  return desktop;
}

Desktop::Desktop() : m_home(getenv("HOME")) {
  XInitThreads();
  g_test_log_set_fatal_handler(IsFatal, nullptr);
}

std::string Desktop::AddFile(const std::string& name, std::size_t size) {
  const std::string path = m_home + "/" + name;
  std::ofstream file(path, std::ios::binary);
  std::minstd_rand random(static_cast<unsigned>(size));
  for (std::size_t i = 0; i < std::min<std::size_t>(size, 1 << 16); ++i) {
    file.put(static_cast<char>(random()));
  }
  file.close();
  if (truncate(path.c_str(), static_cast<off_t>(size)) != 0) throw std::runtime_error(path);
  return path;
}

std::string Desktop::AddFolder(const std::string& name) {
  const std::string path = m_home + "/" + name;
  std::filesystem::create_directories(path);
  return path;
}

User::User() : m_xdo(xdo_new(nullptr)) {
  if (m_xdo == nullptr) throw std::runtime_error("no display");
  g_userDisplays.insert(m_xdo->xdpy);
}

User::~User() {
  g_userDisplays.erase(m_xdo->xdpy);
  xdo_free(m_xdo);
}

// Whoever looks for windows may be about to touch one that is gone.
std::vector<Window> User::Windows() {
  GuardAgainstXErrors();
  unsigned char* value = nullptr;
  long count = 0;
  Atom type = None;
  int size = 0;
  xdo_get_window_property(m_xdo, DefaultRootWindow(m_xdo->xdpy), "_NET_CLIENT_LIST", &value, &count,
                          &type, &size);
  const auto* first = reinterpret_cast<Window*>(value);
  std::vector<Window> windows(first, first + (type == XA_WINDOW ? count : 0));
  if (value != nullptr) XFree(value);
  return windows;
}

std::string User::Title(Window window) {
  unsigned char* name = nullptr;
  int length = 0;
  int type = 0;
  xdo_get_window_name(m_xdo, window, &name, &length, &type);
  std::string title(reinterpret_cast<char*>(name), name != nullptr ? length : 0);
  if (name != nullptr) XFree(name);
  return title;
}

Window User::Find(const std::string& titlePart) {
  for (const Window window : Windows()) {
    if (Title(window).find(titlePart) != std::string::npos) return window;
  }
  return None;
}

Window User::WaitWindow(const std::string& titlePart) {
  Window window = None;
  WaitUntil([&] { return (window = Find(titlePart)) != None; });
  return window;
}

bool User::WaitNoWindow(const std::string& titlePart) {
  return WaitUntil([&] { return Find(titlePart) == None; });
}

bool User::WaitCentred(Window window) {
  unsigned int width = 0;
  unsigned int height = 0;
  xdo_get_viewport_dimensions(m_xdo, &width, &height, 0);
  const Box screen{0, 0, static_cast<int>(width), static_cast<int>(height)};
  return WaitUntil([&] {
    const Box box = Geometry(window);
    const int x = box.x + box.width / 2 - screen.width / 2;
    const int y = box.y + box.height / 2 - screen.height / 2;  // less than the title bar adds
    return box.x >= 0 && box.y >= 0 && box.x + box.width <= screen.width &&
           box.y + box.height <= screen.height && abs(x) <= 20 && abs(y) <= 30;
  });
}

void User::Key(const std::string& keysym, bool control) {
  xdo_send_keysequence_window(m_xdo, CURRENTWINDOW, ((control ? "ctrl+" : "") + keysym).c_str(), 0);
  XSync(m_xdo->xdpy, False);
}

void User::Type(const std::string& text) {
  xdo_enter_text_window(m_xdo, CURRENTWINDOW, text.c_str(), 0);
  XSync(m_xdo->xdpy, False);
}

void User::ClickAt(int x, int y) {
  xdo_move_mouse(m_xdo, x, y, 0);
  xdo_click_window(m_xdo, CURRENTWINDOW, 1);
  XSync(m_xdo->xdpy, False);
}

void User::Close(Window window) {
  XEvent event = {};
  event.xclient.type = ClientMessage;
  event.xclient.window = window;
  event.xclient.message_type = XInternAtom(m_xdo->xdpy, "WM_PROTOCOLS", False);
  event.xclient.format = 32;
  event.xclient.data.l[0] = static_cast<long>(XInternAtom(m_xdo->xdpy, "WM_DELETE_WINDOW", False));
  XSendEvent(m_xdo->xdpy, window, False, NoEventMask, &event);
  XSync(m_xdo->xdpy, False);
}

void User::Activate(Window window) {
  xdo_activate_window(m_xdo, window);
  XSync(m_xdo->xdpy, False);
}

void User::Minimize(Window window) {
  xdo_minimize_window(m_xdo, window);
  XSync(m_xdo->xdpy, False);
}

void User::Move(Window window, int x, int y) {
  xdo_move_window(m_xdo, window, x, y);
  XSync(m_xdo->xdpy, False);
}

User::Box User::Geometry(Window window) {
  Box box{};
  unsigned int width = 0;
  unsigned int height = 0;
  // xdo's own answer adds the frame twice.
  Window child;
  XTranslateCoordinates(m_xdo->xdpy, window, DefaultRootWindow(m_xdo->xdpy), 0, 0, &box.x, &box.y,
                        &child);
  xdo_get_window_size(m_xdo, window, &width, &height);
  return {box.x, box.y, static_cast<int>(width), static_cast<int>(height)};
}
