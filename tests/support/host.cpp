#include "support/host.h"

#include <gdk/gdkx.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "support/await.h"
#include "support/desktop.h"
#include "ui/YraToolkit.h"

namespace {

std::mutex g_mutex;
std::condition_variable g_arrived;
std::deque<Note> g_notes;
std::function<void()> g_onNext;

}  // namespace

Notes::Notes() {
  g_notes.clear();
  YraSetYraNotifyCallback(Receive);
}

Notes::~Notes() { YraSetYraNotifyCallback(nullptr); }

unsigned int Notes::Receive(unsigned int event, unsigned int subCode, unsigned int status,
                            unsigned int value, void* pData) {
  gdk_threads_enter();
  gdk_threads_leave();
  std::function<void()> act;
  {
    const std::lock_guard lock(g_mutex);
    act.swap(g_onNext);
  }
  if (act) act();
  const std::lock_guard lock(g_mutex);
  g_notes.push_back({event, subCode, status, value, pData, std::this_thread::get_id()});
  g_arrived.notify_all();
  return 0;
}

Note Notes::Next() {
  std::unique_lock lock(g_mutex);
  if (!g_arrived.wait_for(lock, kPatience, [] { return !g_notes.empty(); })) return {};
  const Note note = g_notes.front();
  g_notes.pop_front();
  return note;
}

std::size_t Notes::Pending() {
  const std::lock_guard lock(g_mutex);
  return g_notes.size();
}

void Notes::OnNext(std::function<void()> act) {
  const std::lock_guard lock(g_mutex);
  g_onNext = std::move(act);
}

YRAFT_PROGRESS_BAR_INFO* NewProgress(const std::string& name, uint32_t offset, uint32_t size,
                                     uint16_t number, uint16_t count, uint32_t operation) {
  auto* info = static_cast<YRAFT_PROGRESS_BAR_INFO*>(calloc(1, sizeof(YRAFT_PROGRESS_BAR_INFO)));
  *info = {0, number, count, offset, size, {}, operation, 0, {}};
  name.copy(info->name, sizeof(info->name) - 1);
  return info;
}

Host::Host() : m_winUI(m_ended.get_future()) {
  m_thread = std::thread([this] {
    YraWinUI* pWinUI = nullptr;
    YraMainWinUICreate(0, nullptr, &table, &pWinUI);
    m_ended.set_value(pWinUI);
  });
  // A signal of no consequence tells when the channel is served.
  WaitUntil([this] { return Send(YRAFT_UI_SIGNAL_PROGRESS_BAR, 0, NewProgress("", 0, 0)) == 0; });
}

Host::~Host() {
  if (m_thread.joinable()) End();
}

YraWinUI* Host::Return() {
  Send(YRAFT_UI_SIGNAL_THREAD_DESTORY, 0, nullptr);
  YraWinUI* winUI = Await(m_winUI);
  m_thread.join();
  return winUI;
}

bool Host::End() { return YraMainWinUIDestory(Return()) == YRAFT_STATUS_SUCCESS; }

unsigned int Host::Send(int signalType, int evtType, void* pInput) {
  const unsigned int ret = YraSendSelfSignal(&table, signalType, evtType, 0, pInput);
  if (ret != YRAFT_STATUS_SUCCESS) free(pInput);
  return ret;
}

void Host::RequestFiles() {
  Send(YRAFT_UI_SIGNAL_SELECT_FLIES, 0, calloc(1, sizeof(YRAFT_THRESHOLD_INFO)));
}

void Host::RequestDirectory(uint64_t size) {
  Send(YRAFT_UI_SIGNAL_SELECT_DIR, 0, Yraft_FileInfoItemAllocate("upload.bin", 10, 3, size));
}

void Host::Error(const std::string& title, const std::string& first, const std::string& second) {
  Send(YRAFT_UI_SIGNAL_MESSAGE, 0,
       Yraft_ErrorMessageAllocate(title.c_str(), first.c_str(), second.c_str()));
}

