// SPDX-License-Identifier: Apache-2.0
//
// Channel: the Manager's side of one speech channel.
//
// A channel connects a client and a synthesizer's channel. It stores the client's callbacks and
// reference constant and gives the synthesizer functions of its own instead (Trampolines.h); what
// the synthesizer reports is forwarded to the callback thread. It adds what clients expect and a
// synthesizer lacks: a new text replaces the old one, more text is asked for while the last one is
// spoken, a pause is possible before the speech starts, a stop at a boundary returns immediately,
// the state can be read at any time, settings read back as they were set, and texts are adapted to
// what a synthesizer understands (texts/TextAdapter.h).
//
// A job is what is spoken from the call that starts it to its speech-done: one text, or the pieces
// that the client's text-done callback supplies. It is given to the synthesizer in batches
// (SpokenPieces.h). The phase of a job is Gathering while there is not enough text for a batch,
// Ready while a batch waits to be started, and Speaking while the synthesizer has one. A stop makes
// the channel idle; the speech-done of the job comes later.
//
// Ownership: shared; the registry holds a reference while the channel is open, reports hold one
// until they are delivered.
// Threads: all functions are safe to call from any thread and inside any callback. Calls of the
// synthesizer run one at a time, under m_turn, and never while m_lock is held; no client is called
// under any lock. Reports are posted under m_lock, so their order is that of the events. No call
// waits for speech to reach a boundary, provided that the synthesizer can stop there without
// waiting; of the synthesizers that cannot, the stop waits, and later calls with it.
// Failure: results of the synthesizer are translated (toClientResult); its exceptions pass through.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "SpeechSynthesis/bundles/SynthesizerPlugIn.h"
#include "SpeechSynthesis/bundles/VoiceCatalogue.h"
#include "SpeechSynthesis/channel/CallbackThread.h"
#include "SpeechSynthesis/channel/CallerText.h"
#include "SpeechSynthesis/texts/TextAdapter.h"
#include "base/threads/Mutex.h"

namespace platform {

inline constexpr DelimiterInfo kUsualDelimiters = {{'[', '['}, {']', ']'}};

// Selector of synthesizers that can stop at a boundary without waiting for it. The value is the
// boundary instead of a pointer; it can be read to find out whether there is such a selector.
inline constexpr OSType kStopAtBoundary = 0x73746264;  // 'stbd'

// Selector of synthesizers that take UTF-8. A value other than null: the next texts are UTF-8. It
// can be read to find out whether there is such a selector.
inline constexpr OSType kUtf8Text = 0x75746638;  // 'utf8'

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

// A text as a synthesizer gets it.
struct ReadyText {
  std::string bytes;
  Charset charset = Charset::MacRoman;
};

class Channel final : public ReportReceiver, public std::enable_shared_from_this<Channel> {
 public:
  // Throws std::bad_alloc. `plugIn` outlives the channel. `identifier` is an open channel of the
  // plug-in; close() closes it. `handle` is the client's handle.
  Channel(const SynthesizerPlugIn& plugIn, SpeechChannelIdentifier identifier,
          SpeechChannel handle);

  // Sets what every channel of the Manager has in the synthesizer: the reference constant, the
  // trampolines, exact word positions, reports of failures; finds out what it offers. Returns the
  // first failure of the synthesizer.
  OSErr prepare();

  // Closes the synthesizer's channel; the last call on this object. No delivery to the client
  // begins after it. Outside a callback, it also waits for a delivery that is running.
  void close() EXCLUDES(m_lock);

  // Results: noErr; voiceNotFound if the bundle of the voice no longer exists.
  OSErr useVoice(const Voice& voice) EXCLUDES(m_turn, m_lock);

  // These implement the client functions of the same names, which describe them.
  OSErr speak(CallerText text, SInt32 flags) EXCLUDES(m_turn, m_lock);
  OSErr stop(SInt32 where) EXCLUDES(m_turn, m_lock);
  OSErr pause(SInt32 where) EXCLUDES(m_turn, m_lock);
  OSErr resume() EXCLUDES(m_turn, m_lock);
  // `value` must be one that checkSetting() accepts.
  OSErr setInfo(OSType selector, const void* value) EXCLUDES(m_turn, m_lock);
  OSErr getInfo(OSType selector, void* value) EXCLUDES(m_turn, m_lock);
  OSErr useDictionary(void* dictionary, long bytes) EXCLUDES(m_turn, m_lock);
  // Rate, pitch base, pitch range and volume, without the rounding of Fixed. setNumber(): paramErr
  // if the value is out of the range of Fixed.
  OSErr setNumber(OSType selector, double value) EXCLUDES(m_turn, m_lock);
  OSErr getNumber(OSType selector, double& value) EXCLUDES(m_turn, m_lock);
  // The callbacks that only SetSpeechProperty can set.
  void setErrorCallback(SpeechErrorCFProcPtr callback) EXCLUDES(m_lock);
  void setWordCallback(SpeechWordCFProcPtr callback) EXCLUDES(m_lock);
  ClientCallbacks callbacks() const EXCLUDES(m_lock);

