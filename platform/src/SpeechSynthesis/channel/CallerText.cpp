// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/channel/CallerText.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

#include "CoreFoundation/CFObject.h"
#include "CoreFoundation/Characters.h"
#include "base/text/MacRomanEncoder.h"
#include "base/text/PlainForms.h"

namespace platform {
namespace {

using Position = base::OriginText::Position;

constexpr char32_t kReplacement = 0xFFFD;

}  // namespace

CallerText::CallerText(const void* text, unsigned long bytes, Charset charset)
    : m_charset(charset) {
  append(text, bytes, charset);
}

// A NUL becomes a blank, since a text for a synthesizer ends at a NUL.
CallerText::CallerText(CFStringRef string)
    : m_charset(Charset::Utf8),
      m_isConverted(true),
      m_string(retained(string)),
      m_givenAsString(true) {
  m_text.reserve(string->bytes.size());
  CFIndex unit = 0;
  for (std::string_view rest = string->bytes; !rest.empty();) {
    // ASCII is the same in every encoding of strings, with one unit per byte.
    if (const std::size_t ascii = base::asciiLength(rest); ascii > 0) {
      m_text.appendCopy(rest.substr(0, ascii), static_cast<Position>(unit));
      unit += static_cast<CFIndex>(ascii);
      rest.remove_prefix(ascii);
      continue;
    }
    const Character character = readCharacter(rest, string->encoding);
    const char32_t code = character.code.value_or(kReplacement);
    m_text.append(base::toUtf8(code == 0 ? U' ' : code), static_cast<Position>(unit));
    unit += character.units();
    rest.remove_prefix(character.length);
  }
  m_text.finish(static_cast<Position>(unit));
}

bool CallerText::hasNoWidth() const {
  std::string form;
  for (std::string_view rest = m_text.text(); !rest.empty();) {
    const base::Utf8Character character = firstCharacterIn(rest, m_charset);
    base::appendPlainForm(form, character.code);
    if (!form.empty()) return false;
    rest.remove_prefix(character.length);
  }
  return true;
}

void CallerText::append(const void* text, unsigned long bytes, Charset charset) {
  const std::string_view added(static_cast<const char*>(text), bytes);
  const std::size_t before = m_text.size();
  const CFIndex unit = unitAt(before);
  if (unit > 0) {
    startPieces();
    m_pieces.push_back(std::make_shared<Piece>(
        Piece{unit, static_cast<CFIndex>(bytes), std::string(added), charset, nullptr}));
  }
  if (charset == m_charset) {
    m_text.appendCopy(added, static_cast<Position>(unit));
  } else {
    appendConverted(added, unit);
  }
  for (std::size_t at = m_text.text().find('\0', before); at != std::string::npos;
       at = m_text.text().find('\0', at + 1)) {
    m_text.replace(at, ' ');
  }
  m_text.finish(static_cast<Position>(unit + static_cast<CFIndex>(bytes)));
}

// Appends Mac OS Roman to a text in UTF-8.
void CallerText::appendConverted(std::string_view macRoman, CFIndex unit) {
  m_isConverted = true;
  for (const char byte : macRoman) {
    m_text.append(base::toUtf8(base::fromMacRoman(static_cast<std::uint8_t>(byte))),
                  static_cast<Position>(unit++));
  }
}

// Makes a piece of the text that has been the only one so far.
void CallerText::startPieces() {
  if (!m_pieces.empty() || m_firstUnit > 0) return;
  const CFIndex length = unitAt(m_text.size());
  std::string bytes = m_givenAsString ? std::string() : m_text.text();
  m_pieces.push_back(
      std::make_shared<Piece>(Piece{0, length, std::move(bytes), m_charset, std::move(m_string)}));
}

void CallerText::useMacRoman() {
  if (m_charset == Charset::MacRoman) return;
  // The string of the text is made of its bytes as they are before.
  if (!m_givenAsString) startPieces();
  base::MacRomanEncoder encoder;
  encoder.reserve(m_text.size());
  const std::string_view text = m_text.text();
  for (std::size_t at = 0; at < text.size();) {
    const std::string_view rest = text.substr(at);
    const Position origin = m_text.originOf(at);
    // One unit per byte.
    if (const std::size_t ascii = base::asciiLength(rest); ascii > 0) {
      encoder.addAscii(rest.substr(0, ascii), origin);
      at += ascii;
      continue;
    }
    const base::Utf8Character character = base::firstCharacter(rest);
    encoder.add(character.length == 0 ? U' ' : character.code, origin);
    at += std::max<std::size_t>(character.length, 1);
  }
  const Position end = m_text.originOf(m_text.size());
  const bool wasEmpty = m_text.empty();
  m_text = encoder.finish(end);
  // Nothing has a width. A synthesizer would take an empty text for a stop.
  if (m_text.empty() && !wasEmpty) m_text.append(" ", 0);
  m_text.finish(end);
  m_charset = Charset::MacRoman;
  m_isConverted = true;
}

CallerText CallerText::splitOff(std::size_t position) {
  startPieces();
  const CFIndex end = unitAt(m_text.size());
  CallerText rest(m_charset);
  rest.m_isConverted = m_isConverted;
  rest.m_firstUnit = unitAt(position);
  rest.m_text.append(m_text, position, m_text.size());
  rest.m_text.finish(static_cast<Position>(end));
  base::OriginText head;
  head.append(m_text, 0, position);
  head.finish(static_cast<Position>(rest.m_firstUnit));
  m_text = std::move(head);
  rest.m_pieces = m_pieces;
  std::erase_if(rest.m_pieces, [&](const auto& piece) {
    return piece->start + piece->length <= rest.m_firstUnit;
  });
  std::erase_if(m_pieces, [&](const auto& piece) { return piece->start >= rest.m_firstUnit; });
  return rest;
}

void CallerText::insertAtStart(std::string_view bytes) {
  if (bytes.empty()) return;
  base::OriginText whole;
  whole.insert(bytes);
  whole.append(m_text);
  whole.finish(static_cast<Position>(unitAt(m_text.size())));
  m_text = std::move(whole);
}

void CallerText::adapt(base::OriginText adapted) {
  m_adapted = std::move(adapted);
  m_isAdapted = true;
}

// A position in m_text.
CFIndex CallerText::unitAt(std::size_t position) const {
  const std::size_t beyond = position - std::min(position, m_text.size());
  return static_cast<CFIndex>(m_text.originOf(position) + beyond);
}

CFRange CallerText::inCallersUnits(unsigned long position, unsigned long length) const {
  CFRange range = inUnits(position, length);
  const Piece* const piece = pieceAt(range.location);
  if (piece == nullptr) return range;
  const CFIndex end = piece->start + piece->length;
  range.length = std::min(range.length, std::max(end - range.location, CFIndex{0}));
  range.location -= piece->start;
  return range;
}

// The last piece that begins at or before the unit; null if there is only one.
const CallerText::Piece* CallerText::pieceAt(CFIndex unit) const {
  const auto after =
      std::ranges::upper_bound(m_pieces, unit, {}, [](const auto& piece) { return piece->start; });
  return after == m_pieces.begin() ? nullptr : std::prev(after)->get();
}

// A range of the adapted text ends with the origin of its last byte: what was left out after it
// does not belong to it.
CFRange CallerText::inUnits(unsigned long position, unsigned long length) const {
  if (!m_isAdapted) return convertedInUnits(position, length);
  const std::size_t start = std::min<std::size_t>(position, m_adapted.size());
  const std::size_t end = start + std::min<std::size_t>(length, m_adapted.size() - start);
  const std::size_t first = m_adapted.originOf(start);
  if (end == start) return {unitAt(first), 0};
  const std::size_t last = std::min<std::size_t>(m_adapted.originOf(end - 1) + 1, m_text.size());
  return convertedInUnits(first, last - std::min(first, last));
}

// A range of m_text.
CFRange CallerText::convertedInUnits(std::size_t position, std::size_t length) const {
  const CFIndex first = unitAt(position);
  if (position + length > m_text.size()) return {first, unitAt(position + length) - first};
  return {first, static_cast<CFIndex>(m_text.sourceOf(position, length).length)};
}

CFIndex CallerText::unitsFrom(unsigned long position) const {
  const CFIndex first = position == 0 ? m_firstUnit : inUnits(position, 0).location;
  return unitAt(m_text.size()) - first;
}

CallerText::String CallerText::stringAt(unsigned long position) {
  const Piece* const found = pieceAt(inUnits(position, 0).location);
  if (found == nullptr) {
    if (m_string == nullptr) m_string = stringOf(m_text.text(), m_charset);
    return m_string;
  }
  const auto piece = std::ranges::find(m_pieces, found, [](const auto& p) { return p.get(); });
  if ((*piece)->string == nullptr) {
    (*piece)->string = stringOf((*piece)->bytes, (*piece)->charset);
  }
  return (*piece)->string;
}

// Only bytes of UTF-8 are counted in other units than those of a string.
CFRange CallerText::inString(unsigned long position, CFRange range) {
  const Piece* const piece = pieceAt(inUnits(position, 0).location);
  const bool isUtf8 = piece == nullptr ? !m_givenAsString && m_charset == Charset::Utf8
                                       : !piece->bytes.empty() && piece->charset == Charset::Utf8;
  if (!isUtf8) return range;
  const std::string& text = piece == nullptr ? m_text.text() : piece->bytes;
  const CFIndex start = unitsBefore(text, static_cast<std::size_t>(range.location));
  const auto end = static_cast<std::size_t>(range.location + range.length);
  return {start, unitsBefore(text, end) - start};
}

// Counts on from the last position, unless that is a later one or of another text.
CFIndex CallerText::unitsBefore(const std::string& utf8, std::size_t byte) {
  if (m_countedText != &utf8 || byte < m_countedBytes) {
    m_countedText = &utf8;
    m_countedBytes = 0;
    m_countedUnits = 0;
  }
  while (m_countedBytes < std::min(byte, utf8.size())) {
    const base::Utf8Character character =
        firstCharacterIn(std::string_view(utf8).substr(m_countedBytes), Charset::Utf8);
    m_countedBytes += character.length;
    m_countedUnits += static_cast<CFIndex>(base::utf16Length(character.code));
  }
  return m_countedUnits;
}

CallerText::String CallerText::retained(CFStringRef string) {
  return String(static_cast<CFStringRef>(CFRetain(string)), CFRelease);
}

// Each byte of malformed UTF-8, such as half of a character that was cut, becomes U+FFFD.
CallerText::String CallerText::stringOf(const std::string& bytes, Charset charset) {
  try {
    std::string wellFormed;
    for (std::string_view rest = bytes; charset == Charset::Utf8 && !rest.empty();) {
      const base::Utf8Character character = firstCharacterIn(rest, charset);
      base::appendUtf8(wellFormed, character.code);
      rest.remove_prefix(character.length);
    }
    const bool isUtf8 = charset == Charset::Utf8;
    const std::string& text = isUtf8 ? wellFormed : bytes;
    return String(
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                static_cast<CFIndex>(text.size()),
                                isUtf8 ? kCFStringEncodingUTF8 : kCFStringEncodingMacRoman, false),
        CFRelease);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace platform
