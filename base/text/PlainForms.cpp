// SPDX-License-Identifier: Apache-2.0
#include "base/text/PlainForms.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <string_view>

#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/uscript.h>
#include <unicode/utf16.h>

#include "base/text/MacRoman.h"
#include "base/text/Utf16.h"

namespace base {
namespace {

struct PlainForm {
  char32_t character;
  std::string_view text;
};

// Customary forms that Unicode's data do not contain, sorted by character for the binary search.
// Each is what people type for the character, or the word that they read it as.
constexpr PlainForm kPlainForms[] = {
    {0x0085, "\n"},    // next line
    {0x00A6, "|"},     // broken bar
    {0x00D0, "D"},     // eth
    {0x00D7, "x"},     // multiplication sign
    {0x00DE, "Th"},    // thorn
    {0x00F0, "d"},     // eth
    {0x00FE, "th"},    // thorn
    {0x0138, "k"},     // kra
    {0x013F, "L"},     // L with middle dot
    {0x0140, "l"},     //
    {0x014A, "N"},     // eng
    {0x014B, "n"},     //
    {0x0186, "O"},     // open O
    {0x0189, "D"},     // African D
    {0x018E, "E"},     // reversed E
    {0x018F, "E"},     // schwa
    {0x0190, "E"},     // open E
    {0x0195, "hv"},    // hwair
    {0x0196, "I"},     // iota
    {0x019F, "O"},     // O with middle tilde
    {0x01A2, "OI"},    // gha
    {0x01A3, "oi"},    //
    {0x01A9, "Sh"},    // esh
    {0x01B7, "Zh"},    // ezh
    {0x01BF, "w"},     // wynn
    {0x01DD, "e"},     // turned e
    {0x01F6, "Hv"},    // hwair
    {0x01F7, "W"},     // wynn
    {0x021C, "Y"},     // yogh
    {0x021D, "y"},     //
    {0x0222, "Ou"},    // ou
    {0x0223, "ou"},    //
    {0x0238, "db"},    // digraphs
    {0x0239, "qp"},    //
    {0x0244, "U"},     // U bar
    {0x0250, "a"},     // turned a
    {0x0254, "o"},     // open o
    {0x0259, "e"},     // schwa
    {0x025A, "e"},     // schwa with hook
    {0x025B, "e"},     // open e
    {0x025C, "e"},     // reversed open e
    {0x0267, "h"},     // heng with hook
    {0x0269, "i"},     // iota
    {0x0276, "OE"},    // small capital OE
    {0x0283, "sh"},    // esh
    {0x0289, "u"},     // u bar
    {0x0292, "zh"},    // ezh
    {0x02A3, "dz"},    // digraphs
    {0x02A4, "dzh"},   //
    {0x02A5, "dz"},    //
    {0x02A6, "ts"},    //
    {0x02A7, "tsh"},   //
    {0x02A8, "tc"},    //
    {0x02AA, "ls"},    //
    {0x02AB, "lz"},    //
    {0x02B9, "'"},     // modifier prime
    {0x02BA, "\""},    // modifier double prime
    {0x02BB, "\xD4"},  // turned comma: left quotation mark
    {0x02BC, "\xD5"},  // modifier apostrophe: right quotation mark
    {0x02BD, "\xD4"},  // reversed comma
    {0x02C8, "'"},     // stress mark
    {0x02C9, "\xF8"},  // modifier macron
    {0x02CA, "\xAB"},  // modifier acute
    {0x02CB, "`"},     // modifier grave
    {0x02CD, "_"},     // low macron
    {0x02D0, ":"},     // length mark
    {0x0394, "\xC6"},  // Greek Delta: increment
    {0x03BC, "\xB5"},  // Greek mu: micro
    {0x0589, "."},     // Armenian full stop
    {0x060C, ","},     // Arabic comma
    {0x061B, ";"},     // Arabic semicolon
    {0x061F, "?"},     // Arabic question mark
    {0x066A, "%"},     // Arabic percent
    {0x066B, "."},     // Arabic decimal separator
    {0x066C, ","},     // Arabic thousands separator
    {0x066D, "*"},     // Arabic star
    {0x06D4, "."},     // Arabic full stop
    {0x0964, "."},     // danda
    {0x0965, "."},     // double danda
    {0x1D01, "AE"},    // small capital AE
    {0x1D06, "d"},     // small capital eth
    {0x1D6B, "ue"},    // ue
    {0x1D7A, "th"},    // th with strikethrough
    {0x1D7B, "i"},     // small capital I with stroke
    {0x1D7E, "u"},     // small capital U with stroke
    {0x1E9C, "s"},     // long s with stroke
    {0x1E9D, "s"},     //
    {0x1E9E, "SS"},    // capital sharp s
    {0x1EFA, "LL"},    // Middle Welsh LL
    {0x1EFB, "ll"},    //
    {0x1EFC, "V"},     // Middle Welsh V
    {0x1EFD, "v"},     //
    {0x2016, "||"},    // double vertical line
    {0x201B, "'"},     // reversed quotation marks
    {0x201F, "\""},    //
    {0x2028, "\n"},    // line separator
    {0x2029, "\n"},    // paragraph separator
    {0x2032, "'"},     // prime
    {0x2033, "\""},    // double prime
    {0x2035, "`"},     // reversed prime
    {0x203B, "*"},     // reference mark
    {0x203D, "?!"},    // interrobang
    {0x2043, "-"},     // hyphen bullet
    {0x204A, "&"},     // Tironian et
    {0x204E, "*"},     // low asterisk
    {0x20A0, "ECU"},   // currencies without a name of their own: by code
    {0x20A1, "CRC"},   //
    {0x20A2, "Cr"},    //
    {0x20A3, "Fr"},    //
    {0x20A4, "\xA3"},  // lira: pound sign
    {0x20A6, "NGN"},   //
    {0x20A7, "Pts"},   //
    {0x20A9, "KRW"},   //
    {0x20AA, "ILS"},   //
    {0x20AB, "VND"},   //
    {0x20AD, "LAK"},   //
    {0x20AE, "MNT"},   //
    {0x20AF, "GRD"},   //
    {0x20B1, "PHP"},   //
    {0x20B2, "PYG"},   //
    {0x20B4, "UAH"},   //
    {0x20B5, "GHS"},   //
    {0x20B8, "KZT"},   //
    {0x20B9, "INR"},   //
    {0x20BA, "TRY"},   //
    {0x20BC, "AZN"},   //
    {0x20BD, "RUB"},   //
    {0x20BE, "GEL"},   //
    {0x20BF, "BTC"},   //
    {0x2117, "(P)"},   // sound recording copyright
    {0x211E, "Rx"},    // prescription
    {0x212E, "e"},     // estimated
    {0x2190, "<-"},    // arrows
    {0x2192, "->"},    //
    {0x2194, "<->"},   //
    {0x21D0, "<="},    //
    {0x21D2, "=>"},    //
    {0x21D4, "<=>"},   //
    {0x2212, "-"},     // minus
    {0x2215, "/"},     // division slash
    {0x2216, "\\"},    // set minus
    {0x2217, "*"},     // asterisk operator
    {0x2219, "\xE1"},  // bullet operator: middle dot
    {0x2223, "|"},     // divides
    {0x2225, "||"},    // parallel to
    {0x2236, ":"},     // ratio
    {0x223C, "~"},     // tilde operator
    {0x2243, "\xC5"},  // almost equal
    {0x2245, "\xC5"},  //
    {0x2261, "="},     // identical
    {0x226A, "<<"},    // much less, much greater
    {0x226B, ">>"},    //
    {0x22C5, "\xE1"},  // dot operator: middle dot
    {0x22EF, "\xC9"},  // midline ellipsis
    {0x25E6, "\xA5"},  // white bullet: bullet
    {0x27E6, "["},     // mathematical brackets
    {0x27E7, "]"},     //
    {0x27E8, "<"},     //
    {0x27E9, ">"},     //
    {0x27EA, "<<"},    //
    {0x27EB, ">>"},    //
    {0x27EE, "("},     //
    {0x27EF, ")"},     //
    {0x27F5, "<-"},    //
    {0x27F6, "->"},    //
    {0x27F7, "<->"},   //
    {0x27F8, "<="},    //
    {0x27F9, "=>"},    //
    {0x27FA, "<=>"},   //
    {0x2985, "("},     //
    {0x2986, ")"},     //
    {0x29F5, "\\"},    // reverse solidus operator
    {0x29F8, "/"},     // big solidus
    {0x3001, ","},     // ideographic comma
    {0x3002, "."},     // ideographic full stop
    {0x3008, "<"},     // CJK brackets
    {0x3009, ">"},     //
    {0x300A, "\xC7"},  //
    {0x300B, "\xC8"},  //
    {0x3010, "["},     //
    {0x3011, "]"},     //
    {0x3014, "("},     //
    {0x3015, ")"},     //
    {0x3016, "["},     //
    {0x3017, "]"},     //
    {0x30FB, "\xE1"},  // katakana middle dot
};
static_assert(std::is_sorted(std::begin(kPlainForms), std::end(kPlainForms),
                             [](const PlainForm& a, const PlainForm& b) {
                               return a.character < b.character;
                             }));

// Longest raw decomposition in Unicode: 18 units (U+FDFA).
constexpr std::int32_t kLongestDecomposition = 32;

struct Decomposition {
  std::array<char16_t, kLongestDecomposition> units;
  std::int32_t length = 0;

