// SPDX-License-Identifier: Apache-2.0
//
// What the synthesiser of this system calls its phones: the names of its events, which are in IPA,
// and the names of its input, which are in its own notation, for each language that is offered.
// Both are found by speaking.
//
// Used by one thread at a time. Failures end the process with a message.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "synth/synth_audio.h"

namespace phone_lists {

// A language that is offered, and a sentence in it.
struct Sample {
  std::string language;  // the synthesiser's name
  std::string text;      // UTF-8
};

// Returns all languages that are offered, in the order of samples.tsv.
const std::vector<Sample>& samples();

// Speaks UTF-8 with a language's voice, at the usual speed. `hasPhones`: "[[" … "]]" enclose the
// synthesiser's notation.
kavrel::SynthAudio speak(std::string_view text, bool hasPhones, std::string_view language);

// Returns the engine's phones for the events of a call, without silences. Follows switches of the
// language.
std::vector<std::string> phonesIn(const kavrel::SynthAudio& audio, std::string_view language);

// Returns the phones that are heard for one phone of the engine, given by its sound in the
// synthesiser's notation: a vowel between two t, with stress 1 or 0; a consonant before a vowel.
// None if those around it are not heard.
std::vector<std::string> phonesOfSound(std::string_view sound, bool isVowel, int stress,
                                       std::string_view language);

// Returns the names of the events that a language has for all of the synthesiser's phones, alone
// and between others, and for its sample. A name that switches the language is not one of them.
std::set<std::string> eventNames(const Sample& sample);

// Returns what a language needs in engine/src/text/phone_inputs.h: the phones whose usual sound it
// lacks, each with the sound of its nearest one ("ah1=@ uh=u").
std::string inputsOf(std::string_view language);

}  // namespace phone_lists
