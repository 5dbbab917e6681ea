// SPDX-License-Identifier: Apache-2.0
#include "explanation/Adaptations.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace ssml {
namespace {

using platform::AdaptedText;
using platform::TextProblem;
using platform::TextReplacement;

// Follows the sync marks of replacements, to find their values.
class SyncMarks {
 public:
  explicit SyncMarks(const std::vector<std::uint32_t>& values) : m_values(values) {}

  // Returns a note about the first mark in `adapted`; empty if there is none.
  std::string noteFor(std::string_view adapted) {
    constexpr std::string_view kMark = "[[sync ";
    const std::size_t start = adapted.find(kMark);
    if (start == std::string_view::npos) return {};
    std::uint32_t number = 0;
    std::from_chars(adapted.data() + start + kMark.size(), adapted.data() + adapted.size(), number);
    while (m_next < m_values.size() && platform::syncNumber(m_next) != number) ++m_next;
    if (m_next == m_values.size()) return {};
    std::array<char, 48> note{};
    std::snprintf(note.data(), note.size(), "the callback gets %u (0x%X)", m_values[m_next],
                  m_values[m_next]);
    ++m_next;
    return note.data();
  }

 private:
  const std::vector<std::uint32_t>& m_values;
  std::size_t m_next = 0;
};

// True if the problem is about the replaced text. Where only a blank is added, the problem is the
// bracket before it.
bool concerns(const TextProblem& problem, const TextReplacement& part) {
  const std::size_t end = part.position + std::max<std::size_t>(part.length, 1);
  return problem.position + 1 >= part.position && problem.position < end;
}

}  // namespace

platform::TextSettings adaptationFor(const ConversionOptions& options) {
  platform::TextSettings settings;
  if (!options.settings) return settings;
  settings.startsInPhonemes = options.settings->speakPhones;
  settings.pitchBase = static_cast<double>(options.settings->pitchBase);
  settings.pitchRange = static_cast<double>(options.settings->pitchRange);
  return settings;
}

std::vector<Adaptation> findAdaptations(const SourceText& text,
                                        const platform::TextSettings& settings) {
  const std::string& given = text.encoded().text();
  platform::TextSettings ofCharset = settings;
  ofCharset.charset = text.charset();
  const AdaptedText adapted = platform::adaptText(given, ofCharset);
  std::vector<Adaptation> adaptations;
  SourceLocation known = text.locationOf(0);
  const auto add = [&](std::size_t position, std::size_t length, std::string_view becomes,
                       std::string note) {
    const std::size_t start = text.encoded().originOf(position);
    const std::size_t end = text.encoded().originOf(position + length);
    known = text.locationAfter(known, start);
    adaptations.push_back(
        {known, end - start, text.displayText(start, end), std::string(becomes), std::move(note)});
  };
  SyncMarks marks(adapted.syncValues);
  auto problem = adapted.problems.begin();
  const auto addProblemsBefore = [&](std::size_t position) {
    for (; problem != adapted.problems.end() && problem->position < position; ++problem) {
      add(problem->position, 0, "", platform::describe(problem->cause));
    }
  };
  for (const TextReplacement& part : platform::replacementsOf(given, adapted)) {
    if (part.position > 0) addProblemsBefore(part.position - 1);
    std::string note;
    const char* last = nullptr;
    for (; problem != adapted.problems.end() && concerns(*problem, part); ++problem) {
      const char* const reported = platform::describe(problem->cause);
      if (reported != last) note += (note.empty() ? "" : "; ") + std::string(reported);
      last = reported;
    }
    if (note.empty()) note = marks.noteFor(part.text);
    add(part.position, part.length, part.text, std::move(note));
  }
  addProblemsBefore(given.size() + 1);
  return adaptations;
}

}  // namespace ssml