  // Returns the character at `at` and advances `at` to the next one.
  char32_t next(std::int32_t& at) const {
    UChar32 code = 0;
    U16_NEXT(units.data(), at, length, code);
    return static_cast<char32_t>(code);
  }
};

// ICU's function for the data of one normalization form. It fails if the data cannot be loaded.
using Instance = const UNormalizer2* (*)(UErrorCode*);

// Returns null if ICU cannot load the data.
const UNormalizer2* instanceOf(Instance instance) {
  UErrorCode error = U_ZERO_ERROR;
  const UNormalizer2* const normalizer = instance(&error);
  return U_SUCCESS(error) ? normalizer : nullptr;
}

// Returns the decomposition of a character, of length 0 if it has none. `decompose` is one of
// unorm2_get…Decomposition.
template <typename Function>
Decomposition decompositionOf(Instance instance, Function decompose, char32_t character) {
  Decomposition result;
  const UNormalizer2* const normalizer = instanceOf(instance);
  if (normalizer == nullptr) return result;
  UErrorCode error = U_ZERO_ERROR;
  const std::int32_t length = decompose(normalizer, static_cast<UChar32>(character),
                                        result.units.data(), kLongestDecomposition, &error);
  if (U_SUCCESS(error) && length > 0) result.length = length;
  return result;
}

// Returns `letter` combined with `mark` if Mac OS Roman has the result, otherwise `letter`. `mark`
// must be a single mark without a decomposition.
char32_t withPlainAccent(char32_t letter, char32_t mark) {
  const UNormalizer2* const normalizer = instanceOf(unorm2_getNFCInstance);
  if (normalizer == nullptr) return letter;
  const UChar32 both =
      unorm2_composePair(normalizer, static_cast<UChar32>(letter), static_cast<UChar32>(mark));
  if (both < 0 || !toMacRoman(static_cast<char32_t>(both))) return letter;
  return static_cast<char32_t>(both);
}

// Returns `character` without the accents for which Mac OS Roman has no combined letter.
char32_t dropUnknownAccents(char32_t character) {
  if (toMacRoman(character)) return character;
  const Decomposition parts =
      decompositionOf(unorm2_getNFCInstance, unorm2_getDecomposition, character);
  if (parts.length == 0) return character;
  std::int32_t at = 0;
  char32_t letter = parts.next(at);
  while (at < parts.length) letter = withPlainAccent(letter, parts.next(at));
  return letter;
}

bool hasNoWidth(char32_t character) {
  const auto code = static_cast<UChar32>(character);
  return isCombiningMark(character) || u_charType(code) == U_FORMAT_CHAR ||
         u_hasBinaryProperty(code, UCHAR_DEFAULT_IGNORABLE_CODE_POINT);
}

// Returns the base letter of a Latin letter, or 0 for any other character. Unicode has no property
// for it, so it is read from the name: X from "LATIN SMALL LETTER X WITH …" and similar names.
char baseLetter(char32_t character) {
  UErrorCode error = U_ZERO_ERROR;
  const auto code = static_cast<UChar32>(character);
  if (uscript_getScript(code, &error) != USCRIPT_LATIN || U_FAILURE(error)) return 0;
  char buffer[128];
  const std::int32_t length = u_charName(code, U_UNICODE_CHAR_NAME, buffer, sizeof buffer, &error);
  if (U_FAILURE(error) || length >= static_cast<std::int32_t>(sizeof buffer)) return 0;
  std::string_view name(buffer, static_cast<std::size_t>(length));
  const auto skip = [&name](std::string_view prefix) {
    const bool isThere = name.starts_with(prefix);
    if (isThere) name.remove_prefix(prefix.size());
    return isThere;
  };
  bool isSmall = skip("LATIN SMALL LETTER ");
  if (!isSmall && !skip("LATIN CAPITAL LETTER ")) {
    if (!skip("LATIN LETTER SMALL CAPITAL ")) return 0;
    isSmall = true;
  }
  while (skip("TURNED ") || skip("REVERSED ") || skip("SIDEWAYS ") || skip("OPEN ") ||
         skip("DOTLESS ") || skip("CLOSED ") || skip("SCRIPT ") || skip("BARRED ")) {
  }
  const bool isOneLetter =
      name.size() == 1 || name.substr(std::min<std::size_t>(1, name.size())).starts_with(" WITH ");
  if (name.empty() || !isOneLetter || name[0] < 'A' || name[0] > 'Z') return 0;
  return isSmall ? static_cast<char>(name[0] - 'A' + 'a') : name[0];
}

// Returns the form that follows from the properties of a character, or 0 if none does.
char formByProperties(char32_t character) {
  const auto code = static_cast<UChar32>(character);
  if (const std::int32_t digit = u_charDigitValue(code); digit >= 0) {
    return static_cast<char>('0' + digit);
  }
  if (u_hasBinaryProperty(code, UCHAR_DASH)) return '-';
  if (u_hasBinaryProperty(code, UCHAR_QUOTATION_MARK)) return '"';
  if (u_hasBinaryProperty(code, UCHAR_WHITE_SPACE)) return ' ';
  return baseLetter(character);
}

bool appendForm(std::string& macRoman, char32_t character);

// Appends the forms of all parts. Returns false if one of them has no form; the caller then removes
// what was appended.
bool appendParts(std::string& macRoman, const Decomposition& parts) {
  constexpr char32_t kFractionSlash = 0x2044;
  for (std::int32_t at = 0; at < parts.length;) {
    char32_t letter = parts.next(at);
    // Accents after the letter combine with it.
    for (std::int32_t next = at; next < parts.length; at = next) {
      const char32_t mark = parts.next(next);
      if (!isCombiningMark(mark)) break;
      letter = withAccent(letter, mark);
    }
    if (!appendForm(macRoman, letter == kFractionSlash ? U'/' : letter)) return false;
  }
  return true;
}

// Tries the steps of PlainForms.h in order. Returns false if the character has no form; the caller
// then removes what was appended.
bool appendForm(std::string& macRoman, char32_t character) {
  const char32_t letter = dropUnknownAccents(character);
  if (const auto byte = toMacRoman(letter)) {
    macRoman += static_cast<char>(*byte);
    return true;
  }
  if (hasNoWidth(letter)) return true;
  const auto* const own = std::lower_bound(
      std::begin(kPlainForms), std::end(kPlainForms), letter,
      [](const PlainForm& row, char32_t wanted) { return row.character < wanted; });
  if (own != std::end(kPlainForms) && own->character == letter) {
    macRoman += own->text;
    return true;
  }
  const Decomposition parts =
      decompositionOf(unorm2_getNFKCInstance, unorm2_getRawDecomposition, letter);
  const std::size_t before = macRoman.size();
  if (parts.length > 0 && appendParts(macRoman, parts)) return true;
  // A character whose parts have no forms may still have one by its properties.
  macRoman.resize(before);
  const char form = formByProperties(letter);
  if (form != 0) macRoman += form;
  return form != 0;
}

}  // namespace

void appendPlainForm(std::string& macRoman, char32_t character) {
  if (character != 0 && character < 0x80) {
    macRoman += static_cast<char>(character);
    return;
  }
  const std::size_t before = macRoman.size();
  if (character != 0 && isScalarValue(character) && appendForm(macRoman, character)) return;
  macRoman.resize(before);
  macRoman += ' ';
}

bool isCombiningMark(char32_t character) {
  return (U_GET_GC_MASK(static_cast<UChar32>(character)) & U_GC_M_MASK) != 0;
}

char32_t withAccent(char32_t letter, char32_t mark) {
  const Decomposition marks = decompositionOf(unorm2_getNFCInstance, unorm2_getDecomposition, mark);
  char32_t result = dropUnknownAccents(letter);
  if (marks.length == 0) return withPlainAccent(result, mark);
  // A mark may be two marks in one character, such as U+0344.
  for (std::int32_t at = 0; at < marks.length;) result = withPlainAccent(result, marks.next(at));
  return result;
}

bool isNumberForm(char32_t character) {
  return character >= 0x80 && u_charType(static_cast<UChar32>(character)) == U_OTHER_NUMBER;
}

}  // namespace base
