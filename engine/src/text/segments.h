// SPDX-License-Identifier: Apache-2.0
//
// Words of scripts that are written without blanks: Han, Hiragana, Katakana, Thai, Lao, Khmer,
// Myanmar. ICU finds them with its dictionaries.
//
// Threads: an object is used by one thread at a time. Functions may throw std::bad_alloc only.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "text/words.h"

struct UBreakIterator;

namespace kavrel {

class Segmenter {
 public:
  // Takes memory only when the first such word is met.
  Segmenter() = default;

  // Returns the indices at which `token` is cut, in order, without 0 and the token's length. Only
  // places beside a character of such a script are cut. Punctuation stays with the word that it
  // closes or opens. If ICU has no dictionary, there are no cuts.
  std::vector<std::size_t> cuts(std::span<const Letter> token);

 private:
  struct Close {
    void operator()(UBreakIterator* iterator) const;
  };

  bool prepare(std::span<const Letter> token);

  std::unique_ptr<UBreakIterator, Close> m_iterator;
  std::u16string m_units;             // of the token
  std::vector<std::size_t> m_letter;  // of each unit, and of the end
};

}  // namespace kavrel
