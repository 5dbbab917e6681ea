// SPDX-License-Identifier: Apache-2.0
//
// Tables that map the synthesiser's phone events to the engine's phones. Lookups are linear: the
// tables are small compared with the work for the phone's audio.
#include <algorithm>
#include <array>

#include "text/phones.h"

namespace kavrel {

namespace {

// A phone event and the phones it is reported as; `count` of them are used.
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

// English, and events that sound the same in other languages.
constexpr auto kEvents = std::to_array<EventRow>({
    one("_", "pau"),
    one("_:", "pau"),
    one("_::", "pau"),
    none(";"),
    none("_!"),
    none("_|"),
    one("a", "ae"),
    one("aa", "ae"),
    one("A:", "aa"),
    one("A#", "aa"),
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
    one("E2", "eh"),
    one("eI", "ey"),
    one("e", "ey"),
    one("aI", "ay"),
    one("aU", "aw"),
    one("OI", "oy"),
    one("oU", "ow"),
    one("o", "ow"),
    one("u", "uw"),
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
    two("IR", "ih", "r"),
    two("VR", "ah", "r"),
    two("U@", "uh", "r"),
    two("i@3", "i", "r"),
    two("i@", "i", "ah"),
    two("aU@", "aw", "ah"),
    two("aI@", "ay", "ah"),
    {"aI3", {"ay", "ah", "r"}, 3},
    two("A~", "aa", "n"),
    two("O~", "ao", "n"),
    one("n", "n"),
    one("n-", "n"),
    one("l", "l"),
    one("l#", "l"),
    one("*", "r"),
    one("**", "r"),
    one("r", "r"),
    one("r-", "r"),
    one("x", "k"),
    one("c", "k"),
    one("q", "k"),
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

struct ForeignRow {
  std::string_view languages;  // two-letter codes; empty: all but English
  EventRow row;
};

// Events that differ from English or do not exist there. The first row that matches applies.
constexpr auto kForeignEvents = std::to_array<ForeignRow>({
    // Names with another meaning in these languages than in most.
    {"pt", one("&", "ah")},
    {"pt", one("s#", "sh")},
    {"nl", none("!")},
    {"nl", one("Q", "g")},
    // Open vowels.
    {"", one("a", "aa")},
    {"", one("a:", "aa")},
    {"", one("a-", "aa")},
    {"", one("a/", "aa")},
    {"", one("a2", "aa")},
    {"", one("A", "aa")},
    {"", one("&", "ae")},
    {"", one("&#", "ae")},
    {"", one("&/", "ah")},
    {"", one("0", "ao")},
    // Front and back vowels.
    {"", one("i/", "i")},
    {"", one("i2", "i")},
    {"", one("i2:", "i")},
    {"", one("i#", "i")},
    {"", one("e", "eh")},
    {"", one("e:", "ey")},
    {"", one("e-", "eh")},
    {"", one("e/", "eh")},
    {"", one("e#", "eh")},
    {"", one("E:", "eh")},
    {"", one("E-", "eh")},
    {"", one("E#", "eh")},
    {"", one("E3", "eh")},
    {"", one("o", "ao")},
    {"", one("o:", "ow")},
    {"", one("o/", "ao")},
    {"", one("3", "ah")},
    {"", one("3-", "ah")},
    // Rounded front and central vowels.
    {"", one("y", "uw")},
    {"", one("y:", "uw")},
    {"", one("y-", "uw")},
    {"", one("u-", "uw")},
    {"", one("u-:", "uw")},
    {"", one("u1", "uw")},
    {"", one("Y", "uh")},
    {"", one("Y:", "uh")},
    {"", one("W", "uh")},
    {"", one("W2", "uh")},
    {"", one("W#", "uh")},
    {"", one("8", "uh")},
    // The Danish stød.
    {"da", one("?V", "ah")},
    {"da", one("?i", "i")},
    {"da", one("?e", "eh")},
    {"da", one("?E", "eh")},
    {"da", one("?&", "ae")},
    {"da", one("?&#", "ae")},
    {"da", one("?A", "aa")},
    {"da", one("?u", "uw")},
    {"da", one("?o", "ao")},
    {"da", one("?O", "ao")},
    {"da", one("?0", "ao")},
    {"da", one("?y", "uw")},
    {"da", one("?Y", "uh")},
    {"da", one("?W", "uh")},
    {"da", one("?W#", "uh")},
    // Nasal vowels.
    {"", two("A~", "aa", "n")},
    {"", two("E~", "ae", "n")},
    {"", two("W~", "ah", "n")},
    {"", two("O~", "ao", "n")},
    {"", two("&~", "ah", "n")},
    {"", two("&U~", "aw", "n")},
    {"", two("e~", "ey", "n")},
    {"", two("i~", "i", "n")},
    {"", two("o~", "ow", "n")},
    {"", two("oI~", "oy", "n")},
    {"", two("u~", "uw", "n")},
    // Diphthongs.
    {"", one("ai", "ay")},
    {"", one("AI", "ay")},
    {"", one("au", "aw")},
    {"", one("VU", "aw")},
    {"", one("ei", "ey")},
    {"", one("EI", "ey")},
    {"", one("oi", "oy")},
    {"", one("oI", "oy")},
    {"", one("OY", "oy")},
    {"", one("ou", "ow")},
    {"", two("eu", "eh", "uw")},
    {"", two("eU", "eh", "uw")},
    {"", two("EU", "eh", "uw")},
    {"", two("ey", "eh", "uw")},
    {"", two("ie", "i", "eh")},
    {"", two("iu", "i", "uw")},
    {"", two("iU", "i", "uw")},
    {"", two("iy", "i", "uw")},
    {"", two("iR", "i", "r")},
    {"", two("ui", "uw", "i")},
    {"", two("uI", "uw", "i")},
    {"", two("u-I", "uw", "i")},
    {"", two("uo", "uw", "ao")},
    {"", two("UR", "uh", "r")},
    {"", two("Wy", "uh", "uw")},
    {"", two("yi", "uw", "i")},
    {"", one("yU", "uw")},
    {"", two("yY", "uw", "uh")},
    {"", two("Yi", "uh", "i")},
    {"", two("Yy", "uh", "uw")},
    {"", two("&i", "ae", "i")},
    {"", two("&y", "ae", "uw")},
    // Kinds of r: trilled, tapped or uvular.
    {"", one("R", "r")},
    {"", one("R2", "r")},
    {"", one("R3", "r")},
    {"", one("r/", "r")},
    {"", one("r/2", "r")},
    {"", one("r2", "r")},
    // Palatals.
    {"", two("l^", "l", "j")},
    {"", two("n^", "n", "j")},
    {"", one("J^", "j")},
    {"", one("J", "j")},
    {"", one("S;", "sh")},
    {"", one("s;", "sh")},
    {"", one("z;", "zh")},
    // Other consonants.
    {"", one("sx", "sh")},
    {"", one("s.", "sh")},
    {"", one("z.", "zh")},
    {"", one("x", "h")},
    {"", one("X", "h")},
    {"", one("B", "v")},
    {"", one("Q", "g")},
    {"", one("g#", "g")},
    {"", one("ss", "s")},
    {"", one("s2", "s")},
    {"", one("z2", "z")},
    {"", one("z3", "z")},
    {"", one("p2", "p")},
    {"", one("t3", "t")},
    {"", one("t[", "t")},
    {"", one("d[", "d")},
    {"", one("n2", "n")},
    {"", one("l2", "l")},
    {"", one("v#", "v")},
    {"", one("w2", "w")},
    {"", one("w/", "w")},
    {"", one("j/", "j")},
    {"", one("j.", "j")},
    {"", one("m-", "m")},
    {"", one("N-", "ng")},
    {"", one("l-", "l")},
    {"", one("tS;", "ch")},
    {"", one("dZ;", "jh")},
    {"", two("ts", "t", "s")},
    {"", two("ts2", "t", "s")},
    {"", two("dz", "d", "z")},
    {"", two("pF", "p", "f")},
});

const EventRow* findEvent(std::string_view event, std::string_view language) {
  if (!isOneOf(language, "en")) {
    for (const auto& [languages, row] : kForeignEvents) {
      if (row.event != event) continue;
      if (languages.empty() || isOneOf(language, languages)) return &row;
    }
  }
  const auto row = std::ranges::find(kEvents, event, &EventRow::event);
  return row != kEvents.end() ? &*row : nullptr;
}

}  // namespace

std::string_view languageOfEvent(std::string_view event) {
  if (event.size() < 2 || event.front() != '(') return {};
  event.remove_prefix(1);
  return event.substr(0, event.find(')'));
}

bool isKnownEvent(std::string_view event, std::string_view language) {
  return findEvent(event, language) != nullptr;
}

// An unknown name is usually a known one with a suffix, or a variant in upper case. A pause as the
// last resort keeps the time of the event.
std::span<const std::string_view> phonesOfEvent(std::string_view event, std::string_view language) {
  static constexpr std::array<std::string_view, 1> kPause = {"pau"};
  for (std::size_t length = event.size(); length > 0; --length) {
    if (const EventRow* row = findEvent(event.substr(0, length), language)) {
      return std::span(row->phones).first(row->count);
    }
  }
  if (!event.empty() && event[0] >= 'A' && event[0] <= 'Z') {
    const char small = static_cast<char>(event[0] - 'A' + 'a');
    if (const EventRow* row = findEvent(std::string_view(&small, 1), language)) {
      return std::span(row->phones).first(row->count);
    }
  }
  return kPause;
}

}  // namespace kavrel
