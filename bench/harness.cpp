#include "harness.h"

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <utility>

namespace bench {

namespace {

constexpr int kRounds = 41;

std::vector<Group>& Groups() {
  static std::vector<Group> groups;
  return groups;
}

std::vector<std::pair<std::string, std::function<std::string()>>>& Figures() {
  static std::vector<std::pair<std::string, std::function<std::string()>>> figures;
  return figures;
}

double Median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
  return values[values.size() / 2];
}

// Answers whether every target of the group was met.
bool Run(const Group& group) {
  const std::size_t n = group.subjects.size();
  std::vector<std::vector<double>> times(n);
  std::vector<std::size_t> order(n);
  for (std::size_t i = 0; i < n; ++i) {
    order[i] = i;
    group.subjects[i].run();  // warm
  }
  std::minstd_rand random(1);
  for (int round = 0; round < kRounds; ++round) {
    std::shuffle(order.begin(), order.end(), random);
    for (const std::size_t i : order) times[i].push_back(group.subjects[i].run());
  }
  printf("\n%s (per %s)\n", group.name.c_str(), group.unit.c_str());
  const double floor = Median(times[0]);
  bool met = true;
  for (std::size_t i = 0; i < n; ++i) {
    const double time = Median(times[i]);
    printf("  %-52s %9.2f ns  %6.2f x", group.subjects[i].name.c_str(), time / group.work,
           time / floor);
    const double target = i == 0 ? 0 : group.targets[i - 1];
    if (target > 0) {
      const bool ok = time / floor <= target;
      printf("   target %.2f  %s", target, ok ? "met" : "MISSED");
      met = met && ok;
    }
    printf("\n");
  }
  return met;
}

}  // namespace

double ThreadNanoseconds() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

void Register(Group group) { Groups().push_back(std::move(group)); }

void RegisterFigure(std::string name, std::function<std::string()> measure) {
  Figures().emplace_back(std::move(name), std::move(measure));
}

}  // namespace bench

// yra-bench [--check] [FILTER]: with --check a missed target is a failure.
int main(int argc, char** argv) {
  bool check = false;
  const char* filter = "";
  for (int i = 1; i < argc; ++i) {
    if (strcmp(argv[i], "--check") == 0) {
      check = true;
    } else {
      filter = argv[i];
    }
  }
  bool met = true;
  for (const bench::Group& group : bench::Groups()) {
    if (group.name.find(filter) != std::string::npos) met = bench::Run(group) && met;
  }
  for (const auto& [name, measure] : bench::Figures()) {
    if (name.find(filter) != std::string::npos) {
      printf("\n%s: %s\n", name.c_str(), measure().c_str());
    }
  }
  return check && !met ? 1 : 0;
}
