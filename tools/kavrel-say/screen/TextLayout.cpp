// SPDX-License-Identifier: Apache-2.0
#include "screen/TextLayout.h"

#include <algorithm>

#include <wchar.h>

#include "base/text/Utf8.h"

namespace say {
namespace {

constexpr std::string_view kReplacement = "\uFFFD";
constexpr std::string_view kTooWide = "?";
constexpr std::size_t kTabStops = 8;

// A character and how it is displayed.
struct Glyph {
  std::size_t length;      // bytes of the text
  std::size_t width;       // cells
  std::string_view shown;  // empty: `width` blanks
  char32_t code;           // U+FFFD for a byte that is not UTF-8
};

constexpr char32_t kNoCharacter = 0xFFFD;

bool isLineEnd(char32_t code) {
  return code == '\n' || code == '\r';
}

bool isBlank(char32_t code) {
  return code == ' ' || code == '\t';
}

// Embeddings, overrides and isolates: the text after them would be displayed at another position.
bool changesDirection(char32_t code) {
  return (0x202A <= code && code <= 0x202E) || (0x2066 <= code && code <= 0x2069);
}

// Returns the character at `at`, for display in cell `column` of `width`. A character wider than
// the screen is replaced by "?", so that no row is wider than the screen.
Glyph glyphAt(std::string_view text, std::size_t at, std::size_t column, std::size_t width) {
  const std::string_view rest = text.substr(at);
  const base::Utf8Character character = base::firstCharacter(rest);
  if (character.length == 0) return {1, 1, kReplacement, kNoCharacter};
  if (character.code == '\t') return {1, kTabStops - column % kTabStops, {}, '\t'};
  const int cells = ::wcwidth(static_cast<wchar_t>(character.code));
  if (cells < 0 || character.code == 0 || changesDirection(character.code)) {
    return {character.length, 1, kReplacement, character.code};
  }
  const auto taken = static_cast<std::size_t>(cells);
  if (taken > width) return {character.length, 1, kTooWide, character.code};
  return {character.length, taken, rest.substr(0, character.length), character.code};
}

// The position after a line end: CR LF counts as one.
std::size_t afterLineEnd(std::string_view text, std::size_t at) {
  const bool isPair = text.substr(at, 2) == "\r\n";
  return at + (isPair ? 2 : 1);
}

std::size_t afterBlanks(std::string_view text, std::size_t at) {
  while (at < text.size() && isBlank(static_cast<unsigned char>(text[at]))) ++at;
  return at;
}

// Returns a full row that ends at `end`. Blanks after it, and a line end after these, belong to no
// row: otherwise the next row would start with blanks or be empty.
Row fullRow(std::string_view text, std::size_t begin, std::size_t end) {
  std::size_t next = afterBlanks(text, end);
  if (next < text.size() && isLineEnd(static_cast<unsigned char>(text[next]))) {
    next = afterLineEnd(text, next);
  }
  while (end > begin && isBlank(static_cast<unsigned char>(text[end - 1]))) --end;
  return {begin, end, next};
}

}  // namespace

// Greedy line breaking: remembers the last position at which the row may end.
Row rowAt(std::string_view text, std::size_t begin, std::size_t width) {
  std::size_t at = begin;
  std::size_t column = 0;
  std::size_t lastBreak = begin;  // last possible end of the row; `begin`: none yet
  while (at < text.size()) {
    const auto byte = static_cast<unsigned char>(text[at]);
    if (isLineEnd(byte)) return {begin, at, afterLineEnd(text, at)};
    const Glyph glyph = glyphAt(text, at, column, width);
    const bool isWide = glyph.width == 2;
    if ((isBlank(glyph.code) || isWide) && at > begin) lastBreak = at;
    if (column + glyph.width > width && at > begin) {
      return fullRow(text, begin, lastBreak > begin ? lastBreak : at);
    }
    // A combining accent (width 0) stays with its character: it moves the possible end after
    // itself.
    const bool canEndAfter = glyph.code == '-' || isBlank(glyph.code) || isWide ||
                             (glyph.width == 0 && lastBreak == at && at > begin);
    at += glyph.length;
    column += glyph.width;
    if (canEndAfter) lastBreak = at;
  }
  return {begin, at, at};
}

// Turns the highlight off at the end of the row, so that it never extends to the rest of the line.
std::string renderRow(std::string_view text, const Row& row, std::size_t width, TextRange marked,
                      std::string_view on, std::string_view off) {
  std::string result;
  bool isOn = false;
  const auto turn = [&](bool wanted) {
    if (wanted != isOn) result += wanted ? on : off;
    isOn = wanted;
  };
  std::size_t column = 0;
  for (std::size_t at = row.begin; at < row.end;) {
    const Glyph glyph = glyphAt(text, at, column, width);
    turn(marked.begin <= at && at < marked.end);
    if (glyph.shown.empty()) {
      result.append(std::min(glyph.width, width - std::min(column, width)), ' ');
    } else {
      result += glyph.shown;
    }
    column += glyph.width;
    at += glyph.length;
  }
  turn(false);
  return result;
}

}  // namespace say
