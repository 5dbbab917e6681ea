// SPDX-License-Identifier: Apache-2.0
#include "Marks.h"

#include <algorithm>
#include <cstdio>
#include <optional>

#include <nlohmann/json.hpp>

#include "Workloads.h"
#include "workloads/HardTexts.h"

namespace bench {

namespace {

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

const char* nameOf(Unit unit) {
  switch (unit) {
    case Unit::MegabytesPerSecond:
      return "MB/s";
    case Unit::Milliseconds:
      return "ms";
    case Unit::Microseconds:
      return "us";
    case Unit::Nanoseconds:
      return "ns";
    case Unit::Megabytes:
      return "MB";
    default:
      return "x";
  }
}

double perSecond(Unit unit) {
  switch (unit) {
    case Unit::Milliseconds:
      return 1e3;
    case Unit::Microseconds:
      return 1e6;
    case Unit::Nanoseconds:
      return 1e9;
    default:
      return 1;
  }
}

bool beats(const Mark& mark, double figure, double limit) {
  const bool more = mark.unit == Unit::MegabytesPerSecond || mark.unit == Unit::SpeedUp;
  return more ? figure >= limit : figure <= limit;
}

// Seconds per iteration: the workload's own median if it has one; else wall-clock time for
// workloads that measure it; else processor time.
double secondsOf(const benchmark::BenchmarkReporter::Run& run) {
  const auto own = run.counters.find(kMedianSeconds);
  if (own != run.counters.end()) return own->second.value;
  const bool byClock = run.run_name.time_type == "manual_time";
  const double time = byClock ? run.real_accumulated_time : run.cpu_accumulated_time;
  return time / static_cast<double>(run.iterations);
}

std::string verdict(const Mark& mark, double figure) {
  if (mark.must == 0) return "";
  if (mark.aim != 0 && beats(mark, figure, mark.aim)) return "aim";
  return beats(mark, figure, mark.must) ? "must" : "MISSED";
}

// A row of the table: a mark that was measured.
struct Row {
  Mark mark;
  double median = 0;
  double least = 0;
  double most = 0;
  std::size_t runs = 0;
  double anchor = 0;  // 0: not measured
};

// Nothing if the mark's workload did not run, for example because of a filter.
std::optional<Row> rowOf(const Mark& mark, const Collector& collector) {
  const std::vector<double> figures = collector.figures(mark);
  if (figures.empty()) return std::nullopt;
  Row row;
  row.mark = mark;
  row.median = median(figures);
  row.least = *std::min_element(figures.begin(), figures.end());
  row.most = *std::max_element(figures.begin(), figures.end());
  row.runs = figures.size();
  const std::vector<double> anchors = collector.anchors(mark);
  if (!anchors.empty()) row.anchor = median(anchors);
  return row;
}

std::vector<Row> rowsOf(const Collector& collector) {
  std::vector<Row> rows;
  for (const Mark& mark : allMarks()) {
    if (const auto row = rowOf(mark, collector)) rows.push_back(*row);
  }
  return rows;
}

std::string formatFigure(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.*f", value < 10 ? 2 : value < 100 ? 1 : 0, value);
  return text;
}

std::string formatLimit(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return value == 0 ? "" : text;
}

std::vector<Mark> hardTextMarks() {
  std::vector<Mark> marks;
  for (const workloads::HardText& text : workloads::hardTexts()) {
    for (const std::string& name : {"P5/" + text.name, "P5/" + text.name + "-as-given"}) {
      marks.push_back({"P5", name + "/1MB", Unit::Milliseconds, 250, 50, "anchor/expat/1MB"});
      marks.push_back({"P5", name + "/doubled", Unit::Times, 2.6, 0, ""});
    }
  }
  return marks;
}

std::vector<Mark> speechMarks() {
  using enum Unit;
  std::vector<Mark> marks;
  for (const char* name : {"P12/stop-now", "P12/stop-now-in-file", "P12/stop-now-on-device"}) {
    marks.push_back({"P12", name, Milliseconds, 1, 0.3, "anchor/two-threads"});
  }
  for (const char* name : {"P13/speak-to-sound/56B", "P13/speak-to-sound-on-clock/56B"}) {
    marks.push_back({"P13", name, Milliseconds, 3, 1.5, "anchor/synthesiser/56B"});
  }
  marks.push_back({"P15", "P15/file/100kB", Milliseconds, 0, 0, ""});
  marks.push_back({"P15", "P15/file/100kB", Times, 0.7, 0.55, ""});
  marks.push_back({"P18", "P18/two-processors/25kB", Milliseconds, 0, 0, ""});
  marks.push_back({"P18", "P18/two-processors/25kB", SpeedUp, 1.6, 1.9, ""});
  marks.push_back({"P19", "P19/first-sound/56B", Milliseconds, 60, 30, ""});
  // The limits are the memory of the same client with espeak-ng in its own process.
  marks.push_back({"P21", "P21/client-memory", Megabytes, 12.6, 6.3, ""});
  marks.push_back({"P21", "P21/client-memory-in-file", Megabytes, 14.4, 7.2, ""});
  marks.push_back({"P21", "P21/client-own-memory", Megabytes, 3.9, 2, ""});
  marks.push_back({"P21", "P21/client-own-memory-in-file", Megabytes, 5.2, 2.6, ""});
  return marks;
}

}  // namespace

std::vector<Mark> allMarks() {
  using enum Unit;
  std::vector<Mark> marks = {
      {"P1", "P1/preparation/16MB", MegabytesPerSecond, 300, 1000, "anchor/iconv/16MB"},
      {"P1", "P1/preparation-with-positions/16MB", MegabytesPerSecond, 0, 0, "anchor/iconv/16MB"},
      {"P2", "P2/no-commands/16MB", MegabytesPerSecond, 1000, 5000, "anchor/memcpy/16MB"},
      {"P3", "P3/command-per-200/16MB", MegabytesPerSecond, 100, 400, "anchor/expat/16MB"},
      {"P3", "P3/command-per-200-with-positions/16MB", MegabytesPerSecond, 0, 0,
       "anchor/expat/16MB"},
      {"P4", "P4/command-per-40/1MB", MegabytesPerSecond, 30, 100, "anchor/expat/1MB"},
      {"P6", "P6/utterance/56B", Microseconds, 20, 5, "anchor/expat/56B"},
      {"P7", "P7/offset-ascending/1000", Nanoseconds, 100, 10, "anchor/walk-ascending/1000"},
      {"P7", "P7/offset-random/1000", Nanoseconds, 300, 60, "anchor/walk-random/1000"},
      {"P8", "P8/derived-lists/100000", Milliseconds, 100, 10, "anchor/sort/100000"},
      {"P9", "P9/speak-to-engine/56B", Microseconds, 60, 15, "anchor/expat/56B"},
      {"P10", "P10/end-to-done", Microseconds, 250, 100, "anchor/two-threads"},
      {"P11", "P11/open-close", Microseconds, 30, 10, ""},
      {"P14", "P14/load", Milliseconds, 10, 1, "anchor/load-libraries"},
      {"P16", "P16/peak/no-commands/16MB", Times, 8, 3, ""},
      {"P16", "P16/peak-with-copies/no-commands/16MB", Times, 0, 0, ""},
      {"P16", "P16/peak/command-per-200/16MB", Times, 8, 3, ""},
      {"P16", "P16/peak-with-copies/command-per-200/16MB", Times, 0, 0, ""},
      {"P16", "P16/peak/command-per-40/1MB", Times, 8, 3, ""},
      {"P16", "P16/peak-with-copies/command-per-40/1MB", Times, 0, 0, ""},
      {"P17", "P17/word-event", Microseconds, 1, 0.2, ""},
  };
  for (Mark& mark : speechMarks()) marks.push_back(std::move(mark));
  for (Mark& mark : hardTextMarks()) marks.push_back(std::move(mark));
  for (const char* name : {"anchor/memcpy/16MB", "anchor/memchr/16MB", "anchor/iconv/16MB",
                           "anchor/expat/16MB", "anchor/expat/1MB"}) {
    marks.push_back({"", name, MegabytesPerSecond, 0, 0, ""});
  }
  marks.push_back({"", "anchor/expat/56B", Microseconds, 0, 0, ""});
  marks.push_back({"", "anchor/walk-ascending/1000", Nanoseconds, 0, 0, ""});
  marks.push_back({"", "anchor/walk-random/1000", Nanoseconds, 0, 0, ""});
  marks.push_back({"", "anchor/sort/100000", Milliseconds, 0, 0, ""});
  marks.push_back({"", "anchor/two-threads", Microseconds, 0, 0, ""});
  marks.push_back({"", "anchor/load-libraries", Milliseconds, 0, 0, ""});
  marks.push_back({"", "anchor/synthesiser/56B", Milliseconds, 0, 0, ""});
  return marks;
}

bool Collector::ReportContext(const Context& context) {
  PrintBasicContext(&GetErrorStream(), context);
  return true;
}

// Keeps the repetitions only; the table computes its own median instead of the aggregates.
void Collector::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    if (run.run_type != Run::RT_Iteration) continue;
    const std::string name = run.run_name.function_name;
    if (run.error_occurred) {
      const bool here = run.error_message.starts_with(kNotMeasured);
      (here ? m_notMeasured : m_failures).push_back(name + ": " + run.error_message);
      continue;
    }
    Measured& measured = m_measured[name];
    measured.seconds.push_back(secondsOf(run));
    for (const auto& [counter, value] : run.counters) {
      measured.counters[counter].push_back(value.value);
    }
    if (measured.seconds.size() == 1) GetErrorStream() << name << std::endl;
  }
}

