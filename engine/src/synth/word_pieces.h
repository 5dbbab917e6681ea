// SPDX-License-Identifier: Apache-2.0
//
// Splits the text of a call at its marks, so that its words can be spoken one by one. Pure
// functions; may throw std::bad_alloc only.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kavrel {

struct WordPiece {
  int mark = 0;       // number of the mark that the piece begins with; 0: none
  std::wstring text;  // with the commands that are in force where the piece begins
};

// `text` is as Plan makes it: commands are \x01, a number and a letter.
std::vector<WordPiece> wordPieces(std::wstring_view text);

}  // namespace kavrel
