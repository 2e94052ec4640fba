// The queue store beside bare containers and bare copies.
#include <glib.h>
#include <gperftools/malloc_extension_c.h>

#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <vector>

#include "harness.h"
#include "log_sink.h"
#include "yrafiletransfer.h"

namespace {

constexpr int kElements = 1000000;

unsigned char g_byte;

// A million elements pass through a queue, so many in flight at a time.
template <class Push, class Pop>
double PassThrough(int inFlight, Push push, Pop pop) {
  return bench::Time([&] {
    for (int done = 0; done < kElements; done += inFlight) {
      for (int i = 0; i < inFlight; ++i) push();
      for (int i = 0; i < inFlight; ++i) pop();
    }
  });
}

double Deque(int inFlight) {
  std::deque<unsigned char*> queue;
  return PassThrough(
      inFlight,
      [&] {
        queue.push_back(&g_byte);
        bench::Keep(queue);
      },
      [&] {
        unsigned char* data = queue.front();
        bench::Keep(data);
        queue.pop_front();
      });
}

double GLibQueue(int inFlight) {
  GQueue* queue = g_queue_new();
  const double time = PassThrough(
      inFlight, [&] { g_queue_push_tail(queue, &g_byte); },
      [&] { bench::Keep(g_queue_pop_head(queue)); });
  g_queue_free(queue);
  return time;
}

double Store(int inFlight) {
  YraRW* store = nullptr;
  YraftRWCreate(&store);
  const double time = PassThrough(
      inFlight, [&] { YraftRWPush(store, YRAFT_QUEUE_BUFFER, 0, &g_byte, 1); },
      [&] {
        unsigned char* data = nullptr;
        YraftRWPopFront(store, YRAFT_QUEUE_BUFFER, 0, &data);
        bench::Keep(data);
      });
  YraftRWDestory(&store);
  return time;
}

// The same with a log service connected whose levels let no line of it through.
template <class Measure>
double Filtered(Measure measure) {
  const LogSink sink;
  return measure();
}

// A store with n buffers, never destroyed: its buffers are not its own.
YraRW* Filled(int n) {
  YraRW* store = nullptr;
  YraftRWCreate(&store);
  for (int i = 0; i < n; ++i) YraftRWPush(store, YRAFT_QUEUE_BUFFER, 0, &g_byte, 1);
  return store;
}

double Snapshot(YraRW* store, int times) {
  return bench::Repeat(times, [store](int) {
    unsigned char* block = nullptr;
    YraftRWGetAll(store, YRAFT_QUEUE_BUFFER, &block);
    bench::Keep(block);
    free(block);
  });
}

// A copy of the bytes that a block of n buffers has.
double Copy(int n, int times) {
  const std::size_t size = sizeof(YRAFT_TLV_BLOCKS) + 16 * static_cast<std::size_t>(n);
  const auto source = std::make_unique<unsigned char[]>(size);
  const auto target = std::make_unique<unsigned char[]>(size);
  return bench::Repeat(times, [&](int) {
    memcpy(target.get(), source.get(), size);
    bench::Keep(target.get());
  });
}

double Allocated() {
  std::size_t bytes = 0;
  MallocExtension_GetNumericProperty("generic.current_allocated_bytes", &bytes);
  return static_cast<double>(bytes);
}

// What a million elements in a queue have of the heap, without the elements themselves.
std::vector<bench::Row> MemoryOfAnElement() {
  double before = Allocated();
  Filled(kElements);
  const double store = (Allocated() - before) / kElements;
  before = Allocated();
  const std::deque<unsigned char*> deque(kElements);
  const double pointers = (Allocated() - before) / kElements;
  return {{"std::deque of pointers", pointers}, {"the store", store}};
}

void RegisterPushAndPop(const std::string& name, int inFlight) {
  bench::Register({"push and pop-front, " + name,
                   "element",
                   kElements,
                   {{"std::deque of pointers", [inFlight] { return Deque(inFlight); }},
                    {"the store through its C interface", [inFlight] { return Store(inFlight); }},
                    {"… with a log service, filtered",
                     [inFlight] { return Filtered([inFlight] { return Store(inFlight); }); }},
                    {"GQueue", [inFlight] { return GLibQueue(inFlight); }}},
                   {8.5, 14.5, 0}});
}

void RegisterSnapshot(int n, double target, double filteredTarget) {
  constexpr int kTimes = 200;
  YraRW* store = Filled(n);
  bench::Register({"snapshot of " + std::to_string(n) + " buffers",
                   "block",
                   kTimes,
                   {{"memcpy of the block", [n] { return Copy(n, kTimes); }},
                    {"YraftRWGetAll and free", [store] { return Snapshot(store, kTimes); }},
                    {"… with a log service, filtered",
                     [store] { return Filtered([store] { return Snapshot(store, kTimes); }); }}},
                   {target, filteredTarget}});
}

// The time for a buffer, which is the same for every n where a snapshot is linear in n. It grows
// with memcpy's where queue and block leave the first cache; with n squared, each row would be
// twice the one before.
void RegisterLinearity() {
  constexpr int kBuffers = 80000;
  bench::Group group{"snapshot, linear in n", "buffer", kBuffers, {}, {}};
  for (const int n : {250, 500, 1000, 2000, 4000}) {
    group.subjects.push_back({std::to_string(n) + " buffers",
                              [n, store = Filled(n)] { return Snapshot(store, kBuffers / n); }, n});
    if (group.subjects.size() > 1) group.targets.push_back(2.5);
  }
  for (const int n : {250, 500, 1000, 2000, 4000}) {
    group.subjects.push_back(
        {"memcpy of the bytes of " + std::to_string(n), [n] { return Copy(n, kBuffers / n); }, n});
    group.targets.push_back(0);
  }
  bench::Register(group);
}

const bench::Registration registration([] {
  RegisterPushAndPop("a thousand in flight", 1000);
  RegisterPushAndPop("a million in flight", kElements);
  RegisterSnapshot(500, 8, 13);
  RegisterSnapshot(1000, 8, 13);
  RegisterSnapshot(4000, 4.5, 7.5);
  RegisterLinearity();
  bench::RegisterFigure("memory of a million elements", "bytes per element", MemoryOfAnElement);
});

}  // namespace
