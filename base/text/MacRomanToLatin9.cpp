// SPDX-License-Identifier: Apache-2.0
#include "base/text/MacRomanToLatin9.h"

#include <string_view>

#include "base/text/Latin9.h"
#include "base/text/MacRoman.h"

namespace base {
namespace {

struct PlainForm {
  char16_t character;
  std::string_view text;
};

// Replacements for the 47 characters of Mac OS Roman that ISO 8859-15 lacks. They are chosen for
// speech: relations and letters become the words that people read them as, and marks that are not
// read aloud become a blank.
constexpr std::array<PlainForm, 47> kPlainForms = {{
    {0x2020, " "},               // dagger
    {0x2022, "-"},               // bullet
    {0x2122, "(TM)"},            // trade mark
    {0x00B4, "'"},               // acute accent
    {0x00A8, "\""},              // diaeresis
    {0x2260, " not equal to "},  //
    {0x221E, "infinity"},        //
    {0x2264, " at most "},       // less than or equal to
    {0x2265, " at least "},      // greater than or equal to
    {0x2202, "d"},               // partial differential
    {0x2211, "sum "},            //
    {0x220F, "product "},        //
    {0x03C0, "pi"},              //
    {0x222B, "integral "},       //
    {0x03A9, "Omega"},           //
    {0x221A, "root "},           // square root
    {0x0192, "f"},               // f with hook
    {0x2248, "~"},               // almost equal to
    {0x2206, "Delta"},           // increment
    {0x2026, "..."},             // ellipsis
    {0x2013, "-"},               // en dash
    {0x2014, "-"},               // em dash
    {0x201C, "\""},              // double quotation marks
    {0x201D, "\""},              //
    {0x2018, "'"},               // single quotation marks
    {0x2019, "'"},               //
    {0x25CA, " "},               // lozenge
    {0x2044, "/"},               // fraction slash
    {0x2039, "'"},               // single angle quotation marks
    {0x203A, "'"},               //
    {0xFB01, "fi"},              // ligatures
    {0xFB02, "fl"},              //
    {0x2021, " "},               // double dagger
    {0x201A, "'"},               // low quotation marks
    {0x201E, "\""},              //
    {0x2030, " per mille"},      //
    {0xF8FF, " "},               // the logo
    {0x0131, "i"},               // dotless i
    {0x02C6, "^"},               // accents without a letter
    {0x02DC, "~"},               //
    {0x02D8, " "},               //
    {0x02D9, " "},               //
    {0x02DA, " "},               //
    {0x00B8, ","},               //
    {0x02DD, "\""},              //
    {0x02DB, " "},               //
    {0x02C7, " "},               //
}};

constexpr std::string_view plainForm(char32_t character) {
  for (const PlainForm& form : kPlainForms) {
    if (form.character == character) return form.text;
  }
  return {};
}

// A character that both sets have keeps its meaning; any other is replaced by its plain form.
constexpr Replacement replacementOf(std::uint8_t byte) {
  const char32_t character = fromMacRoman(byte);
  Replacement result{};
  if (const auto exact = toLatin9(character)) {
    result.length = 1;
    result.bytes[0] = static_cast<char>(*exact);
    return result;
  }
  for (const char c : plainForm(character)) result.bytes[result.length++] = c;
  return result;
}

constexpr auto kTable = [] {
  std::array<Replacement, 256> table{};
  for (unsigned byte = 0; byte < table.size(); ++byte) {
    table[byte] = replacementOf(static_cast<std::uint8_t>(byte));
  }
  return table;
}();

static_assert(
    [] {
      for (const Replacement& replacement : kTable) {
        if (replacement.length == 0) return false;
      }
      return true;
    }(),
    "every byte has a replacement");

}  // namespace

constexpr std::array<Replacement, 256> kMacRomanToLatin9 = kTable;

}  // namespace base
