// SPDX-License-Identifier: Apache-2.0
//
// Makes texts that are hard to read aloud: words and lines of a corpus, characters of all scripts,
// long runs, odd punctuation, numbers, combining marks and markup, put together at random. The same
// seed and corpus give the same texts on every machine.
//
// Used by one thread at a time. Functions may throw std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

class TextMutator {
 public:
  // `lines` are the corpus, at least one of them not empty.
  TextMutator(const std::vector<std::u32string>& lines, std::uint64_t seed);

  // A text with the engine's markup, of up to about 2000 characters.
  std::u32string next();

 private:
  // A number less than `limit`, which is not 0.
  std::size_t below(std::size_t limit);
  bool oneIn(std::size_t count) { return below(count) == 0; }
  template <typename Range>
  const auto& anyOf(const Range& range) {
    return range[below(std::size(range))];
  }

  char32_t character();
  std::u32string list();
  std::u32string item();
  std::u32string run();
  std::u32string foreign();
  std::u32string number();
  std::u32string separator();
  void change(std::u32string& text);
  void style(std::u32string& text);

  std::vector<std::u32string> m_lines;
  std::vector<std::u32string> m_words;
  std::mt19937_64 m_random;
};

}  // namespace fuzz
