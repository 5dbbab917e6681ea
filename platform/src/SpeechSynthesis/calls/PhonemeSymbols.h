// SPDX-License-Identifier: Apache-2.0
//
// PhonemeSymbols: the Manager's table of the platform's phonemes, with the symbols and examples
// that clients read. The code of a phoneme is its index in the table; synthesizers report these
// codes.
//
// The plug-in has a table of its own, from symbols to phones of the engine:
// speechmgr_us_phones in interfaces/SpeechMgr/SpeechMgrUtils.cpp. Neither layer includes private
// headers of the other, so a phoneme that is added must be added to both, at the same index.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

#include <array>
#include <string_view>

#include <MacMemory.h>

namespace platform {

struct PhonemeSymbol {
  std::string_view symbol;
  std::string_view example;  // a word that contains the phoneme
  SInt16 hiliteStart;        // its letters in the word: first index, and index after the last
  SInt16 hiliteEnd;
};

inline constexpr std::array<PhonemeSymbol, 42> kPhonemeSymbols = {{
    {"%", "silence", 0, 0}, {"@", "breath", 0, 0}, {"AE", "cat", 1, 2},    {"EY", "late", 1, 2},
    {"AO", "law", 1, 3},    {"AX", "alone", 0, 1}, {"IY", "see", 1, 3},    {"EH", "red", 1, 2},
    {"IH", "sit", 1, 2},    {"AY", "ride", 1, 2},  {"IX", "houses", 4, 5}, {"AA", "calm", 1, 3},
    {"UW", "food", 1, 3},   {"UH", "good", 1, 3},  {"UX", "cup", 1, 2},    {"OW", "home", 1, 2},
    {"AW", "loud", 1, 3},   {"OY", "coin", 1, 3},  {"b", "bed", 0, 1},     {"C", "chair", 0, 2},
    {"d", "dog", 0, 1},     {"D", "this", 0, 2},   {"f", "fish", 0, 1},    {"g", "goat", 0, 1},
    {"h", "hand", 0, 1},    {"J", "jam", 0, 1},    {"k", "key", 0, 1},     {"l", "leaf", 0, 1},
    {"m", "moon", 0, 1},    {"n", "nose", 0, 1},   {"N", "song", 2, 4},    {"p", "pen", 0, 1},
    {"r", "rain", 0, 1},    {"s", "sun", 0, 1},    {"S", "ship", 0, 2},    {"t", "tea", 0, 1},
    {"T", "thumb", 0, 2},   {"v", "vase", 0, 1},   {"w", "wind", 0, 1},    {"y", "yes", 0, 1},
    {"z", "zebra", 0, 1},   {"Z", "vision", 2, 3},
}};

// Codes up to this one are pauses, not phonemes.
inline constexpr SInt16 kLastPauseCode = 1;

// Creates a handle with the table as a PhonemeDescriptor. The caller disposes it. Null if out of
// memory. Safe on any thread.
Handle newPhonemeDescriptor();

}  // namespace platform
