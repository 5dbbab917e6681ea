// SPDX-License-Identifier: Apache-2.0
//
// Voices: the Manager's voices by their names. Names and sentences are UTF-8.
#pragma once

#include <ApplicationServices/ApplicationServices.h>

#include <string>
#include <vector>

namespace say {

struct NamedVoice {
  VoiceSpec spec;
  std::string name;
  std::string locale;    // as en_US
  std::string sentence;  // to show the voice with
};

std::vector<NamedVoice> allVoices();

// The voice of that name, capital letters or not. Throws Failure, which names the voices there are.
VoiceSpec voiceNamed(const std::string& name);

// One line for each voice: name, locale, "# " and the sentence, in columns that programs read.
std::string voiceList();

}  // namespace say
