// SPDX-License-Identifier: Apache-2.0
//
// Utf8: UTF-8 one character at a time. Pure functions.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tool {

struct Utf8Character {
  char32_t code;
  std::size_t length;  // bytes; 0: the text does not begin with a well-formed character
};

// The first character of `text`, which is not empty.
Utf8Character firstCharacter(std::string_view text);

std::string toUtf8(char32_t character);

}  // namespace tool
