// SPDX-License-Identifier: Apache-2.0
//
// LanguageNames: what languages are called. Pure functions, safe on any thread; they may throw
// std::bad_alloc only.
#pragma once

#include <string>

namespace base {

// Returns the name of the language of `locale` (such as ru_RU) in the language of the locale `in`,
// in UTF-8: "Russian" in en, "русский" in ru. Empty if Unicode's data lack it.
std::string languageName(const std::string& locale, const std::string& in);

}  // namespace base
