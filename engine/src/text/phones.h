// SPDX-License-Identifier: GPL-3.0-or-later
//
// Phone names: ours ("ae", "dh", "pau"), and what the synthesiser calls the same sounds, both ways.
//
// The tables are constant; everything here may be called on any thread at the same time. Results
// that name a phone of ours point at static strings.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "text/sentence.h"

namespace kavrel {

// Languages go by the synthesiser's names, as "pt-br"; their first two letters count.

// Our phones that sound like the synthesiser's phone event `event` in a language: none for the
// names that carry no sound of their own, two or three for sounds that we name by their parts; the
// nearest ones for sounds that English lacks. A name that no table holds counts as the longest
// known name that it begins with, then as the small form of its first letter, then as a pause: its
// time is never lost.
std::span<const std::string_view> phonesOfEvent(std::string_view event,
                                                std::string_view language = "en");

// True for the names that a table holds.
bool isKnownEvent(std::string_view event, std::string_view language = "en");

// The language in which the speech goes on behind the event, as "(en)" tells it in front of a word
// that the synthesiser takes for English; empty for all other events.
std::string_view languageOfEvent(std::string_view event);

// True when `languages`, names of two letters with blanks between, has the one of `language`.
bool isOneOf(std::string_view language, std::string_view languages);

struct PhoneText {
  static constexpr std::size_t kMaxUnknown = 8;

  std::vector<Phone> phones;
  // Pieces that were skipped, for a diagnostic line: the first kMaxUnknown, their first 32 bytes.
  std::vector<std::string> unknown;
};

// Reads phones as a phoneme element's `ph` spells them: pieces between blanks, each the name of a
// phone and, for a vowel, its stress (1 or 0). Phones that run together ("ae1b") are taken apart,
// the longest name first. "." separates syllables and counts as a phone. A piece that cannot be
// taken apart into phones is skipped whole. Secondary stress (2) counts as 0, stress on a consonant
// as none.
PhoneText readPhones(std::string_view text);

// True for the phones that carry stress.
bool isVowel(std::string_view phone);

// The phones in the synthesiser's own input notation for a language, without the brackets around
// it; empty when nothing in `phones` has a sound. A vowel that the language lacks becomes its
// nearest.
std::string synthesiserInput(std::span<const Phone> phones, std::string_view language = "en");

}  // namespace kavrel