  // Strict: texts go to the synthesizer as they are written. Holds for texts that start later.
  void setStrict(bool isStrict) EXCLUDES(m_lock);
  bool isStrict() const EXCLUDES(m_lock);
  // One voice: the synthesizer speaks the whole text with the channel's voice. No effect if the
  // synthesizer lacks the setting. Results: those of the synthesizer.
  OSErr setOneVoice(bool hasOneVoice) EXCLUDES(m_turn, m_lock);
  bool hasOneVoice() const EXCLUDES(m_lock);
  // Returns the text as the synthesizer gets it, in a charset that it takes.
  ReadyText adaptedFor(CallerText text) EXCLUDES(m_turn, m_lock);

  // The charset of texts and pieces that the client gives as bytes. Holds for texts that start
  // later.
  void setCharset(Charset charset) EXCLUDES(m_lock);
  Charset charset() const EXCLUDES(m_lock);

  // True if there is a job that is not stopped: gathering, ready, speaking or paused.
  bool isActive() const EXCLUDES(m_lock);

  SpeechChannel handle() const { return m_handle; }
  const SynthesizerPlugIn& plugIn() const { return m_plugIn; }
  OSType creator() const EXCLUDES(m_lock);

  // Events of the synthesizer, on its threads. Called by the trampolines. Positions and lengths are
  // in bytes of the text that the synthesizer has. The position of an error is mapped only if that
  // text is adapted, and else passed on as it is.
  void handleJobEnd() EXCLUDES(m_lock);
  void handleSync(OSType message) EXCLUDES(m_lock);
  void handleWord(unsigned long position, UInt16 length) EXCLUDES(m_lock);
  void handlePhoneme(SInt16 opcode) EXCLUDES(m_lock);
  void handleError(OSErr error, long position) EXCLUDES(m_lock);

  void deliver(const Report& report) EXCLUDES(m_lock) override;

 private:
  enum class Phase { Idle, Gathering, Ready, Speaking };

  // A text for the synthesizer.
  struct Batch {
    std::string text;
    Charset charset = Charset::MacRoman;
    SInt32 flags = 0;
    bool isStrict = false;
    bool isLast = false;  // no more text of the job is known
  };

  // Results: those of speak().
  OSErr startJob(CallerText text, SInt32 flags) REQUIRES(m_turn) EXCLUDES(m_lock);
  OSErr acceptJob(CallerText text, SInt32 flags) REQUIRES(m_turn) EXCLUDES(m_lock);
  OSErr startSpeaking() REQUIRES(m_turn) EXCLUDES(m_lock);
  OSErr speakNextBatch() REQUIRES(m_turn) EXCLUDES(m_lock);
  OSErr speakInPlugIn(Batch batch) REQUIRES(m_turn) EXCLUDES(m_lock);
  OSErr performStop(SInt32 where) REQUIRES(m_turn) EXCLUDES(m_lock);
  OSErr performPause(SInt32 where) REQUIRES(m_turn) EXCLUDES(m_lock);
  OSErr performResume() REQUIRES(m_turn) EXCLUDES(m_lock);
  OSErr stopImmediately() REQUIRES(m_turn) EXCLUDES(m_lock);
  OSErr stopAtBoundary(SInt32 where) REQUIRES(m_turn) EXCLUDES(m_lock);
  bool waitForEndOfJob() REQUIRES(m_turn) EXCLUDES(m_lock);
  void clearStalePause() REQUIRES(m_turn) EXCLUDES(m_lock);
  TextSettings textSettings(Charset charset) REQUIRES(m_turn) EXCLUDES(m_lock);
  bool announce(Charset charset) REQUIRES(m_turn) EXCLUDES(m_lock);
  void acceptAdaptedText(AdaptedText adapted, bool isStrict) EXCLUDES(m_lock);
  OSErr startReadyJob() REQUIRES(m_turn) EXCLUDES(m_lock);
  void reportFailure(OSErr error) EXCLUDES(m_lock);

  void askForMoreText(const ClientCallbacks& callbacks, const Report& report) EXCLUDES(m_lock);
  void startNextBatch() EXCLUDES(m_turn, m_lock);
  void callClient(const ClientCallbacks& callbacks, const Report& report) EXCLUDES(m_lock);
  void callWordCallbacks(const ClientCallbacks& callbacks, const Report& report) EXCLUDES(m_lock);
  void callErrorCallbacks(const ClientCallbacks& callbacks, const Report& report) EXCLUDES(m_lock);

