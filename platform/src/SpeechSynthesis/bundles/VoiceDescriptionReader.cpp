// SPDX-License-Identifier: Apache-2.0
//
// VoiceDescriptionReader: checks every value before it is stored, since a bundle of another maker
// may be damaged. pugixml parses the property list.
#include "SpeechSynthesis/bundles/VoiceDescriptionReader.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <limits>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <pugixml.hpp>
#include <unistd.h>

#include "SpeechSynthesis/bundles/VoiceCodes.h"
#include "base/text/MacRoman.h"
#include "base/text/Utf8.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

// The most that is read of a property list. One with all keys has about 1 KiB.
constexpr std::size_t kMostBytes = 65536;

// Throws std::bad_alloc if the system is out of memory, which says nothing about the file.
[[noreturn]] void throwUnreadable(int error) {
  if (error == ENOMEM) throw std::bad_alloc();
  throw BundleError(std::string("Info.plist cannot be read: ") + std::strerror(error));
}

// No streams: these report a lack of memory as any other failure.
std::string contentOf(const fs::path& file) {
  std::array<char, 4096> block;
  std::string content;
  // Before the file is opened: appending must not throw.
  content.reserve(kMostBytes + block.size());
  const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) throwUnreadable(errno);
  ssize_t count = 1;
  while (count > 0 && content.size() <= kMostBytes) {
    count = ::read(descriptor, block.data(), block.size());
    if (count > 0) content.append(block.data(), static_cast<std::size_t>(count));
  }
  const int error = errno;
  ::close(descriptor);
  if (count < 0) throwUnreadable(error);
  if (content.size() > kMostBytes) {
    throw BundleError("Info.plist is longer than " + std::to_string(kMostBytes) + " bytes");
  }
  return content;
}

// The dictionary at the root of a property list. The functions throw BundleError, which names the
// key whose value is missing or has the wrong type.
class PropertyList {
 public:
  explicit PropertyList(const fs::path& file) {
    const std::string content = contentOf(file);
    const pugi::xml_parse_result parsed = m_document.load_buffer(content.data(), content.size());
    if (parsed.status == pugi::status_out_of_memory) throw std::bad_alloc();
    if (!parsed) throw BundleError("Info.plist cannot be read: " + describe(parsed));
    m_dictionary = m_document.child("plist").child("dict");
    if (!m_dictionary) throw BundleError("Info.plist has no dictionary");
  }

  std::optional<std::string> optionalText(const char* key) const {
    const pugi::xml_node value = valueOf(key);
    if (!value) return std::nullopt;
    if (std::string_view(value.name()) != "string") throw wrongType(key, "a string");
    return value.text().get();
  }

  std::string text(const char* key) const {
    const auto value = optionalText(key);
    if (!value) throw BundleError(missing(key));
    return *value;
  }

  std::optional<std::int64_t> optionalNumber(const char* key, std::int64_t smallest,
                                             std::int64_t largest) const {
    const pugi::xml_node value = valueOf(key);
    if (!value) return std::nullopt;
    if (std::string_view(value.name()) != "integer") throw wrongType(key, "an integer");
    const std::string_view digits = value.text().get();
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(digits.begin(), digits.end(), number);
    // First: a number that does not fit in 64 bits is out of range, not malformed.
    if (error == std::errc::result_out_of_range || number < smallest || number > largest) {
      throw BundleError(std::string(key) + " is out of range");
    }
    if (error != std::errc() || end != digits.end()) throw wrongType(key, "an integer");
    return number;
  }

  std::int64_t number(const char* key, std::int64_t smallest, std::int64_t largest) const {
    const auto value = optionalNumber(key, smallest, largest);
    if (!value) throw BundleError(missing(key));
    return *value;
  }

 private:
  static std::string describe(const pugi::xml_parse_result& result) {
    return std::string(result.description()) + " at byte " + std::to_string(result.offset);
  }
  static std::string missing(const char* key) { return std::string(key) + " is missing"; }
  static BundleError wrongType(const char* key, const char* type) {
    return BundleError(std::string(key) + " is not " + type);
  }

  // The element after <key>; empty if there is no such key.
  pugi::xml_node valueOf(const char* key) const {
    for (const pugi::xml_node node : m_dictionary.children("key")) {
      if (std::string_view(node.text().get()) == key) return nextElement(node);
    }
    return {};
  }
  // Skips text and comments between elements.
  static pugi::xml_node nextElement(pugi::xml_node node) {
    do node = node.next_sibling();
    while (node && node.type() != pugi::node_element);
    return node;
  }

  pugi::xml_document m_document;
  pugi::xml_node m_dictionary;
};

