#include "harness.h"

#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <utility>

namespace bench {

namespace {

constexpr int kRounds = 41;

struct Measurement {
  std::string name;
  std::string unit;
  std::function<std::vector<Row>()> measure;
};

std::vector<Measurement>& Measurements() {
  static std::vector<Measurement> measurements;
  return measurements;
}

double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

std::vector<Row> Run(const Group& group) {
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
  std::vector<Row> rows;
  for (std::size_t i = 0; i < n; ++i) {
    rows.push_back({group.subjects[i].name, Median(times[i]) / group.work,
                    i == 0 ? 0 : group.targets[i - 1], group.subjects[i].n});
  }
  return rows;
}

// Measures, prints, and appends to the table if there is one. Answers whether every target was met.
bool Report(const Measurement& measurement, FILE* table) {
  const auto& [name, unit, measure] = measurement;
  printf("\n%s (%s)\n", name.c_str(), unit.c_str());
  const std::vector<Row> rows = measure();
  bool met = true;
  for (const Row& row : rows) {
    const double ratio = row.value / rows[0].value;
    // What fails to run must not pass for fast.
    if (!(ratio > 0) || !std::isfinite(ratio)) {
      fprintf(stderr, "%s: no figure of %s\n", name.c_str(), row.name.c_str());
      exit(2);
    }
    const char* verdict = row.target <= 0 ? "" : ratio <= row.target ? "met" : "MISSED";
    printf("  %-52s %9.2f  %6.2f x", row.name.c_str(), row.value, ratio);
    if (row.target > 0) printf("   target %.2f  %s", row.target, verdict);
    printf("\n");
    if (table != nullptr) {
      fprintf(table, "%s\t%s\t%s\t%d\t%.6g\t%.6g\t%.6g\t%s\n", name.c_str(), unit.c_str(),
              row.name.c_str(), row.n, row.value, ratio, row.target, verdict);
    }
    met = met && strcmp(verdict, "MISSED") != 0;
  }
  return met;
}

}  // namespace

double ThreadNanoseconds() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

void Register(Group group) {
  std::string name = group.name;
  std::string unit = "ns per " + group.unit;
  RegisterFigure(std::move(name), std::move(unit),
                 [group = std::move(group)] { return Run(group); });
}

void RegisterFigure(std::string name, std::string unit, std::function<std::vector<Row>()> measure) {
  Measurements().push_back({std::move(name), std::move(unit), std::move(measure)});
}

}  // namespace bench

// yra-bench [--check] [--tsv FILE] [FILTER]: with --check a missed target is a failure. FILE gets a
// line for each row: group, unit, name, n (0: none), value, ratio, target (0: none), met or MISSED.
int main(int argc, char** argv) {
  bool check = false;
  FILE* table = nullptr;
  const char* filter = "";
  for (int i = 1; i < argc; ++i) {
    if (strcmp(argv[i], "--check") == 0) {
      check = true;
    } else if (strcmp(argv[i], "--tsv") == 0 && i + 1 < argc) {
      table = fopen(argv[++i], "a");
      if (table == nullptr) {
        perror(argv[i]);
        return 2;
      }
    } else {
      filter = argv[i];
    }
  }
  bool met = true;
  for (const bench::Measurement& measurement : bench::Measurements()) {
    if (measurement.name.find(filter) != std::string::npos) {
      met = bench::Report(measurement, table) && met;
    }
  }
  if (table != nullptr && fclose(table) != 0) {
    perror("--tsv");
    return 2;
  }
  return check && !met ? 1 : 0;
}
