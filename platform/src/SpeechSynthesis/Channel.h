// SPDX-License-Identifier: Apache-2.0
//
// Channel: the Manager's side of one speech channel.
//
// A channel stands between a client and a synthesizer's channel. It keeps the client's callbacks
// and reference constant, gives the synthesizer functions of its own in their place
// (Trampolines.h), and adds what clients expect and a synthesizer does not do by itself: new text
// takes the place of the old, a stop or pause with nothing to stop or pause is harmless.
//
// Threads: all functions may be called on any thread and inside any callback but text-done. No lock
// is held while a synthesizer or a client is called. Results of the synthesizer are translated;
// exceptions of it pass.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>

#include "SynthesizerPlugIn.h"
#include "VoiceCatalogue.h"

namespace platform {

// What the client has set; null callbacks are off.
struct ClientCallbacks {
  SpeechTextDoneProcPtr textDone = nullptr;
  SpeechDoneProcPtr speechDone = nullptr;
  SpeechSyncProcPtr sync = nullptr;
  SpeechErrorProcPtr error = nullptr;
  SpeechPhonemeProcPtr phoneme = nullptr;
  SpeechWordProcPtr word = nullptr;
  SRefCon refCon = nullptr;
};

class Channel {
 public:
  // `plugIn` outlives the channel. `identifier` is an open channel of it, which close() ends.
  Channel(const SynthesizerPlugIn& plugIn, SpeechChannelIdentifier identifier,
          SpeechChannel handle);

  // Gives the synthesizer what every channel of the Manager has: its reference constant, callbacks
  // that the Manager itself needs, exact word positions.
  OSErr prepare();

  // Ends the synthesizer's channel; the last call on it.
  void close();

  // noErr; voiceNotFound, the voice's bundle is gone.
  OSErr useVoice(const Voice& voice);

  // As the functions of the client interface with these names.
  OSErr speak(const void* text, unsigned long bytes, SInt32 flags);
  OSErr stop(SInt32 where);
  OSErr pause(SInt32 where);
  OSErr resume();
  OSErr setInfo(OSType selector, const void* value);
  OSErr getInfo(OSType selector, void* value);

  // Speaking or paused.
  bool isActive() const;

  SpeechChannel handle() const { return m_handle; }

  // For the trampolines.

  // A word of the caller's text.
  struct Word {
    unsigned long position;
    UInt16 length;
  };

  ClientCallbacks callbacks() const;
  // The synthesizer is idle again after a job.
  void jobHasEnded();
  void syncReached(OSType message);
  // The word as clients are told of it: not in front of an earlier one, and not past the text's
  // end.
  Word wordReached(Word word);
  // Keeps a copy of a text-done piece until the next call; returns it NUL-terminated.
  const std::string& keepPiece(const void* text, unsigned long bytes);

 private:
  struct State {
    bool busy;
    bool paused;
  };
  State state() const;
  OSErr set(OSType selector, const void* value) const;
  OSErr setCallback(OSType selector, const void* value);
  OSErr setCurrentVoice(const VoiceSpec& spec);
  OSErr getStatus(SpeechStatusInfo& status) const;
  void jobStarts(unsigned long bytes);
  void jobDidNotStart();
  bool waitForEndOfJobs();

  const SynthesizerPlugIn& m_plugIn;
  const SpeechChannelIdentifier m_identifier;
  const SpeechChannel m_handle;

  // Used by one thread at a time: text-done runs inside the synthesizer's lock.
  std::string m_piece;

  mutable std::mutex m_lock;
  // Below: with m_lock.
  std::condition_variable m_jobEnded;
  std::uint64_t m_jobsStarted = 0;
  std::uint64_t m_jobsEnded = 0;
  unsigned long m_textBytes = 0;     // of the job that started last, text-done pieces included
  unsigned long m_wordPosition = 0;  // of its last word
  ClientCallbacks m_callbacks;
  OSType m_recentSync = 0;
  VoiceSpec m_voice{};
};

}  // namespace platform
