// SPDX-License-Identifier: Apache-2.0
#include "base/text/CaseFolding.h"

#include <unicode/uchar.h>

namespace base {

char32_t foldCase(char32_t character) {
  return static_cast<char32_t>(u_foldCase(static_cast<UChar32>(character), U_FOLD_CASE_DEFAULT));
}

}  // namespace base
