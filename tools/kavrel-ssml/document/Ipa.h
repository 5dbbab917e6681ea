// SPDX-License-Identifier: Apache-2.0
//
// The engine's phones in the International Phonetic Alphabet. Pure functions.
#pragma once

#include <string>
#include <string_view>

namespace ssml {

// For phones as the converter writes them ("h ah0 l ow1"), separated by blanks or not. A stress
// mark stands in front of the syllable. A pause is a blank. Names that are no phones are left out.
std::string toIpa(std::string_view phones);

}  // namespace ssml
