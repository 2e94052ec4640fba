// A host under everything that can happen to it at once: yra-soak MINUTES [SEED].
//
// One life of the UI after another, each with random requests, a user who accepts, declines,
// closes, moves and iconifies windows, clicks and types at random, allocations of the library that
// find no memory, and a log service that stalls, hangs up or was never there. A request that is not
// answered exactly once is lost.
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <thread>

#include "kvolocalise.h"
#include "support/desktop.h"
#include "support/host.h"
#include "support/log_service.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#else
static int __lsan_do_recoverable_leak_check() { return -1; }
#endif

// ---- Memory that is not there ------------------------------------------------------------------

namespace {
std::atomic<int> g_failEvery{0};  // 0: there is memory
std::atomic<long> g_refused{0};

bool Refused() {
  thread_local std::minstd_rand random(std::random_device{}());
  const int every = g_failEvery;
  if (every == 0 || random() % static_cast<unsigned int>(every) != 0) return false;
  ++g_refused;
  return true;
}
}  // namespace

// The library's own calls, whose code is linked into this program; GTK ends a process without
// memory.
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_malloc(std::size_t size) { return Refused() ? nullptr : __real_malloc(size); }
void* __wrap_calloc(std::size_t count, std::size_t size) {
  return Refused() ? nullptr : __real_calloc(count, size);
}
}

namespace {

using Clock = std::chrono::steady_clock;
using Random = std::minstd_rand;

// Memory for the host's own records, which it always gets.
void* HostRecord(std::size_t size) { return __real_calloc(1, size); }

struct Tally {
  long lives = 0;
  long requests = 0;
  long answers = 0;
  long lost = 0;
  long files = 0;    // chosen
  long presses = 0;  // of pause, resume and cancel
  long events = 0;   // of progress
  long messages = 0;
  long acts = 0;  // of the user
  long logEnds = 0;
};

// ---- The user ----------------------------------------------------------------------------------

// Does something at random to whatever is on the screen, until told to stop.
class RandomUser {
 public:
  RandomUser(unsigned int seed, Tally& tally) : m_random(seed), m_tally(tally) {
    m_thread = std::thread([this] {
      while (!m_stop) {
        Act();
        std::this_thread::sleep_for(std::chrono::milliseconds(5 + m_random() % 60));
      }
    });
  }
  ~RandomUser() {
    m_stop = true;
    m_thread.join();
  }

 private:
  void Act() {
    const auto windows = m_user.Windows();
    if (windows.empty()) return;
    const Window window = windows[m_random() % windows.size()];
    const auto box = m_user.Geometry(window);
    ++m_tally.acts;
    switch (m_random() % 10) {
      case 0:
        return m_user.Close(window);
      case 1:
        return m_user.Disturb(window, m_random() % 2 == 0, static_cast<int>(m_random() % 300));
      case 2:
      case 3:
        return m_user.Key("Escape");
      case 4:
      case 5:
        m_user.Key("l", true);
        m_user.Type(m_random() % 2 == 0 ? "soak-" + std::to_string(m_random() % 5) : "folder/");
        return m_user.Key("Return");
      case 6:
        return m_user.Key("Return");
      case 7:
        return m_user.Key("Tab");
      default:  // mostly where the buttons are
        return m_user.ClickAt(
            box.x + static_cast<int>(m_random() % static_cast<unsigned int>(box.width + 1)),
            box.y + box.height - static_cast<int>(m_random() % 40));
    }
  }

  User m_user;
  Random m_random;
  Tally& m_tally;
  std::atomic<bool> m_stop{false};
  std::thread m_thread;
};

// ---- The log service ---------------------------------------------------------------------------

// Reads for a while and then dies, stalls or goes on.
class MortalService {
 public:
  explicit MortalService(unsigned int seed) : m_random(seed), m_thread([this] { Live(); }) {}
  ~MortalService() {
    m_stop = true;
    m_thread.join();
  }
  bool Ended() const { return m_ended; }

