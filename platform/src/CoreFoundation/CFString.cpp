// SPDX-License-Identifier: Apache-2.0
//
// CFString: strings store their bytes; other encodings are computed on request, character by
// character. No index is kept, so finding a UTF-16 position is a linear scan.
#include <CoreFoundation/CFString.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <map>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "CFObject.h"
#include "Characters.h"
#include "base/text/CaseFolding.h"
#include "base/text/Utf16.h"
#include "base/text/Utf8.h"
#include "base/threads/Mutex.h"

namespace {

using platform::Character;

NEVER_DESTROYED constinit base::Mutex g_constantsLock;

// The strings made by __CFStringMakeConstantString(). Never destroyed: they are used until the
// process exits.
std::map<std::string, CFStringRef>& constants() REQUIRES(g_constantsLock) {
  static auto& strings = *new std::map<std::string, CFStringRef>;
  return strings;
}

bool isWellFormed(std::string_view text, CFStringEncoding encoding) {
  while (!text.empty()) {
    const Character character = platform::readCharacter(text, encoding);
    if (!character.code) return false;
    text.remove_prefix(character.length);
  }
  return true;
}

// Null for an unknown encoding, malformed text, or if out of memory.
CFStringRef create(std::string_view text, CFStringEncoding encoding) {
  if (!platform::isKnownEncoding(encoding) || !isWellFormed(text, encoding)) return nullptr;
  try {
    return new __CFString(std::string(text), encoding);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

// The same for UTF-16, which is stored as UTF-8.
CFStringRef createFromUtf16(std::string_view text, CFStringEncoding encoding, bool hasMark) {
  try {
    auto utf8 = platform::utf8FromUtf16(text, encoding, hasMark);
    return utf8 ? new __CFString(std::move(*utf8), kCFStringEncodingUTF8) : nullptr;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

bool isAscii(const std::string& bytes) {
  return std::all_of(bytes.begin(), bytes.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool containsNul(const std::string& bytes) {
  return bytes.find('\0') != std::string::npos;
}

// Writes `text` and a NUL. Returns false if they do not fit.
bool copyTo(std::string_view text, char* buffer, CFIndex bufferSize) {
  if (static_cast<CFIndex>(text.size()) >= bufferSize) return false;
  std::memcpy(buffer, text.data(), text.size());
  buffer[text.size()] = '\0';
  return true;
}

// Writes `text` in another encoding and a NUL. Returns false if they do not fit, or if the encoding
// lacks a character; the buffer may have been written to then.
bool convertTo(std::string_view text, CFStringEncoding from, CFStringEncoding to, char* buffer,
               CFIndex bufferSize) {
  CFIndex written = 0;
  while (!text.empty()) {
    const Character character = platform::readCharacter(text, from);
    if (!character.code) return false;
    const std::string encoded = platform::encodeCharacter(*character.code, to);
    const auto length = static_cast<CFIndex>(encoded.size());
    // ">=": one byte is kept for the NUL.
    if (length == 0 || length >= bufferSize - written) return false;
    std::memcpy(buffer + written, encoded.data(), encoded.size());
    written += length;
    text.remove_prefix(character.length);
  }
  buffer[written] = '\0';
  return true;
}

// Removes characters from the start of `text`: `units` UTF-16 units, or fewer if the text ends or
// if a surrogate pair would be split. Returns the number of units removed.
CFIndex skipUnits(std::string_view& text, CFStringEncoding encoding, CFIndex units) {
  CFIndex skipped = 0;
  while (!text.empty()) {
    const Character character = platform::readCharacter(text, encoding);
    if (character.units() > units - skipped) break;
    skipped += character.units();
    text.remove_prefix(character.length);
  }
  return skipped;
}

// The bytes for one character in CFStringGetBytes; empty if the conversion must end there.
std::string encodeWithLoss(Character character, CFStringEncoding encoding, UInt8 lossByte) {
  std::string encoded;
  if (character.code) encoded = platform::encodeCharacter(*character.code, encoding);
  if (!encoded.empty() || lossByte == 0) return encoded;
  if (platform::isUtf16(encoding)) return platform::encodeCharacter(lossByte, encoding);
  return {static_cast<char>(lossByte)};
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

CFStringRef CFStringCreateWithCStringNoCopy(CFAllocatorRef allocator, const char* text,
                                            CFStringEncoding encoding,
                                            CFAllocatorRef contentsDeallocator) {
  CFStringRef const string = CFStringCreateWithCString(allocator, text, encoding);
  // The only reference to the string is here, so it may still change. Clients use the text as long
  // as the string exists, so it is not freed before.
  if (string != nullptr && contentsDeallocator != kCFAllocatorNull) {
    const_cast<__CFString*>(string)->adopted = const_cast<char*>(text);
  }
  return string;
}

CFStringRef CFStringCreateWithPascalString(CFAllocatorRef allocator, ConstStr255Param text,
                                           CFStringEncoding encoding) {
  if (text == nullptr) return nullptr;
  return CFStringCreateWithBytes(allocator, text + 1, text[0], encoding, false);
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef /*allocator*/, const UInt8* bytes,
                                    CFIndex length, CFStringEncoding encoding,
                                    Boolean isExternalRepresentation) {
  if (bytes == nullptr || length < 0) return nullptr;
  const std::string_view text(reinterpret_cast<const char*>(bytes),
                              static_cast<std::size_t>(length));
  if (platform::isUtf16(encoding)) return createFromUtf16(text, encoding, isExternalRepresentation);
  return create(text, encoding);
}

// Computed at each call by a linear scan.
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

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding) {
  CFIndex most = 1;  // bytes of one UTF-16 unit
  if (encoding == kCFStringEncodingUTF8) {
    most = 3;  // a surrogate pair has four bytes
  } else if (platform::isUtf16(encoding)) {
    most = 2;
  } else if (!platform::isAsciiCompatible(encoding)) {
    return kCFNotFound;
  }
  return length < 0 || length > std::numeric_limits<CFIndex>::max() / most ? CFIndex{kCFNotFound}
                                                                           : length * most;
}

// Without conversion only: the result is the bytes of the string itself. With a NUL inside, a C
// string would end too early.
const char* CFStringGetCStringPtr(CFStringRef string, CFStringEncoding encoding) {
  if (string == nullptr || containsNul(string->bytes)) return nullptr;
  const bool hasTheseBytes = encoding == string->encoding ||
                             (platform::isAsciiCompatible(encoding) && isAscii(string->bytes));
  return hasTheseBytes ? string->bytes.c_str() : nullptr;
}

Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding) {
  if (buffer == nullptr || bufferSize <= 0) return false;
  if (string != nullptr && platform::isKnownEncoding(encoding) && !containsNul(string->bytes)) {
    const bool done = encoding == string->encoding ? copyTo(string->bytes, buffer, bufferSize)
                                                   : convertTo(string->bytes, string->encoding,
                                                               encoding, buffer, bufferSize);
    if (done) return true;
  }
  buffer[0] = '\0';
  return false;
}

// One pass over the string from its start: characters before the range are only counted.
CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean /*isExternalRepresentation*/, UInt8* buffer,
                         CFIndex maxBufLen, CFIndex* usedBufLen) {
  if (usedBufLen != nullptr) *usedBufLen = 0;
  if (string == nullptr) return 0;
  if (!platform::isKnownEncoding(encoding) && !platform::isUtf16(encoding)) return 0;
  if (range.location < 0 || range.length < 0) return 0;

  CFIndex at = 0;  // position of the first character of `rest`, in units
  CFIndex converted = 0;
  CFIndex used = 0;
  for (std::string_view rest = string->bytes; !rest.empty();) {
    const Character character = platform::readCharacter(rest, string->encoding);
    if (at >= range.location) {
      // The range ends, or splits a surrogate pair.
      if (character.units() > range.length - converted) break;
      const std::string encoded = encodeWithLoss(character, encoding, lossByte);
      const auto length = static_cast<CFIndex>(encoded.size());
      if (length == 0 || (buffer != nullptr && length > maxBufLen - used)) break;
      if (buffer != nullptr) std::copy(encoded.begin(), encoded.end(), buffer + used);
      used += length;
      converted += character.units();
    }
    at += character.units();
    rest.remove_prefix(character.length);
  }
  if (usedBufLen != nullptr) *usedBufLen = used;
  return converted;
}

CFStringRef __CFStringMakeConstantString(const char* text) {
  if (text == nullptr) return nullptr;
  try {
    const base::ScopedLock held(g_constantsLock);
    const auto [entry, isNew] = constants().try_emplace(text, nullptr);
    // Equal literals share one object, so a literal in a loop does not use more and more memory.
    if (!isNew) return entry->second;
    // Literals are UTF-8 by contract. One that is not is kept as Mac OS Roman, in which every byte
    // is a character, so that every literal gives a string.
    const bool isUtf8 = isWellFormed(text, kCFStringEncodingUTF8);
    auto* const constant =
        new __CFString(text, isUtf8 ? kCFStringEncodingUTF8 : kCFStringEncodingMacRoman);
    constant->makeImmortal();
    entry->second = constant;
    return constant;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

// Stored as UTF-8; surrogate pairs are combined, unpaired surrogates make the text malformed.
CFStringRef CFStringCreateWithCharacters(CFAllocatorRef /*allocator*/, const UniChar* characters,
                                         CFIndex length) {
  if (length < 0 || (characters == nullptr && length > 0)) return nullptr;
  try {
    std::string bytes;
    for (CFIndex at = 0; at < length; ++at) {
      char32_t code = characters[at];
      if (base::isLeadSurrogate(code) && at + 1 < length &&
          base::isTrailSurrogate(characters[at + 1])) {
        code = base::fromSurrogates(code, characters[++at]);
      } else if (!base::isScalarValue(code)) {
        return nullptr;
      }
      base::appendUtf8(bytes, code);
    }
    return new __CFString(std::move(bytes), kCFStringEncodingUTF8);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

CFStringRef CFStringCreateWithSubstring(CFAllocatorRef /*allocator*/, CFStringRef string,
                                        CFRange range) {
  if (string == nullptr || range.location < 0 || range.length < 0) return nullptr;
  std::string_view rest = string->bytes;
  // Fewer units than requested: the range leaves the string or splits a surrogate pair.
  const CFIndex skipped = skipUnits(rest, string->encoding, range.location);
  const std::string_view from = rest;
  const CFIndex taken = skipUnits(rest, string->encoding, range.length);
  if (skipped != range.location || taken != range.length) return nullptr;
  try {
    return new __CFString(std::string(from.substr(0, from.size() - rest.size())), string->encoding);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

// One pass over the string; every unit of the range that is not found keeps U+FFFD.
void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer) {
  if (string == nullptr || buffer == nullptr || range.length <= 0) return;
  constexpr UniChar kReplacement = 0xFFFD;
  std::fill_n(buffer, range.length, kReplacement);
  CFIndex at = -range.location;  // index of the next unit in `buffer`; outside it: not stored
  const auto put = [&](char32_t unit) {
    if (at >= 0 && at < range.length) buffer[at] = static_cast<UniChar>(unit);
    ++at;
  };
  for (std::string_view rest = string->bytes; !rest.empty() && at < range.length;) {
    const Character character = platform::readCharacter(rest, string->encoding);
    const char32_t code = character.code.value_or(kReplacement);
    if (base::utf16Length(code) == 2) {
      put(base::leadSurrogate(code));
      put(base::trailSurrogate(code));
    } else {
      put(code);
    }
    rest.remove_prefix(character.length);
  }
}

UniChar CFStringGetCharacterAtIndex(CFStringRef string, CFIndex index) {
  UniChar unit = 0xFFFD;
  CFStringGetCharacters(string, {index, 1}, &unit);
  return unit;
}

// Malformed bytes of a path count as U+FFFD, as in CFStringGetCharacters.
CFComparisonResult CFStringCompare(CFStringRef a, CFStringRef b,
                                   CFStringCompareFlags compareOptions) {
  if (a == b) return kCFCompareEqualTo;
  if (a == nullptr || b == nullptr)
    return a == nullptr ? kCFCompareLessThan : kCFCompareGreaterThan;
  std::string_view restA = a->bytes;
  std::string_view restB = b->bytes;
  while (!restA.empty() && !restB.empty()) {
    constexpr char32_t kReplacement = 0xFFFD;
    const Character nextA = platform::readCharacter(restA, a->encoding);
    const Character nextB = platform::readCharacter(restB, b->encoding);
    char32_t codeA = nextA.code.value_or(kReplacement);
    char32_t codeB = nextB.code.value_or(kReplacement);
    if ((compareOptions & kCFCompareCaseInsensitive) != 0) {
      codeA = base::foldCase(codeA);
      codeB = base::foldCase(codeB);
    }
    if (codeA != codeB) return codeA < codeB ? kCFCompareLessThan : kCFCompareGreaterThan;
    restA.remove_prefix(nextA.length);
    restB.remove_prefix(nextB.length);
  }
  if (restA.empty() && restB.empty()) return kCFCompareEqualTo;
  return restA.empty() ? kCFCompareLessThan : kCFCompareGreaterThan;
}

// Strings in different encodings are equal if their characters are.
bool __CFString::equals(const CFObject& other) const {
  const auto& string = static_cast<const __CFString&>(other);
  if (encoding == string.encoding) return bytes == string.bytes;
  std::string_view mine = bytes;
  std::string_view its = string.bytes;
  while (!mine.empty() && !its.empty()) {
    const Character a = platform::readCharacter(mine, encoding);
    const Character b = platform::readCharacter(its, string.encoding);
    if (a.code != b.code) return false;
    mine.remove_prefix(a.length);
    its.remove_prefix(b.length);
  }
  return mine.empty() && its.empty();
}

std::string __CFString::description() const {
  std::string line = bytes;
  // The result must be one line, whatever the string contains.
  std::replace_if(
      line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r' || c == '\0'; }, ' ');
  return line;
}
