// SPDX-License-Identifier: Apache-2.0
//
// Voices: lists the Manager's voices and finds them by name. Strings are UTF-8.
//
// Threads: used by one thread.
#pragma once

#include <ApplicationServices/ApplicationServices.h>

#include <string>
#include <vector>

namespace say {

// A voice and its description for users.
struct NamedVoice {
  VoiceSpec spec;
  std::string name;
  std::string locale;    // as en_US
  std::string sentence;  // a sample for the voice
};

// Returns all voices in the order of the Manager.
std::vector<NamedVoice> allVoices();

// Returns the voice of that name, else of that locale (ru_RU, ru-RU), else of that language (ru,
// Russian, русский); not case-sensitive. Throws Failure, with a list of similar names or else of
// all voices, if there is none.
VoiceSpec voiceNamed(const std::string& name);

// Returns one line for each voice: name, locale, "# " and the sentence. Programs parse these
// columns, which are aligned by the cells of a terminal.
std::string voiceList();

}  // namespace say
