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

// The unit of a figure. A speed and a speed-up meet a mark if they are not below it; other figures,
// if not above it.
enum class Unit {
  MegabytesPerSecond,
  Milliseconds,
  Microseconds,
  Nanoseconds,
  Megabytes,  // a million bytes
  Times,      // a plain ratio
  SpeedUp     // a ratio of times, longer to shorter
};

struct Mark {
  std::string name;      // "P1"
  std::string workload;  // the benchmark's name
  Unit unit = Unit::MegabytesPerSecond;
  double must = 0;  // 0: no requirement
  double aim = 0;
  // The benchmark that the figure is compared with. Empty: what the workload has measured beside
  // it, if anything.
  std::string anchor;
};

// All marks in the order of the table; the anchors are last.
std::vector<Mark> allMarks();

// Collects the results of each benchmark of a run, and prints each name when it is done.
class Collector : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;

  // The repetitions of the mark's workload, and of its anchor, in the mark's unit; empty if it did
  // not run.
  std::vector<double> figures(const Mark& mark) const;
  std::vector<double> anchors(const Mark& mark) const;
  const std::vector<std::string>& failures() const { return m_failures; }
  // The workloads that this machine cannot run.
  const std::vector<std::string>& notMeasured() const { return m_notMeasured; }

 private:
  struct Measured {
    std::vector<double> seconds;
    std::map<std::string, std::vector<double>> counters;
  };

  // The repetitions of a counter; empty if the workload does not report it.
  static std::vector<double> counter(const Measured& measured, const char* name);

  std::map<std::string, Measured> m_measured;
  std::vector<std::string> m_failures;
  std::vector<std::string> m_notMeasured;
};

// The table of the marks that were measured, as text on standard output and as JSON.
void printTable(const Collector& collector);
nlohmann::ordered_json tableAsJson(const Collector& collector);

}  // namespace bench
