// SPDX-License-Identifier: Apache-2.0
#include "text/segments.h"

#include <algorithm>
#include <cstdint>

#include <unicode/ubrk.h>
#include <unicode/uchar.h>
#include <unicode/utf16.h>

namespace kavrel {

namespace {

constexpr char32_t kFirstWithoutBlanks = 0x0E00;  // Thai

// The scripts whose lines may break between any two words or characters.
bool isWrittenWithoutBlanks(char32_t character) {
  if (character < kFirstWithoutBlanks) return false;
  const auto code = static_cast<UChar32>(character);
  if (u_hasBinaryProperty(code, UCHAR_IDEOGRAPHIC) != 0) return true;
  if (u_isalpha(code) == 0 && u_charType(code) != U_NON_SPACING_MARK &&
      u_charType(code) != U_COMBINING_SPACING_MARK) {
    return false;
  }
  const int breaking = u_getIntPropertyValue(code, UCHAR_LINE_BREAK);
  if (breaking == U_LB_COMPLEX_CONTEXT) return true;
  const bool isKana = (character >= 0x3040 && character <= 0x30FF) ||
                      (character >= 0x31F0 && character <= 0x31FF) ||
                      (character >= 0xFF66 && character <= 0xFF9F);
  return isKana;
}

bool isOpening(char32_t character) {
  const int kind = u_charType(static_cast<UChar32>(character));
  return kind == U_START_PUNCTUATION || kind == U_INITIAL_PUNCTUATION;
}

bool belongsToWordBefore(char32_t character) {
  return u_ispunct(static_cast<UChar32>(character)) != 0 && !isOpening(character);
}

// Returns true if the last character that is not punctuation is of such a script.
bool endsWithoutBlanks(std::span<const Letter> letters) {
  while (!letters.empty() && u_ispunct(static_cast<UChar32>(letters.back().character)) != 0) {
    letters = letters.first(letters.size() - 1);
  }
  return !letters.empty() && isWrittenWithoutBlanks(letters.back().character);
}

}  // namespace

void Segmenter::Close::operator()(UBreakIterator* iterator) const {
  ubrk_close(iterator);
}

// Returns false if ICU fails.
bool Segmenter::prepare(std::span<const Letter> token) {
  m_units.clear();
  m_letter.clear();
  for (std::size_t at = 0; at < token.size(); ++at) {
    const auto code = static_cast<UChar32>(token[at].character);
    if (U_IS_BMP(code)) {
      m_units += static_cast<char16_t>(code);
    } else {
      m_units += static_cast<char16_t>(U16_LEAD(code));
      m_units += static_cast<char16_t>(U16_TRAIL(code));
      m_letter.push_back(at);
    }
    m_letter.push_back(at);
  }
  m_letter.push_back(token.size());
  UErrorCode status = U_ZERO_ERROR;
  if (m_iterator == nullptr) m_iterator.reset(ubrk_open(UBRK_WORD, "", nullptr, 0, &status));
  if (U_FAILURE(status) != 0 || m_iterator == nullptr) return false;
  ubrk_setText(m_iterator.get(), m_units.data(), static_cast<std::int32_t>(m_units.size()),
               &status);
  return U_FAILURE(status) == 0;
}

std::vector<std::size_t> Segmenter::cuts(std::span<const Letter> token) {
  std::vector<std::size_t> cuts;
  if (std::ranges::none_of(token, isWrittenWithoutBlanks, &Letter::character)) return cuts;
  if (!prepare(token)) return cuts;
  for (std::int32_t unit = ubrk_first(m_iterator.get()); unit != UBRK_DONE;
       unit = ubrk_next(m_iterator.get())) {
    const std::size_t at = m_letter[static_cast<std::size_t>(unit)];
    if (at == 0 || at >= token.size()) continue;
    if (belongsToWordBefore(token[at].character) || isOpening(token[at - 1].character)) continue;
    if (!isWrittenWithoutBlanks(token[at].character) && !endsWithoutBlanks(token.first(at)))
      continue;
    cuts.push_back(at);
  }
  return cuts;
}

}  // namespace kavrel
