// SPDX-License-Identifier: Apache-2.0
//
// Maps the synthesiser's phone events, which are written in IPA, to the engine's phones: decodes a
// name into symbols, drops diacritics, and reads the symbols by one table of articulatory features.
// Pairs of features make diphthongs and affricates. Lookups are binary searches in constant tables;
// nothing allocates.
#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

#include "base/text/Utf8.h"
#include "text/phones.h"

namespace kavrel {

namespace {

// ---- Features

// What decides how a symbol combines with its neighbours.
enum class Group : std::uint8_t {
  Open,          // begins ay and aw
  NearOpen,      // the same, with a lax second part only
  FrontMid,      // begins ey
  BackMid,       // begins oy and ow
  Central,       // begins ow
  FrontClose,    // ends ay, ey and oy
  BackClose,     // ends aw and ow
  FrontRounded,  // ends oy
  OtherVowel,
  VoicelessStop,  // begins ch
  VoicedStop,     // begins jh
  VoicelessHush,  // ends ch
  VoicedHush,     // ends jh
  GlottalStop,
  Consonant,
};

struct SymbolRow {
  char32_t symbol;
  Group group;
  std::string_view first;
  std::string_view second = {};
};

// Some letters of the synthesiser's own notation appear in its IPA: S, Z, A, N and the like.
constexpr auto kSymbols = [] {
  auto rows = std::to_array<SymbolRow>({
      // Open vowels.
      {U'a', Group::Open, "aa"},
      {U'A', Group::Open, "aa"},
      {U'ɑ', Group::Open, "aa"},
      {U'ɐ', Group::Open, "ah"},
      {U'ʌ', Group::Open, "ah"},
      {U'æ', Group::NearOpen, "ae"},
      // Mid vowels.
      {U'e', Group::FrontMid, "eh"},
      {U'ɛ', Group::FrontMid, "eh"},
      {U'ε', Group::FrontMid, "eh"},
      {U'o', Group::BackMid, "ao"},
      {U'ɔ', Group::BackMid, "ao"},
      {U'ɒ', Group::BackMid, "ao"},
      {U'ə', Group::Central, "ah"},
      {U'ɘ', Group::OtherVowel, "ah"},
      {U'ɜ', Group::OtherVowel, "ah"},
      {U'ɤ', Group::OtherVowel, "ah"},
      {U'ɚ', Group::OtherVowel, "ah", "r"},
      {U'ɝ', Group::OtherVowel, "ah", "r"},
      {U'ø', Group::FrontRounded, "uh"},
      {U'œ', Group::FrontRounded, "uh"},
      {U'ɵ', Group::FrontRounded, "uh"},
      // Close vowels.
      {U'i', Group::FrontClose, "i"},
      {U'ɪ', Group::FrontClose, "ih"},
      {U'ɨ', Group::FrontClose, "ih"},
      {U'ᵻ', Group::FrontClose, "ih"},
      {U'y', Group::FrontRounded, "uw"},
      {U'ʏ', Group::FrontRounded, "uh"},
      {U'u', Group::BackClose, "uw"},
      {U'ʉ', Group::BackClose, "uw"},
      {U'ʊ', Group::BackClose, "uh"},
      {U'ɯ', Group::OtherVowel, "uw"},
      // Stops.
      {U'p', Group::Consonant, "p"},
      {U'b', Group::Consonant, "b"},
      {U'ɓ', Group::Consonant, "b"},
      {U't', Group::VoicelessStop, "t"},
      {U'ʈ', Group::VoicelessStop, "t"},
      {U'd', Group::VoicedStop, "d"},
      {U'ɖ', Group::VoicedStop, "d"},
      {U'ɗ', Group::VoicedStop, "d"},
      {U'c', Group::Consonant, "ch"},
      {U'ɟ', Group::Consonant, "jh"},
      {U'k', Group::Consonant, "k"},
      {U'K', Group::Consonant, "k"},
      {U'q', Group::Consonant, "k"},
      {U'g', Group::Consonant, "g"},
      {U'ɡ', Group::Consonant, "g"},
      {U'ɢ', Group::Consonant, "g"},
      {U'ʔ', Group::GlottalStop, "t"},
      {U'?', Group::GlottalStop, "t"},
      // Affricates that are one symbol.
      {U'ʦ', Group::Consonant, "t", "s"},
      {U'ʣ', Group::Consonant, "d", "z"},
      {U'ʧ', Group::Consonant, "ch"},
      {U'ʤ', Group::Consonant, "jh"},
      // Fricatives.
      {U'f', Group::Consonant, "f"},
      {U'F', Group::Consonant, "f"},
      {U'ɸ', Group::Consonant, "f"},
      {U'Φ', Group::Consonant, "f"},
      {U'v', Group::Consonant, "v"},
      {U'ʋ', Group::Consonant, "v"},
      {U'β', Group::Consonant, "v"},
      {U'θ', Group::Consonant, "th"},
      {U'ð', Group::Consonant, "dh"},
      {U's', Group::Consonant, "s"},
      {U'z', Group::Consonant, "z"},
      {U'S', Group::VoicelessHush, "sh"},
      {U'ʃ', Group::VoicelessHush, "sh"},
      {U'ʂ', Group::VoicelessHush, "sh"},
      {U'ɕ', Group::VoicelessHush, "sh"},
      {U'ɧ', Group::VoicelessHush, "sh"},
      {U'Z', Group::VoicedHush, "zh"},
      {U'ʒ', Group::VoicedHush, "zh"},
      {U'ʐ', Group::VoicedHush, "zh"},
      {U'ʑ', Group::VoicedHush, "zh"},
      {U'ç', Group::Consonant, "h"},
      {U'x', Group::Consonant, "h"},
      {U'χ', Group::Consonant, "h"},
      {U'X', Group::Consonant, "h"},
      {U'ħ', Group::Consonant, "h"},
      {U'ʕ', Group::Consonant, "h"},
      {U'h', Group::Consonant, "h"},
      {U'ɦ', Group::Consonant, "h"},
      {U'ʝ', Group::Consonant, "j"},
      {U'ɣ', Group::Consonant, "g"},
      // Nasals.
      {U'm', Group::Consonant, "m"},
      {U'ɱ', Group::Consonant, "m"},
      {U'n', Group::Consonant, "n"},
      {U'ɳ', Group::Consonant, "n"},
      {U'ɲ', Group::Consonant, "n", "j"},
      {U'ŋ', Group::Consonant, "ng"},
      {U'N', Group::Consonant, "ng"},
      {U'ɴ', Group::Consonant, "ng"},
      // Laterals.
      {U'l', Group::Consonant, "l"},
      {U'ɫ', Group::Consonant, "l"},
      {U'ɭ', Group::Consonant, "l"},
      {U'ɬ', Group::Consonant, "l"},
      {U'ʎ', Group::Consonant, "l", "j"},
      // Kinds of r: approximant, trilled, tapped or uvular.
      {U'r', Group::Consonant, "r"},
      {U'ɹ', Group::Consonant, "r"},
      {U'ɻ', Group::Consonant, "r"},
      {U'ɾ', Group::Consonant, "r"},
      {U'ɽ', Group::Consonant, "r"},
      {U'ʀ', Group::Consonant, "r"},
      {U'ʁ', Group::Consonant, "r"},
      // Glides.
      {U'j', Group::Consonant, "j"},
      {U'ɥ', Group::Consonant, "w"},
      {U'w', Group::Consonant, "w"},
      {U'ʍ', Group::Consonant, "w"},
      {U'ɰ', Group::Consonant, "w"},
  });
  std::ranges::sort(rows, {}, &SymbolRow::symbol);
  return rows;
}();

// Two groups that are one phone.
struct PairRow {
  Group first;
  Group second;
  std::string_view phone;
};
constexpr auto kPairs = std::to_array<PairRow>({
    {Group::Open, Group::FrontClose, "ay"},
    {Group::NearOpen, Group::FrontClose, "ay"},
    {Group::Open, Group::BackClose, "aw"},
    {Group::NearOpen, Group::BackClose, "aw"},
    {Group::FrontMid, Group::FrontClose, "ey"},
    {Group::BackMid, Group::FrontClose, "oy"},
    {Group::BackMid, Group::FrontRounded, "oy"},
    {Group::BackMid, Group::BackClose, "ow"},
    {Group::Central, Group::BackClose, "ow"},
    {Group::VoicelessStop, Group::VoicelessHush, "ch"},
    {Group::VoicedStop, Group::VoicedHush, "jh"},
});

// ---- Names that features do not explain

// A whole name, in a language and its kinds; all languages if empty.
struct NameRow {
  std::string_view language;
  std::string_view event;
  std::array<std::string_view, 2> phones;
};

// The first row that matches applies.
constexpr auto kNames = std::to_array<NameRow>({
    // English centring vowels belong to letters with an r.
    {"en", "eə", {"eh", "r"}},
    {"en", "ɛə", {"eh", "r"}},
    {"en", "ʊə", {"uh", "r"}},
    {"en", "ɪɹ", {"i", "r"}},
    {"en", "ʌʊ", {"ow"}},
    {"en-us", "oː", {"ao"}},
    {"en-us", "aɪʊ", {"aw", "ah"}},
    {"en-us", "aɪʊɹ", {"aw", "ah"}},
    {"", "oːɹ", {"ao", "r"}},
    {"", "ɜː", {"ah", "r"}},
    // German "ihr" and "uhr".
    {"", "i?", {"i", "r"}},
    {"", "??", {"uh", "r"}},
    // Afrikaans "ooi".
    {"", "ʊɪ", {"oy"}},
    // Swedish "sj", Vietnamese "tr".
    {"", "sx", {"sh"}},
    {"", "cr", {"ch"}},
});

// A symbol that is read as another one in a language and its kinds.
struct VariantRow {
  std::string_view language;
  char32_t symbol;
  char32_t other;
};
constexpr auto kVariants = std::to_array<VariantRow>({
    {"en", U'a', U'æ'},
    {"en", U'ɒ', U'ɑ'},
    {"en", U'x', U'k'},
    {"en-us", U'ɾ', U't'},
    {"pt-br", U'æ', U'ɐ'},
    // Where they are the sounds of k and g before front vowels.
    {"az", U'c', U'k'},
    {"az", U'ɟ', U'ɡ'},
    {"el", U'c', U'k'},
    {"el", U'ɟ', U'ɡ'},
    {"is", U'c', U'k'},
    {"is", U'ɟ', U'ɡ'},
    {"tr", U'c', U'k'},
    {"tr", U'ɟ', U'ɡ'},
});

// Returns true if `language` is `other` or a kind of it: "en-us" is "en". All are "".
bool isKindOf(std::string_view language, std::string_view other) {
  return language.starts_with(other) &&
         (other.empty() || language.size() == other.size() || language[other.size()] == '-');
}

const NameRow* findName(std::string_view event, std::string_view language) {
  const auto row = std::ranges::find_if(kNames, [&](const NameRow& name) {
    return name.event == event && isKindOf(language, name.language);
  });
  return row != kNames.end() ? &*row : nullptr;
}

const SymbolRow* findSymbol(char32_t symbol, std::string_view language) {
  const auto variant = std::ranges::find_if(kVariants, [&](const VariantRow& each) {
    return each.symbol == symbol && isKindOf(language, each.language);
  });
  if (variant != kVariants.end()) symbol = variant->other;
  const auto row = std::ranges::lower_bound(kSymbols, symbol, {}, &SymbolRow::symbol);
  return row != kSymbols.end() && row->symbol == symbol ? &*row : nullptr;
}

bool isVowelRow(const SymbolRow& row) {
  return row.group <= Group::OtherVowel;
}

// ---- Symbols of a name

// One symbol with the features that are written after it.
struct Symbol {
  char32_t letter = 0;
  const SymbolRow* row = nullptr;  // nullptr: unknown
  bool isLong = false;
  bool isNasal = false;
};

// Letters that have their tilde or breve in one character.
char32_t withoutMark(char32_t c) {
  switch (c) {
    case U'ã':
      return U'a';
    case U'ẽ':
      return U'e';
    case U'ĩ':
      return U'i';
    case U'õ':
      return U'o';
    case U'ũ':
    case U'ŭ':
      return U'u';
    default:
      return c;
  }
}

// Diacritics, signs of stress, tone and secondary articulation, and the signs that tell the
// synthesiser's variants of a sound apart.
bool isModifier(char32_t c) {
  constexpr std::u32string_view kSigns = U"`#[]\"^.-_+'%,=|;<>*/\\!";
  if (c < 0x20 || (c >= U'0' && c <= U'9')) return true;
  if (c < 0x80) return kSigns.find(c) != std::u32string_view::npos;
  return (c >= 0x2B0 && c < 0x370) || (c >= 0x1D2C && c <= 0x1D6A) || c == 0x207F;
}

// The symbols of an event's name, as many as its 8 bytes can have; the rest of a longer name is
// ignored.
class Symbols {
 public:
  Symbols(std::string_view event, std::string_view language);

