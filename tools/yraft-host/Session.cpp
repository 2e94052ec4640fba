#include "Session.h"

#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <deque>
#include <iterator>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "Question.h"
#include "UniqueFd.h"
#include "WindowWatch.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kStartLimit = std::chrono::seconds(30);  // a display that takes longer is not there
constexpr auto kStartRetry = std::chrono::milliseconds(10);
constexpr auto kEndLimit = std::chrono::seconds(10);

UniqueFd Checked(int fd, const char* what) {
  if (fd < 0) throw std::system_error(errno, std::generic_category(), what);
  return UniqueFd(fd);
}

constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP};
std::atomic<int> g_interrupts{-1};

// The first is an event; a second one ends the program at once, whatever it waits for.
void OnEndingSignal(int) {
  const int error = errno;
  for (const int number : kEndingSignals) signal(number, SIG_DFL);
  const std::uint64_t one = 1;
  static_cast<void>(!write(g_interrupts, &one, sizeof(one)));
  errno = error;
}

// Events from the UI thread to the channel thread. A descriptor that is readable while events wait
// lets the channel thread wait for them and for a signal in one poll.
class EventQueue {
 public:
  EventQueue() : m_wake(Checked(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")) {}

  int fd() const { return m_wake.get(); }

  void Push(Event event) {
    const std::lock_guard lock(m_mutex);
    m_events.push_back(std::move(event));
    eventfd_write(m_wake.get(), 1);
  }

  std::optional<Event> Pop() {
    const std::lock_guard lock(m_mutex);
    if (m_events.empty()) return std::nullopt;
    std::optional<Event> event(std::move(m_events.front()));
    m_events.pop_front();
    eventfd_t unused;
    if (m_events.empty()) eventfd_read(m_wake.get(), &unused);
    return event;
  }

 private:
  UniqueFd m_wake;
  std::mutex m_mutex;
  std::deque<Event> m_events;
};

// The notify function has no argument of its own, so the queue is found here.
std::atomic<EventQueue*> g_queue{nullptr};

bool CarriesBlock(unsigned int code) {
  return code == YRAFT_NOTIFY_CHOOSE_FILES || code == YRAFT_NOTIFY_CHOOSE_DIRECTORY;
}

// Runs in the UI thread and in the channel thread; takes the block over whatever it answers.
unsigned int Notified(unsigned int code, unsigned int subCode, unsigned int status,
                      unsigned int value, void* pData) {
  Event event;
  event.code = code;
  event.subCode = subCode;
  event.status = status;
  event.value = value;
  if (CarriesBlock(code)) event.block.reset(pData);
  EventQueue* queue = g_queue.load();
  if (queue == nullptr) return YRAFT_STATUS_BAD_STATE;
  try {
    queue->Push(std::move(event));
  } catch (const std::exception&) {
    return YRAFT_STATUS_NO_MEMORY;  // no exception may pass through the library
  }
  return YRAFT_STATUS_SUCCESS;
}

void Push(Event::Kind kind, unsigned int status = 0) {
  Event event;
  event.kind = kind;
  event.status = status;
  if (EventQueue* queue = g_queue.load()) queue->Push(std::move(event));
}

}  // namespace

struct Session::Ui {
  YRAFT_SELF_SIGNAL signals{};  // stays until the UI object has been deleted
  YraWinUI* object = nullptr;   // written by the UI thread, read after the join
  EventQueue events;
  std::atomic<bool> ended{false};
  UniqueFd interrupts;
  struct sigaction callers[std::size(kEndingSignals)];
  std::thread thread;

  void TakeSignals();
  void RestoreSignals();
  void Run();
};

void Session::Ui::Run() {
  char name[] = "yraft-host";
  char* argv[] = {name, nullptr};
  FollowChooser();
  YraMainWinUICreate(1, argv, &signals, &object);
  ended = true;
  Push(Event::Kind::kUiEnded);
}

// Whoever started the program may want it to ignore one, as nohup does.
void Session::Ui::TakeSignals() {
  interrupts = Checked(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd");
  g_interrupts = interrupts.get();
  struct sigaction action {};
  action.sa_handler = OnEndingSignal;
  action.sa_flags = SA_RESTART;
  for (std::size_t i = 0; i < std::size(kEndingSignals); ++i) {
    sigaction(kEndingSignals[i], nullptr, &callers[i]);
    if (callers[i].sa_handler != SIG_IGN) sigaction(kEndingSignals[i], &action, nullptr);
  }
}

void Session::Ui::RestoreSignals() {
  for (std::size_t i = 0; i < std::size(kEndingSignals); ++i) {
    sigaction(kEndingSignals[i], &callers[i], nullptr);
  }
}

Session::Session() : m_ui(std::make_unique<Ui>()) {
  m_ui->TakeSignals();
  g_queue = &m_ui->events;
  YraSetYraNotifyCallback(Notified);
  WatchWindows({.boxClosed = [] { Push(Event::Kind::kBoxClosed); },
                .windowClosed = [] { Push(Event::Kind::kWindowClosed); }});
  m_ui->thread = std::thread(&Ui::Run, m_ui.get());
}

Session::~Session() {
  const auto limit = Clock::now() + kEndLimit;
  while (!m_ui->ended && Clock::now() < limit) {
    if (YraSendSelfSignal(&m_ui->signals, YRAFT_UI_SIGNAL_THREAD_DESTORY, 0, 0, nullptr) == 0) {
      break;
    }
    std::this_thread::sleep_for(kStartRetry);
  }
  while (!m_ui->ended && Clock::now() < limit) Next(std::chrono::milliseconds(100));
  if (!m_ui->ended) {
    // A display that answers nothing holds the thread for good; it must find its memory in place.
    m_ui->thread.detach();
    static_cast<void>(m_ui.release());
    return;
  }
  m_ui->thread.join();
  YraSetYraNotifyCallback(nullptr);
  g_queue = nullptr;
  YraMainWinUIDestory(m_ui->object);
  m_ui->RestoreSignals();
}

void Session::Ask(const std::string& title, const std::string& text) {
  AskInBox(title, text, [](bool yes) { Push(Event::Kind::kAnswered, yes ? 1 : 0); });
}

Session::Start Session::SendFirst(int signalType, Allocated<void> input) {
  const auto limit = Clock::now() + kStartLimit;
  while (YraSendSelfSignal(&m_ui->signals, signalType, 0, 0, input.get()) != 0) {
    if (Clock::now() >= limit) return Start::kTimedOut;
    const auto event = Next(kStartRetry);
    if (event && event->kind == Event::Kind::kUiEnded) return Start::kUiEnded;
    if (event && event->kind == Event::Kind::kInterrupted) return Start::kInterrupted;
  }
  static_cast<void>(input.release());
  return Start::kReady;
}

bool Session::Send(int signalType, int evtType, Allocated<void> input) {
  if (YraSendSelfSignal(&m_ui->signals, signalType, evtType, 0, input.get()) != 0) return false;
  static_cast<void>(input.release());
  return true;
}

std::optional<Event> Session::Next(std::chrono::milliseconds timeout) {
  pollfd sources[] = {{m_ui->events.fd(), POLLIN, 0}, {m_ui->interrupts.get(), POLLIN, 0}};
  if (poll(sources, std::size(sources), static_cast<int>(timeout.count())) <= 0) {
    return std::nullopt;
  }
  eventfd_t count;
  if (sources[1].revents != 0 && eventfd_read(m_ui->interrupts.get(), &count) == 0) {
    std::optional<Event> event(std::in_place);
    event->kind = Event::Kind::kInterrupted;
    return event;
  }
  return m_ui->events.Pop();
}
