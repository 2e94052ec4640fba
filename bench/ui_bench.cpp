// The dialogs on a real screen, beside bare GTK and beside another program's progress window.
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/Xdamage.h>
#include <gtk/gtk.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <future>
#include <thread>

#include "harness.h"
#include "kvolocalise.h"
#include "support/desktop.h"
#include "yrafiletransfer.h"

namespace {

using Clock = std::chrono::steady_clock;

double MillisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// A persistent UI on a thread of its own, to the end of the program.
class UI {
 public:
  static UI& Get() {
    static UI ui;
    return ui;
  }

  void Progress(int event, uint32_t offset, uint32_t size) {
    auto* info = static_cast<YRAFT_PROGRESS_BAR_INFO*>(calloc(1, sizeof(YRAFT_PROGRESS_BAR_INFO)));
    info->filesNum = 1;
    info->fileOffset = offset;
    info->fileSize = size;
    info->fileTransferOperation = YRAFT_OPERATION_DOWNLOAD;
    strcpy(info->name, "recording.bin");
    if (YraSendSelfSignal(&m_table, YRAFT_UI_SIGNAL_PROGRESS_BAR, event, 0, info) != 0) free(info);
  }

  // Waits until the UI thread has done all that was queued, the drawing included; answers the
  // milliseconds that took.
  static double CatchUp() {
    const auto start = Clock::now();
    std::promise<void> done;
    g_idle_add_full(
        G_PRIORITY_LOW,
        [](void* data) {
          static_cast<std::promise<void>*>(data)->set_value();
          return FALSE;
        },
        &done, nullptr);
    done.get_future().wait();
    return MillisecondsSince(start);
  }

