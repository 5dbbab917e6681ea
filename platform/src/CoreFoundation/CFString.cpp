// SPDX-License-Identifier: Apache-2.0
//
// CFString: strings keep their bytes; every other form is made when it is asked for.
#include <CoreFoundation/CFString.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "CFObject.h"
#include "Characters.h"

namespace {

using platform::Character;
using platform::Encoded;

bool isWellFormed(std::string_view text, CFStringEncoding encoding) {
  while (!text.empty()) {
    const Character character = platform::readCharacter(text, encoding);
    if (!character.code) return false;
    text.remove_prefix(character.length);
  }
  return true;
}

CFStringRef create(std::string_view text, CFStringEncoding encoding) {
  if (!platform::isKnownEncoding(encoding) || !isWellFormed(text, encoding)) return nullptr;
  try {
    return new __CFString(std::string(text), encoding);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

bool holdsNul(const std::string& bytes) {
  return bytes.find('\0') != std::string::npos;
}

// Writes `text` and a NUL; false when they do not fit.
bool copyOut(std::string_view text, char* buffer, CFIndex bufferSize) {
  if (static_cast<CFIndex>(text.size()) >= bufferSize) return false;
  std::memcpy(buffer, text.data(), text.size());
  buffer[text.size()] = '\0';
  return true;
}

// Writes `text` in another encoding and a NUL; false when they do not fit, or the encoding lacks a
// character.
bool convertOut(std::string_view text, CFStringEncoding from, CFStringEncoding to, char* buffer,
                CFIndex bufferSize) {
  CFIndex written = 0;
  while (!text.empty()) {
    const Character character = platform::readCharacter(text, from);
    if (!character.code) return false;
    const Encoded encoded = platform::encodeCharacter(*character.code, to);
    const auto length = static_cast<CFIndex>(encoded.length);
    if (length == 0 || length >= bufferSize - written) return false;
    std::memcpy(buffer + written, encoded.bytes.data(), encoded.length);
    written += length;
    text.remove_prefix(character.length);
  }
  buffer[written] = '\0';
  return true;
}

// What one character of a string becomes in CFStringGetBytes; length 0 for nothing.
Encoded encodeWithLoss(Character character, CFStringEncoding encoding, UInt8 lossByte) {
  Encoded encoded{{}, 0};
  if (character.code) encoded = platform::encodeCharacter(*character.code, encoding);
  if (encoded.length == 0 && lossByte != 0) return {{lossByte}, 1};
  return encoded;
}

}  // namespace

CFTypeID CFStringGetTypeID() {
  return static_cast<CFTypeID>(platform::CFType::String);
}

CFStringEncoding CFStringGetSystemEncoding() {
  return kCFStringEncodingUTF8;
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef /*allocator*/, const char* text,
                                      CFStringEncoding encoding) {
  return text == nullptr ? nullptr : create(text, encoding);
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef /*allocator*/, const UInt8* bytes,
                                    CFIndex length, CFStringEncoding encoding,
                                    Boolean /*isExternalRepresentation*/) {
  if (bytes == nullptr || length < 0) return nullptr;
  return create({reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length)}, encoding);
}

CFIndex CFStringGetLength(CFStringRef string) {
  if (string == nullptr) return 0;
  CFIndex units = 0;
  for (std::string_view rest = string->bytes; !rest.empty();) {
    const Character character = platform::readCharacter(rest, string->encoding);
    units += character.units();
    rest.remove_prefix(character.length);
  }
  return units;
}

const char* CFStringGetCStringPtr(CFStringRef string, CFStringEncoding encoding) {
  if (string == nullptr || encoding != string->encoding || holdsNul(string->bytes)) return nullptr;
  return string->bytes.c_str();
}

Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding) {
  if (buffer == nullptr || bufferSize <= 0) return false;
  if (string != nullptr && platform::isKnownEncoding(encoding) && !holdsNul(string->bytes)) {
    const bool done = encoding == string->encoding ? copyOut(string->bytes, buffer, bufferSize)
                                                   : convertOut(string->bytes, string->encoding,
                                                                encoding, buffer, bufferSize);
    if (done) return true;
  }
  buffer[0] = '\0';
  return false;
}

CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean /*isExternalRepresentation*/, UInt8* buffer,
                         CFIndex maxBufLen, CFIndex* usedBufLen) {
  if (usedBufLen != nullptr) *usedBufLen = 0;
  if (string == nullptr || !platform::isKnownEncoding(encoding)) return 0;
  if (range.location < 0 || range.length < 0) return 0;

  CFIndex at = 0;  // in units, of the character at the front of `rest`
  CFIndex converted = 0;
  CFIndex used = 0;
  for (std::string_view rest = string->bytes; !rest.empty();) {
    const Character character = platform::readCharacter(rest, string->encoding);
    if (at >= range.location) {
      if (character.units() > range.length - converted) break;
      const Encoded encoded = encodeWithLoss(character, encoding, lossByte);
      const auto length = static_cast<CFIndex>(encoded.length);
      if (length == 0 || (buffer != nullptr && length > maxBufLen - used)) break;
      if (buffer != nullptr) std::memcpy(buffer + used, encoded.bytes.data(), encoded.length);
      used += length;
      converted += character.units();
    }
    at += character.units();
    rest.remove_prefix(character.length);
  }
  if (usedBufLen != nullptr) *usedBufLen = used;
  return converted;
}

std::string __CFString::description() const {
  std::string line = bytes;
  // One line, whatever the string holds.
  std::replace_if(
      line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r' || c == '\0'; }, ' ');
  return line;
}
