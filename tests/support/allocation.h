// Lets a chosen allocation of a call find no memory.
//
// The linker wraps malloc, calloc and the plain operator new in a program that links this; calls
// inside shared libraries stay as they are.
#pragma once

// Counts this thread's allocations for its lifetime; one at a time.
class AllocationWatch {
 public:
  // The nth allocation (from 1) fails; 0: none does.
  explicit AllocationWatch(int failing);
  ~AllocationWatch() { End(); }
  AllocationWatch(const AllocationWatch&) = delete;
  AllocationWatch& operator=(const AllocationWatch&) = delete;

  void End();
  // The chosen allocation was asked for.
  bool Failed() const { return m_failed; }
  // For the wrapped functions.
  bool Refuses() { return m_countdown > 0 && --m_countdown == 0 && (m_failed = true); }

 private:
  int m_countdown;
  bool m_failed = false;
};

// Runs a call whose nth allocation (from 1) finds no memory.
template <class Call>
auto WithFailingAllocation(int nth, Call call) {
  const AllocationWatch watch(nth);
  return call();
}
