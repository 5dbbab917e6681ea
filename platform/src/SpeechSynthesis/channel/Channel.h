// SPDX-License-Identifier: Apache-2.0
//
// Channel: the Manager's side of one speech channel.
//
// A channel stands between a client and a synthesizer's channel. It keeps the client's callbacks
// and reference constant and gives the synthesizer functions of its own in their place
// (Trampolines.h); what the synthesizer reports goes to the callback thread. It adds what clients
// expect and a synthesizer does not do by itself: new text takes the place of the old, more text is
// gathered without holding anybody up, a pause waits for ContinueSpeech before there is anything to
// pause, a stop at a place returns at once, the state can be asked for at any time.
//
// A job is one text, from the call that begins it to its speech-done. It is gathered while the
// client is asked for more text, ready while it waits for ContinueSpeech, speaking while the
// synthesizer has it. A stop makes the channel idle; the job's speech-done follows.
//
// Threads: all functions may be called on any thread and inside any callback. Calls of the
// synthesizer are made in turn (Turns.h), and none while m_lock is held; no client is called under
// any lock. Reports are posted under m_lock, so that they come in the order of what they tell.
// Results of the synthesizer are translated; exceptions of it pass.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

#include <cstdint>
#include <memory>
#include <string>

#include "SpeechSynthesis/bundles/SynthesizerPlugIn.h"
#include "SpeechSynthesis/bundles/VoiceCatalogue.h"
#include "SpeechSynthesis/channel/CallbackThread.h"
#include "SpeechSynthesis/channel/CallerText.h"
#include "SpeechSynthesis/channel/Turns.h"
#include "base/threads/Mutex.h"

namespace platform {

// What the client has set; null callbacks are off.
struct ClientCallbacks {
  SpeechTextDoneProcPtr textDone = nullptr;
  SpeechDoneProcPtr speechDone = nullptr;
  SpeechSyncProcPtr sync = nullptr;
  SpeechErrorProcPtr error = nullptr;
  SpeechPhonemeProcPtr phoneme = nullptr;
  SpeechWordProcPtr word = nullptr;
  SpeechErrorCFProcPtr errorCF = nullptr;
  SpeechWordCFProcPtr wordCF = nullptr;
  SRefCon refCon = nullptr;
};

class Channel final : public ReportReceiver, public std::enable_shared_from_this<Channel> {
 public:
  // `plugIn` outlives the channel. `identifier` is an open channel of it, which close() ends.
  Channel(const SynthesizerPlugIn& plugIn, SpeechChannelIdentifier identifier,
          SpeechChannel handle);

  // Gives the synthesizer what every channel of the Manager has: its reference constant, callbacks
  // that the Manager itself needs, exact word positions.
  OSErr prepare();

  // Ends the synthesizer's channel; the last call on it. No report to the client begins after this,
  // and unless it is called inside one, none is still being made.
  void close() EXCLUDES(m_lock);

  // noErr; voiceNotFound, the voice's bundle is gone.
  OSErr useVoice(const Voice& voice) EXCLUDES(m_lock);

  // As the functions of the client interface with these names.
  OSErr speak(CallerText text, SInt32 flags) EXCLUDES(m_lock);
  OSErr stop(SInt32 where) EXCLUDES(m_lock);
  OSErr pause(SInt32 where) EXCLUDES(m_lock);
  OSErr resume() EXCLUDES(m_lock);
  OSErr setInfo(OSType selector, const void* value) EXCLUDES(m_lock);
  OSErr getInfo(OSType selector, void* value) EXCLUDES(m_lock);
  OSErr useDictionary(void* dictionary, long bytes) EXCLUDES(m_lock);
  // The callbacks that only the calls with property names know.
  void setErrorCallback(SpeechErrorCFProcPtr callback) EXCLUDES(m_lock);
  void setWordCallback(SpeechWordCFProcPtr callback) EXCLUDES(m_lock);
  ClientCallbacks callbacks() const EXCLUDES(m_lock);

  // Speaking or paused, or about to.
  bool isActive() const EXCLUDES(m_lock);

  // Does `work` with the synthesizer's channel in its turn.
  template <typename Work>
  OSErr inTurn(Work work) EXCLUDES(m_lock) {
    OSErr result = noErr;
    m_turns.doNow([&] { result = work(m_plugIn, m_identifier); });
    return result;
  }

  SpeechChannel handle() const { return m_handle; }
  const SynthesizerPlugIn& plugIn() const { return m_plugIn; }
  OSType creator() const EXCLUDES(m_lock);