  bool isKnown() const { return m_isKnown; }
  bool hasVowel() const;
  std::span<const Symbol> list() const { return std::span(m_symbols).first(m_count); }

 private:
  void add(char32_t c);
  bool joins(char32_t c);

  std::string_view m_language;
  std::array<Symbol, 8> m_symbols;
  std::size_t m_count = 0;
  bool m_isKnown = true;
};

Symbols::Symbols(std::string_view event, std::string_view language) : m_language(language) {
  constexpr char32_t kUnknown = 0xFFFD;
  while (!event.empty()) {
    const base::Utf8Character character = base::firstCharacter(event);
    add(character.length > 0 ? character.code : kUnknown);
    event.remove_prefix(std::max<std::size_t>(character.length, 1));
  }
}

// Adds what is written after a symbol to it, or a new symbol.
void Symbols::add(char32_t c) {
  constexpr char32_t kTilde = 0x303;
  const char32_t letter = withoutMark(c);
  if (m_count > 0 && joins(c)) return;
  if (c == U'ː' || c == U':' || c == U'~' || c == kTilde || isModifier(c)) return;
  if (m_count == m_symbols.size()) return;
  Symbol& symbol = m_symbols[m_count++];
  symbol.letter = letter;
  symbol.row = findSymbol(letter, m_language);
  symbol.isNasal = letter != c && c != U'ŭ';
  if (symbol.row == nullptr) m_isKnown = false;
}

// Returns true if `c` changes the symbol before it.
bool Symbols::joins(char32_t c) {
  constexpr char32_t kTilde = 0x303;
  Symbol& before = m_symbols[m_count - 1];
  const auto become = [&](char32_t letter) {
    before.letter = letter;
    before.row = findSymbol(letter, m_language);
    return true;
  };
  if (c == U'ː' || c == U':' || c == before.letter) return before.isLong = true;
  if (c == U'~' || c == kTilde) return before.isNasal = true;
  if (before.row == nullptr) return false;
  // Retroflex sounds, and the dotted letters of Mandarin.
  if (c == U'.' && before.letter == U's') return become(U'ʂ');
  if (c == U'.' && before.letter == U'z') return become(U'ʐ');
  if (before.letter == U'n' && (c == U'g' || c == U'ɡ')) return become(U'ŋ');
  if (before.letter == U'o' && c == U'e') return become(U'œ');
  if (before.letter == U'e' && c == U'o' && isKindOf(m_language, "yue")) return become(U'ɵ');
  // Aspiration.
  return c == U'h' && !isVowelRow(*before.row);
}

bool Symbols::hasVowel() const {
  return std::ranges::any_of(list(), [](const Symbol& symbol) {
    return symbol.row != nullptr && isVowelRow(*symbol.row);
  });
}

// ---- Phones of the symbols

// Returns the phone that two symbols make together.
std::optional<std::string_view> phoneOfPair(const Symbol& first, const Symbol& second) {
  if (first.row == nullptr || second.row == nullptr) return std::nullopt;
  // Finnish "äi" is two sounds.
  if (first.row->group == Group::NearOpen && (second.letter == U'i' || second.letter == U'u')) {
    return std::nullopt;
  }
  const auto row = std::ranges::find_if(kPairs, [&](const PairRow& pair) {
    return pair.first == first.row->group && pair.second == second.row->group;
  });
  return row != kPairs.end() ? std::optional(row->phone) : std::nullopt;
}

// Returns the phone of a vowel that is not part of a pair. Long and nasal e and o are close to
// English diphthongs, nasal ɛ and œ are more open. The end of a diphthong is a close vowel.
std::string_view phoneOfVowel(const Symbol& symbol, bool afterVowel, std::string_view language) {
  const bool isTense = symbol.isLong || symbol.isNasal || isKindOf(language, "en");
  if (symbol.letter == U'e' && isTense) return "ey";
  if (symbol.letter == U'o' && isTense) return "ow";
  if (symbol.letter == U'ɛ' && symbol.isNasal) return "ae";
  if (symbol.letter == U'œ' && symbol.isNasal) return "ah";
  if (symbol.letter == U'ɪ' && afterVowel) return "i";
  if (symbol.letter == U'ʊ' && afterVowel) return "uw";
  return symbol.row->first;
}

EventPhones phonesOf(const Symbols& symbols, std::string_view language) {
  EventPhones phones;
  const auto list = symbols.list();
  const bool hasVowel = symbols.hasVowel();
  bool afterVowel = false;
  for (std::size_t at = 0; at < list.size(); ++at) {
    const Symbol& symbol = list[at];
    if (symbol.row == nullptr) continue;
    // A catch in the voice at a vowel, as in Danish, is no sound of its own.
    if (symbol.row->group == Group::GlottalStop && hasVowel) continue;
    const bool isLast = at + 1 == list.size();
    const bool vowel = isVowelRow(*symbol.row);
    bool nasal = symbol.isNasal;
    if (const auto pair = isLast ? std::nullopt : phoneOfPair(symbol, list[at + 1])) {
      phones.add(*pair);
      nasal = list[++at].isNasal || nasal;
    } else {
      phones.add(vowel ? phoneOfVowel(symbol, afterVowel, language) : symbol.row->first);
      phones.add(symbol.row->second);
    }
    if (vowel && nasal) phones.add("n");
    afterVowel = vowel;
  }
  return phones;
}

}  // namespace

// A vowel at the end of a diphthong may be the same phone as the vowel before it.
void EventPhones::add(std::string_view phone) {
  if (phone.empty() || m_count == m_phones.size()) return;
  if (m_count > 0 && m_phones[m_count - 1] == phone) return;
  m_phones[m_count++] = phone;
}

std::string_view languageOfEvent(std::string_view event) {
  if (event.size() < 2 || event.front() != '(') return {};
  event.remove_prefix(1);
  return event.substr(0, event.find(')'));
}

bool isKnownEvent(std::string_view event) {
  return findName(event, "en-us") != nullptr || Symbols(event, "en").isKnown();
}

EventPhones phonesOfEvent(std::string_view event, std::string_view language) {
  EventPhones phones;
  if (const NameRow* row = findName(event, language)) {
    for (const std::string_view phone : row->phones) phones.add(phone);
    return phones;
  }
  const Symbols symbols(event, language);
  phones = phonesOf(symbols, language);
  if (phones.empty() && !symbols.isKnown()) phones.add("pau");
  return phones;
}

}  // namespace kavrel