std::vector<double> Collector::counter(const Measured& measured, const char* name) {
  const auto values = measured.counters.find(name);
  return values == measured.counters.end() ? std::vector<double>() : values->second;
}

std::vector<double> Collector::figures(const Mark& mark) const {
  const auto found = m_measured.find(mark.workload);
  if (found == m_measured.end()) return {};
  const Measured& measured = found->second;
  std::vector<double> figures;
  switch (mark.unit) {
    case Unit::Times:
      return counter(measured, kRatio);
    case Unit::SpeedUp:
      return counter(measured, kSpeedUp);
    case Unit::Megabytes:
      for (const double bytes : counter(measured, kBytes)) figures.push_back(bytes / 1e6);
      return figures;
    case Unit::MegabytesPerSecond:
      for (const double bytes : counter(measured, "bytes_per_second")) {
        figures.push_back(bytes / 1e6);
      }
      return figures;
    default:
      break;
  }
  // For a batch of queries, the time of one query.
  const std::vector<double> batch = counter(measured, "items_per_second");
  for (const double items : batch) figures.push_back(perSecond(mark.unit) / items);
  if (!batch.empty()) return figures;
  for (const double time : measured.seconds) figures.push_back(time * perSecond(mark.unit));
  return figures;
}

std::vector<double> Collector::anchors(const Mark& mark) const {
  if (!mark.anchor.empty()) {
    Mark beside = mark;
    beside.workload = mark.anchor;
    return figures(beside);
  }
  const auto found = m_measured.find(mark.workload);
  const bool isRatio = mark.unit == Unit::Times || mark.unit == Unit::SpeedUp;
  if (found == m_measured.end() || isRatio) return {};
  const bool isMemory = mark.unit == Unit::Megabytes;
  std::vector<double> anchors = counter(found->second, isMemory ? kAnchorBytes : kAnchorSeconds);
  for (double& anchor : anchors) anchor *= isMemory ? 1e-6 : perSecond(mark.unit);
  return anchors;
}