  // What the synthesizer reports; called by the trampolines.
  void jobHasEnded() EXCLUDES(m_lock);
  void syncReached(OSType message) EXCLUDES(m_lock);
  void wordReached(unsigned long position, UInt16 length) EXCLUDES(m_lock);
  void phonemeReached(SInt16 opcode) EXCLUDES(m_lock);
  void errorMet(OSErr error, long position) EXCLUDES(m_lock);

  void deliver(const Report& report) EXCLUDES(m_lock) override;

 private:
  enum class Phase { Idle, Gathering, Ready, Speaking };

  // Results as of speak(). All to be called in turn.
  OSErr begin(CallerText text, SInt32 flags) EXCLUDES(m_lock);
  OSErr startSpeaking() EXCLUDES(m_lock);
  OSErr stopInTurn(SInt32 where) EXCLUDES(m_lock);
  OSErr pauseInTurn(SInt32 where) EXCLUDES(m_lock);
  OSErr resumeInTurn() EXCLUDES(m_lock);
  OSErr stopNow() EXCLUDES(m_lock);
  void stopAtPlace(SInt32 where) EXCLUDES(m_lock);
  bool waitForEndOfJob() EXCLUDES(m_lock);
  void settle() EXCLUDES(m_lock);
  OSErr acceptJob(CallerText text, SInt32 flags) EXCLUDES(m_lock);
  OSErr speakInPlugIn() EXCLUDES(m_lock);

  OSErr inTurnOrQueued(std::function<OSErr(Channel&)> work) EXCLUDES(m_lock);
  OSErr startReadyJob() EXCLUDES(m_lock);
  void reportFailure(OSErr error) EXCLUDES(m_lock);
  void reportUnbegunJob(OSErr error) EXCLUDES(m_lock);
  void gatherMore(const ClientCallbacks& callbacks, const Report& report) EXCLUDES(m_lock);
  bool gatheringIsOver(const Report& report, const void* piece, unsigned long bytes)
      EXCLUDES(m_lock);
  void tell(const ClientCallbacks& callbacks, const Report& report) EXCLUDES(m_lock);
  void tellWord(const ClientCallbacks& callbacks, const Report& report) EXCLUDES(m_lock);
  void tellError(const ClientCallbacks& callbacks, const Report& report) EXCLUDES(m_lock);

  OSErr set(OSType selector, const void* value) const;
  OSErr setCallback(OSType selector, const void* value) EXCLUDES(m_lock);
  OSErr setCurrentVoice(const VoiceSpec& spec) EXCLUDES(m_lock);
  OSErr setOutputFile(CFURLRef url) EXCLUDES(m_lock);
  OSErr readStatus(SpeechStatusInfo& status) const EXCLUDES(m_lock);
  OSErr readErrors(SpeechErrorInfo& errors) EXCLUDES(m_lock);

  void post(const Report& report) noexcept REQUIRES(m_lock);
  bool endUnspokenJob() REQUIRES(m_lock);
  void noteError(OSErr error, long position) REQUIRES(m_lock);
  CallbackThread::Place takeDonePlace() REQUIRES(m_lock);

  const SynthesizerPlugIn& m_plugIn;
  const SpeechChannelIdentifier m_identifier;
  const SpeechChannel m_handle;
  Turns m_turns;

  mutable base::Mutex m_lock;
  base::Condition m_jobEnded;  // with m_lock: m_isOwedEnd became false
  Phase m_phase GUARDED_BY(m_lock) = Phase::Idle;
  bool m_isPaused GUARDED_BY(m_lock) = false;  // of a job that is not idle
  std::uint64_t m_job GUARDED_BY(m_lock) = 0;  // number of the last job
  // It and those before have nothing to report but their end.
  std::uint64_t m_silencedJob GUARDED_BY(m_lock) = 0;
  CallerText m_text GUARDED_BY(m_lock);  // of the last job
  SInt32 m_flags GUARDED_BY(m_lock) = 0;
  unsigned long m_wordPosition GUARDED_BY(m_lock) = 0;  // of its last word, in bytes
  SInt16 m_phonemeCode GUARDED_BY(m_lock) = 0;
  // The synthesizer has a job whose end has not been reported.
  bool m_isOwedEnd GUARDED_BY(m_lock) = false;
  bool m_isStopPending GUARDED_BY(m_lock) = false;  // a stop waits for its place
  // Of the last job's speech-done, until it is posted.
  CallbackThread::Place m_donePlace GUARDED_BY(m_lock);
  bool m_isDisposed GUARDED_BY(m_lock) = false;
  ClientCallbacks m_callbacks GUARDED_BY(m_lock);
  OSType m_recentSync GUARDED_BY(m_lock) = 0;
  SpeechErrorInfo m_errors GUARDED_BY(m_lock){};
  VoiceSpec m_voice GUARDED_BY(m_lock){};
};

}  // namespace platform
