// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/channel/CallerText.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "CoreFoundation/Characters.h"
#include "base/text/MacRomanEncoder.h"

namespace platform {
namespace {

using Position = base::OriginText::Position;

}  // namespace

CallerText::CallerText(const void* text, unsigned long bytes) {
  append(text, bytes);
}

CallerText::CallerText(CFStringRef string) : m_isString(true) {
  string->retain();
  m_string = Owned<CFStringRef>(string);
  base::MacRomanEncoder encoder;
  encoder.reserve(string->bytes.size());
  CFIndex unit = 0;
  for (std::string_view rest = string->bytes; !rest.empty();) {
    // ASCII is the same in every encoding of strings, with one unit per byte.
    if (const std::size_t ascii = base::asciiLength(rest); ascii > 0) {
      encoder.addAscii(rest.substr(0, ascii), static_cast<Position>(unit));
      unit += static_cast<CFIndex>(ascii);
      rest.remove_prefix(ascii);
      continue;
    }
    const Character character = readCharacter(rest, string->encoding);
    encoder.add(character.code.value_or(U' '), static_cast<Position>(unit));
    unit += character.units();
    rest.remove_prefix(character.length);
  }
  m_text = encoder.finish(static_cast<Position>(unit));
}

// Drops the cached string, which does not contain the new bytes.
void CallerText::append(const void* text, unsigned long bytes) {
  m_string = Owned<CFStringRef>();
  const std::size_t before = m_text.size();
  m_text.appendCopy({static_cast<const char*>(text), bytes}, static_cast<Position>(before));
  for (std::size_t at = m_text.text().find('\0', before); at != std::string::npos;
       at = m_text.text().find('\0', at + 1)) {
    m_text.replace(at, ' ');
  }
  m_text.finish(static_cast<Position>(m_text.size()));
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

// A range of the adapted text ends with the origin of its last byte: what was left out after it
// does not belong to it.
CFRange CallerText::inCallersUnits(unsigned long position, unsigned long length) const {
  if (!m_isAdapted) return convertedInCallersUnits(position, length);
  const std::size_t start = std::min<std::size_t>(position, m_adapted.size());
  const std::size_t end = start + std::min<std::size_t>(length, m_adapted.size() - start);
  const std::size_t first = m_adapted.originOf(start);
  if (end == start) return {unitAt(first), 0};
  const std::size_t last = std::min<std::size_t>(m_adapted.originOf(end - 1) + 1, m_text.size());
  return convertedInCallersUnits(first, last - std::min(first, last));
}

CFIndex CallerText::unitsFrom(unsigned long position) const {
  const CFIndex end = unitAt(m_text.size());
  return position == 0 ? end : end - inCallersUnits(position, 0).location;
}

// A range of m_text.
CFRange CallerText::convertedInCallersUnits(std::size_t position, std::size_t length) const {
  const CFIndex first = unitAt(position);
  if (position + length > m_text.size()) return {first, unitAt(position + length) - first};
  return {first, static_cast<CFIndex>(m_text.sourceOf(position, length).length)};
}

CFStringRef CallerText::string() {
  if (!m_string) {
    const std::string& bytes = m_text.text();
    m_string = Owned(CFStringCreateWithBytes(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.data()),
        static_cast<CFIndex>(bytes.size()), kCFStringEncodingMacRoman, false));
  }
  return m_string.get();
}

}  // namespace platform
