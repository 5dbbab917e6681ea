// SPDX-License-Identifier: Apache-2.0
//
// SynthesizerPlugIn: a loaded synthesizer and its twelve entry points.
//
// A synthesizer may have threads of its own, so the library stays loaded until the process exits,
// even after the object is destroyed. Threads: objects are immutable; any thread may use them.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>
#include <CoreFoundation/CFBase.h>

#include <filesystem>
#include <stdexcept>

#include "SpeechSynthesis/bundles/VoiceCatalogue.h"

namespace platform {

// Why a synthesizer cannot be used: one sentence for the user, without the full stop.
class PlugInError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class SynthesizerPlugIn {
 public:
  // Loads the library `file` and looks up all entry points. Throws PlugInError, which names the
  // file and says what is wrong: the file does not exist, it is truncated, the system cannot load
  // it, or an entry point is missing. Throws std::bad_alloc if memory is all that is missing.
  explicit SynthesizerPlugIn(const std::filesystem::path& file);

  // The entry points. All return 0 or one of the Manager's results; -240 for a channel that they do
  // not know. Stop, pause and continue return -1 if they cannot do it. speakBuffer may throw C++
  // exceptions.
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

  // Sets the voice of an open channel. Results: noErr; voiceNotFound if the bundle of the voice no
  // longer exists; those of the synthesizer. Throws std::bad_alloc.
  OSErr useVoice(SpeechChannelIdentifier channel, const Voice& voice) const;

 private:
  EntryPoints m_entryPoints{};
};

}  // namespace platform
