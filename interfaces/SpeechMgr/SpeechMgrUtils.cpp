// SPDX-License-Identifier: Apache-2.0
//
// The phone table (Mac phoneme symbols and engine phones), the escape strings, the maps built from
// them, the preparation of a text, and paths from Core Foundation objects.
//
// The tables are data: change a pronunciation or an escape here and nowhere else.
#include "SpeechMgrUtils.h"

#include <ApplicationServices/ApplicationServices.h>

#include <array>
#include <cstring>
#include <optional>
#include <string_view>

#include <cst.h>

#include "Locks.h"

// ---- Tables

// Mac phoneme symbol, engine phone, vowel or not. Rows 0 to 41 are in the order of the Apple
// phoneme codes. The rows after them are the syllable mark, and stress, prosody and white space
// without a phone.
const PhoneMap speechmgr_us_phones[] = {
    {"%", "pau", false},      {"@", "pau", false}, {"AE", "ae", true}, {"EY", "ey", true},
    {"AO", "ao", true},       {"AX", "ah", true},  {"IY", "i", true},  {"EH", "eh", true},
    {"IH", "ih", true},       {"AY", "ay", true},  {"IX", "ih", true}, {"AA", "aa", true},
    {"UW", "uw", true},       {"UH", "uh", true},  {"UX", "ah", true}, {"OW", "ow", true},
    {"AW", "aw", true},       {"OY", "oy", true},  {"b", "b", false},  {"C", "ch", false},
    {"d", "d", false},        {"D", "dh", false},  {"f", "f", false},  {"g", "g", false},
    {"h", "h", false},        {"J", "jh", false},  {"k", "k", false},  {"l", "l", false},
    {"m", "m", false},        {"n", "n", false},   {"N", "ng", false}, {"p", "p", false},
    {"r", "r", false},        {"s", "s", false},   {"S", "sh", false}, {"t", "t", false},
    {"T", "th", false},       {"v", "v", false},   {"w", "w", false},  {"y", "j", false},
    {"z", "z", false},        {"Z", "zh", false},  {"=", ".", false},  {"1", "", false},
    {"2", "", false},         {"~", "", false},    {"_", "", false},   {"+", "", false},
    {"/", "", false},         {"\\", "", false},   {">", "", false},   {"<", "", false},
    {" ", "", false},         {"\t", "", false},   {"\r", "", false},  {"\n", "", false},
    {nullptr, nullptr, false}};

// 0xF0 is the Apple logo in Mac OS Roman.
const EscapesMap escape_strings[] = {
    {'<', "&lt;"}, {'>', "&gt;"}, {'&', "&amp;"}, {'\xF0', "Apple"}, {'\0', nullptr}};

// Never destroyed, because the engine's threads may read them while the process exits.
std::map<std::string, BrevoldPhone>& gBrevoldPhones = *new std::map<std::string, BrevoldPhone>;
std::map<std::string, int>& gApplePhoneCodes = *new std::map<std::string, int>;
std::map<char, std::string>& gEscapeStrings = *new std::map<char, std::string>;

