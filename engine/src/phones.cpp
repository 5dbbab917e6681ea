// SPDX-License-Identifier: GPL-3.0-or-later
#include "phones.h"

#include <algorithm>
#include <array>
#include <optional>

namespace kavrel {

namespace {

struct PhoneRow {
  std::string_view name;
  bool vowel;
  std::string_view stressed;    // the synthesiser's name, for stress 1
  std::string_view unstressed;  // the same for the rest
};

constexpr auto kPhones = std::to_array<PhoneRow>({
    {"pau", false, "_:", "_:"}, {"ae", true, "a", "a"},    {"ey", true, "eI", "eI"},
    {"ao", true, "O:", "O:"},   {"ah", true, "V", "@"},    {"i", true, "i:", "i:"},
    {"eh", true, "E", "E"},     {"ih", true, "I", "I"},    {"ay", true, "aI", "aI"},
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

constexpr std::size_t kLongestName = 3;

struct EventRow {
  std::string_view event;
  std::array<std::string_view, 3> phones;
  std::size_t count;
};

constexpr EventRow none(std::string_view event) {
  return {event, {}, 0};
}
constexpr EventRow one(std::string_view event, std::string_view phone) {
  return {event, {phone}, 1};
}
constexpr EventRow two(std::string_view event, std::string_view first, std::string_view second) {
  return {event, {first, second}, 2};
}

constexpr auto kEvents = std::to_array<EventRow>({
    one("_", "pau"),
    one("_:", "pau"),
    none(";"),
    none("_!"),
    none("_|"),
    one("a", "ae"),
    one("aa", "ae"),
    one("A:", "aa"),
    one("0", "aa"),
    one("O", "ao"),
    one("O:", "ao"),
    one("O2", "ao"),
    one("@", "ah"),
    one("@2", "ah"),
    one("@-", "ah"),
    one("a#", "ah"),
    one("V", "ah"),
    one("i", "i"),
    one("i:", "i"),
    one("I", "ih"),
    one("I2", "ih"),
    one("I#", "ih"),
    one("E", "eh"),
    one("eI", "ey"),
    one("e", "ey"),
    one("aI", "ay"),
    one("aU", "aw"),
    one("OI", "oy"),
    one("oU", "ow"),
    one("o", "ow"),
    one("u:", "uw"),
    one("U", "uh"),
    one("t", "t"),
    one("t#", "t"),
    one("t2", "t"),
    one("?", "t"),
    two("3", "ah", "r"),
    two("3:", "ah", "r"),
    two("@L", "ah", "l"),
    two("A@", "aa", "r"),
    two("O@", "ao", "r"),
    two("o@", "ao", "r"),
    two("e@", "eh", "r"),
    two("U@", "uh", "r"),
    two("i@3", "i", "r"),
    two("i@", "i", "ah"),
    two("aI@", "ay", "ah"),
    {"aI3", {"ay", "ah", "r"}, 3},
    two("A~", "aa", "n"),
    two("O~", "ao", "n"),
    one("n", "n"),
    one("n-", "n"),
    one("l", "l"),
    one("l#", "l"),
    one("r", "r"),
    one("r-", "r"),
    one("x", "k"),
    one("k", "k"),
    one("h", "h"),
    one("C", "h"),
    one("tS", "ch"),
    one("dZ", "jh"),
    one("S", "sh"),
    one("Z", "zh"),
    one("T", "th"),
    one("D", "dh"),
    one("N", "ng"),
    one("j", "j"),
    one("b", "b"),
    one("d", "d"),
    one("f", "f"),
    one("g", "g"),
    one("m", "m"),
    one("p", "p"),
    one("s", "s"),
    one("v", "v"),
    one("w", "w"),
    one("z", "z"),
});

const EventRow* findEvent(std::string_view event) {
  const auto row = std::ranges::find(kEvents, event, &EventRow::event);
  return row != kEvents.end() ? &*row : nullptr;
}

const PhoneRow* findPhone(std::string_view name) {
  const auto row = std::ranges::find(kPhones, name, &PhoneRow::name);
  return row != kPhones.end() ? &*row : nullptr;
}

bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// The phone that `piece` begins with, which is taken off it; nothing when there is none.
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

void readPiece(std::string_view piece, PhoneText& read) {
  const std::size_t before = read.phones.size();
  for (std::string_view rest = piece; !rest.empty();) {
    std::optional<Phone> phone = takePhone(rest);
    if (!phone) {
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

std::span<const std::string_view> phonesOfEvent(std::string_view event) {
  static constexpr std::array<std::string_view, 1> kPause = {"pau"};
  for (std::size_t length = event.size(); length > 0; --length) {
    if (const EventRow* row = findEvent(event.substr(0, length))) {
      return std::span(row->phones).first(row->count);
    }
  }
  if (!event.empty() && event[0] >= 'A' && event[0] <= 'Z') {
    const char small = static_cast<char>(event[0] - 'A' + 'a');
    if (const EventRow* row = findEvent(std::string_view(&small, 1))) {
      return std::span(row->phones).first(row->count);
    }
  }
  return kPause;
}

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

std::string synthesiserInput(std::span<const Phone> phones) {
  std::string input;
  for (const Phone& phone : phones) {
    const PhoneRow* row = findPhone(phone.name);
    if (row == nullptr) continue;
    const std::string_view sound = phone.stress == 1 ? row->stressed : row->unstressed;
    if (sound.empty()) continue;
    if (!input.empty()) input += '|';
    if (row->vowel && phone.stress >= 0) input += phone.stress == 1 ? '\'' : '%';
    input += sound;
  }
  return input;
}

}  // namespace kavrel