  OSErr set(OSType selector, const void* value) const REQUIRES(m_turn);
  OSErr get(OSType selector, void* value) const REQUIRES(m_turn);
  OSErr setCallback(OSType selector, const void* value) EXCLUDES(m_lock);
  OSErr setDelimiters(const DelimiterInfo& delimiters) REQUIRES(m_turn) EXCLUDES(m_lock);
  OSErr resetSettings() REQUIRES(m_turn) EXCLUDES(m_lock);
  OSErr setCurrentVoice(const VoiceSpec& spec) EXCLUDES(m_turn, m_lock);
  OSErr setOutputFile(CFURLRef url) EXCLUDES(m_turn, m_lock);
  OSErr resultForFile(OSErr result) const EXCLUDES(m_lock);
  OSErr readStatus(SpeechStatusInfo& status) const EXCLUDES(m_lock);
  OSErr readErrors(SpeechErrorInfo& errors) EXCLUDES(m_lock);

  void post(const Report& report) noexcept REQUIRES(m_lock);
  void becomeIdle() REQUIRES(m_lock);
  bool endUnspokenJob() REQUIRES(m_lock);
  bool hasEnoughText() const REQUIRES(m_lock);
  bool hasNextBatch() const REQUIRES(m_lock);
  void requestText() REQUIRES(m_lock);
  void prepareNextBatch() REQUIRES(m_lock);
  Batch takeBatch(bool takesUtf8) REQUIRES(m_lock);
  bool acceptPiece(const Report& report, const void* piece, unsigned long bytes, SInt32 flags)
      EXCLUDES(m_lock);
  OSType syncValueOf(OSType message) REQUIRES(m_lock);
  void noteError(OSErr error, long position) REQUIRES(m_lock);
  CallbackThread::ReportList takeDoneReport() REQUIRES(m_lock);

  const SynthesizerPlugIn& m_plugIn;
  const SpeechChannelIdentifier m_identifier;
  const SpeechChannel m_handle;
  base::Mutex m_turn;  // held during every call of the synthesizer; taken before m_lock
  bool m_stopsWithoutWaiting GUARDED_BY(m_turn) = false;  // the synthesizer can
  bool m_takesUtf8 GUARDED_BY(m_turn) = false;            // the synthesizer does, if it is told
  // What the synthesizer has been told about the next text.
  Charset m_announced GUARDED_BY(m_turn) = Charset::MacRoman;

  mutable base::Mutex m_lock;
  base::Condition m_jobEnded;  // with m_lock: m_endOwed became false
  Phase m_phase GUARDED_BY(m_lock) = Phase::Idle;
  bool m_paused GUARDED_BY(m_lock) = false;    // the current job is paused
  std::uint64_t m_job GUARDED_BY(m_lock) = 0;  // number of the last job
  // Of this job and those before it, only the end is reported.
  std::uint64_t m_silencedJob GUARDED_BY(m_lock) = 0;
  CallerText m_text GUARDED_BY(m_lock);  // of the last batch
  // Start of the last word, in bytes of m_text.
  unsigned long m_wordPosition GUARDED_BY(m_lock) = 0;
  SInt16 m_phonemeCode GUARDED_BY(m_lock) = 0;
  // The synthesizer has a batch whose end has not been reported.
  bool m_endOwed GUARDED_BY(m_lock) = false;
  bool m_stopPending GUARDED_BY(m_lock) = false;  // the batch ends at a boundary

  // The text of the job that the synthesizer does not have yet, and the flags of its last piece.
  CallerText m_next GUARDED_BY(m_lock);
  SInt32 m_flags GUARDED_BY(m_lock) = 0;
  Charset m_pieceCharset GUARDED_BY(m_lock) = Charset::MacRoman;  // of the job's pieces
  std::string m_carried GUARDED_BY(m_lock);            // commands for the start of m_next
  bool m_mayHaveMore GUARDED_BY(m_lock) = false;       // the client has not given the last piece
  bool m_isAsking GUARDED_BY(m_lock) = false;          // a text-done report is on its way
  bool m_pausesBeforeNext GUARDED_BY(m_lock) = false;  // the next batch waits for ContinueSpeech

  // The report of the last job's speech-done, until it is posted.
  CallbackThread::ReportList m_doneReport GUARDED_BY(m_lock);
  bool m_disposed GUARDED_BY(m_lock) = false;
  ClientCallbacks m_callbacks GUARDED_BY(m_lock);
  OSType m_recentSync GUARDED_BY(m_lock) = 0;
  bool m_isStrict GUARDED_BY(m_lock) = false;
  bool m_hasOneVoice GUARDED_BY(m_lock) = false;
  Charset m_charset GUARDED_BY(m_lock);
  DelimiterInfo m_delimiters GUARDED_BY(m_lock) = kUsualDelimiters;
  // Rate, pitch base, pitch range and volume, if they were set.
  std::array<std::optional<double>, 4> m_numbers GUARDED_BY(m_lock);
  std::string m_file GUARDED_BY(m_lock);  // path of the output file; empty if there is none
  // The values of the current batch's sync marks, and the index of the one that is expected next.
  std::vector<std::uint32_t> m_syncValues GUARDED_BY(m_lock);
  std::size_t m_nextSync GUARDED_BY(m_lock) = 0;
  SpeechErrorInfo m_errors GUARDED_BY(m_lock){};
  VoiceSpec m_voice GUARDED_BY(m_lock){};
};

}  // namespace platform
