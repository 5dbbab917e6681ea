// SPDX-License-Identifier: Apache-2.0
//
// TextLayout: a text in the cells of a terminal.
//
// A character takes no cell (accents that join the one before), one, or two (most of East Asia,
// emoji), as the C library has it in its UTF-8 locale: the program's character type must be set to
// it. What would do something to a terminal is never shown as it is: tabs are blanks up to the next
// eighth cell, other control characters, characters that change the direction of writing and bytes
// that are no UTF-8 are U+FFFD. Lines end with a line feed, a carriage return, or both in this
// order.
//
// Pure functions. Positions count bytes of the text.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace say {

struct Row {
  std::size_t begin;  // its bytes, without the blanks or the line end behind it
  std::size_t end;
  std::size_t next;  // where the next row begins; the text's length when there is none
};

// The row that begins at `begin`, in `width` cells, 1 at least: up to the end of the line, else to
// a blank, a hyphen or a wide character, else to where the cells end. Never empty but for an empty
// line, and never wider than `width`.
Row rowAt(std::string_view text, std::size_t begin, std::size_t width);

// Bytes of the text to be shown in another way than the rest: none when both are the same.
struct Stretch {
  std::size_t begin = 0;
  std::size_t end = 0;
};

// What is written to show the row in so many cells; `on` and `off` stand around what of `marked` is
// in it.
std::string shown(std::string_view text, const Row& row, std::size_t width, Stretch marked,
                  std::string_view on, std::string_view off);

}  // namespace say