// Both layouts of a bundle are accepted.
fs::path propertyListOf(const fs::path& bundle) {
  std::error_code failure;
  for (const char* const name : {"Info.plist", "Contents/Info.plist"}) {
    fs::path file = bundle / name;
    if (fs::is_regular_file(file, failure)) return file;
  }
  throw BundleError("it has no Info.plist");
}

// The first character is the most significant byte.
OSType fourCharCode(const std::string& text, const char* key) {
  const auto isAscii = [](char c) { return c >= ' ' && c <= '~'; };
  if (text.size() != 4 || !std::all_of(text.begin(), text.end(), isAscii)) {
    throw BundleError(std::string(key) + " is not four ASCII characters");
  }
  OSType code = 0;
  for (const char c : text) code = (code << 8U) | static_cast<std::uint8_t>(c);
  return code;
}

SInt16 genderOf(const std::string& text) {
  if (text == "male") return kMale;
  if (text == "female") return kFemale;
  if (text == "neuter") return kNeuter;
  throw BundleError("VoiceGender is not male, female or neuter");
}

// Stores UTF-8 text as a Pascal string of Mac OS Roman. `room` includes the length byte. Returns
// false, and has stored nothing, if the text has too many characters or others than that.
bool storeMacRoman(std::string_view text, unsigned char* destination, std::size_t room) {
  std::array<unsigned char, 256> bytes{};
  std::size_t length = 0;
  while (!text.empty()) {
    const base::Utf8Character character = base::firstCharacter(text);
    const auto byte = character.length > 0 ? base::toMacRoman(character.code) : std::nullopt;
    if (!byte || length + 1 == room) return false;
    bytes[++length] = *byte;
    text.remove_prefix(character.length);
  }
  bytes[0] = static_cast<unsigned char>(length);
  std::copy_n(bytes.begin(), length + 1, destination);
  return true;
}

void storeName(const std::string& name, Str63& destination) {
  if (name.empty()) throw BundleError("VoiceName is empty");
  if (!storeMacRoman(name, destination, sizeof destination)) {
    throw BundleError("VoiceName is longer than 63 characters or not Mac OS Roman");
  }
}

// In Mac OS Roman if that has every character, else in UTF-8 as far as whole characters fit.
void storeDemoText(const std::string& text, Str255& destination) {
  if (storeMacRoman(text, destination, sizeof destination)) return;
  std::size_t characters = 0;
  std::size_t length = 0;
  for (std::string_view rest = text; !rest.empty(); ++characters) {
    const base::Utf8Character character = base::firstCharacter(rest);
    if (character.length == 0 || characters == sizeof destination - 1) {
      throw BundleError("VoiceDemoText is longer than 255 characters or not UTF-8");
    }
    rest.remove_prefix(character.length);
    const std::size_t end = text.size() - rest.size();
    if (end < sizeof destination) length = end;
  }
  destination[0] = static_cast<unsigned char>(length);
  std::copy_n(text.begin(), length, destination + 1);
}

}  // namespace

// The order of the checks decides which of several mistakes is reported.
Voice readVoice(const fs::path& bundle, TrustedPaths& trusted) {
  std::error_code failure;
  if (!fs::is_directory(bundle, failure)) throw BundleError("it is not a folder");
  if (const auto reason = trusted.problemOfTree(bundle)) throw BundleError(*reason);
  const fs::path file = propertyListOf(bundle);
  // Again, as a link in the bundle may lead to another folder.
  if (const auto reason = trusted.problemOf(file)) throw BundleError(*reason);
  const PropertyList list(file);

  Voice voice{};
  voice.bundle = bundle;
  voice.locale = list.text("VoiceLocaleIdentifier");
  if (!isLocale(voice.locale)) {
    throw BundleError("VoiceLocaleIdentifier is not a locale such as en_US");
  }
  voice.spec.creator = fourCharCode(list.text("VoiceCreator"), "VoiceCreator");
  voice.spec.id =
      static_cast<OSType>(list.number("VoiceID", 0, std::numeric_limits<OSType>::max()));

  constexpr std::int64_t kLargest = std::numeric_limits<SInt32>::max();
  VoiceDescription& description = voice.description;
  description.length = sizeof description;
  description.voice = voice.spec;
  description.version =
      static_cast<SInt32>(list.optionalNumber("VoiceVersion", 0, kLargest).value_or(0));
  storeName(list.text("VoiceName"), description.name);
  storeDemoText(list.optionalText("VoiceDemoText").value_or(""), description.comment);
  description.gender = genderOf(list.text("VoiceGender"));
  description.age = static_cast<SInt16>(list.optionalNumber("VoiceAge", 0, 32767).value_or(0));
  const VoiceCodes codes = codesOf(voice.locale);
  description.script = codes.script;
  description.language = codes.language;
  description.region = codes.region;
  return voice;
}

}  // namespace platform
