#include "support/allocation.h"

#include <cstdlib>
#include <new>

namespace allocation {
thread_local int g_countdown = -1;

static bool Fails() { return g_countdown > 0 && --g_countdown == 0; }
}  // namespace allocation

extern "C" void* __real_calloc(std::size_t count, std::size_t size);
extern "C" void* __wrap_calloc(std::size_t count, std::size_t size) {
  return allocation::Fails() ? nullptr : __real_calloc(count, size);
}

void* operator new(std::size_t size) {
  void* memory = allocation::Fails() ? nullptr : malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept { free(memory); }
void operator delete(void* memory, std::size_t) noexcept { free(memory); }
