// SPDX-License-Identifier: Apache-2.0
//
// CommandTable: writes explained commands and adaptations as tables (tableOf() of Explanation.h and
// Adaptations.h).
#include <algorithm>
#include <array>
#include <string_view>

#include "base/text/Clusters.h"
#include "explanation/Adaptations.h"
#include "explanation/Explanation.h"

namespace ssml {
namespace {

constexpr std::size_t kColumns = 5;
using Row = std::array<std::string, kColumns>;

// Longest cells of the table, in clusters.
constexpr std::size_t kLongestCommand = 40;
constexpr std::size_t kLongestResult = 200;

// Returns the text on one line, cut after `limit` clusters.
std::string oneLine(std::string_view text, std::size_t limit) {
  std::string line;
  for (std::size_t count = 0; !text.empty(); ++count) {
    if (count == limit) return line + "...";
    const std::size_t length = base::firstClusterLength(text);
    const bool control = static_cast<unsigned char>(text.front()) < ' ' || text.front() == '\x7F';
    line += control ? " " : text.substr(0, length);
    text.remove_prefix(length);
  }
  return line;
}

// Columns are as wide as their longest cell on a terminal.
std::string alignedTable(const std::vector<Row>& rows) {
  std::array<std::size_t, kColumns> widths{};
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < kColumns; ++i)
      widths[i] = std::max(widths[i], base::cellsOf(row[i]));
  }
  std::string table;
  for (const Row& row : rows) {
    std::string line;
    for (std::size_t i = 0; i + 1 < kColumns; ++i) {
      line += row[i] + std::string(widths[i] + 2 - base::cellsOf(row[i]), ' ');
    }
    line += row.back();
    // An empty last cell leaves no blanks at the end.
    line.erase(line.find_last_not_of(' ') + 1);
    table += line + "\n";
  }
  return table;
}

std::string cellOf(const SourceLocation& location) {
  return std::to_string(location.line) + ":" + std::to_string(location.column);
}

}  // namespace

std::string tableOf(const std::vector<ExplainedCommand>& commands) {
  std::vector<Row> rows = {{"BYTE", "LINE", "COMMAND", "KIND", "RESULT"}};
  for (const ExplainedCommand& command : commands) {
    rows.push_back({std::to_string(command.location.position), cellOf(command.location),
                    oneLine(command.text, kLongestCommand), command.kind,
                    oneLine(command.result, kLongestResult)});
  }
  return alignedTable(rows);
}

std::string tableOf(const std::vector<Adaptation>& adaptations) {
  std::vector<Row> rows = {{"BYTE", "LINE", "TEXT", "ADAPTED", "NOTE"}};
  for (const Adaptation& part : adaptations) {
    rows.push_back({std::to_string(part.location.position), cellOf(part.location),
                    oneLine(part.text, kLongestCommand), oneLine(part.becomes, kLongestCommand),
                    oneLine(part.note, kLongestResult)});
  }
  return alignedTable(rows);
}

}  // namespace ssml
