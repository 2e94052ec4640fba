#include "support/desktop.h"

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <fcntl.h>
#include <glib.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <stdexcept>
#include <thread>

namespace {

constexpr auto kPatience = std::chrono::seconds(30);

// Starts a program that does not outlive this one.
int Spawn(std::vector<const char*> argv) {
  argv.push_back(nullptr);
  const int pid = fork();
  if (pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int null = open("/dev/null", O_RDWR);
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
    execvp(argv[0], const_cast<char* const*>(argv.data()));
    _exit(127);
  }
  return pid;
}

// Windows come and go as a user looks: errors on a user's connection mean nothing, those of the
// dialogs' connection go to the toolkit, which ends the process.
std::set<Display*> g_userDisplays;
XErrorHandler g_toolkitHandler = nullptr;

int OnXError(Display* display, XErrorEvent* event) {
  if (g_userDisplays.count(display) > 0 || g_toolkitHandler == nullptr) return 0;
  return g_toolkitHandler(display, event);
}

// The bytes of a window's property; Xlib gives each of 32 bits a long.
std::string Property(Display* display, Window window, const char* name) {
  Atom type;
  int format;
  unsigned long n = 0;
  unsigned long rest;
  unsigned char* data = nullptr;
  XGetWindowProperty(display, window, XInternAtom(display, name, False), 0, 1024, False,
                     AnyPropertyType, &type, &format, &n, &rest, &data);
  if (data == nullptr) return {};
  std::string bytes(reinterpret_cast<char*>(data), format == 32 ? n * sizeof(long) : n);
  XFree(data);
  return bytes;
}

// A property of the screen that names windows.
std::vector<Window> WindowsOf(Display* display, const char* name) {
  const std::string bytes = Property(display, DefaultRootWindow(display), name);
  std::vector<Window> windows(bytes.size() / sizeof(Window));
  bytes.copy(reinterpret_cast<char*>(windows.data()), bytes.size());
  return windows;
}

bool IsActive(Display* display, Window window) {
  const auto active = WindowsOf(display, "_NET_ACTIVE_WINDOW");
  return !active.empty() && active[0] == window;
}

// A manager that has just announced itself still gives no focus to what it finds on the screen, and
// a window without the focus hears no key: a window of our own must get the focus first.
void WaitForManager() {
  Display* display = XOpenDisplay(nullptr);
  if (display == nullptr) throw std::runtime_error("no display");
  const auto end = std::chrono::steady_clock::now() + kPatience;
  bool ready = false;
  while (!ready && std::chrono::steady_clock::now() < end) {
    const Window root = DefaultRootWindow(display);
    const Window probe = XCreateSimpleWindow(display, root, 0, 0, 50, 50, 0, 0, 0);
    XMapWindow(display, probe);
    for (int i = 0; i < 50 && !ready; ++i) {
      XSync(display, False);
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
      ready = IsActive(display, probe);
    }
    XDestroyWindow(display, probe);
  }
  XCloseDisplay(display);
  if (!ready) throw std::runtime_error("the window manager gives no focus");
}

void GuardAgainstXErrors() {
  const XErrorHandler old = XSetErrorHandler(OnXError);
  if (old != OnXError) g_toolkitHandler = old;
}

}  // namespace

Desktop& Desktop::Get() {
  static Desktop desktop;
  return desktop;
}

// The toolkit's location entry looks for completions while the folder is still being read,
// complains that it has no list yet, and goes on: its own fault, and harmless. Everything else is
// fatal.
static gboolean IsFatal(const gchar*, GLogLevelFlags, const gchar* message, gpointer) {
  return std::strstr(message, "IA__gtk_tree_model_get_iter_first: assertion 'GTK_IS_TREE_MODEL") ==
         nullptr;
}

