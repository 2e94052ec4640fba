#include "support/allocation.h"

#include <cstdlib>
#include <new>
#include <utility>

namespace {
thread_local int g_chosen = 0, g_seen = 0;
bool Refused() { return g_chosen > 0 && ++g_seen == g_chosen; }
}  // namespace

void FailAllocation(int nth) { g_chosen = nth, g_seen = 0; }
bool EndFailing() {
  const int chosen = std::exchange(g_chosen, 0);
  return chosen > 0 && g_seen >= chosen;
}

// The linker's names: __wrap_ takes the calls, __real_ is what they were for. The operator new
// stands with the name that the compiler gives it.
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real__Znwm(std::size_t size);
void* __real__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag) noexcept;

void* __wrap_malloc(std::size_t size) { return Refused() ? nullptr : __real_malloc(size); }
void* __wrap_calloc(std::size_t count, std::size_t size) {
  return Refused() ? nullptr : __real_calloc(count, size);
}
void* __wrap__Znwm(std::size_t size) {
  if (Refused()) throw std::bad_alloc();
  return __real__Znwm(size);
}
void* __wrap__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag) noexcept {
  return Refused() ? nullptr : __real__ZnwmRKSt9nothrow_t(size, tag);
}
}
