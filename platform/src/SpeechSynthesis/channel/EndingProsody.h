// SPDX-License-Identifier: Apache-2.0
//
// EndingProsody: the effect of the flag kNoEndingProsody. Stateless.
#pragma once

#include <string>

#include "SpeechSynthesis/texts/Charset.h"

namespace platform {

// Returns `text` such that its last word does not sound like the end of a sentence:
// a comma is added if the text ends with a word. Other texts are returned unchanged: punctuation at
// the end is the writer's choice, and in a text with commands for phonemes or for spelling a comma
// would be spoken. Positions in `text` are not affected.
std::string withoutEndingProsody(const std::string& text, Charset charset);

}  // namespace platform
