// SPDX-License-Identifier: Apache-2.0
#include "base/text/LanguageNames.h"

#include <array>
#include <cstdint>

#include <unicode/uloc.h>
#include <unicode/ustring.h>

namespace base {

std::string languageName(const std::string& locale, const std::string& in) {
  std::array<char16_t, 100> units{};
  std::array<char, 400> bytes{};
  std::int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  const std::int32_t count = uloc_getDisplayLanguage(
      locale.c_str(), in.c_str(), units.data(), static_cast<std::int32_t>(units.size()), &status);
  // The warning: ICU has no name and returns the code itself.
  if (U_FAILURE(status) != 0 || status == U_USING_DEFAULT_WARNING) return {};
  u_strToUTF8(bytes.data(), static_cast<std::int32_t>(bytes.size()), &length, units.data(), count,
              &status);
  if (U_FAILURE(status) != 0) return {};
  return {bytes.data(), static_cast<std::size_t>(length)};
}

}  // namespace base
