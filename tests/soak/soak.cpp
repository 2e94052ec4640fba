// A host under everything that can happen to it at once: yra-soak MINUTES [SEED].
//
// One life of the UI after another, each with random requests, a user who presses, types, closes
// and moves at random, allocations of the library that find no memory, and a log service that hangs
// up or stops reading. Each request must be answered once; sanitizers see the rest.
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <random>
#include <thread>

#include "kvolocalise.h"
#include "support/desktop.h"
#include "support/host.h"
#include "support/log_service.h"

static std::atomic<unsigned int> g_failEvery{0};  // 0: there is memory

static bool Refused() {
  thread_local std::minstd_rand random(std::random_device{}());
  const unsigned int every = g_failEvery;
  return every != 0 && random() % every == 0;
}

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

void Act(User& user, Random& random) {
  std::this_thread::sleep_for(std::chrono::milliseconds(5 + random() % 60));
  const auto windows = user.Windows();
  if (windows.empty()) return;
  const Window window = windows[random() % windows.size()];
  const auto box = user.Geometry(window);
  switch (random() % 6) {
    case 0:
      return user.Close(window);
    case 1:
      return user.Disturb(window, random() % 2 == 0, static_cast<int>(random() % 300));
    case 2:
      return user.Key(random() % 2 == 0 ? "Escape" : "Return");
    case 3:
      user.Key("l", true);
      user.Type(random() % 2 == 0 ? "soak-" + std::to_string(random() % 5) : "folder/");
      return user.Key("Return");
    default:  // mostly where the buttons are
      return user.ClickAt(
          box.x + static_cast<int>(random() % (static_cast<unsigned>(box.width) + 1)),
          box.y + box.height - static_cast<int>(random() % 40));
  }
}

// A record of the host's, with random bytes and memory that is always there.
void* NewRecord(Random& random, std::size_t size) {
  auto* bytes = static_cast<unsigned char*>(__real_calloc(1, size));
  for (std::size_t i = 0; i + 1 < size; ++i) bytes[i] = random() % 4 == 0 ? 0 : random() & 0xFF;
  return bytes;
}

// Sends something at random; answers whether it has to be answered.
bool Request(Host& host, Random& random) {
  const auto send = [&](int type, int event, void* record) {
    return host.Send(type, event, record) == YRAFT_STATUS_SUCCESS;
  };
  switch (random() % 12) {
    case 0:
      return send(1, 0, NewRecord(random, sizeof(YRAFT_THRESHOLD_INFO)));
    case 1:
      return send(2, 0, NewRecord(random, sizeof(YRAFT_FILEINFO_ITEM) + 1));
    case 2:
      return send(1 + static_cast<int>(random() % 3), 1, nullptr);  // refused
    case 3: {
      auto* info = static_cast<YRAFT_ERROR_MESSAGE_INFO*>(NewRecord(random, 64));
      info->cbSize = 64;
      info->titleLen = info->firLen = info->SecLen = static_cast<uint16_t>(random() % 30);
      send(4, 0, info);
      return false;
    }
    default:
      send(3, static_cast<int>(random() % 5), NewRecord(random, sizeof(YRAFT_PROGRESS_BAR_INFO)));
      return false;
  }
}

// One life; answers how many requests were not answered once.
long Live(Random& random, Clock::time_point end) {
  Notes notes;
  Host host;
  User user;
  Random acts(static_cast<unsigned int>(random()));
  long open = 0;
  const auto answer = [&] {
    while (notes.Pending() > 0) {
      const Note note = *notes.Next();
      free(note.pData);
      if (note.event < YRAFT_NOTIFY_PAUSE) --open;
    }
  };
  {
    const std::jthread busy([&](const std::stop_token& stop) {
      while (!stop.stop_requested()) Act(user, acts);
    });
    g_failEvery = random() % 2 == 0 ? 4 : 0;
    while (Clock::now() < end) {
      open += Request(host, random);
      answer();
      std::this_thread::sleep_for(std::chrono::milliseconds(random() % 30));
    }
    g_failEvery = 0;
    host.End();  // with whatever is open and waiting
  }
  answer();
  return std::labs(open);
}

}  // namespace

int main(int argc, char** argv) {
  const std::chrono::duration<double> minutes(60 * (argc > 1 ? atof(argv[1]) : 1));
  const unsigned int seed =
      argc > 2 ? static_cast<unsigned>(atol(argv[2])) : std::random_device{}();
  Random random(seed);
  for (int i = 0; i < 5; ++i) Desktop::Get().AddFile("soak-" + std::to_string(i), 100);
  Desktop::Get().AddFolder("folder");
  KvoLocaliseInit();
  long lives = 0;
  long lost = 0;
  for (const auto start = Clock::now(); Clock::now() - start < minutes; ++lives) {
    LogService service;
    KvoLogInit();
    service.Accept();
    KvoLogSetCurrentLevel(KVO_CLASS_YRAFT, random() % 2 == 0 ? KVO_LOG_VERBOSE : KVO_LOG_INHERIT);
    const bool hangsUp = random() % 2 == 0;
    const auto most = static_cast<unsigned int>(random() % 4000);
    const std::jthread reader([&service, hangsUp, most](const std::stop_token& stop) {
      for (unsigned int reads = most; !stop.stop_requested();) {
        if (reads > 0 && --reads == 0 && hangsUp) service.HangUp();
        if (reads > 0 && !service.Waiting().empty()) continue;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
    });
    lost += Live(random, Clock::now() + std::chrono::milliseconds(500 + random() % 8000));
    KvoLogShutdown();
  }
  KvoLocaliseShutdown();
  printf("seed %u: %ld lives of the UI, %ld requests not answered once\n", seed, lives, lost);
  return lost == 0 && lives > 0 ? 0 : 1;
}
