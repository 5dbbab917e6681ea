// SPDX-License-Identifier: Apache-2.0
//
// Abbreviations, by language. Pure functions, safe on any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace kavrel {

// What a full stop after an abbreviation can mean.
enum class Abbreviation : std::uint8_t {
  NeverEnds,     // a name or a number follows, never the end of a sentence: "Dr."
  MayEnd,        // occurs at the end of a sentence as well as inside one: "etc."
  BeforeNumber,  // an abbreviation only before a number: "No. 5"
};

// Returns the kind of an abbreviation in a language; nullopt for all other words. `word`: UTF-8, in
// lower case, without its last full stop. `language`: the part of its tag before the first hyphen.
std::optional<Abbreviation> abbreviationOf(std::string_view word, std::string_view language);

}  // namespace kavrel
