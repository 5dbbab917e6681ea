// SPDX-License-Identifier: Apache-2.0
//
// Most clusters are one character before another one without special properties, and need no
// iterator of ICU.
#include "base/text/Clusters.h"

#include <algorithm>
#include <cstdint>
#include <memory>

#include <unicode/ubrk.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>

#include "base/text/CharacterProperties.h"
#include "base/text/Utf8.h"

namespace base {
namespace {

UChar32 asIcu(char32_t character) {
  return static_cast<UChar32>(character);
}

bool isPlain(char32_t character) {
  return u_getIntPropertyValue(asIcu(character), UCHAR_GRAPHEME_CLUSTER_BREAK) == U_GCB_OTHER;
}

bool isRegionalIndicator(char32_t character) {
  return character >= 0x1F1E6 && character <= 0x1F1FF;
}

struct Close {
  void operator()(UBreakIterator* iterator) const { ubrk_close(iterator); }
  void operator()(UText* text) const { utext_close(text); }
};

// Returns the first boundary after the start; the first character if ICU fails.
std::size_t boundaryByIcu(std::string_view text) {
  // Each thread creates one, when it first needs it.
  static thread_local std::unique_ptr<UBreakIterator, Close> iterator;
  UErrorCode status = U_ZERO_ERROR;
  if (iterator == nullptr) iterator.reset(ubrk_open(UBRK_CHARACTER, "", nullptr, 0, &status));
  const std::unique_ptr<UText, Close> source(
      utext_openUTF8(nullptr, text.data(), static_cast<std::int64_t>(text.size()), &status));
  if (iterator != nullptr) ubrk_setUText(iterator.get(), source.get(), &status);
  if (U_FAILURE(status) != 0 || iterator == nullptr) return firstCharacterLength(text);
  ubrk_first(iterator.get());
  const std::int32_t end = ubrk_next(iterator.get());
  return end > 0 ? static_cast<std::size_t>(end) : text.size();
}

// The part of the text that is searched, cut between two characters.
std::string_view windowOf(std::string_view text) {
  constexpr std::size_t kLongest = 1000;
  if (text.size() <= kLongest) return text;
  std::size_t end = kLongest;
  while (end > 1 && isContinuation(text[end])) --end;
  return text.substr(0, end);
}

std::size_t cellsOfCharacter(char32_t character) {
  const int kind = u_charType(asIcu(character));
  // Terminals show a soft hyphen.
  if (character == 0xAD) return 1;
  if (kind == U_NON_SPACING_MARK || kind == U_ENCLOSING_MARK || kind == U_FORMAT_CHAR) return 0;
  if (isInvisible(character)) return 0;
  // The second and third part of a syllable are drawn into the first.
  const int syllable = u_getIntPropertyValue(asIcu(character), UCHAR_HANGUL_SYLLABLE_TYPE);
  if (syllable == U_HST_VOWEL_JAMO || syllable == U_HST_TRAILING_JAMO) return 0;
  return isWide(character) ? 2 : 1;
}

}  // namespace

std::size_t firstClusterLength(std::string_view text) {
  const Utf8Character first = firstCharacter(text);
  if (first.length == 0) return 1;
  if (first.length == text.size()) return first.length;
  const Utf8Character next = firstCharacter(text.substr(first.length));
  if (next.length == 0) return first.length;
  const bool areAscii = first.code < 0x80 && next.code < 0x80 && first.code != '\r';
  if (areAscii || (isPlain(first.code) && isPlain(next.code))) return first.length;
  return boundaryByIcu(windowOf(text));
}

std::size_t cellsOfCluster(std::string_view cluster) {
  constexpr std::size_t kEmoji = 2;
  constexpr char32_t kEmojiStyle = 0xFE0F;
  std::size_t cells = 0;
  std::size_t flags = 0;
  bool isEmoji = false;
  for (std::string_view rest = cluster; !rest.empty();) {
    const Utf8Character character = firstCharacter(rest);
    const std::size_t length = std::max<std::size_t>(character.length, 1);
    if (character.length == 0 || isUnprintable(character.code)) {
      ++cells;
    } else {
      cells += cellsOfCharacter(character.code);
      const bool isPicture =
          u_hasBinaryProperty(asIcu(character.code), UCHAR_EXTENDED_PICTOGRAPHIC) != 0;
      if (isRegionalIndicator(character.code)) ++flags;
      isEmoji = isEmoji || character.code == kEmojiStyle || (isPicture && isWide(character.code));
    }
    rest.remove_prefix(length);
  }
  // One picture, of however many characters it is made.
  return isEmoji || flags > 1 ? kEmoji : cells;
}

std::size_t cellsOf(std::string_view text) {
  std::size_t cells = 0;
  while (!text.empty()) {
    const std::size_t length = firstClusterLength(text);
    cells += cellsOfCluster(text.substr(0, length));
    text.remove_prefix(length);
  }
  return cells;
}

bool mayBeginLine(char32_t character) {
  switch (u_getIntPropertyValue(asIcu(character), UCHAR_LINE_BREAK)) {
    case U_LB_CLOSE_PUNCTUATION:
    case U_LB_CLOSE_PARENTHESIS:
    case U_LB_EXCLAMATION:
    case U_LB_INFIX_NUMERIC:
    case U_LB_NONSTARTER:
    case U_LB_BREAK_SYMBOLS:
      return false;
    default:
      return true;
  }
}

bool mayEndLine(char32_t character) {
  return u_getIntPropertyValue(asIcu(character), UCHAR_LINE_BREAK) != U_LB_OPEN_PUNCTUATION;
}

bool isUnprintable(char32_t character) {
  switch (u_charType(asIcu(character))) {
    case U_CONTROL_CHAR:
    case U_LINE_SEPARATOR:
    case U_PARAGRAPH_SEPARATOR:
    case U_SURROGATE:
    case U_UNASSIGNED:
      return true;
    default:
      return false;
  }
}

}  // namespace base
