// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/channel/CallerText.h"

#include <algorithm>
#include <string_view>

#include "CoreFoundation/Characters.h"
#include "TextEncoding/MacRoman.h"

namespace platform {
namespace {

// The letters U+0100 to U+017F without their accents.
constexpr std::string_view kPlainLetters =
    "AaAaAaCcCcCcCcDdDdEeEeEeEeEeGgGgGgGgHhHhIiIiIiIiIiIiJjKkkLlLlLlLlLlNnNnNnnNnOoOoOoOoRrRrRrSsSs"
    "SsSsTtTtTtUuUuUuUuUuUuWwYyYZzZzZzs";
static_assert(kPlainLetters.size() == 0x80);

struct PlainForm {
  char32_t character;
  std::string_view text;
};

constexpr PlainForm kPlainForms[] = {
    {0x00A6, "|"},   {0x00B2, "2"},   {0x00B3, "3"},  {0x00B9, "1"},  {0x00BC, "1/4"},
    {0x00BD, "1/2"}, {0x00BE, "3/4"}, {0x00D0, "D"},  {0x00D7, "x"},  {0x00DD, "Y"},
    {0x00DE, "Th"},  {0x00F0, "d"},   {0x00FD, "y"},  {0x00FE, "th"}, {0x1E9E, "SS"},
    {0x2010, "-"},   {0x2011, "-"},   {0x2012, "-"},  {0x2015, "-"},  {0x201B, "'"},
    {0x201F, "\""},  {0x2028, "\n"},  {0x2029, "\n"}, {0x2032, "'"},  {0x2033, "\""},
    {0x2212, "-"},   {0x2215, "/"},   {0x2190, "<-"}, {0x2192, "->"}, {0xFB00, "ff"},
    {0xFB03, "ffi"}, {0xFB04, "ffl"},
};

// Combining accents, joiners and marks of direction, variation selectors and the like.
bool hasNoWidth(char32_t code) {
  return code == 0xAD || (code >= 0x300 && code <= 0x36F) || (code >= 0x200B && code <= 0x200F) ||
         (code >= 0x202A && code <= 0x202E) || (code >= 0x2060 && code <= 0x206F) ||
         (code >= 0xFE00 && code <= 0xFE0F) || code == 0xFEFF;
}

// Adds what a character is spoken as.
void appendForm(std::string& bytes, char32_t code) {
  if (hasNoWidth(code)) return;
  if (code == 0) {
    bytes += ' ';
  } else if (const auto byte = unicodeToMacRoman(code)) {
    bytes += static_cast<char>(*byte);
  } else if (code >= 0x100 && code < 0x180) {
    bytes += kPlainLetters[code - 0x100];
  } else {
    const auto* const form =
        std::find_if(std::begin(kPlainForms), std::end(kPlainForms),
                     [=](const PlainForm& row) { return row.character == code; });
    bytes += form == std::end(kPlainForms) ? std::string_view(" ") : form->text;
  }
}

}  // namespace

CallerText::CallerText(const void* text, unsigned long bytes) {
  append(text, bytes);
}

CallerText::CallerText(CFStringRef string) : m_isString(true) {
  string->retain();
  m_string = Owned<CFStringRef>(string);
  for (std::string_view rest = string->bytes; !rest.empty();) {
    const Character character = readCharacter(rest, string->encoding);
    appendForm(m_bytes, character.code.value_or(U' '));
    m_units.resize(m_bytes.size(), static_cast<std::uint32_t>(m_unitCount));
    m_unitCount += character.units();
    rest.remove_prefix(character.length);
  }
}

void CallerText::append(const void* text, unsigned long bytes) {
  m_string = Owned<CFStringRef>();
  const std::size_t before = m_bytes.size();
  m_bytes.append(static_cast<const char*>(text), bytes);
  std::replace(m_bytes.begin() + static_cast<std::ptrdiff_t>(before), m_bytes.end(), '\0', ' ');
}

CFIndex CallerText::unitAt(unsigned long position) const {
  if (position < m_units.size()) return m_units[position];
  return m_unitCount + static_cast<CFIndex>(position - m_units.size());
}

CFRange CallerText::inCallersUnits(unsigned long position, unsigned long length) const {
  const CFIndex first = unitAt(position);
  if (length == 0) return {first, 0};
  // A character may have become several bytes, of which a word need not have the last.
  unsigned long end = position + length;
  while (end < m_units.size() && m_units[end] == m_units[end - 1]) ++end;
  return {first, unitAt(end) - first};
}

CFStringRef CallerText::string() {
  if (!m_string) {
    m_string = Owned(CFStringCreateWithBytes(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(m_bytes.data()),
        static_cast<CFIndex>(m_bytes.size()), kCFStringEncodingMacRoman, false));
  }
  return m_string.get();
}

}  // namespace platform
