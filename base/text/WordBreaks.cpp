// SPDX-License-Identifier: Apache-2.0
#include "base/text/WordBreaks.h"

#include <algorithm>
#include <cstdint>

#include <unicode/ubrk.h>
#include <unicode/utf16.h>

#include "base/text/CharacterProperties.h"

namespace base {

namespace {

// Returns true if the last character that is not punctuation is of such a script.
bool endsWithoutBlanks(std::u32string_view text) {
  while (!text.empty() && isPunctuation(text.back())) text.remove_suffix(1);
  return !text.empty() && isWrittenWithoutBlanks(text.back());
}

bool belongsToWordBefore(char32_t character) {
  return isPunctuation(character) && !opensPunctuation(character);
}

}  // namespace

void WordBreaks::Close::operator()(UBreakIterator* iterator) const {
  ubrk_close(iterator);
}

// Returns false if ICU fails.
bool WordBreaks::prepare(std::u32string_view token) {
  m_units.clear();
  m_character.clear();
  for (std::size_t at = 0; at < token.size(); ++at) {
    const auto code = static_cast<UChar32>(token[at]);
    if (U_IS_BMP(code)) {
      m_units += static_cast<char16_t>(code);
    } else {
      m_units += static_cast<char16_t>(U16_LEAD(code));
      m_units += static_cast<char16_t>(U16_TRAIL(code));
      m_character.push_back(at);
    }
    m_character.push_back(at);
  }
  m_character.push_back(token.size());
  UErrorCode status = U_ZERO_ERROR;
  if (m_iterator == nullptr) m_iterator.reset(ubrk_open(UBRK_WORD, "", nullptr, 0, &status));
  if (U_FAILURE(status) != 0 || m_iterator == nullptr) return false;
  ubrk_setText(m_iterator.get(), m_units.data(), static_cast<std::int32_t>(m_units.size()),
               &status);
  return U_FAILURE(status) == 0;
}

std::vector<std::size_t> WordBreaks::in(std::u32string_view token) {
  std::vector<std::size_t> cuts;
  if (std::ranges::none_of(token, isWrittenWithoutBlanks) || !prepare(token)) return cuts;
  for (std::int32_t unit = ubrk_first(m_iterator.get()); unit != UBRK_DONE;
       unit = ubrk_next(m_iterator.get())) {
    const std::size_t at = m_character[static_cast<std::size_t>(unit)];
    if (at == 0 || at >= token.size()) continue;
    if (belongsToWordBefore(token[at]) || opensPunctuation(token[at - 1])) continue;
    if (!isWrittenWithoutBlanks(token[at]) && !endsWithoutBlanks(token.substr(0, at))) continue;
    cuts.push_back(at);
  }
  return cuts;
}

}  // namespace base
