// SPDX-License-Identifier: Apache-2.0
//
// Phone names: the engine's ("ae", "dh", "pau") and the synthesiser's, in both directions.
//
// The tables are constant: every function may be called on any thread at the same time. Results
// that name a phone of the engine are views of static strings. Languages are given by the
// synthesiser's names, such as "pt-br"; only the first two letters matter.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "text/sentence.h"

namespace kavrel {

// Returns the phones that sound like the synthesiser's phone event `event` in a language: none for
// events without a sound of their own; two or three for sounds that have no phone of their own; the
// nearest ones for sounds that English lacks. A name that is in no table is treated as the longest
// known name that it begins with, else as the lower-case form of its first letter, else as a pause:
// its time is never lost.
std::span<const std::string_view> phonesOfEvent(std::string_view event,
                                                std::string_view language = "en");

// Returns true if a table contains `event` itself.
bool isKnownEvent(std::string_view event, std::string_view language = "en");

// Returns the language of the speech after an event that switches languages: "en" for "(en)", which
// precedes a word that the synthesiser takes for English. Returns an empty view for all other
// events.
std::string_view languageOfEvent(std::string_view event);

// Returns true if `languages`, two-letter codes separated by blanks, contains that of `language`.
bool isOneOf(std::string_view language, std::string_view languages);

// The result of readPhones.
struct PhoneText {
  static constexpr std::size_t kMaxUnknown = 8;

  std::vector<Phone> phones;
  // Pieces that were skipped, for diagnostic lines: at most kMaxUnknown, the first 32 bytes of
  // each.
  std::vector<std::string> unknown;
};

// Reads the `ph` attribute of a phoneme element: pieces separated by blanks, each the name of a
// phone and, for a vowel, its stress (1 or 0). Phones that are written together ("ae1b") are
// separated by taking the longest name first. "." separates syllables and counts as a phone. A
// piece that cannot be separated into phones is skipped as a whole. Secondary stress (2) counts as
// 0; stress on a consonant is ignored.
PhoneText readPhones(std::string_view text);

// Returns true for the phones that carry stress.
bool isVowel(std::string_view phone);

// Returns the phones in the synthesiser's input notation for a language, without the brackets
// around it; an empty string if none of `phones` has a sound. A vowel that the language lacks is
// replaced with its nearest one.
std::string synthesiserInput(std::span<const Phone> phones, std::string_view language = "en");

}  // namespace kavrel
