// SPDX-License-Identifier: Apache-2.0
//
// PhonemeText: phoneme input as people write it, and as a synthesizer reads it.
//
// A synthesizer refuses a whole text for one unknown symbol. Here punctuation becomes the pause
// "%", and an unknown symbol is left out and reported.
//
// Pure functions; symbols are ASCII in every charset. Failure: std::bad_alloc.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "base/text/OriginText.h"

namespace platform {

// True if the text has anything besides white space.
bool hasPhonemes(std::string_view text);

// Appends to `adapted` the bytes [start, end) of `text`, which lie between two commands. Adds the
// position of the first symbol of each run of unknown symbols to `unknown`.
void adaptPhonemes(std::string_view text, std::size_t start, std::size_t end,
                   base::OriginText& adapted, std::vector<std::size_t>& unknown);

}  // namespace platform
