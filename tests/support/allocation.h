// Watches what a call allocates and releases, and lets a chosen allocation find no memory.
//
// The linker wraps malloc, calloc, free and the plain operators new and delete in a program that
// links this; calls inside shared libraries stay as they are.
#pragma once

#include <cstddef>

// Watches this thread for its lifetime; one at a time.
class AllocationWatch {
 public:
  // The nth allocation (from 1) fails; 0: none does.
  explicit AllocationWatch(int failing = 0);
  ~AllocationWatch() { End(); }
  AllocationWatch(const AllocationWatch&) = delete;
  AllocationWatch& operator=(const AllocationWatch&) = delete;

  // Watches no longer; what was seen stays until the next watch begins.
  void End();

  // The chosen allocation was asked for.
  bool Failed() const { return m_failed; }
  // Allocations less releases.
  long Balance() const { return m_balance; }
  // How often this memory was released.
  int Releases(const void* memory) const;

  // For the wrapped functions.
  bool Allocate();
  void Release(void* memory);

 private:
  int m_countdown;
  bool m_failed = false;
  long m_balance = 0;
  std::size_t m_released = 0;
};

// Runs a call whose nth allocation (from 1) finds no memory.
template <class Call>
auto WithFailingAllocation(int nth, Call call) {
  const AllocationWatch watch(nth);
  return call();
}
