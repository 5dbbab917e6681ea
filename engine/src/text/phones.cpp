// SPDX-License-Identifier: Apache-2.0
#include "text/phones.h"

#include <algorithm>
#include <array>
#include <optional>

#include "text/phone_inputs.h"

namespace kavrel {

namespace {

struct PhoneRow {
  std::string_view name;
  bool vowel;
  std::string_view stressed;    // the synthesiser's name, for stress 1
  std::string_view unstressed;  // the same, for all other stress
};

// In American English an unstressed "I" at the end of a word becomes "i"; "I#" does not.
constexpr auto kPhones = std::to_array<PhoneRow>({
    {"pau", false, "_:", "_:"}, {"ae", true, "a", "a"},    {"ey", true, "eI", "eI"},
    {"ao", true, "O:", "O:"},   {"ah", true, "V", "@"},    {"i", true, "i:", "i:"},
    {"eh", true, "E", "E"},     {"ih", true, "I", "I#"},   {"ay", true, "aI", "aI"},
    {"aa", true, "A:", "A:"},   {"uw", true, "u:", "u:"},  {"uh", true, "U", "U"},
    {"ow", true, "oU", "oU"},   {"aw", true, "aU", "aU"},  {"oy", true, "OI", "OI"},
    {"b", false, "b", "b"},     {"ch", false, "tS", "tS"}, {"d", false, "d", "d"},
    {"dh", false, "D", "D"},    {"f", false, "f", "f"},    {"g", false, "g", "g"},
    {"h", false, "h", "h"},     {"jh", false, "dZ", "dZ"}, {"k", false, "k", "k"},
    {"l", false, "l", "l"},     {"m", false, "m", "m"},    {"n", false, "n", "n"},
    {"ng", false, "N", "N"},    {"p", false, "p", "p"},    {"r", false, "r", "r"},
    {"s", false, "s", "s"},     {"sh", false, "S", "S"},   {"t", false, "t", "t"},
    {"th", false, "T", "T"},    {"v", false, "v", "v"},    {"w", false, "w", "w"},
    {"j", false, "j", "j"},     {"z", false, "z", "z"},    {"zh", false, "Z", "Z"},
    {".", false, "", ""},
});

// Bytes of the longest name in kPhones.
constexpr std::size_t kLongestName = 3;

const PhoneRow* findPhone(std::string_view name) {
  const auto row = std::ranges::find(kPhones, name, &PhoneRow::name);
  return row != kPhones.end() ? &*row : nullptr;
}

std::string_view usualSound(const PhoneRow& row, int stress) {
  return stress == 1 ? row.stressed : row.unstressed;
}

// Returns what kPhoneInputs has for a language, else for the language that its name begins with.
std::string_view inputsFor(std::string_view language) {
  for (const std::string_view name : {language, language.substr(0, language.find('-'))}) {
    const auto row = std::ranges::find(kPhoneInputs, name, &PhoneInputs::language);
    if (row != kPhoneInputs.end()) return row->sounds;
  }
  return {};
}

// Returns the sound after "NAME=" in a list of inputs; an empty view if it is not there.
std::string_view soundIn(std::string_view inputs, std::string_view name) {
  while (!inputs.empty()) {
    const std::string_view entry = inputs.substr(0, inputs.find(' '));
    if (entry.starts_with(name) && entry.substr(name.size()).starts_with('=')) {
      return entry.substr(name.size() + 1);
    }
    inputs.remove_prefix(std::min(inputs.size(), entry.size() + 1));
  }
  return {};
}

// Returns the synthesiser's name for a phone in a language with these inputs.
std::string_view soundOf(const PhoneRow& row, int stress, std::string_view inputs) {
  std::string name(row.name);
  if (row.vowel) name += stress == 1 ? '1' : '0';
  const std::string_view own = soundIn(inputs, name);
  return own.empty() ? usualSound(row, stress) : own;
}

bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Removes the phone that `piece` begins with, and returns it; nullopt if there is none. The longest
// name wins, so that "aeb" is "ae b".
std::optional<Phone> takePhone(std::string_view& piece) {
  for (std::size_t length = std::min(kLongestName, piece.size()); length > 0; --length) {
    const PhoneRow* row = findPhone(piece.substr(0, length));
    if (row == nullptr) continue;
    piece.remove_prefix(length);
    Phone phone{std::string(row->name), -1};
    if (!piece.empty() && piece[0] >= '0' && piece[0] <= '2') {
      if (row->vowel) phone.stress = piece[0] == '1' ? 1 : 0;
      piece.remove_prefix(1);
    }
    return phone;
  }
  return std::nullopt;
}

// Appends the phones of one piece, or none of them if a part of it is unknown.
void readPiece(std::string_view piece, PhoneText& read) {
  const std::size_t before = read.phones.size();
  for (std::string_view rest = piece; !rest.empty();) {
    std::optional<Phone> phone = takePhone(rest);
    if (!phone) {
      // Drop the phones of this piece, too: half a word would be worse than none.
      read.phones.resize(before);
      if (read.unknown.size() < PhoneText::kMaxUnknown) {
        read.unknown.emplace_back(piece.substr(0, 32));
      }
      return;
    }
    read.phones.push_back(std::move(*phone));
  }
}

}  // namespace

// Splits the text at blanks.
PhoneText readPhones(std::string_view text) {
  PhoneText read;
  std::size_t at = 0;
  while (at < text.size()) {
    if (isBlank(text[at])) {
      ++at;
      continue;
    }
    std::size_t end = at;
    while (end < text.size() && !isBlank(text[end])) ++end;
    readPiece(text.substr(at, end - at), read);
    at = end;
  }
  return read;
}

bool isVowel(std::string_view phone) {
  const PhoneRow* row = findPhone(phone);
  return row != nullptr && row->vowel;
}

std::string_view usualInput(std::string_view phone, int stress) {
  const PhoneRow* row = findPhone(phone);
  return row != nullptr ? usualSound(*row, stress) : std::string_view();
}

// "|" keeps two names apart that would else be read as one; "'" and "%" precede a vowel's stress.
std::string synthesiserInput(std::span<const Phone> phones, std::string_view language) {
  const std::string_view inputs = inputsFor(language);
  std::string input;
  for (const Phone& phone : phones) {
    const PhoneRow* row = findPhone(phone.name);
    if (row == nullptr) continue;
    const std::string_view sound = soundOf(*row, phone.stress, inputs);
    if (sound.empty()) continue;
    if (!input.empty()) input += '|';
    if (row->vowel && phone.stress >= 0) input += phone.stress == 1 ? '\'' : '%';
    input += sound;
  }
  return input;
}

}  // namespace kavrel
