// SPDX-License-Identifier: Apache-2.0
//
// The phone table, which relates Mac phoneme symbols ("AE", "UW", "d") to engine phones ("ae",
// "uw", "d"), and the escape strings of markup characters ("<" to "&lt;"), with the maps built from
// them. Also: preparation of a caller's text, and paths from Core Foundation objects.
//
// Threads: all functions are safe to call from any thread. BuildPhoneTranslationTables builds the
// maps; building them again changes nothing that is already in them. A lock inside guards the build
// and the adding of unknown phone names. After the first build, gBrevoldPhones and gEscapeStrings
// may be read without a lock; gApplePhoneCodes only through applePhoneCode.
// Failure: std::bad_alloc, except in get_url_path and get_c_string.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <map>
#include <string>

#include "PositionMap.h"

// ---- Tables and maps

// Relates a Mac phoneme symbol to an engine phone; `in` of the last row is null.
struct PhoneMap {
  const char* in;
  const char* out;  // may be empty
  bool isVowel;
};

// Relates a character to the text that represents it in markup; `escape` of the last row is null.
struct EscapesMap {
  char chr;
  const char* escape;
};

struct BrevoldPhone {
  std::string phone;  // may be empty
  bool isVowel = false;

  bool operator==(const BrevoldPhone&) const = default;
};

extern const PhoneMap speechmgr_us_phones[];
extern const EscapesMap escape_strings[];

// From Mac phoneme symbol to engine phone.
extern std::map<std::string, BrevoldPhone>& gBrevoldPhones;
// From engine phone to Apple phoneme code. Phones that the engine reports and the table lacks are
// added with code 0. Use applePhoneCode.
extern std::map<std::string, int>& gApplePhoneCodes;
// From character to its escape string.
extern std::map<char, std::string>& gEscapeStrings;

// Fills the three maps. May be called again; names added since are kept.
void BuildPhoneTranslationTables();

// Returns the Apple code of an engine phone. An unknown name is added to gApplePhoneCodes with
// code 0.
int applePhoneCode(const std::string& phone);

// ---- Preparation of a text

// Returns the prepared copy of a NUL-terminated text: "<", ">", "&" and the Apple logo are escaped,
// "OS X" is spelt "OS 10", and Mac OS Roman is converted to ISO 8859-15. The maps must be built.
// Rationale: if the encoding conversion fails, the copy is the text as given, not even escaped.
std::string PreprocessText(unsigned char* text);

// What the client's text is encoded in.
enum class TextForm { MacRoman, Utf8 };

// The same; `positions`, unless null, receives the origin of each byte of the result. UTF-8 is
// escaped only, so nothing can fail; malformed parts stay as they are.
std::string PreprocessText(unsigned char* text, PositionMap* positions,
                           TextForm form = TextForm::MacRoman);

// ---- Paths

// Returns the POSIX path of `url`, or null on failure. The caller frees it with cst_free.
char* get_url_path(const __CFURL* url);

// Returns a NUL-terminated copy of the string in encoding `enc`, or null on failure, which is
// logged. The caller frees it with cst_free.
char* get_c_string(const __CFString* urlpath, unsigned long enc);
