// Measures things beside their floors: thread CPU time, all subjects in shuffled rounds of one run,
// medians, reported as ratios.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench {

// One thing to measure. A call does `work` units and answers the thread CPU time of the part that
// counts, in nanoseconds.
struct Subject {
  std::string name;
  std::function<double()> run;
  int n = 0;  // where it stands on the axis of a plot, if it does
};

// The first subject is the floor; a target is how many times the floor a subject may take.
struct Group {
  std::string name;
  std::string unit;  // what one unit of work is
  double work;       // units a call
  std::vector<Subject> subjects;
  std::vector<double> targets;  // for the subjects behind the floor; 0: a peer, no target
};

double ThreadNanoseconds();

// Times a call on this thread's CPU clock.
template <class Call>
double Time(Call call) {
  const double start = ThreadNanoseconds();
  call();
  return ThreadNanoseconds() - start;
}

// Times a call made over and over; it gets its number.
template <class Call>
double Repeat(int calls, Call call) {
  return Time([&] {
    for (int i = 0; i < calls; ++i) {
      call(i);
      asm volatile("" : : : "memory");
    }
  });
}

// Keeps the compiler from seeing through a value or from dropping a store.
template <class T>
inline void Keep(const T& value) {
  asm volatile("" : : "r,m"(value) : "memory");
}

void Register(Group group);

// What was measured of one thing, in the unit of its group; the first row is the floor.
struct Row {
  std::string name;
  double value;
  double target = 0;  // times the floor; 0: none
  int n = 0;
};
// A group that is no CPU time: it measures all its rows itself.
void RegisterFigure(std::string name, std::string unit, std::function<std::vector<Row>()> measure);

// Runs once at the start of the program.
struct Registration {
  template <class F>
  explicit Registration(F registerAll) {
    registerAll();
  }
};

}  // namespace bench
