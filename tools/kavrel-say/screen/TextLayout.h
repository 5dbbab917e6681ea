// SPDX-License-Identifier: Apache-2.0
//
// TextLayout: wraps text into rows of terminal cells.
//
// Text is laid out in clusters (base/text/Clusters.h), which take one cell or two (most East Asian
// characters, emoji) and are never cut. Characters that would act on a terminal are replaced: a tab
// by blanks up to the next multiple of eight cells; other control characters, characters that
// change the writing direction and bytes that are not UTF-8 by U+FFFD. A line ends with a line
// feed, a carriage return, or a carriage return and a line feed.
//
// Pure functions. Positions count bytes of the text.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace say {

struct Row {
  std::size_t begin;  // its bytes, without the blanks or the line end after it
  std::size_t end;
  std::size_t next;  // start of the next row; the length of the text after the last row
};

// Returns the row that starts at `begin`, in `width` cells (at least 1). It ends at the end of the
// line, else at the last blank, hyphen or wide character that fits, else when the cells are full.
// Closing punctuation does not begin a row, and opening punctuation does not end one, if possible.
// Only an empty line gives an empty row, and no row is wider than `width`.
Row rowAt(std::string_view text, std::size_t begin, std::size_t width);

// A range of bytes; empty if both are equal.
struct TextRange {
  std::size_t begin = 0;
  std::size_t end = 0;
};

// Returns what to write for the row; `width` is that of rowAt(). The part of `marked` that is in
// the row is enclosed in `on` and `off`.
std::string renderRow(std::string_view text, const Row& row, std::size_t width, TextRange marked,
                      std::string_view on, std::string_view off);

}  // namespace say
