// SPDX-License-Identifier: Apache-2.0
//
// CaseFolding: characters without the distinction of upper and lower case. Pure functions, safe on
// any thread.
#pragma once

namespace base {

// Returns the character that stands for all cases of `character`: usually the lower-case letter.
// Unicode's simple folding, the same in every locale: one character is always one character, so "ß"
// and "SS" stay different.
char32_t foldCase(char32_t character);

}  // namespace base
