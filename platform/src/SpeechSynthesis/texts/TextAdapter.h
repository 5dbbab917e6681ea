// SPDX-License-Identifier: Apache-2.0
//
// TextAdapter: rewrites a text with embedded commands so that a synthesizer does what the text
// means.
//
// A synthesizer reads commands exactly: it refuses a text for one unknown phoneme, takes everything
// after an unclosed "[[" for a command, and reads sync values as small decimal numbers only. Texts
// are written less exactly. What is adapted:
//
//  - sync values: each mark gets a running number; AdaptedText::syncValues has the values
//  - phoneme input: punctuation becomes a pause, unknown symbols are left out
//  - "[[" that is not closed: closed at the end of the line if a valid command follows, else text
//  - other delimiters, set by the channel or by "dlim": commands between them, "[[" as text
//  - unknown commands and invalid arguments: left out
//  - command words and arguments in any case, without blanks, with units: the exact form
//  - emphasis: ends after the next word, also where no other command follows
//  - skipped context: left out, with the commands in it kept; a skip inside another one is nested
//  - tune data: commands in it are moved between two pieces of tune data
//  - a relative value after "rset": relative to the initial value
//
// A text that needs none of this is unchanged, byte for byte.
//
// Algorithm: one pass from command to command, in linear time. Each byte of the result has its
// origin in the given text; origins never decrease.
//
// Pure functions. Failure: std::bad_alloc.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "SpeechSynthesis/texts/Charset.h"
#include "base/text/OriginText.h"

namespace platform {

// The state of a channel at the start of a text, as far as it decides what the text means.
struct TextSettings {
  Charset charset = Charset::MacRoman;
  // One or two characters of the charset each. An empty delimiter: the text has no commands.
  std::string openDelimiter = "[[";
  std::string closeDelimiter = "]]";
  bool startsInPhonemes = false;  // the input mode is that of phonemes
  // Initial values, to which relative commands after a reset refer.
  double pitchBase = 0;
  double pitchRange = 0;
};

// Something in a text that a synthesizer cannot speak as it is written. Clients get it as
// badInputText.
struct TextProblem {
  enum class Cause : std::uint8_t {
    UnknownCommand,
    BadArgument,
    NotClosed,
    UnknownPhoneme,
    TooManyPhonemes  // more than a synthesizer accepts in one text; they are left out
  };
  std::size_t position;  // in the given text
  Cause cause;
};

// Returns a sentence for users, without full stop.
const char* describe(TextProblem::Cause cause);

struct AdaptedText {
  // False if the synthesizer can have the given text as it is.
  bool isChanged = false;
  // The text for the synthesizer, with origins in the given text; empty unless isChanged.
  base::OriginText text;
  // In order of position.
  std::vector<TextProblem> problems;
  // The value of each sync mark, in order. The n-th mark, from 0, has the number syncNumber(n).
  std::vector<std::uint32_t> syncValues;
  // Commands that bring about the state at the end of the text, as far as it lasts: settings,
  // modes, skipped context, delimiters, emphasis of the next word. A text that continues this one
  // begins with them. Empty if there is nothing to carry over; never longer than a few commands.
  std::string stateAtEnd;
};

// The highest number of a sync mark. A synthesizer keeps 16 bits of it.
inline constexpr std::uint32_t kMostSyncNumber = 65535;

// Returns the number that stands for the n-th mark in the adapted text. Numbers start at 1 and
// begin again after kMostSyncNumber.
constexpr std::uint32_t syncNumber(std::size_t n) {
  return static_cast<std::uint32_t>(n % kMostSyncNumber) + 1;
}

AdaptedText adaptText(std::string_view given, const TextSettings& settings);

// A part of the given text that was replaced. Unchanged text lies between two replacements.
struct TextReplacement {
  std::size_t position;   // in the given text
  std::size_t length;     // 0: only added
  std::string_view text;  // part of the adapted text; empty: only removed
};

// Returns what adaptText() has replaced, in order. `adapted` must outlive the result.
std::vector<TextReplacement> replacementsOf(std::string_view given, const AdaptedText& adapted);

}  // namespace platform
