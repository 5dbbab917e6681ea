// SPDX-License-Identifier: Apache-2.0
//
// Channel: the Manager's side of one speech channel.
//
// A channel connects a client and a synthesizer's channel. It stores the client's callbacks and
// reference constant and gives the synthesizer functions of its own instead (Trampolines.h); what
// the synthesizer reports is forwarded to the callback thread. It adds what clients expect and a
// synthesizer lacks: a new text replaces the old one, text-done callbacks do not block the caller,
// a pause is possible before the speech starts, a stop at a boundary returns immediately, and the
// state can be read at any time.
//
// A job is one text, from the call that starts it to its speech-done. Its phase is Gathering while
// the client is asked for more text, Ready while it waits for ContinueSpeech, and Speaking while
// the synthesizer has it. A stop makes the channel idle; the speech-done of the job comes later.
//
// Ownership: shared; the registry holds a reference while the channel is open, queued calls and
// reports hold one until they are done.
// Threads: all functions are safe to call from any thread and inside any callback. Calls of the
// synthesizer run one at a time (CallQueue.h), and never while m_lock is held; no client is called
// under any lock. Reports are posted under m_lock, so their order is that of the events.
// Failure: results of the synthesizer are translated (toClientResult); its exceptions pass through.
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

// The callbacks of the client. A null callback is off.
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
  // `plugIn` outlives the channel. `identifier` is an open channel of the plug-in; close() closes
  // it. `handle` is the client's handle.
  Channel(const SynthesizerPlugIn& plugIn, SpeechChannelIdentifier identifier,
          SpeechChannel handle);

  // Sets what every channel of the Manager has in the synthesizer: the reference constant, the
  // trampolines, exact word positions. Returns the first failure of the synthesizer.
  OSErr prepare();

  // Closes the synthesizer's channel; the last call on this object. No delivery to the client
  // begins after it. Outside a callback, it also waits for a delivery that is running.
  void close();

  // To be called on the call queue, or before the client has the handle. Results: noErr;
  // voiceNotFound if the bundle of the voice no longer exists.
  OSErr useVoice(const Voice& voice);

  // These implement the client functions of the same names, which describe them.
  OSErr speak(CallerText text, SInt32 flags);
  OSErr stop(SInt32 where);
  OSErr pause(SInt32 where);
  OSErr resume();
  OSErr setInfo(OSType selector, const void* value);
  OSErr getInfo(OSType selector, void* value);
  OSErr useDictionary(void* dictionary, long bytes);
  // The callbacks that only SetSpeechProperty can set.
  void setErrorCallback(SpeechErrorCFProcPtr callback);
  void setWordCallback(SpeechWordCFProcPtr callback);
  ClientCallbacks callbacks() const;

  // True if there is a job that is not stopped: gathering, ready, speaking or paused.
  bool isActive() const;

  // Runs work(plugIn, identifier) on the call queue and returns its result. Waits for a pending
  // stop.
  template <typename Work>
  OSErr callInTurn(Work work) {
    OSErr result = noErr;
    m_calls.runNow([&] { result = work(m_plugIn, m_identifier); });
    return result;
  }

  SpeechChannel handle() const { return m_handle; }
  const SynthesizerPlugIn& plugIn() const { return m_plugIn; }
  OSType creator() const;

  // Events of the synthesizer, on its threads. Called by the trampolines. Positions and lengths are
  // in bytes of the converted text, except the position of an error, which is passed on as it is.
  void handleJobEnd();
  void handleSync(OSType message);
  void handleWord(unsigned long position, UInt16 length);
  void handlePhoneme(SInt16 opcode);
  void handleError(OSErr error, long position);

  void deliver(const Report& report) override;

 private:
  enum class Phase { Idle, Gathering, Ready, Speaking };

  // To be called on the call queue only. Results: those of speak().
  OSErr startJob(CallerText text, SInt32 flags);
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
  void reportUnstartedJob(OSErr error);
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
