// SPDX-License-Identifier: Apache-2.0
#include "text/language_rules.h"

#include <algorithm>
#include <array>

namespace kavrel {

namespace {

constexpr auto kWithOrdinals = std::to_array<std::string_view>(
    {"cs", "da", "de", "et", "fi", "hr", "hu", "is", "lv", "nb", "sk", "sl", "sr", "tr"});

}  // namespace

LanguageRules rulesOf(std::string_view language) {
  const std::string_view primary = language.substr(0, language.find('-'));
  LanguageRules rules;
  if (!primary.empty()) rules.language = primary;
  rules.spacesQuotes = primary == "fr";
  rules.hasOrdinals = std::ranges::find(kWithOrdinals, primary) != kWithOrdinals.end();
  rules.endsAtSemicolon = primary == "el" || primary == "grc";
  rules.hasLetterApostrophe = primary == "uk";
  rules.dropsJoiners = primary == "hi" || primary == "si";
  return rules;
}

}  // namespace kavrel
