#include "support/desktop.h"

#include <X11/Xatom.h>
#include <glib.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <stdexcept>

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
// folder is still being read: its own fault, and harmless. Everything else is fatal.
gboolean IsFatal(const gchar*, GLogLevelFlags, const gchar* message, gpointer) {
  return strstr(message, "gtk_tree_model_get_iter_first: assertion 'GTK_IS_TREE_MODEL") == nullptr;
}

// Before anybody opens a display.
[[maybe_unused]] const bool g_ready =
    XInitThreads() != 0 && (g_test_log_set_fatal_handler(IsFatal, nullptr), true);

}  // namespace

std::string Home() { return getenv("HOME"); }

std::string AddFile(const std::string& name, std::size_t size) {
  const std::string path = Home() + "/" + name;
  std::ofstream(path).close();
  return std::filesystem::resize_file(path, size), path;
}

std::string AddFolder(const std::string& name) {
  const std::string path = Home() + "/" + name;
  return std::filesystem::create_directories(path), path;
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
    if (Title(window).find(titlePart) == std::string::npos) continue;
    XWindowAttributes seen{};
    XGetWindowAttributes(m_xdo->xdpy, window, &seen);
    if (seen.map_state == IsViewable) return window;
  }
  return None;
}

Window User::WaitWindow(const std::string& titlePart) {
  Window window = None;
  // A window that is used again stands in the manager's list from before until that has seen it go:
  // one that is on the screen first, and in the list then, is there to stay.
  WaitUntil([&] { return (window = Find(titlePart)) != None && Find(titlePart) == window; });
  return window;
}

bool User::WaitNoWindow(const std::string& titlePart) {
  return WaitUntil([&] { return Find(titlePart) == None; });
}

bool User::HasFocus(const std::string& titlePart) {
  const Window window = Find(titlePart);
  Window focus = None;
  int revert = 0;
  XGetInputFocus(m_xdo->xdpy, &focus, &revert);
  if (window == None || focus == window || focus <= PointerRoot) return focus == window;
  // The toolkit hands it on to a window inside of its own. One that has just gone makes libxdo's
  // own search for its parent endless.
  Window root = None;
  Window parent = None;
  Window* children = nullptr;
  unsigned int count = 0;
  if (XQueryTree(m_xdo->xdpy, focus, &root, &parent, &children, &count) == 0) return false;
  if (children != nullptr) XFree(children);
  return parent == window;
}

bool User::WaitCentred(Window window) {
  unsigned int width = 0;
  unsigned int height = 0;
  xdo_get_viewport_dimensions(m_xdo, &width, &height, 0);
  return WaitUntil([&] {
    const Box box = Geometry(window);
    const int right = static_cast<int>(width) - box.x - box.width;
    const int below = static_cast<int>(height) - box.y - box.height;
    return box.x >= 0 && box.y >= 0 && right >= 0 && below >= 0 && abs(box.x - right) <= 40 &&
           abs(box.y - below) <= 60;  // more than the title bar adds
  });
}

void User::ClickAt(int x, int y) {
  Do(xdo_move_mouse, x, y, 0);
  Do(xdo_click_window, CURRENTWINDOW, 1);
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
