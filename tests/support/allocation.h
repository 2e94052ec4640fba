// Lets a chosen allocation of a call fail.
#pragma once

namespace allocation {
// Counts down on each allocation of this thread; the one that reaches 0 fails. Negative: none does.
extern thread_local int g_countdown;
}  // namespace allocation

// Runs a call whose nth allocation (from 1) finds no memory.
template <class Call>
auto WithFailingAllocation(int nth, Call call) {
  allocation::g_countdown = nth;
  auto answer = call();
  allocation::g_countdown = -1;
  return answer;
}