Desktop::Desktop() {
  XInitThreads();
  g_test_log_set_fatal_handler(IsFatal, nullptr);
  char home[] = "/tmp/yra-home-XXXXXX";
  m_home = mkdtemp(home);
  setenv("HOME", home, 1);
  setenv("LANG", "en_US.UTF-8", 1);  // picks the catalog; the toolkit goes by LC_ALL
  const char* locale = getenv("YRA_LOCALE");
  setenv("LC_ALL", locale != nullptr ? locale : "C.UTF-8", 1);
  std::filesystem::create_directories(m_home + "/.local/share");
  setenv("XDG_DATA_HOME", (m_home + "/.local/share").c_str(), 1);
  setenv("NO_AT_BRIDGE", "1", 1);
  unsetenv("XDG_CONFIG_HOME");

  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("pipe");
  const std::string fd = std::to_string(ends[1]);
  m_xvfb = Spawn({"Xvfb", "-displayfd", fd.c_str(), "-screen", "0", "1024x768x24", "-nolisten",
                  "tcp", "-noreset"});
  close(ends[1]);
  char number[16] = "";
  const ssize_t n = read(ends[0], number, sizeof(number) - 1);
  close(ends[0]);
  if (n <= 0) throw std::runtime_error("Xvfb did not start");
  const std::string display = ":" + std::to_string(atoi(number));
  setenv("DISPLAY", display.c_str(), 1);
  m_manager = Spawn({"openbox"});
  WaitForManager();
}

Desktop::~Desktop() {
  for (const int pid : {m_manager, m_xvfb}) {
    kill(pid, SIGTERM);
    waitpid(pid, nullptr, 0);
  }
  std::error_code ignored;
  std::filesystem::remove_all(m_home, ignored);
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

User::User() : m_display(XOpenDisplay(nullptr)) {
  if (m_display == nullptr) throw std::runtime_error("no display");
  g_userDisplays.insert(m_display);
  XSelectInput(m_display, DefaultRootWindow(m_display), PropertyChangeMask);
}

User::~User() {
  g_userDisplays.erase(m_display);
  XCloseDisplay(m_display);
}

bool User::WaitFor(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    XFlush(m_display);
    pollfd connection{ConnectionNumber(m_display), POLLIN, 0};
    poll(&connection, 1, 20);
    while (XPending(m_display) > 0) {
      XEvent event;
      XNextEvent(m_display, &event);
    }
  }
  return true;
}

// Whoever looks for windows may be about to touch one that is gone.
std::vector<Window> User::Windows() {
  GuardAgainstXErrors();
  return WindowsOf(m_display, "_NET_CLIENT_LIST");
}

std::string User::Title(Window window) { return Property(m_display, window, "_NET_WM_NAME"); }

Window User::Find(const std::string& titlePart) {
  for (const Window window : Windows()) {
    if (Title(window).find(titlePart) != std::string::npos) return window;
  }
  return None;
}

Window User::WaitWindow(const std::string& titlePart) {
  Window window = None;
  WaitFor([&] { return (window = Find(titlePart)) != None; });
  return window;
}

bool User::WaitNoWindow(const std::string& titlePart) {
  return WaitFor([&] { return Find(titlePart) == None; });
}

bool User::WaitWindows(std::size_t count) {
  return WaitFor([&] { return Windows().size() == count; });
}

bool User::WaitActive(Window window) {
  return WaitFor([&] { return IsActive(m_display, window); });
}

bool User::WaitCentred(Window window) {
  return WaitFor([&] {
    const Box box = Geometry(window);
    const Box screen = Screen();
    const int x = box.x + box.width / 2 - screen.width / 2;
    const int y = box.y + box.height / 2 - screen.height / 2;  // less than the title bar adds
    return box.x >= 0 && box.y >= 0 && box.x + box.width <= screen.width &&
           box.y + box.height <= screen.height && abs(x) <= 20 && abs(y) <= 30;
  });
}