namespace {

// Rationale: the last row with a code is row 40, so "zh" (row 41) has no code.
constexpr int kLastPhonemeCode = 40;

// Guards the building of the maps, and then gApplePhoneCodes.
NEVER_DESTROYED constinit LeafMutex maps_lock;

// Sets map[key] = value, but writes nothing if that is already so: other threads may be reading the
// maps without a lock.
template <typename Map>
void setIfDifferent(Map& map, const typename Map::key_type& key,
                    const typename Map::mapped_type& value) {
  const auto [entry, added] = map.try_emplace(key, value);
  if (!added && !(entry->second == value)) entry->second = value;
}

// Rationale: of the rows with the same engine phone the last one gives the code, so "pau" is 1,
// "ih" is 10 and "ah" is 14. Only that row is entered, so that no reader sees another code
// meanwhile.
bool isLastOfItsPhone(int row) {
  const std::string_view phone = speechmgr_us_phones[row].out;
  for (int later = row + 1; later <= kLastPhonemeCode; ++later) {
    if (phone == speechmgr_us_phones[later].out) return false;
  }
  return true;
}

// ---- Preparation of a text

using Bytes = const unsigned char*;

Bytes bytesOf(std::string_view text) {
  return reinterpret_cast<Bytes>(text.data());
}

// Escapes the markup characters and spells out "OS X", in one walk. A table of bytes marks where
// the walk has to stop; the text between two stops is copied as a whole.
// In UTF-8, the logo is the character U+F8FF, and the byte that stands for it in Mac OS Roman
// begins other characters.
class Escaper {
 public:
  // `positions` may be null; otherwise it receives the origins and must be empty.
  Escaper(std::string_view text, PositionMap* positions, TextForm form)
      : m_text(text), m_positions(positions) {
    const bool isUtf8 = form == TextForm::Utf8;
    for (const auto& [character, escape] : gEscapeStrings) {
      if (character == kLogo && isUtf8) m_logo = &escape;
      if (character == kLogo && isUtf8) continue;
      m_escapes[static_cast<unsigned char>(character)] = &escape;
      m_stops[static_cast<unsigned char>(character)] = true;
    }
    m_stops[static_cast<unsigned char>(kSystemName[0])] = true;
    if (m_logo != nullptr) m_stops[static_cast<unsigned char>(kLogoInUtf8[0])] = true;
  }

  std::string run() {
    m_result.reserve(m_text.size() + m_text.size() / 16);
    std::size_t position = 0;
    while (true) {
      position = nextStop(position);
      if (position == m_text.size()) break;
      if (const std::string* escape = m_escapes[byteAt(position)]) {
        replace(position, 1, *escape);
        position += 1;
      } else if (m_text.substr(position, kSystemName.size()) == kSystemName) {
        replace(position + kSystemName.size() - 1, 1, kSystemNumber);
        position += kSystemName.size();
      } else if (m_logo != nullptr && m_text.substr(position).starts_with(kLogoInUtf8)) {
        replace(position, kLogoInUtf8.size(), *m_logo);
        position += kLogoInUtf8.size();
      } else {
        position += 1;
      }
    }
    copyUpTo(m_text.size());
    return std::move(m_result);
  }

 private:
  static constexpr std::string_view kSystemName = "OS X";
  static constexpr std::string_view kSystemNumber = "10";  // replaces the "X"
  static constexpr char kLogo = '\xF0';
  static constexpr std::string_view kLogoInUtf8 = "\xEF\xA3\xBF";

  unsigned char byteAt(std::size_t position) const {
    return static_cast<unsigned char>(m_text[position]);
  }

  std::size_t nextStop(std::size_t position) const {
    while (position < m_text.size() && !m_stops[byteAt(position)]) ++position;
    return position;
  }

  // Copies the text from m_done up to `end`.
  void copyUpTo(std::size_t end) {
    m_result.append(m_text, m_done, end - m_done);
    if (m_positions != nullptr) {
      m_positions->addCopied(static_cast<std::uint32_t>(end - m_done),
                             static_cast<std::uint32_t>(m_done));
    }
    m_done = end;
  }

  // Copies up to `position` and writes `with` instead of the next `length` bytes.
  void replace(std::size_t position, std::size_t length, std::string_view with) {
    copyUpTo(position);
    m_result.append(with);
    m_done = position + length;
    if (m_positions != nullptr) {
      m_positions->addReplacement(static_cast<std::uint32_t>(with.size()),
                                  static_cast<std::uint32_t>(position),
                                  static_cast<std::uint32_t>(m_done));
    }
  }