namespace {

struct Call {
  const std::function<void()>* function;
  std::promise<void> done;
};
std::atomic<Call*> g_call{nullptr};  // the hand-over that race detectors can see

int RunCall(void*) {
  Call* call = g_call.exchange(nullptr);
  gdk_threads_enter();
  (*call->function)();
  gdk_threads_leave();
  call->done.set_value();
  return FALSE;
}

using Wanted = std::function<bool(GtkWidget*)>;

struct Search {
  const Wanted& wanted;
  std::vector<GtkWidget*> found;

  static void In(GtkWidget* widget, void* data) {
    auto* search = static_cast<Search*>(data);
    if (search->wanted(widget)) search->found.push_back(widget);
    if (GTK_IS_CONTAINER(widget)) gtk_container_forall(GTK_CONTAINER(widget), In, data);
  }
};

// The wanted widgets of all windows with this title part, hidden ones too.
std::vector<GtkWidget*> FindAll(const std::string& titlePart, const Wanted& wanted) {
  Search search{wanted, {}};
  GList* windows = gtk_window_list_toplevels();
  for (GList* node = windows; node != nullptr; node = node->next) {
    const char* title = gtk_window_get_title(GTK_WINDOW(node->data));
    if (strstr(title != nullptr ? title : "", titlePart.c_str()) != nullptr) {
      Search::In(GTK_WIDGET(node->data), &search);
    }
  }
  g_list_free(windows);
  return search.found;
}

}  // namespace

void InUI(const std::function<void()>& function) {
  Call call{&function, {}};
  std::future<void> done = call.done.get_future();
  g_call = &call;
  g_idle_add(RunCall, nullptr);
  Await(done);
}

bool WaitInUI(const std::function<bool()>& condition) {
  return WaitUntil([&] {
    bool met = false;
    InUI([&] { met = condition(); });
    return met;
  });
}

GtkWidget* Find(const std::string& titlePart, GType type, std::size_t nth) {
  const auto found = FindAll(titlePart, [type](GtkWidget* widget) {
    return G_TYPE_CHECK_INSTANCE_TYPE(widget, type) &&
           gtk_widget_get_visible(gtk_widget_get_toplevel(widget));
  });
  return found.size() > nth ? found[nth] : nullptr;
}

bool With(const std::string& titlePart, const std::function<bool(GtkWidget*)>& act) {
  return WaitInUI([&] {
    GtkWidget* window = Find(titlePart, GTK_TYPE_WINDOW);
    return window != nullptr && act(window);
  });
}

bool IsSelected(GtkWidget* chooser, const std::string& path) {
  char* name = gtk_file_chooser_get_filename(GTK_FILE_CHOOSER(chooser));
  const bool selected = name != nullptr && (path.empty() || path == name);
  g_free(name);
  return selected;
}

bool Select(const std::string& titlePart, const std::string& path, bool all) {
  int looks = 0;
  return With(titlePart, [&](GtkWidget* window) {
    auto* chooser = GTK_FILE_CHOOSER(window);
    if (!YraMayLeaveFolder(window)) return false;
    if (all) gtk_file_chooser_set_select_multiple(chooser, TRUE);
    // It reads the folder first, and anew each time it is told. A folder is also chosen by going
    // in.
    const bool goesIn =
        gtk_file_chooser_get_action(chooser) == GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER;
    if (looks++ % 500 == 0) {
      (goesIn && !all ? gtk_file_chooser_set_current_folder : gtk_file_chooser_select_filename)(
          chooser, path.c_str());
    }
    // The selection is the list's while that has the focus; the places are a list of one column.
    const auto lists = FindAll(titlePart, [](GtkWidget* widget) {
      return GTK_IS_TREE_VIEW(widget) && gtk_tree_view_get_column(GTK_TREE_VIEW(widget), 1);
    });
    if (!lists.empty()) gtk_widget_grab_focus(lists.back());
    if (!IsSelected(window, path)) return false;
    if (all) gtk_file_chooser_select_all(chooser);
    return true;
  });
}

