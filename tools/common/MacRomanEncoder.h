// SPDX-License-Identifier: Apache-2.0
//
// MacRomanEncoder: single characters in Mac OS Roman, or their customary plain form.
//
// The plain forms are those of the C library, which has them in its UTF-8 locale: the program's
// character type must be set to it. An encoder is used by one thread at a time.
#pragma once

#include <string_view>

#include <iconv.h>

namespace tool {

class MacRomanEncoder {
 public:
  // Throws Failure when the C library lacks Mac OS Roman.
  MacRomanEncoder();
  ~MacRomanEncoder();
  MacRomanEncoder(const MacRomanEncoder&) = delete;
  MacRomanEncoder& operator=(const MacRomanEncoder&) = delete;

  // The bytes for one character, which is given by its code and by its UTF-8. A blank when there is
  // no form of it, nothing when it has no width. Valid until the next call.
  std::string_view encode(char32_t character, std::string_view utf8);

 private:
  std::string_view convert(std::string_view utf8);

  iconv_t m_converter;
  char m_form[64];
};

// The one character that stands for `base` with the combining accent `mark`; 0 when Mac OS Roman
// has none.
char32_t composed(char32_t base, char32_t mark);

}  // namespace tool