 private:
  void Live() {
    if (!m_service.Accept()) return;
    for (unsigned int left = m_random() % 20000; left > 0 && !m_stop; --left) {
      if (m_service.Waiting().empty()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    m_ended = !m_stop;
    if (m_random() % 2 == 0) m_service.HangUp();
    while (!m_stop) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }

  LogService m_service;
  Random m_random;
  std::atomic<bool> m_stop{false};
  std::atomic<bool> m_ended{false};
  std::thread m_thread;
};

// ---- The host ----------------------------------------------------------------------------------

class Life {
 public:
  Life(Random& random, Tally& tally) : m_random(random), m_tally(tally) {}

  void Run(Clock::time_point end) {
    const RandomUser user(static_cast<unsigned int>(m_random()), m_tally);
    const auto lasts = std::chrono::milliseconds(500 + m_random() % 8000);
    end = std::min(end, Clock::now() + lasts);
    g_failEvery = m_random() % 2 == 0 ? 4 : 0;
    while (Clock::now() < end) {
      Request();
      Read();
      std::this_thread::sleep_for(std::chrono::milliseconds(m_random() % 30));
    }
    g_failEvery = 0;
    m_host.End();  // with whatever is open and waiting
    Read();
    ++m_tally.lives;
    m_tally.lost += std::labs(m_requests - m_answers);
  }

 private:
  void Send(int signal, int event, void* record, bool counts) {
    if (m_host.Send(signal, event, record) != YRAFT_STATUS_SUCCESS) return;
    m_requests += counts;
    m_tally.requests += counts;
  }

  void Request() {
    switch (m_random() % 12) {
      case 0:
        return Send(YRAFT_UI_SIGNAL_SELECT_FLIES, 0, HostRecord(sizeof(YRAFT_THRESHOLD_INFO)),
                    true);
      case 1:
        return Send(YRAFT_UI_SIGNAL_SELECT_DIR, 0, HostRecord(sizeof(YRAFT_FILEINFO_ITEM) + 1),
                    true);
      case 2:
        return Send(1 + static_cast<int>(m_random() % 3), 1, nullptr, true);  // no record: refused
      case 3:
        return Message();
      default:
        return Progress();
    }
  }

  void Message() {
    auto* info = static_cast<YRAFT_ERROR_MESSAGE_INFO*>(HostRecord(64));
    info->cbSize = static_cast<uint16_t>(m_random() % 64);
    info->titleLen = static_cast<uint16_t>(m_random() % 16);
    info->firLen = static_cast<uint16_t>(m_random() % 16);
    info->SecLen = static_cast<uint16_t>(m_random() % 16);
    for (int i = sizeof(*info); i < 64; ++i) {
      reinterpret_cast<char*>(info)[i] = "<&%s\xE9\0ab"[m_random() % 8];
    }
    Send(YRAFT_UI_SIGNAL_MESSAGE, 0, info, false);
    ++m_tally.messages;
  }

  void Progress() {
    auto* info = static_cast<YRAFT_PROGRESS_BAR_INFO*>(HostRecord(sizeof(YRAFT_PROGRESS_BAR_INFO)));
    info->fileOffset = static_cast<uint32_t>(m_random());
    info->fileSize = static_cast<uint32_t>(m_random() % 2 == 0 ? m_random() : m_random() % 3);
    info->fileTransferOperation = static_cast<uint32_t>(m_random() % 4);
    for (char& c : info->name) c = static_cast<char>(m_random() % 50 == 0 ? 0 : m_random());
    info->name[sizeof(info->name) - 1] = static_cast<char>(m_random() % 2);
    const int event =
        m_random() % 4 == 0 ? YRAFT_PROGRESS_CREATE : static_cast<int>(m_random() % 5);
    Send(YRAFT_UI_SIGNAL_PROGRESS_BAR, event, info, false);
    ++m_tally.events;
  }

  void Read() {
    while (m_notes.Pending() > 0) {
      const Note note = *m_notes.Next();
      if (note.event >= YRAFT_NOTIFY_PAUSE) {
        ++m_tally.presses;
        continue;
      }
      ++m_answers;
      ++m_tally.answers;
      for (const Item& item : ItemsOf(note.pData)) m_tally.files += !item.name.empty();
      free(note.pData);
    }
  }

  Random& m_random;
  Tally& m_tally;
  Notes m_notes;
  Host m_host;
  long m_requests = 0;
  long m_answers = 0;
};

// What the process holds.
struct Held {
  long descriptors = 0;
  long residentKiB = 0;

  static Held Now() {
    std::ifstream file("/proc/self/statm");
    long size = 0;
    long pages = 0;
    file >> size >> pages;
    return {static_cast<long>(OpenDescriptors().size()), pages * (sysconf(_SC_PAGESIZE) / 1024)};
  }
};

void Row(const char* name, long value) { printf("%-42s %10ld\n", name, value); }

}  // namespace

int main(int argc, char** argv) {
  const double minutes = argc > 1 ? atof(argv[1]) : 1;
  const unsigned int seed =
      argc > 2 ? static_cast<unsigned int>(atol(argv[2])) : std::random_device{}();
  printf("seed %u\n", seed);
  Random random(seed);
  Tally tally;
  for (int i = 0; i < 5; ++i) Desktop::Get().AddFile("soak-" + std::to_string(i), 100);
  Desktop::Get().AddFolder("folder");
  KvoLocaliseInit();
  const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                      std::chrono::duration<double>(minutes * 60));
  Held early;
  Held late;
  while (Clock::now() < end) {
    std::unique_ptr<MortalService> service;
    if (random() % 4 != 0) service = std::make_unique<MortalService>(random());
    KvoLogInit();
    KvoLogSetCurrentLevel(KVO_CLASS_YRAFT, random() % 2 == 0 ? KVO_LOG_VERBOSE : KVO_LOG_INHERIT);
    Life(random, tally).Run(end);
    KvoLogShutdown();
    if (service != nullptr) tally.logEnds += service->Ended();
    service.reset();
    late = Held::Now();
    if (tally.lives == 3) early = late;
  }
  KvoLocaliseShutdown();
  const int leaked = __lsan_do_recoverable_leak_check();
  Row("lives of the UI", tally.lives);
  Row("acts of the user", tally.acts);
  Row("progress events", tally.events);
  Row("error messages", tally.messages);
  Row("pause, resume, cancel", tally.presses);
  Row("files chosen", tally.files);
  Row("allocations refused", g_refused);
  Row("log services that died or stalled", tally.logEnds);
  if (tally.lives > 3) {
    Row("more descriptors than after three lives", late.descriptors - early.descriptors);
    // An address sanitizer keeps what was released for a while.
    if (leaked < 0)
      Row("more KiB resident than after three lives", late.residentKiB - early.residentKiB);
  }
  puts("");
  Row("requests", tally.requests);
  Row("answers", tally.answers);
  Row("lost (requests not answered exactly once)", tally.lost);
  printf("%-42s %10s\n", "leaked", leaked < 0 ? "unknown" : leaked == 0 ? "nothing" : "YES");
  return tally.lost == 0 && leaked <= 0 && tally.requests > 0 ? 0 : 1;
}
