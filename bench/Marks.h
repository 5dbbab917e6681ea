// SPDX-License-Identifier: Apache-2.0
//
// The marks that the workloads have to beat, and the table that holds a run's medians against them.
//
// Threads: one.
#pragma once

#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <nlohmann/json_fwd.hpp>

namespace bench {

// What a figure is. Speeds beat a mark from above, the others from below.
enum class Unit {
  MegabytesPerSecond,  // a million bytes
  Milliseconds,
  Microseconds,
  Nanoseconds,
  Times  // a plain ratio
};

struct Mark {
  std::string name;      // "P1"
  std::string workload;  // the benchmark's name
  Unit unit = Unit::MegabytesPerSecond;
  double must = 0;  // 0: nothing is asked
  double aim = 0;
  std::string anchor;  // the benchmark whose figure stands beside it; may be empty
  // A second benchmark, for Unit::Times: the figure is its time divided by the first one's.
  std::string doubled;
};

// All marks, in the order of the table, those of the anchors last.
std::vector<Mark> allMarks();

// Keeps what each benchmark of a run measured, and prints each name when it is done.
class Collector : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;

  // The repetitions of a benchmark; empty for one that did not run. Seconds for an iteration.
  std::vector<double> seconds(const std::string& workload) const;
  // The same in the mark's unit.
  std::vector<double> figures(const Mark& mark) const;
  const std::vector<std::string>& failures() const { return m_failures; }

 private:
  struct Measured {
    std::vector<double> seconds;
    std::map<std::string, std::vector<double>> counters;
  };

  std::map<std::string, Measured> m_measured;
  std::vector<std::string> m_failures;
};

// The table of the marks that were measured.
void printTable(const Collector& collector);
nlohmann::ordered_json tableAsJson(const Collector& collector);

}  // namespace bench
