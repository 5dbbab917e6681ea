// SPDX-License-Identifier: Apache-2.0
//
// Phone and escape tables, preparation of a caller's text, and paths from Core Foundation objects.
//
// Threads: the maps are built by BuildPhoneTranslationTables; building them again writes nothing
// that is there already. The first build, and the adding of unknown phone names, are guarded
// inside. Reading gBrevoldPhones and gEscapeStrings needs no lock after that.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <map>
#include <string>

#include "PositionMap.h"

// A row that relates an Apple phoneme symbol to an engine phone; the last row's `in` is null.
struct PhoneMap {
  const char* in;
  const char* out;  // may be empty
  bool isVowel;
};

// A row that relates a character to what stands for it in markup; the last row's `escape` is null.
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

// From Apple phoneme symbol to engine phone.
extern std::map<std::string, BrevoldPhone>& gBrevoldPhones;
// From engine phone to Apple phoneme code. Names that the engine reports and the tables do not know
// are added with code 0; use applePhoneCode.
extern std::map<std::string, int>& gApplePhoneCodes;
// From character to its escape text.
extern std::map<char, std::string>& gEscapeStrings;

// Fills the three maps; again and again if need be, names added since stay.
void BuildPhoneTranslationTables();

// The Apple code of an engine phone; an unknown name is added to gApplePhoneCodes with code 0.
int applePhoneCode(const std::string& phone);

// The prepared copy of a NUL-terminated text (the maps must be built): "<", ">", "&" and the Apple
// logo escaped, "OS X" spelt "OS 10", Mac OS Roman made ISO 8859-15. Rationale: when the encoding
// conversion fails, the copy is the text as given, not even escaped. `positions`, when not null,
// receives where each byte of the result came from.
std::string PreprocessText(unsigned char* text, PositionMap* positions = nullptr);

// The POSIX path of `url`, from the engine's allocator, or null.
char* get_url_path(const __CFURL* url);

// A NUL-terminated copy of the string in encoding `enc`, from the engine's allocator, or null.
char* get_c_string(const __CFString* urlpath, unsigned long enc);