  std::string_view m_text;
  PositionMap* m_positions;
  std::array<const std::string*, 256> m_escapes{};
  std::array<bool, 256> m_stops{};
  const std::string* m_logo = nullptr;  // the text for it in UTF-8
  std::string m_result;
  std::size_t m_done = 0;  // bytes of m_text that are in m_result
};

// A conversion from the system's 8-bit encoding to ISO 8859-15, by the platform's converter.
class LatinConverter {
 public:
  // Returns false if the platform does not offer the conversion.
  bool open() {
    TextEncoding system = 0;
    if (UpgradeScriptInfoToTextEncoding(kTextScriptDontCare, kTextLanguageDontCare,
                                        kTextRegionDontCare, nullptr, &system) != noErr) {
      return false;
    }
    const TextEncoding latin = CreateTextEncoding(
        kTextEncodingISOLatin9, kTextEncodingDefaultVariant, kTextEncodingDefaultFormat);
    return TECCreateConverter(&m_object, system, latin) == noErr;
  }

  // Disposes of the converter.
  // Rationale: a converter whose conversion has failed is never disposed of.
  bool close() { return TECDisposeConverter(m_object) == noErr; }

  // Converts buffer by buffer, since the platform reports only that a buffer is full, not what size
  // it needs. Returns nothing if the conversion fails.
  std::optional<std::string> convert(std::string_view text) {
    std::string result;
    result.reserve(text.size() + kBufferSize);
    std::array<UInt8, kBufferSize> buffer{};
    std::size_t consumed = 0;
    OSStatus status = kTECOutputBufferFullStatus;
    while (status == kTECOutputBufferFullStatus) {
      ByteCount read = 0;
      ByteCount written = 0;
      status = TECConvertText(m_object, bytesOf(text) + consumed, text.size() - consumed, &read,
                              buffer.data(), buffer.size(), &written);
      result.append(reinterpret_cast<const char*>(buffer.data()), written);
      consumed += read;
      // No progress: the loop would never end.
      if (status == kTECOutputBufferFullStatus && read == 0 && written == 0) return std::nullopt;
    }
    if (status != noErr) return std::nullopt;
    ByteCount flushed = 0;
    if (TECFlushText(m_object, buffer.data(), buffer.size(), &flushed) != noErr) {
      return std::nullopt;
    }
    result.append(reinterpret_cast<const char*>(buffer.data()), flushed);
    return result;
  }

  // Returns the number of bytes that one byte of the system's encoding becomes; 1 if it cannot be
  // converted alone.
  std::uint32_t expansion(unsigned char byte) {
    std::array<UInt8, 64> buffer{};
    ByteCount read = 0;
    ByteCount written = 0;
    const OSStatus status =
        TECConvertText(m_object, &byte, 1, &read, buffer.data(), buffer.size(), &written);
    return status == noErr ? static_cast<std::uint32_t>(written) : 1;
  }

 private:
  static constexpr std::size_t kBufferSize = 4096;

  TECObjectRef m_object = nullptr;
};

// Returns the map of the text that a conversion made of `escaped`, in which some bytes became
// longer; `positions` is the map of `escaped`. Each byte value is converted once to learn its
// length.
PositionMap expandedPositions(const PositionMap& positions, std::string_view escaped,
                              LatinConverter& converter) {
  std::array<std::uint32_t, 256> expansion{};
  std::array<bool, 256> known{};
  const auto expansionAt = [&](std::uint32_t position) {
    const unsigned char byte = bytesOf(escaped)[position];
    if (!known[byte]) {
      expansion[byte] = byte < 0x80 ? 1 : converter.expansion(byte);
      known[byte] = true;
    }
    return expansion[byte];
  };

  PositionMap expanded;
  for (std::size_t i = 0; i < positions.runs().size(); ++i) {
    const PositionMap::Run& run = positions.runs()[i];
    for (std::uint32_t p = run.start; p < positions.endOfRun(i); ++p) {
      const std::uint32_t origin = run.isCopied() ? run.origin + (p - run.start) : run.origin;
      const std::uint32_t length = expansionAt(p);
      if (run.isCopied() && length == 1) {
        expanded.addCopied(1, origin);
      } else {
        expanded.addReplacement(length, origin, run.isCopied() ? origin + 1 : run.end);
      }
    }
  }
  return expanded;
}

// Returns the converted text. `positions`, unless null, is the map of `escaped` and becomes the map
// of the converted text. A conversion that keeps the length maps byte to byte, so the map stays.
std::optional<std::string> convertEscaped(std::string_view escaped, LatinConverter& converter,
                                          PositionMap* positions) {
  std::optional<std::string> result = converter.convert(escaped);
  if (result && positions != nullptr && result->size() != escaped.size()) {
    *positions = expandedPositions(*positions, escaped, converter);
  }
  return result;
}

// Returns nothing if the encoding conversion fails; `positions` then holds no valid map.
std::optional<std::string> prepare(std::string_view text, PositionMap* positions, TextForm form) {
  if (positions != nullptr) *positions = PositionMap();
  std::string escaped = Escaper(text, positions, form).run();
  if (form == TextForm::Utf8) return escaped;
  LatinConverter converter;
  if (!converter.open()) return std::nullopt;
  std::optional<std::string> result;
  try {
    result = convertEscaped(escaped, converter, positions);
  } catch (...) {
    // Out of memory here: the platform's converter itself has not failed, so it is disposed of.
    converter.close();
    throw;
  }
  if (!result || !converter.close()) return std::nullopt;
  return result;
}

}  // namespace

