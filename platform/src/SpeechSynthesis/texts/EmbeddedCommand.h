// SPDX-License-Identifier: Apache-2.0
//
// EmbeddedCommand: one embedded speech command, read as its author meant it.
//
// The reader accepts more than a synthesizer does: command words and arguments in any case, an
// argument directly after the command word, numbers followed by a unit, and sync values in every
// notation. exactText() is the command in the one form that a synthesizer understands.
//
// Pure functions, independent of the locale. Failure: std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "SpeechSynthesis/texts/Charset.h"

namespace platform {

struct EmbeddedCommand {
  enum class Kind : std::uint8_t {
    Characters,  // char
    Comment,     // cmnt
    Context,     // ctxt
    Delimiters,  // dlim
    Emphasis,    // emph
    Input,       // inpt
    Numbers,     // nmbr
    PitchBase,   // pbas
    PitchRange,  // pmod
    Rate,        // rate
    Reset,       // rset
    Silence,     // slnc
    Sync,        // sync
    Version,     // vers
    Volume,      // volm
    Extension,   // xtnd
    Empty,       // no command word
    Unknown,     // no known command word
    BadArgument  // a known command word; the argument is missing or not one that it takes
  };

  Kind kind = Kind::Empty;
  // The command word in lower case; empty for Empty and Unknown.
  std::string_view word;
  // The argument in its exact form: a number with its sign, a mode in upper case, "+" or "-". For
  // the other kinds empty, except Delimiters: the rest of the command, as written.
  std::string argument;
  std::uint32_t syncValue = 0;  // of Sync
  // True if a synthesizer understands the command as it is written.
  bool isExact = false;

  // True for a known command with a valid argument.
  bool isValid() const { return kind < Kind::Empty; }
  // True if the number changes the setting instead of setting it.
  bool isRelative() const { return !argument.empty() && argument.find_first_of("+-") == 0; }

  // Returns the command with brackets. Only for valid commands; not for Comment, Delimiters, Sync.
  std::string exactText() const;
};

// Reads one command: the text between two delimiters, or between a delimiter and a ";".
EmbeddedCommand readCommand(std::string_view text, Charset charset);

// Returns the length of the first command in `body`, the text between two delimiters: up to a ";",
// which may also be a character of a quoted sync value, or to the end.
std::size_t lengthOfFirstCommand(std::string_view body, Charset charset);

}  // namespace platform
