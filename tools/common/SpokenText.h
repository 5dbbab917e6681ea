// SPDX-License-Identifier: Apache-2.0
//
// SpokenText: the user's text for the Manager, with the origin of each byte.
//
// Both texts are UTF-8 and differ only if "[[" is ordinary text. A byte that is not part of
// well-formed UTF-8 separates words.
//
// Threads: constant after construction.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/text/OriginText.h"

namespace tool {

// The meaning of "[[" in a text.
enum class Brackets {
  Command,  // begins a speech command
  Text,     // is ordinary text: the second bracket is spoken as "("
};

// A range of bytes of the given text.
using Slice = base::OriginText::Range;

class SpokenText {
 public:
  // Throws Failure if the text is longer than the Manager's positions can express (2 GiB).
  explicit SpokenText(std::string given, Brackets brackets = Brackets::Command);

  const std::string& given() const { return m_given; }
  // Returns the text that is spoken.
  const std::string& spoken() const { return m_spoken.text(); }

  // Returns the range of given() that `length` bytes of spoken() from `position` came from. It is
  // always inside the text.
  Slice origin(std::size_t position, std::size_t length) const {
    return m_spoken.sourceOf(position, length);
  }

  // Returns a range of given(), as a view into it.
  std::string_view givenAt(Slice slice) const {
    return std::string_view(m_given).substr(slice.position, slice.length);
  }

 private:
  std::string m_given;
  base::OriginText m_spoken;
};

}  // namespace tool
