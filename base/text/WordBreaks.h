// SPDX-License-Identifier: Apache-2.0
//
// WordBreaks: words of scripts that are written without blanks. ICU finds them with its
// dictionaries.
//
// Threads: an object is used by one thread at a time. Functions may throw std::bad_alloc only.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct UBreakIterator;

namespace base {

class WordBreaks {
 public:
  // Takes memory only when the first such word is met.
  WordBreaks() = default;

  // Returns the indices at which `token` is cut, in order, without 0 and the token's length. Only
  // places beside a character of such a script are cut. Punctuation stays with the word that it
  // closes or opens. If ICU has no dictionary, there are no cuts.
  std::vector<std::size_t> in(std::u32string_view token);

 private:
  struct Close {
    void operator()(UBreakIterator* iterator) const;
  };

  bool prepare(std::u32string_view token);

  std::unique_ptr<UBreakIterator, Close> m_iterator;
  std::u16string m_units;                // of the token
  std::vector<std::size_t> m_character;  // of each unit, and of the end
};

}  // namespace base