bool Respond(const std::string& titlePart, int response) {
  return With(titlePart, [&](GtkWidget* window) {
    GtkWidget* button = gtk_dialog_get_widget_for_response(GTK_DIALOG(window), response);
    if (button != nullptr && !gtk_widget_get_sensitive(button)) return false;
    const bool chooses = GTK_IS_FILE_CHOOSER(window) && response == GTK_RESPONSE_ACCEPT;
    if (chooses && !IsSelected(window, "")) return false;
    // A chooser keeps to itself that it was accepted where its list is being read anew.
    bool heard = false;
    const auto hear = +[](GtkDialog*, int, void* data) { *static_cast<bool*>(data) = true; };
    g_signal_connect(g_object_ref(window), "response", G_CALLBACK(hear), &heard);
    gtk_dialog_response(GTK_DIALOG(window), response);
    g_signal_handlers_disconnect_by_func(window, reinterpret_cast<void*>(hear), &heard);
    g_object_unref(window);
    return heard;
  });
}

GtkWidget* MainWindow() {
  const auto found = FindAll("Main Win", [](GtkWidget* widget) { return GTK_IS_WINDOW(widget); });
  return found.empty() ? nullptr : found.front();
}

GtkWidget* FindButton(const std::string& titlePart, const std::string& label) {
  const auto buttons = FindAll(titlePart, [&](GtkWidget* widget) {
    if (!GTK_IS_BUTTON(widget) || !gtk_widget_get_mapped(widget)) return false;
    const char* text = gtk_button_get_label(GTK_BUTTON(widget));
    return g_strcmp0(text, label.c_str()) == 0 ||
           (label == "gtk-close" && g_strcmp0(text, "_Close") == 0);  // GTK 3's own
  });
  return buttons.empty() ? nullptr : buttons.back();
}

Spot ButtonSpot(const std::string& label) {
  Spot spot{-1, -1, false};
  // A window manager moves a window that comes up.
  const bool found = WaitInUI([&] {
    GtkWidget* button = FindButton("", label);
    if (button == nullptr) return false;
    GtkAllocation area;
    gtk_widget_get_allocation(button, &area);
    const Spot last = spot;
    gdk_window_get_origin(gtk_widget_get_window(button), &spot.x, &spot.y);
    spot = {spot.x + area.x + area.width / 2, spot.y + area.y + area.height / 2,
            gtk_widget_get_state(button) != GTK_STATE_NORMAL};
    return spot.x == last.x && spot.y == last.y;
  });
  return found ? spot : Spot{-1, -1, false};
}

bool Hears(const std::string& titlePart) {
  bool hears = false;
  InUI([&] {
    GtkWidget* window = Find(titlePart, GTK_TYPE_WINDOW);
    if (window == nullptr) return;
    // It drops what the user types in its first half second, and half a second from there.
    const void* dropped = g_object_get_data(G_OBJECT(window), "yraft-dropped");
    hears =
        dropped == nullptr ||
        gdk_x11_get_server_time(gtk_widget_get_window(window)) - GPOINTER_TO_UINT(dropped) >= 500;
  });
  return hears;
}

std::string LabelText(const std::string& titlePart, std::size_t nth) {
  std::string text;
  InUI([&] {
    GtkWidget* label = Find(titlePart, GTK_TYPE_LABEL, nth);
    if (label != nullptr) text = gtk_label_get_text(GTK_LABEL(label));
  });
  return text;
}

std::string CutLabels(const std::string& titlePart) {
  std::string cut;
  WaitInUI([&] {
    cut.clear();
    FindAll(titlePart, [&](GtkWidget* widget) {
      if (!GTK_IS_LABEL(widget) || !gtk_widget_get_mapped(widget)) return false;
      GtkAllocation area;
      gtk_widget_get_allocation(widget, &area);
      int width = 0;
      int height = 0;
      pango_layout_get_pixel_size(gtk_label_get_layout(GTK_LABEL(widget)), &width, &height);
      const bool fits = width <= area.width && height <= area.height;
      if (!fits) cut.append(gtk_label_get_text(GTK_LABEL(widget))).append("; ");
      return !fits;
    });
    return cut.empty();
  });
  return cut;
}

double BarFraction() {
  double fraction = -1;
  InUI([&] {
    const auto bars = FindAll("", [](GtkWidget* widget) {
      return GTK_IS_PROGRESS_BAR(widget) && !GTK_IS_DIALOG(gtk_widget_get_toplevel(widget));
    });
    if (!bars.empty()) fraction = gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(bars.back()));
  });
  return fraction;
}
