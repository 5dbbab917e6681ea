// SPDX-License-Identifier: Apache-2.0
//
// The marks (target figures) of the workloads, and the table that compares a run's medians with
// them.
//
// Threads: one.
#pragma once

#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <nlohmann/json_fwd.hpp>

namespace bench {

// The unit of a figure. A speed meets a mark if it is not below it; other figures, if not above it.
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
  double must = 0;  // 0: no requirement
  double aim = 0;
  std::string anchor;  // the benchmark that the figure is compared with; may be empty
  // For Unit::Times: the figure is this benchmark's time divided by the time of `workload`.
  std::string doubled;
};

// All marks in the order of the table; the anchors are last.
std::vector<Mark> allMarks();

// Collects the results of each benchmark of a run, and prints each name when it is done.
class Collector : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;

  // The repetitions of a benchmark, in seconds per iteration; empty if it did not run.
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

// The table of the marks that were measured, as text on standard output and as JSON.
void printTable(const Collector& collector);
nlohmann::ordered_json tableAsJson(const Collector& collector);

}  // namespace bench
