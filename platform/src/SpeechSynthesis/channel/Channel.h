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
// synthesizer are made in turn (CallQueue.h), and none while m_lock is held; no client is called
// under any lock. Reports are posted under m_lock, so that they come in the order of what they
// tell. Results of the synthesizer are translated; exceptions of it pass.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "SpeechSynthesis/bundles/SynthesizerPlugIn.h"
#include "SpeechSynthesis/bundles/VoiceCatalogue.h"
#include "SpeechSynthesis/channel/CallQueue.h"
#include "SpeechSynthesis/channel/CallbackThread.h"
#include "SpeechSynthesis/channel/CallerText.h"

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
  void close();

  // noErr; voiceNotFound, the voice's bundle is gone.
  OSErr useVoice(const Voice& voice);

  // As the functions of the client interface with these names.
  OSErr speak(CallerText text, SInt32 flags);
  OSErr stop(SInt32 where);
  OSErr pause(SInt32 where);
  OSErr resume();
  OSErr setInfo(OSType selector, const void* value);
  OSErr getInfo(OSType selector, void* value);
  OSErr useDictionary(void* dictionary, long bytes);
  // The callbacks that only the calls with property names know.
  void setErrorCallback(SpeechErrorCFProcPtr callback);
  void setWordCallback(SpeechWordCFProcPtr callback);
  ClientCallbacks callbacks() const;

  // Speaking or paused, or about to.
  bool isActive() const;

  // Does `work` with the synthesizer's channel in its turn.
  template <typename Work>
  OSErr callInTurn(Work work) {
    OSErr result = noErr;
    m_calls.runNow([&] { result = work(m_plugIn, m_identifier); });
    return result;
  }

  SpeechChannel handle() const { return m_handle; }
  const SynthesizerPlugIn& plugIn() const { return m_plugIn; }
  OSType creator() const;

  // What the synthesizer reports; called by the trampolines.
  void handleJobEnd();
  void handleSync(OSType message);
  void handleWord(unsigned long position, UInt16 length);
  void handlePhoneme(SInt16 opcode);
  void handleError(OSErr error, long position);

  void deliver(const Report& report) override;

 private:
  enum class Phase { Idle, Gathering, Ready, Speaking };

  // Results as of speak(). All to be called in turn.
  OSErr begin(CallerText text, SInt32 flags);
  OSErr startSpeaking();
  OSErr performStop(SInt32 where);
  OSErr performPause(SInt32 where);
  OSErr performResume();
  OSErr stopImmediately();
  void stopAtBoundary(SInt32 where);
  bool waitForEndOfJob();
  void clearStalePause();
  OSErr acceptJob(CallerText text, SInt32 flags);
  OSErr speakInPlugIn();

  OSErr runOrQueue(std::function<OSErr(Channel&)> work);
  OSErr startReadyJob();
  void reportFailure(OSErr error);
  void reportUnbegunJob(OSErr error);
  void askForMoreText(const ClientCallbacks& callbacks, const Report& report);
  bool appendPiece(const Report& report, const void* piece, unsigned long bytes);
  void callClient(const ClientCallbacks& callbacks, const Report& report);
  void callWordCallbacks(const ClientCallbacks& callbacks, const Report& report);
  void callErrorCallbacks(const ClientCallbacks& callbacks, const Report& report);

  OSErr set(OSType selector, const void* value) const;
  OSErr setCallback(OSType selector, const void* value);
  OSErr setCurrentVoice(const VoiceSpec& spec);
  OSErr setOutputFile(CFURLRef url);
  OSErr readStatus(SpeechStatusInfo& status) const;
  OSErr readErrors(SpeechErrorInfo& errors);

  // With m_lock.
  void post(const Report& report) noexcept;
  bool endUnspokenJob();
  void noteError(OSErr error, long position);
  CallbackThread::ReportList takeDoneReport();

  const SynthesizerPlugIn& m_plugIn;
  const SpeechChannelIdentifier m_identifier;
  const SpeechChannel m_handle;
  CallQueue m_calls;

  mutable std::mutex m_lock;
  // Below: with m_lock.
  std::condition_variable m_jobEnded;  // m_isOwedEnd became false
  Phase m_phase = Phase::Idle;
  bool m_isPaused = false;          // of a job that is not idle
  std::uint64_t m_job = 0;          // number of the last job
  std::uint64_t m_silencedJob = 0;  // it and those before have nothing to report but their end
  CallerText m_text;                // of the last job
  SInt32 m_flags = 0;
  unsigned long m_wordPosition = 0;  // of its last word, in bytes
  SInt16 m_phonemeCode = 0;
  bool m_isOwedEnd = false;      // the synthesizer has a job whose end has not been reported
  bool m_isStopPending = false;  // a stop waits for its place
  CallbackThread::ReportList m_doneReport;  // of the last job's speech-done, until it is posted
  bool m_isDisposed = false;
  ClientCallbacks m_callbacks;
  OSType m_recentSync = 0;
  SpeechErrorInfo m_errors{};
  VoiceSpec m_voice{};
};

}  // namespace platform
