// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/texts/PhonemeText.h"

#include <algorithm>
#include <array>

#include "SpeechSynthesis/calls/PhonemeSymbols.h"

namespace platform {
namespace {

using Position = base::OriginText::Position;

constexpr std::string_view kPauses = "%@";
constexpr std::string_view kPunctuation = ".,?!;:";
// Stress, syllables and melody: symbols without a sound of their own.
constexpr std::string_view kMarks = "=12~_+/\\";
// They are valid marks too. They change nothing, and a synthesizer that escapes them for its markup
// refuses the text.
constexpr std::string_view kUnusableMarks = "<>";
constexpr std::string_view kBlanks = " \t\r\n";

bool contains(std::string_view set, char c) {
  return set.find(c) != std::string_view::npos;
}

// What a symbol that begins with a byte can be.
struct FirstByte {
  bool isSymbol = false;      // the byte alone is one
  bool beginsLonger = false;  // it begins symbols of two bytes
};

constexpr std::array<FirstByte, 256> kFirstBytes = [] {
  std::array<FirstByte, 256> table{};
  const auto at = [&](char c) -> FirstByte& { return table[static_cast<unsigned char>(c)]; };
  for (const char mark : kMarks) at(mark).isSymbol = true;
  for (const PhonemeSymbol& row : kPhonemeSymbols) {
    (row.symbol.size() == 1 ? at(row.symbol[0]).isSymbol : at(row.symbol[0]).beginsLonger) = true;
  }
  return table;
}();

// Returns the length of the symbol that the text begins with; 0 if it is unknown.
std::size_t lengthOfSymbol(std::string_view text) {
  const FirstByte first = kFirstBytes[static_cast<unsigned char>(text[0])];
  if (first.isSymbol) return 1;
  if (!first.beginsLonger) return 0;
  const auto begins = [&](const PhonemeSymbol& row) { return text.starts_with(row.symbol); };
  return std::ranges::any_of(kPhonemeSymbols, begins) ? 2 : 0;
}

// True if the next thing that is heard in the text is a pause.
bool pauseFollows(std::string_view text) {
  const std::size_t next = text.find_first_not_of(kBlanks);
  return next != std::string_view::npos &&
         (contains(kPauses, text[next]) || contains(kPunctuation, text[next]));
}

}  // namespace

bool hasPhonemes(std::string_view text) {
  return text.find_first_not_of(" \t\r\n\v\f") != std::string_view::npos;
}

void adaptPhonemes(std::string_view text, std::size_t start, std::size_t end,
                   base::OriginText& adapted, std::vector<std::size_t>& unknown) {
  bool inUnknownRun = false;
  for (std::size_t at = start; at < end;) {
    const char c = text[at];
    const auto origin = static_cast<Position>(at);
    const std::string_view rest = text.substr(at, end - at);
    const std::size_t length = lengthOfSymbol(rest);
    const bool isUnknownRun = inUnknownRun;
    inUnknownRun = false;
    if (length > 0) {
      adapted.appendCopy(rest.substr(0, length), origin);
    } else if (contains(kBlanks, c)) {
      adapted.appendCopy(rest.substr(0, 1), origin);
    } else if (c == '\v' || c == '\f') {
      adapted.appendCopy(" ", origin);
    } else if (contains(kPunctuation, c)) {
      if (!pauseFollows(rest.substr(1))) adapted.appendCopy("%", origin);
    } else if (!contains(kUnusableMarks, c)) {
      if (!isUnknownRun) unknown.push_back(at);
      inUnknownRun = true;
    }
    at += std::max<std::size_t>(length, 1);
  }
}

}  // namespace platform