Window User::Face(const std::string& titlePart) {
  const Window window = WaitWindow(titlePart);
  if (window != None) Activate(window);
  return window != None && WaitActive(window) ? window : None;
}

void User::Key(const char* keysym, bool control) {
  const KeySym symbol = XStringToKeysym(keysym);
  const KeyCode code = XKeysymToKeycode(m_display, symbol);
  const KeyCode controlCode = XKeysymToKeycode(m_display, XK_Control_L);
  const KeyCode shiftCode = XKeysymToKeycode(m_display, XK_Shift_L);
  const bool shift = XkbKeycodeToKeysym(m_display, code, 0, 0) != symbol &&
                     XkbKeycodeToKeysym(m_display, code, 0, 1) == symbol;
  if (control) XTestFakeKeyEvent(m_display, controlCode, True, CurrentTime);
  if (shift) XTestFakeKeyEvent(m_display, shiftCode, True, CurrentTime);
  XTestFakeKeyEvent(m_display, code, True, CurrentTime);
  XTestFakeKeyEvent(m_display, code, False, CurrentTime);
  if (shift) XTestFakeKeyEvent(m_display, shiftCode, False, CurrentTime);
  if (control) XTestFakeKeyEvent(m_display, controlCode, False, CurrentTime);
  XSync(m_display, False);
}

void User::Type(const std::string& ascii) {
  for (const char c : ascii) {
    const KeySym symbol = static_cast<unsigned char>(c);  // Latin-1 keysyms are the characters
    Key(XKeysymToString(symbol));
  }
}

void User::ClickAt(int x, int y, bool control) {
  const KeyCode controlCode = XKeysymToKeycode(m_display, XK_Control_L);
  XTestFakeMotionEvent(m_display, -1, x, y, CurrentTime);
  if (control) XTestFakeKeyEvent(m_display, controlCode, True, CurrentTime);
  XTestFakeButtonEvent(m_display, 1, True, CurrentTime);
  XTestFakeButtonEvent(m_display, 1, False, CurrentTime);
  if (control) XTestFakeKeyEvent(m_display, controlCode, False, CurrentTime);
  XSync(m_display, False);
}

void User::Close(Window window) {
  const Atom deletion = XInternAtom(m_display, "WM_DELETE_WINDOW", False);
  Send(window, window, "WM_PROTOCOLS", static_cast<long>(deletion), NoEventMask);
}

void User::Activate(Window window) {
  constexpr long kFromTaskBar = 2;
  Send(DefaultRootWindow(m_display), window, "_NET_ACTIVE_WINDOW", kFromTaskBar,
       SubstructureRedirectMask | SubstructureNotifyMask);
}

void User::Send(Window to, Window about, const char* type, long value, long mask) {
  XEvent event = {};
  event.xclient.type = ClientMessage;
  event.xclient.window = about;
  event.xclient.message_type = XInternAtom(m_display, type, False);
  event.xclient.format = 32;
  event.xclient.data.l[0] = value;
  XSendEvent(m_display, to, False, mask, &event);
  XSync(m_display, False);
}

void User::Disturb(Window window, bool iconify, int by) {
  if (iconify) {
    XIconifyWindow(m_display, window, DefaultScreen(m_display));
    XMapRaised(m_display, window);
  } else {
    XMoveWindow(m_display, window, by, by);
  }
  XSync(m_display, False);
}

User::Box User::Geometry(Window window) {
  Window root;
  Window child;
  int x = 0;
  int y = 0;
  unsigned int width = 0;
  unsigned int height = 0;
  unsigned int border;
  unsigned int depth;
  XGetGeometry(m_display, window, &root, &x, &y, &width, &height, &border, &depth);
  XTranslateCoordinates(m_display, window, root, 0, 0, &x, &y, &child);
  return {x, y, static_cast<int>(width), static_cast<int>(height)};
}

User::Box User::Screen() { return {0, 0, DisplayWidth(m_display, 0), DisplayHeight(m_display, 0)}; }
