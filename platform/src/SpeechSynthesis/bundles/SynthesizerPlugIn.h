// SPDX-License-Identifier: Apache-2.0
//
// SynthesizerPlugIn: a loaded synthesizer and its twelve entry points.
//
// A synthesizer leaves threads of its own behind, so it stays loaded until the process ends,
// whatever happens to the object. Objects never change after their construction; any thread may use
// them.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>
#include <CoreFoundation/CFBase.h>

#include <filesystem>
#include <stdexcept>

#include "SpeechSynthesis/bundles/VoiceCatalogue.h"

namespace platform {

// Why a synthesizer cannot be used: one sentence for people, without its end.
class PlugInError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class SynthesizerPlugIn {
 public:
  // Loads the library `file` and looks all entry points up. Throws PlugInError, which names the
  // file and what is wrong with it: it is not there, the system refuses it, or which name it lacks.
  explicit SynthesizerPlugIn(const std::filesystem::path& file);

  // The entry points. All answer 0 or a result of the Manager's, -240 for a channel they do not
  // know; those that stop, pause and continue answer -1 when they cannot. C++ exceptions may come
  // out of speakBuffer.
  struct EntryPoints {
    long (*openSpeechChannel)(SpeechChannelIdentifier* channel);
    long (*closeSpeechChannel)(SpeechChannelIdentifier channel);
    long (*speechStatus)(SpeechChannelIdentifier channel, SpeechStatusInfo* status);
    long (*stopSpeechAt)(SpeechChannelIdentifier channel, unsigned long whereToStop);
    long (*pauseSpeechAt)(SpeechChannelIdentifier channel, unsigned long whereToPause);
    long (*continueSpeech)(SpeechChannelIdentifier channel);
    long (*textToPhonemes)(SpeechChannelIdentifier channel, char* textBuf, long textBytes,
                           void** phonemeBuf, long* phonBytes);
    long (*useDictionary)(SpeechChannelIdentifier channel, void* dictionary, long dictLength);
    long (*speakBuffer)(SpeechChannelIdentifier channel, Ptr textBuf, long byteLen,
                        long controlFlags);
    long (*getSpeechInfo)(SpeechChannelIdentifier channel, unsigned long selector,
                          void* speechInfo);
    long (*setSpeechInfo)(SpeechChannelIdentifier channel, unsigned long selector,
                          void* speechInfo);
    long (*useVoice)(SpeechChannelIdentifier channel, VoiceSpec* voice,
                     CFBundleRef inVoiceSpecBundle);
  };
  const EntryPoints& call() const { return m_entryPoints; }

  // Lets an open channel speak with a voice. Results: noErr; voiceNotFound, the voice's bundle is
  // gone; those of the synthesizer.
  OSErr useVoice(SpeechChannelIdentifier channel, const Voice& voice) const;

 private:
  EntryPoints m_entryPoints{};
};

}  // namespace platform
