// SPDX-License-Identifier: Apache-2.0
#include "base/text/MacRomanEncoder.h"

#include <algorithm>
#include <utility>

#include "base/text/PlainForms.h"

namespace base {
namespace {

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

}  // namespace

// A letter is kept until the next character shows that no more accents follow.
void MacRomanEncoder::add(char32_t character, Position origin) {
  if (m_letter && character >= 0x80 && isCombiningMark(character)) {
    *m_letter = withAccent(*m_letter, character);
    return;
  }
  flush();
  m_letter = character;
  m_origin = origin;
}

void MacRomanEncoder::addAscii(std::string_view ascii, Position first) {
  if (ascii.empty()) return;
  flush();
  // The last character is kept, since an accent may follow it.
  const std::size_t copied = ascii.size() - 1;
  if (copied > 0) {
    m_text.appendCopy(ascii.substr(0, copied), first);
    m_afterNumberForm = false;
  }
  m_letter = static_cast<char32_t>(ascii.back());
  m_origin = first + static_cast<Position>(copied);
}

OriginText MacRomanEncoder::finish(Position sourceEnd) {
  flush();
  m_text.finish(sourceEnd);
  m_afterNumberForm = false;
  return std::exchange(m_text, OriginText());
}

// Appends the form of the letter that is kept, if any.
void MacRomanEncoder::flush() {
  if (!m_letter) return;
  m_form.clear();
  appendPlainForm(m_form, *m_letter);
  const bool isNumber = isNumberForm(*m_letter);
  m_letter.reset();
  if (m_form.empty()) return;
  // No blank after another number form: superscript 1 and superscript 0 are the number 10.
  const bool runsIntoDigits = isNumber && !m_afterNumberForm && !m_text.empty() &&
                              isDigit(m_text.text().back()) && isDigit(m_form.front());
  if (runsIntoDigits) m_form.insert(m_form.begin(), ' ');
  m_afterNumberForm = isNumber;
  m_text.append(m_form, m_origin);
}

std::size_t asciiLength(std::string_view text) {
  const auto end = std::find_if(text.begin(), text.end(), [](char c) {
    return c == '\0' || static_cast<unsigned char>(c) >= 0x80;
  });
  return static_cast<std::size_t>(end - text.begin());
}

}  // namespace base
