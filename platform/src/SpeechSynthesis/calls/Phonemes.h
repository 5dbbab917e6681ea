// SPDX-License-Identifier: Apache-2.0
//
// Phonemes: converts text to phonemes. The text is spoken into a temporary file on a separate
// channel of the synthesizer that no client knows, and the phonemes it reports are collected.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

#include <string>

#include "SpeechSynthesis/bundles/SynthesizerPlugIn.h"
#include "SpeechSynthesis/bundles/VoiceCatalogue.h"
#include "SpeechSynthesis/channel/Channel.h"

namespace platform {

// How a text is read: the values of soInputMode, soCharacterMode and soNumberMode.
struct ReadingModes {
  OSType input = modeText;
  OSType characters = modeNormal;
  OSType numbers = modeNormal;
};

// Stores the phonemes of `text` (without NULs, in a charset of the synthesizer) in `phonemes`, as
// symbols with a blank between words; see TextToPhonemes. Blocks until the text is spoken. Safe on
// any thread. Results: noErr; synthOpenFailed; synthNotReady, also if the synthesizer reports
// nothing for 30 seconds; voiceNotFound; badInputText. After a failure `phonemes` is unchanged.
// Lets exceptions of the synthesizer through; throws std::system_error if no temporary file can be
// created, and std::bad_alloc.
OSErr collectPhonemes(const SynthesizerPlugIn& plugIn, const Voice& voice,
                      const ReadingModes& modes, const ReadyText& text, std::string& phonemes);

}  // namespace platform