 private:
  UI() {
    KvoLocaliseInit();
    m_thread = std::thread([this] {
      YraWinUI* pWinUI = nullptr;
      YraMainWinUICreate(0, nullptr, &m_table, &pWinUI);
      YraMainWinUIDestory(pWinUI);
    });
    while (YraSendSelfSignal(&m_table, YRAFT_UI_SIGNAL_PROGRESS_BAR, 0, 0, nullptr) != 0) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

  ~UI() {
    YraSendSelfSignal(&m_table, YRAFT_UI_SIGNAL_THREAD_DESTORY, 0, 0, nullptr);
    m_thread.join();
  }

  YRAFT_SELF_SIGNAL m_table = {};
  std::thread m_thread;
};

// ---- A burst of events -------------------------------------------------------------------------

constexpr int kBurst = 20000;

void AddEmptyIdles() {
  for (int i = 0; i < kBurst; ++i) g_idle_add([](void*) { return FALSE; }, nullptr);
}

void SendRefreshes() {
  for (int i = 0; i < kBurst; ++i) {
    UI::Get().Progress(YRAFT_PROGRESS_REFRESH, static_cast<uint32_t>(i), kBurst);
  }
}

// What a burst costs the thread that makes it.
template <class Burst>
double ToTheSender(Burst burst) {
  UI::Get().Progress(YRAFT_PROGRESS_CREATE, 0, kBurst);
  UI::CatchUp();
  const double time = bench::Time(burst);
  UI::CatchUp();
  return time;
}

double ProcessNanoseconds() {
  timespec now;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

// What it costs both threads, until the screen shows the last of it.
template <class Burst>
double ToBothThreads(Burst burst) {
  UI::Get().Progress(YRAFT_PROGRESS_CREATE, 0, kBurst);
  UI::CatchUp();
  const double start = ProcessNanoseconds();
  burst();
  UI::CatchUp();
  return ProcessNanoseconds() - start;
}

std::vector<bench::Row> TimeToCatchUp() {
  std::vector<double> times;
  for (int i = 0; i < 41; ++i) {
    UI::Get().Progress(YRAFT_PROGRESS_CREATE, 0, kBurst);
    UI::CatchUp();
    SendRefreshes();
    times.push_back(UI::CatchUp());
  }
  return {{"the time allowed, 10 ms", 10},
          {"the middle of 41", Median(times), 1},
          {"the longest of 41", *std::max_element(times.begin(), times.end())}};
}

// ---- What a user sees of it --------------------------------------------------------------------

// Looks at the line of a window in which its bar moves, whenever something was drawn in the window,
// and counts how often the line has changed.
class Camera {
 public:
  explicit Camera(Window window) : m_display(XOpenDisplay(nullptr)), m_window(window) {
    XWindowAttributes attributes;
    XGetWindowAttributes(m_display, m_window, &attributes);
    m_width = attributes.width;
    m_height = attributes.height;
    m_before = Look(0, m_height);
  }
  ~Camera() {
    if (m_thread.joinable()) Count();
    XCloseDisplay(m_display);
  }

  // Finds the line: the one in which most has changed since the camera was set up.
  void Focus() {
    const std::vector<unsigned long> now = Look(0, m_height);
    int most = 0;
    for (int y = 0; y < m_height; ++y) {
      int changed = 0;
      for (int x = 0; x < m_width; ++x) changed += now[At(x, y)] != m_before[At(x, y)];
      if (changed > most) {
        most = changed;
        m_line = y;
      }
    }
  }

  void Start() {
    int error;
    XDamageQueryExtension(m_display, &m_damageEvent, &error);
    m_damage = XDamageCreate(m_display, m_window, XDamageReportNonEmpty);
    XSync(m_display, False);
    m_thread = std::thread([this] { Watch(); });
  }

  int Count() {
    m_done = true;
    m_thread.join();
    return m_count;
  }

 private:
  int At(int x, int y) const { return y * m_width + x; }

  std::vector<unsigned long> Look(int y, int height) {
    std::vector<unsigned long> pixels;
    XImage* image = XGetImage(m_display, m_window, 0, y, static_cast<unsigned>(m_width),
                              static_cast<unsigned>(height), AllPlanes, ZPixmap);
    for (int row = 0; row < height; ++row) {
      for (int x = 0; x < m_width; ++x) pixels.push_back(XGetPixel(image, x, row));
    }
    XDestroyImage(image);
    return pixels;
  }

  void Watch() {
    std::vector<unsigned long> last = Look(m_line, 1);
    while (!m_done) {
      pollfd connection{ConnectionNumber(m_display), POLLIN, 0};
      if (XPending(m_display) == 0) poll(&connection, 1, 20);
      while (XPending(m_display) > 0) {
        XEvent event;
        XNextEvent(m_display, &event);
        if (event.type != m_damageEvent + XDamageNotify) continue;
        XDamageSubtract(m_display, m_damage, None, None);
        std::vector<unsigned long> now = Look(m_line, 1);
        if (now != last) ++m_count;
        last = std::move(now);
      }
    }
  }

  Display* m_display;
  Window m_window;
  int m_width = 0;
  int m_height = 0;
  int m_line = 0;
  int m_damageEvent = 0;
  Damage m_damage = None;
  std::vector<unsigned long> m_before;
  std::atomic<bool> m_done{false};
  int m_count = 0;
  std::thread m_thread;
};

struct Seen {
  int states;
  double milliseconds;
  double Pace() const { return milliseconds / states; }
};

constexpr std::chrono::milliseconds kPace(4);

// Feeds 1 to 99 percent, one each time, to a window that stands at 0 and has the title.
template <class Feed>
Seen Film(const char* title, Feed feed) {
  const auto settle = [] { std::this_thread::sleep_for(std::chrono::milliseconds(500)); };
  User user;
  const Window window = user.WaitWindow(title);
  user.Do(xdo_activate_window, window);
  settle();
  Camera camera(window);
  feed(50);
  settle();
  camera.Focus();
  feed(0);
  settle();
  camera.Start();
  const auto start = Clock::now();
  for (int percent = 1; percent < 100; ++percent) {
    feed(percent);
    std::this_thread::sleep_until(start + percent * kPace);
  }
  const double time = MillisecondsSince(start);
  settle();
  return {camera.Count(), time};
}

Seen FilmOurs() {
  UI& ui = UI::Get();
  ui.Progress(YRAFT_PROGRESS_CREATE, 0, 100);
  const Seen seen = Film("File transfer", [&ui](int percent) {
    // The bar never moves back, but for another file.
    ui.Progress(percent == 0 ? YRAFT_PROGRESS_CREATE : YRAFT_PROGRESS_REFRESH,
                static_cast<uint32_t>(percent), 100);
  });
  ui.Progress(YRAFT_PROGRESS_CLOSE, 0, 0);
  UI::CatchUp();
  return seen;
}

Seen FilmZenity() {
  int ends[2];
  if (pipe(ends) != 0) abort();
  const pid_t pid = fork();
  if (pid == 0) {
    dup2(ends[0], STDIN_FILENO);
    close(ends[0]);
    close(ends[1]);
    execlp("zenity", "zenity", "--progress", "--title=Peer", "--text=recording.bin", nullptr);
    _exit(127);
  }
  close(ends[0]);
  const Seen seen = Film("Peer", [&](int percent) { dprintf(ends[1], "%d\n", percent); });
  kill(pid, SIGTERM);
  waitpid(pid, nullptr, 0);
  close(ends[1]);
  return seen;
}

std::vector<bench::Row> TimeBetweenUpdates() {
  std::vector<double> ours;
  std::vector<double> theirs;
  for (int i = 0; i < 3; ++i) {
    ours.push_back(FilmOurs().Pace());
    theirs.push_back(FilmZenity().Pace());
  }
  return {{"zenity's progress window", Median(theirs)},
          {"the progress window", Median(ours), 0.5},
          {"the updates as they are sent", kPace.count()}};
}

// ---- Memory ------------------------------------------------------------------------------------

constexpr char kChild[] = "YRA_BENCH_UI_CHILD";

long KilobytesOfThisProcess(const char* what) {
  std::ifstream rollup("/proc/self/smaps_rollup");
  for (std::string line; std::getline(rollup, line);) {
    if (line.rfind(what, 0) == 0) return strtol(line.c_str() + strlen(what), nullptr, 10);
  }
  return -1;
}

GtkWidget* BareChooser(GtkFileChooserAction action, const char* accept) {
  GtkWidget* dialog =
      gtk_file_chooser_dialog_new("Bare", nullptr, action, GTK_STOCK_CANCEL, GTK_RESPONSE_CANCEL,
                                  accept, GTK_RESPONSE_ACCEPT, nullptr);
  gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(dialog), g_get_home_dir());
  return dialog;
}

// The same widgets, without the library.
void BuildBare() {
  gtk_window_new(GTK_WINDOW_TOPLEVEL);
  BareChooser(GTK_FILE_CHOOSER_ACTION_OPEN, GTK_STOCK_OPEN);
  BareChooser(GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER, GTK_STOCK_SAVE);
  GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  GtkWidget* column = gtk_vbox_new(FALSE, 5);
  GtkWidget* buttons = gtk_hbox_new(FALSE, 10);
  const auto add = [](GtkWidget* box, GtkWidget* child) {
    gtk_box_pack_start(GTK_BOX(box), child, FALSE, FALSE, 0);
  };
  const auto aligned = [](GtkWidget* child) {
    GtkWidget* alignment = gtk_alignment_new(0, 0, 0, 0);
    gtk_container_add(GTK_CONTAINER(alignment), child);
    return alignment;
  };
  add(column, aligned(gtk_label_new("File 0 of 0\nFile")));
  add(column, gtk_progress_bar_new());
  add(buttons, gtk_button_new_with_label("Pause"));
  add(buttons, gtk_button_new_with_label("Cancel"));
  add(column, aligned(buttons));
  gtk_container_add(GTK_CONTAINER(window), column);
  gtk_message_dialog_new(nullptr, GTK_DIALOG_MODAL, GTK_MESSAGE_ERROR, GTK_BUTTONS_CLOSE, "Error");
}

// Says how much memory this process's own pages take once the main loop has come to rest.
int Report(void*) {
  printf("%ld\n",
         KilobytesOfThisProcess("Private_Dirty:") + KilobytesOfThisProcess("Private_Clean:"));
  fflush(stdout);
  _exit(0);
}

[[noreturn]] void RunChild(const std::string& kind) {
  KvoLocaliseInit();
  g_timeout_add_full(G_PRIORITY_LOW, 1500, Report, nullptr, nullptr);
  if (kind != "ours") {
    gtk_init(nullptr, nullptr);
    if (kind == "bare") BuildBare();
    gtk_main();
  } else {
    YRAFT_SELF_SIGNAL table = {};
    YraWinUI* pWinUI = nullptr;
    YraMainWinUICreate(0, nullptr, &table, &pWinUI);
  }
  _exit(1);
}

double KilobytesOfChild(const char* kind) {
  int ends[2];
  if (pipe(ends) != 0) abort();
  const pid_t pid = fork();
  if (pid == 0) {
    dup2(ends[1], STDOUT_FILENO);
    setenv(kChild, kind, 1);
    execl("/proc/self/exe", "yra-bench-ui", nullptr);
    _exit(127);
  }
  close(ends[1]);
  char number[32] = "";
  const ssize_t n = read(ends[0], number, sizeof(number) - 1);
  close(ends[0]);
  waitpid(pid, nullptr, 0);
  return n > 0 ? strtod(number, nullptr) : 0;
}

std::vector<bench::Row> MemoryOfHiddenDialogs() {
  const auto median = [](const char* kind) {
    std::vector<double> kilobytes(5);
    for (double& one : kilobytes) one = KilobytesOfChild(kind);
    return Median(kilobytes);
  };
  return {{"bare GTK's own", median("bare")},
          {"the library's", median("ours"), 1.05},
          {"GTK started, without dialogs", median("init")}};
}

const bench::Registration registration([] {
  if (const char* kind = getenv(kChild)) RunChild(kind);
  bench::Register({"UI: a burst of 20,000 refresh events, to the thread that sends them",
                   "event",
                   kBurst,
                   {{"g_idle_add of an empty function", [] { return ToTheSender(AddEmptyIdles); }},
                    {"YraSendSelfSignal of a refresh", [] { return ToTheSender(SendRefreshes); }}},
                   {2.2}});
  bench::Register(
      {"UI: a burst of 20,000 refresh events, to both threads, drawing included",
       "event",
       kBurst,
       {{"g_idle_add of an empty function", [] { return ToBothThreads(AddEmptyIdles); }},
        {"YraSendSelfSignal of a refresh", [] { return ToBothThreads(SendRefreshes); }}},
       {2.2}});
  bench::RegisterFigure("UI: the UI thread's way from the last event to rest", "ms", TimeToCatchUp);
  bench::RegisterFigure("UI: updates shown", "ms between two", TimeBetweenUpdates);
  bench::RegisterFigure("UI: memory of four hidden dialogs", "KiB", MemoryOfHiddenDialogs);
});

}  // namespace
