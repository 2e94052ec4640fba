#include "support/allocation.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <new>

namespace {
thread_local AllocationWatch* g_watch = nullptr;
thread_local void* g_released[8192];  // since the watch began

bool Refused() { return g_watch != nullptr && !g_watch->Allocate(); }
void Released(void* memory) {
  if (g_watch != nullptr && memory != nullptr) g_watch->Release(memory);
}
}  // namespace

AllocationWatch::AllocationWatch(int failing) : m_countdown(failing) { g_watch = this; }
void AllocationWatch::End() { g_watch = nullptr; }

bool AllocationWatch::Allocate() {
  if (m_countdown > 0 && --m_countdown == 0) {
    m_failed = true;
    return false;
  }
  ++m_balance;
  return true;
}

void AllocationWatch::Release(void* memory) {
  --m_balance;
  if (m_released == std::size(g_released)) abort();
  g_released[m_released++] = memory;
}

int AllocationWatch::Releases(const void* memory) const {
  return static_cast<int>(std::count(g_released, g_released + m_released, memory));
}

// The linker's names: __wrap_ takes the calls, __real_ is what they were for. The operators new and
// delete stand with the names that the compiler gives them.
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void __real_free(void* memory);
void* __real__Znwm(std::size_t size);
void* __real__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag) noexcept;
void __real__ZdlPv(void* memory) noexcept;
void __real__ZdlPvm(void* memory, std::size_t size) noexcept;

void* __wrap_malloc(std::size_t size) { return Refused() ? nullptr : __real_malloc(size); }
void* __wrap_calloc(std::size_t count, std::size_t size) {
  return Refused() ? nullptr : __real_calloc(count, size);
}
void __wrap_free(void* memory) {
  Released(memory);
  __real_free(memory);
}

void* __wrap__Znwm(std::size_t size) {
  if (Refused()) throw std::bad_alloc();
  return __real__Znwm(size);
}
void* __wrap__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag) noexcept {
  return Refused() ? nullptr : __real__ZnwmRKSt9nothrow_t(size, tag);
}
void __wrap__ZdlPv(void* memory) noexcept {
  Released(memory);
  __real__ZdlPv(memory);
}
void __wrap__ZdlPvm(void* memory, std::size_t size) noexcept {
  Released(memory);
  __real__ZdlPvm(memory, size);
}
}
