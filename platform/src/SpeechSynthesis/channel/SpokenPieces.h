// SPDX-License-Identifier: Apache-2.0
//
// SpokenPieces: when a text that a client supplies in pieces is spoken, and how much of it at once.
//
// A synthesizer takes one text at a time. Too little text at once breaks sentences and leaves gaps;
// too much is heard late and takes memory. So pieces are joined to batches that end with a
// sentence, and the client is asked for the next piece shortly before the last one has been spoken.
//
// Pure functions on text with commands between "[[" and "]]". The last bytes of a text in UTF-8 may
// be the start of a character.
#pragma once

#include <cstddef>
#include <string_view>

#include "SpeechSynthesis/texts/Charset.h"

namespace platform {

// True if the text is worth giving to the synthesizer although more may come: it is some sentences
// long, or so long without the end of a sentence that waiting for one helps no more.
bool isEnoughToSpeak(std::string_view text, Charset charset);

// Returns the length of the part that can be spoken before the rest is known: up to the end of its
// last sentence or paragraph, else to the end of its last word, else all but the last character,
// which accents may follow. Never inside a command or a character.
std::size_t lengthOfCompletePart(std::string_view text, Charset charset);

// Returns the number of bytes that are spoken in about two seconds.
// `rate`: words per minute; values out of the range of a voice are clamped. In UTF-8 letters may
// have several bytes.
std::size_t bytesBeforeEnd(double rate, Charset charset);

}  // namespace platform
