// SPDX-License-Identifier: Apache-2.0
//
// Ipa: converts the engine's phones to the International Phonetic Alphabet. Pure functions.
#pragma once

#include <string>
#include <string_view>

namespace ssml {

// Converts phones as the converter writes them ("h ah0 l ow1"), with or without blanks between
// them. Stress marks are written before the syllable. A pause becomes a blank. Unknown names are
// ignored.
std::string toIpa(std::string_view phones);

}  // namespace ssml
