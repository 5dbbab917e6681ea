// SPDX-License-Identifier: Apache-2.0
//
// Phonemes: what a text is spoken with. The text is spoken into a temporary file on a channel of
// the synthesizer's that no client has, while its reports are collected.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

#include <string>

#include "SpeechSynthesis/bundles/SynthesizerPlugIn.h"
#include "SpeechSynthesis/bundles/VoiceCatalogue.h"

namespace platform {

// How a text is read: values of soInputMode, soCharacterMode and soNumberMode.
struct ReadingModes {
  OSType input = modeText;
  OSType characters = modeNormal;
  OSType numbers = modeNormal;
};

// Stores the phonemes of `text`, in Mac OS Roman without NUL, as symbols with a blank between words
// (TextToPhonemes describes them). Waits until the text is spoken. Results: noErr; synthOpenFailed;
// synthNotReady, also when the synthesizer reports nothing for half a minute; voiceNotFound;
// badInputText. Exceptions of the synthesizer pass.
OSErr collectPhonemes(const SynthesizerPlugIn& plugIn, const Voice& voice,
                      const ReadingModes& modes, const std::string& text, std::string& phonemes);

}  // namespace platform