void printTable(const Collector& collector) {
  std::printf("%-4s %-52s %9s %-19s %-5s %6s %6s %-6s %9s %6s\n", "mark", "workload", "median",
              "least - most", "unit", "must", "aim", "met", "anchor", "ratio");
  for (const Row& row : rowsOf(collector)) {
    const Mark& mark = row.mark;
    std::printf("%-4s %-52s %9s %-19s %-5s %6s %6s %-6s %9s %6s\n", mark.name.c_str(),
                mark.workload.c_str(), formatFigure(row.median).c_str(),
                (formatFigure(row.least) + " - " + formatFigure(row.most)).c_str(),
                nameOf(mark.unit), formatLimit(mark.must).c_str(), formatLimit(mark.aim).c_str(),
                verdict(mark, row.median).c_str(),
                row.anchor == 0 ? "" : formatFigure(row.anchor).c_str(),
                row.anchor == 0 ? "" : formatFigure(row.median / row.anchor).c_str());
  }
}

nlohmann::ordered_json tableAsJson(const Collector& collector) {
  nlohmann::ordered_json table = nlohmann::ordered_json::array();
  for (const Row& row : rowsOf(collector)) {
    const Mark& mark = row.mark;
    nlohmann::ordered_json entry = {{"mark", mark.name},         {"workload", mark.workload},
                                    {"unit", nameOf(mark.unit)}, {"median", row.median},
                                    {"least", row.least},        {"most", row.most},
                                    {"runs", row.runs}};
    if (mark.must != 0) {
      entry["must"] = mark.must;
      if (mark.aim != 0) entry["aim"] = mark.aim;
      entry["met"] = verdict(mark, row.median);
    }
    if (row.anchor != 0) {
      entry["anchor"] = {{"workload", mark.anchor.empty() ? mark.workload : mark.anchor},
                         {"median", row.anchor},
                         {"ratio", row.median / row.anchor}};
    }
    table.push_back(std::move(entry));
  }
  return table;
}

}  // namespace bench
