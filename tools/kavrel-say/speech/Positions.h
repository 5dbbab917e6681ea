// SPDX-License-Identifier: Apache-2.0
//
// Positions: places of a text as the user wants them counted.
//
// Threads: one at a time.
#pragma once

#include <cstddef>
#include <string>

#include "SpokenText.h"

namespace say {

enum class Unit {
  Bytes,
  Characters,  // of UTF-8; a byte that is part of none counts as one
};

class Positions {
 public:
  // The text begins at `first` in what the user gave, counted in `unit`. It outlives the object.
  Positions(const std::string& text, Unit unit, std::size_t first);

  // For bytes of the text, which should not lie in front of those of the call before: counting
  // then starts anew.
  tool::Slice of(tool::Slice bytes);

  // Whether no text came in front of this one.
  bool isFirst() const { return m_first == 0; }

  // Where the text ends.
  std::size_t end();

 private:
  std::size_t at(std::size_t byte);

  const std::string& m_text;
  const Unit m_unit;
  const std::size_t m_first;
  // How many characters lie in front of a byte.
  std::size_t m_byte = 0;
  std::size_t m_characters = 0;
};

}  // namespace say
