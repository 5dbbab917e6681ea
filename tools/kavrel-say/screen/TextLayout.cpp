// SPDX-License-Identifier: Apache-2.0
#include "screen/TextLayout.h"

#include <algorithm>

#include "base/text/CharacterProperties.h"
#include "base/text/Clusters.h"
#include "base/text/Utf8.h"

namespace say {
namespace {

constexpr std::string_view kReplacement = "\uFFFD";
constexpr std::string_view kTooWide = "?";
constexpr std::size_t kTabStops = 8;

// A cluster and how it is displayed.
struct Glyph {
  std::size_t length;      // bytes of the text
  std::size_t width;       // cells
  std::string_view shown;  // empty: `width` blanks
  char32_t code;           // its first character; U+FFFD for a byte that is not UTF-8
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

// Returns the cluster at `at`, for display in cell `column` of `width`. A cluster wider than the
// screen is replaced by "?", so that no row is wider than the screen.
Glyph glyphAt(std::string_view text, std::size_t at, std::size_t column, std::size_t width) {
  const std::string_view rest = text.substr(at);
  const base::Utf8Character character = base::firstCharacter(rest);
  if (character.length == 0) return {1, 1, kReplacement, kNoCharacter};
  if (character.code == '\t') return {1, kTabStops - column % kTabStops, {}, '\t'};
  if (base::isUnprintable(character.code) || changesDirection(character.code)) {
    return {character.length, 1, kReplacement, character.code};
  }
  const std::string_view cluster = rest.substr(0, base::firstClusterLength(rest));
  const std::size_t cells = base::cellsOfCluster(cluster);
  if (cells > width) return {cluster.size(), 1, kTooWide, character.code};
  return {cluster.size(), cells, cluster, character.code};
}

// Whether a row may end between two clusters that no blank separates: after a hyphen, and at wide
// characters, which are written without blanks, except before closing punctuation and after opening
// punctuation.
bool mayBreakBetween(const Glyph& before, const Glyph& after) {
  if (before.code == '-') return true;
  const bool isWide = base::isWide(before.code) || base::isWide(after.code);
  return isWide && base::mayEndLine(before.code) && base::mayBeginLine(after.code);
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
  Glyph before{};
  while (at < text.size()) {
    const auto byte = static_cast<unsigned char>(text[at]);
    if (isLineEnd(byte)) return {begin, at, afterLineEnd(text, at)};
    const Glyph glyph = glyphAt(text, at, column, width);
    if (at > begin &&
        (isBlank(glyph.code) || isBlank(before.code) || mayBreakBetween(before, glyph))) {
      lastBreak = at;
    }
    if (column + glyph.width > width && at > begin) {
      return fullRow(text, begin, lastBreak > begin ? lastBreak : at);
    }
    at += glyph.length;
    column += glyph.width;
    // A mark without a letter stays with what is before it.
    if (glyph.width > 0) before = glyph;
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
    // All of a cluster is marked, even if the word begins or ends inside it.
    turn(marked.begin < at + glyph.length && at < marked.end);
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
