// SPDX-License-Identifier: Apache-2.0
//
// Phone names: the engine's ("ae", "dh", "pau") and the synthesiser's, in both directions.
//
// The tables are constant: every function may be called on any thread at the same time. Results
// that name a phone of the engine are views of static strings. Languages are given by the
// synthesiser's names, such as "pt-br".
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "text/sentence.h"

namespace kavrel {

// The phones of one event, in order. Holds as many as an event can have.
class EventPhones {
 public:
  // Adds a phone; one that is empty or equals the one before it is ignored.
  void add(std::string_view phone);

  bool empty() const { return m_count == 0; }
  std::size_t size() const { return m_count; }
  auto begin() const { return m_phones.begin(); }
  auto end() const { return m_phones.begin() + static_cast<std::ptrdiff_t>(m_count); }

 private:
  std::array<std::string_view, 8> m_phones;
  std::size_t m_count = 0;
};

// Returns the phones that sound like the synthesiser's phone event `event`, a name in IPA, in a
// language: none for events without a sound of their own; several for sounds that have no phone of
// their own; the nearest ones for sounds that English lacks. Diacritics and unknown symbols are
// ignored. A name of unknown symbols alone is a pause: its time is never lost. An event of silence
// has no name, and no phones here; see SynthAudio.
EventPhones phonesOfEvent(std::string_view event, std::string_view language = "en");

// Returns true if every symbol of `event` is known.
bool isKnownEvent(std::string_view event);

// Returns the language of the speech after an event that switches languages: "en" for "(en)", which
// precedes a word that the synthesiser takes for English. Returns an empty view for all other
// events.
std::string_view languageOfEvent(std::string_view event);

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

// Returns the synthesiser's usual input notation of a phone, for stress 1 or any other; an empty
// view if it has no sound or is unknown.
std::string_view usualInput(std::string_view phone, int stress);

// Returns the phones in the synthesiser's input notation for a language, without the brackets
// around it; an empty string if none of `phones` has a sound. A phone that the language lacks is
// replaced with its nearest one; languages that are not offered have those of the language that
// their name begins with.
std::string synthesiserInput(std::span<const Phone> phones, std::string_view language = "en");

}  // namespace kavrel
