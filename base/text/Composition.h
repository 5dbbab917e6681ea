// SPDX-License-Identifier: Apache-2.0
//
// Composition: letters and their accents as single characters. Pure functions, safe on any thread;
// may throw std::bad_alloc only.
#pragma once

#include <string>

namespace base {

// Returns `text` in Unicode's normal form C. The text is returned unchanged if it is too long for
// ICU, which takes 2 GiB.
std::u32string composed(const std::u32string& text);

}  // namespace base
