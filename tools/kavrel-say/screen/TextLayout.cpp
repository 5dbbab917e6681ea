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

// A character as it is shown.
struct Glyph {
  std::size_t length;      // bytes of the text
  std::size_t width;       // cells
  std::string_view shown;  // empty: as many blanks as it is wide
  char32_t code;           // U+FFFD for a byte that is no character
};

constexpr char32_t kNoCharacter = 0xFFFD;

bool isLineEnd(char32_t code) {
  return code == '\n' || code == '\r';
}

bool isBlank(char32_t code) {
  return code == ' ' || code == '\t';
}

// Embeddings, overrides and isolates: text behind them would stand elsewhere than it is.
bool changesDirection(char32_t code) {
  return (0x202A <= code && code <= 0x202E) || (0x2066 <= code && code <= 0x2069);
}

// The character at `at`, which comes to stand in cell `column` of `width`.
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

std::size_t behindLineEnd(std::string_view text, std::size_t at) {
  const bool isPair = text.substr(at, 2) == "\r\n";
  return at + (isPair ? 2 : 1);
}

std::size_t behindBlanks(std::string_view text, std::size_t at) {
  while (at < text.size() && isBlank(static_cast<unsigned char>(text[at]))) ++at;
  return at;
}

// A row that is full: it ends at `end`, and the blanks behind it belong to no row.
Row fullRow(std::string_view text, std::size_t begin, std::size_t end) {
  std::size_t next = behindBlanks(text, end);
  if (next < text.size() && isLineEnd(static_cast<unsigned char>(text[next]))) {
    next = behindLineEnd(text, next);
  }
  while (end > begin && isBlank(static_cast<unsigned char>(text[end - 1]))) --end;
  return {begin, end, next};
}

}  // namespace

Row rowAt(std::string_view text, std::size_t begin, std::size_t width) {
  std::size_t at = begin;
  std::size_t column = 0;
  std::size_t lastBreak = begin;  // where the row can end; `begin`: nowhere yet
  while (at < text.size()) {
    const auto byte = static_cast<unsigned char>(text[at]);
    if (isLineEnd(byte)) return {begin, at, behindLineEnd(text, at)};
    const Glyph glyph = glyphAt(text, at, column, width);
    const bool isWide = glyph.width == 2;
    if ((isBlank(glyph.code) || isWide) && at > begin) lastBreak = at;
    if (column + glyph.width > width && at > begin) {
      return fullRow(text, begin, lastBreak > begin ? lastBreak : at);
    }
    // An accent stays with its character.
    const bool canEndBehind = glyph.code == '-' || isBlank(glyph.code) || isWide ||
                              (glyph.width == 0 && lastBreak == at && at > begin);
    at += glyph.length;
    column += glyph.width;
    if (canEndBehind) lastBreak = at;
  }
  return {begin, at, at};
}

std::string shown(std::string_view text, const Row& row, std::size_t width, Stretch marked,
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
