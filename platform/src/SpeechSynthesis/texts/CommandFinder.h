// SPDX-License-Identifier: Apache-2.0
//
// CommandFinder: finds the commands of a text by their delimiters, closed or not.
//
// Searches forward only. Positions found once are kept, so that all searches together take linear
// time even in a text of delimiters that are never closed.
//
// Threads: one thread at a time may use an object. The text must outlive it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "SpeechSynthesis/texts/Charset.h"

namespace platform {

// What stands between an opening delimiter and its end.
struct FoundCommand {
  std::size_t start = 0;      // of the opening delimiter; the end of the text if there is none
  std::size_t bodyStart = 0;  // after it
  std::size_t bodyEnd = 0;
  std::size_t end = 0;  // after the closing delimiter
  bool isClosed = true;
  bool isText = false;  // no command: the opening delimiter is text, and `end` is after it
};

class CommandFinder {
 public:
  CommandFinder(std::string_view text, Charset charset) : m_text(text), m_charset(charset) {}

  // An empty delimiter: no commands are found.
  void setDelimiters(std::string_view open, std::string_view close);

  // Returns the first command at or after `from`, which must not be before the end of the last one.
  // With `findsBrokenInput`, an "inpt" command that lacks a bracket at its start counts too: in
  // phoneme input and tune data it would not end the input.
  FoundCommand next(std::size_t from, bool findsBrokenInput);

  // True if an opening delimiter stands at `position`.
  bool opensAt(std::size_t position) const;

 private:
  std::size_t find(std::string_view what, std::size_t from, std::size_t& known) const;
  std::size_t lineEndFrom(std::size_t from);
  FoundCommand at(std::size_t start);
  FoundCommand unclosedAt(std::size_t start, std::size_t bodyStart, std::size_t limit) const;
  bool findBrokenInput(std::size_t from, std::size_t limit, FoundCommand& found) const;

  const std::string_view m_text;
  const Charset m_charset;
  std::string m_open;
  std::string m_close;
  // The last result of each search; 0 if there is none. Valid for positions up to it.
  std::size_t m_knownOpen = 0;
  std::size_t m_knownClose = 0;
  std::size_t m_knownLineEnd = 0;
};

}  // namespace platform
