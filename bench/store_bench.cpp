// The queue store beside bare containers and bare copies.
#include <glib.h>
#include <malloc.h>

#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <vector>

#include "harness.h"
#include "yrafiletransfer.h"

namespace {

constexpr int kElements = 1000000;
constexpr int kBatch = 1000;  // elements in flight at a time

unsigned char g_byte;

// Elements pass through a queue in batches, as they do between two threads that keep pace.
template <class Push, class Pop>
double PassThrough(Push push, Pop pop) {
  return bench::Time([&] {
    for (int done = 0; done < kElements / 10; done += kBatch) {
      for (int i = 0; i < kBatch; ++i) push();
      for (int i = 0; i < kBatch; ++i) pop();
    }
  });
}

double Deque() {
  std::deque<unsigned char*> queue;
  return PassThrough(
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

double GLibQueue() {
  GQueue* queue = g_queue_new();
  const double time = PassThrough([&] { g_queue_push_tail(queue, &g_byte); },
                                  [&] { bench::Keep(g_queue_pop_head(queue)); });
  g_queue_free(queue);
  return time;
}

double Store() {
  YraRW* store = nullptr;
  YraftRWCreate(&store);
  const double time = PassThrough([&] { YraftRWPush(store, YRAFT_QUEUE_BUFFER, 0, &g_byte, 1); },
                                  [&] {
                                    unsigned char* data = nullptr;
                                    YraftRWPopFront(store, YRAFT_QUEUE_BUFFER, 0, &data);
                                    bench::Keep(data);
                                  });
  YraftRWDestory(&store);
  return time;
}

constexpr int kRepeat = 200;

// A store with n buffers, never destroyed: its buffers are not its own.
YraRW* Filled(int n) {
  YraRW* store = nullptr;
  YraftRWCreate(&store);
  for (int i = 0; i < n; ++i) YraftRWPush(store, YRAFT_QUEUE_BUFFER, 0, &g_byte, 1);
  return store;
}

double Snapshot(YraRW* store) {
  return bench::Time([&] {
    for (int i = 0; i < kRepeat; ++i) {
      unsigned char* block = nullptr;
      YraftRWGetAll(store, YRAFT_QUEUE_BUFFER, &block);
      bench::Keep(block);
      free(block);
    }
  });
}

double Copy(std::size_t size) {
  const auto source = std::make_unique<unsigned char[]>(size);
  const auto target = std::make_unique<unsigned char[]>(size);
  return bench::Time([&] {
    for (int i = 0; i < kRepeat; ++i) {
      memcpy(target.get(), source.get(), size);
      bench::Keep(target.get());
      asm volatile("" : : : "memory");
    }
  });
}

std::string MemoryOfAnElement() {
  const std::size_t before = mallinfo2().uordblks;
  YraRW* store = Filled(kElements);
  const double bytes = static_cast<double>(mallinfo2().uordblks - before) / kElements;
  bench::Keep(store);
  char text[64];
  snprintf(text, sizeof(text), "%.1f bytes an element, of which 8 are the pointer", bytes);
  return text;
}

const bench::Registration registration([] {
  bench::Register({"push and pop-front",
                   "element",
                   kElements / 10,
                   {{"std::deque of pointers", Deque},
                    {"the store through its C interface", Store},
                    {"GQueue", GLibQueue}},
                   {8.5, 0}});
  for (const int n : {500, 1000, 4000}) {
    YraRW* store = Filled(n);
    const std::size_t size = 12 + 16 * static_cast<std::size_t>(n);
    bench::Register({"snapshot of " + std::to_string(n) + " buffers",
                     "block",
                     kRepeat,
                     {{"memcpy of the block", [size] { return Copy(size); }},
                      {"YraftRWGetAll and free", [store] { return Snapshot(store); }}},
                     {n == 4000 ? 4.5 : 8.0}});
  }
  bench::Register({"snapshot, linear in n",
                   "block",
                   kRepeat,
                   {{"1000 buffers", [store = Filled(1000)] { return Snapshot(store); }},
                    {"4000 buffers", [store = Filled(4000)] { return Snapshot(store); }}},
                   {8.0}});  // memory leaves the first cache on the way; squared growth takes 16
  bench::RegisterFigure("memory of a million elements", MemoryOfAnElement);
});

}  // namespace
