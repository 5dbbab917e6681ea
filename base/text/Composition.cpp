// SPDX-License-Identifier: Apache-2.0
#include "base/text/Composition.h"

#include <cstddef>
#include <cstdint>

#include <unicode/unorm2.h>
#include <unicode/ustring.h>

namespace base {

std::u32string composed(const std::u32string& text) {
  constexpr std::size_t kLongest = 0x10000000;
  if (text.size() > kLongest) return text;
  UErrorCode status = U_ZERO_ERROR;
  const UNormalizer2* const form = unorm2_getNFCInstance(&status);
  std::u16string units(2 * text.size() + 1, u'\0');
  std::int32_t length = 0;
  u_strFromUTF32(units.data(), static_cast<std::int32_t>(units.size()), &length,
                 reinterpret_cast<const UChar32*>(text.data()),
                 static_cast<std::int32_t>(text.size()), &status);
  if (U_FAILURE(status) != 0) return text;
  // A few characters become three.
  std::u16string result(3 * static_cast<std::size_t>(length) + 1, u'\0');
  const std::int32_t resultLength = unorm2_normalize(
      form, units.data(), length, result.data(), static_cast<std::int32_t>(result.size()), &status);
  if (U_FAILURE(status) != 0) return text;
  std::u32string characters(static_cast<std::size_t>(resultLength) + 1, U'\0');
  std::int32_t count = 0;
  u_strToUTF32(reinterpret_cast<UChar32*>(characters.data()),
               static_cast<std::int32_t>(characters.size()), &count, result.data(), resultLength,
               &status);
  if (U_FAILURE(status) != 0) return text;
  characters.resize(static_cast<std::size_t>(count));
  return characters;
}

}  // namespace base