void BuildPhoneTranslationTables() {
  LeafLock held(maps_lock);
  for (const PhoneMap* row = speechmgr_us_phones; row->in != nullptr; ++row) {
    setIfDifferent(gBrevoldPhones, row->in, BrevoldPhone{row->out, row->isVowel});
  }
  for (int row = 0; row <= kLastPhonemeCode; ++row) {
    if (isLastOfItsPhone(row)) setIfDifferent(gApplePhoneCodes, speechmgr_us_phones[row].out, row);
  }
  for (const EscapesMap* row = escape_strings; row->escape != nullptr; ++row) {
    setIfDifferent(gEscapeStrings, row->chr, std::string(row->escape));
  }
}

int applePhoneCode(const std::string& phone) {
  LeafLock held(maps_lock);
  return gApplePhoneCodes[phone];
}

std::string PreprocessText(unsigned char* text) {
  return PreprocessText(text, nullptr);
}

std::string PreprocessText(unsigned char* text, PositionMap* positions, TextForm form) {
  const std::string_view given(reinterpret_cast<const char*>(text));
  if (std::optional<std::string> prepared = prepare(given, positions, form)) {
    return std::move(*prepared);
  }
  if (positions != nullptr) {
    *positions = PositionMap();
    positions->addCopied(static_cast<std::uint32_t>(given.size()), 0);
  }
  return std::string(given);
}

// ---- Paths

char* get_url_path(const __CFURL* url) {
  CFURLRef absolute = CFURLCopyAbsoluteURL(url);
  CFStringRef path = CFURLCopyFileSystemPath(absolute, kCFURLPOSIXPathStyle);
  CFRelease(absolute);
  char* bytes = get_c_string(path, CFStringGetSystemEncoding());
  CFRelease(path);
  return bytes;
}

// Tries buffers of 256 bytes and up, doubling, until the copy fits; gives up after the ninth.
char* get_c_string(const __CFString* urlpath, unsigned long enc) {
  constexpr int kTries = 9;
  const auto encoding = static_cast<CFStringEncoding>(enc);
  if (const char* direct = CFStringGetCStringPtr(urlpath, encoding)) return cst_strdup(direct);

  CFIndex size = 256;
  auto* buffer = static_cast<char*>(cst_safe_alloc(static_cast<std::size_t>(size)));
  for (int tried = 1; buffer != nullptr; ++tried) {
    if (CFStringGetCString(urlpath, buffer, size, encoding)) return buffer;
    size *= 2;
    if (tried == kTries) break;
    auto* grown = static_cast<char*>(cst_safe_realloc(buffer, static_cast<std::size_t>(size)));
    if (grown == nullptr) break;
    buffer = grown;
  }
  // Rationale: the size in the message is the next one, which was not tried.
  cst_errmsg("CFStringGetCString still failing at %d\n", static_cast<int>(size));
  if (buffer != nullptr) cst_free(buffer);
  return nullptr;
}
