// SPDX-License-Identifier: Apache-2.0
//
// The characters of a token as the synthesiser is given them. Pure functions, safe on any thread;
// may throw std::bad_alloc only.
#pragma once

#include <span>
#include <string>

#include "text/language_rules.h"
#include "text/words.h"

namespace kavrel {

// Returns the characters of `letters` in the form that the synthesiser reads best:
//   - composed (NFC): it spells an accent that is a character of its own;
//   - decimal digits of all scripts, fullwidth forms and numbers in circles as ASCII; Ethiopic
//     numbers as ASCII numbers;
//   - special hyphens as "-";
//   - without characters that have no sound: byte order mark, direction marks, soft hyphen,
//     tatweel, variation selectors. Joiners and non-joiners stay where they change the reading.
std::wstring spokenForm(std::span<const Letter> letters, const LanguageRules& rules);

}  // namespace kavrel
