// Lets a chosen allocation of this thread find no memory.
//
// The linker wraps malloc, calloc and the plain operator new in a program that links this; calls
// inside shared libraries stay as they are.
#pragma once

// The nth allocation from now on (from 1) fails; 0: none does.
void FailAllocation(int nth);
// None fails any more. Answers whether the chosen one was asked for.
bool EndFailing();

// Runs a call whose nth allocation (from 1) finds no memory.
template <class Call>
auto WithFailingAllocation(int nth, Call call) {
  FailAllocation(nth);
  const auto answer = call();
  return EndFailing(), answer;
}
