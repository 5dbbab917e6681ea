// SPDX-License-Identifier: Apache-2.0
//
// Channel, second part: starting, stopping, pausing and resuming jobs.
#include <ApplicationServices/FixMath.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <limits>
#include <utility>

#include "SpeechSynthesis/calls/Results.h"
#include "SpeechSynthesis/channel/Channel.h"
#include "SpeechSynthesis/channel/EndingProsody.h"
#include "base/threads/Clock.h"

namespace platform {
namespace {

// The longest wait for the end of a stopped job.
constexpr std::chrono::seconds kEndOfJobLimit{1};

bool isStopBoundary(SInt32 where) {
  return where == kImmediate || where == kEndOfWord || where == kEndOfSentence;
}

}  // namespace

// ---- Client functions

OSErr Channel::speak(CallerText text, SInt32 flags) {
  if ((flags & kNoSpeechInterrupt) != 0 && isActive()) return synthNotReady;
  const base::ScopedLock turn(m_turn);
  const OSErr result = resultForFile(startJob(std::move(text), flags));
  // soErrors counts refused texts too.
  if (result == badInputText) {
    const base::ScopedLock held(m_lock);
    noteError(result, 0);
  }
  return result;
}

OSErr Channel::stop(SInt32 where) {
  if (!isStopBoundary(where)) return paramErr;
  const base::ScopedLock turn(m_turn);
  return performStop(where);
}

OSErr Channel::pause(SInt32 where) {
  if (!isStopBoundary(where)) return paramErr;
  const base::ScopedLock turn(m_turn);
  return performPause(where);
}

OSErr Channel::resume() {
  const base::ScopedLock turn(m_turn);
  return performResume();
}

// ---- Starting

// Replaces the current job: stops it, waits for its end, then accepts the new text.
OSErr Channel::startJob(CallerText text, SInt32 flags) {
  if (isActive()) {
    if ((flags & kNoSpeechInterrupt) != 0) return synthNotReady;
    if (const OSErr result = performStop(kImmediate); result != noErr) return result;
  }
  if (!waitForEndOfJob()) return synthNotReady;
  return acceptJob(std::move(text), flags);
}

// A synthesizer that is asked to pause at the very end of a job may remain in a paused state
// without a job, and would then refuse the next text. A stop makes it idle again.
void Channel::clearStalePause() {
  SpeechStatusInfo status{};
  if (m_plugIn.call().speechStatus(m_identifier, &status) != noErr) return;
  if (status.outputBusy == 0 && status.outputPaused == 0) return;
  {
    const base::ScopedLock held(m_lock);
    // A job is really running. Otherwise the stop below makes the synthesizer report an end.
    if (m_endOwed) return;
    m_endOwed = true;
  }
  if (m_plugIn.call().stopSpeechAt(m_identifier, kImmediate) == noErr) return;
  const base::ScopedLock held(m_lock);
  m_endOwed = false;
}

// Returns false if the job does not end in time.
bool Channel::waitForEndOfJob() {
  const base::ScopedLock held(m_lock);
  const base::Clock::time_point limit = base::Clock::now() + kEndOfJobLimit;
  while (m_endOwed && !m_disposed && m_jobEnded.waitUntil(m_lock, limit)) {
  }
  return !m_endOwed || m_disposed;
}

// Creates the job. It starts at once, unless the client must be asked for more text or has set
// kPreflightThenPause.
OSErr Channel::acceptJob(CallerText text, SInt32 flags) {
  // Without the thread, nothing of an accepted job could be reported.
  if (!CallbackThread::shared().start()) return memFullErr;
  {
    const base::ScopedLock held(m_lock);
    if (m_disposed) return invalidComponentID;
    // First the step that can fail. The report of speech-done is allocated here, so that the end of
    // the job can always be reported.
    CallbackThread::ReportList doneReport{
        {shared_from_this(), {Report::Kind::SpeechDone, m_job + 1}}};
    ++m_job;
    m_doneReport = std::move(doneReport);
    m_text = {};
    m_next = std::move(text);
    m_pieceCharset = m_charset;
    m_flags = flags;
    m_carried.clear();
    m_mayHaveMore = m_callbacks.textDone != nullptr;
    m_isAsking = false;
    m_pausesBeforeNext = false;
    m_wordPosition = 0;
    m_phonemeCode = 0;
    m_paused = (flags & kPreflightThenPause) != 0;
    m_phase = hasEnoughText() ? Phase::Ready : Phase::Gathering;
    if (m_phase == Phase::Gathering) requestText();
    if (m_phase == Phase::Gathering || m_paused) return noErr;
  }
  const OSErr result = startSpeaking();
  if (result != noErr) {
    const base::ScopedLock held(m_lock);
    m_doneReport.clear();
  }
  return result;
}

// Passes the next batch of a job in phase Ready to the synthesizer. No effect in any other phase,
// or while paused. After a failure the channel is idle. Throws nothing: on the callback thread
// nobody would catch it.
OSErr Channel::startSpeaking() {
  try {
    return speakNextBatch();
  } catch (...) {
    const base::ScopedLock held(m_lock);
    becomeIdle();
    return resultOfException();
  }
}

// Throws std::bad_alloc; the phase is then as before.
OSErr Channel::speakNextBatch() {
  {
    const base::ScopedLock held(m_lock);
    if (m_phase != Phase::Ready || m_paused) return noErr;
  }
  clearStalePause();
  const bool isFree = waitForEndOfJob();
  Charset charset = Charset::MacRoman;
  {
    const base::ScopedLock held(m_lock);
    charset = m_next.charset();
  }
  const bool takesText = announce(charset);
  Batch batch;
  {
    const base::ScopedLock held(m_lock);
    if (!isFree) {
      becomeIdle();
      return synthNotReady;
    }
    // The client may have stopped or paused the job during the wait.
    if (m_phase != Phase::Ready || m_paused) return noErr;
    batch = takeBatch(takesText);
    // Set before the call: a short batch may end before the call returns.
    m_phase = Phase::Speaking;
    m_endOwed = true;
  }
  OSErr result = noErr;
  try {
    result = speakInPlugIn(std::move(batch));
  } catch (...) {
    result = resultOfException();
  }
  if (result == noErr) return noErr;
  const base::ScopedLock held(m_lock);
  becomeIdle();
  m_endOwed = false;
  return result;
}

// The comma of kNoEndingProsody is added only for ordinary text: in other modes it would be spoken.
// It comes before the adaptation, which may end the text with a command.
OSErr Channel::speakInPlugIn(Batch batch) {
  if ((batch.flags & kNoEndingProsody) != 0 && batch.isLast) {
    OSType input = modeText;
    OSType characters = modeNormal;
    get(soInputMode, &input);
    get(soCharacterMode, &characters);
    if (input == modeText && characters == modeNormal) {
      batch.text = withoutEndingProsody(batch.text, batch.charset);
    }
  }
  AdaptedText adapted = adaptText(batch.text, textSettings(batch.charset));
  if (adapted.isChanged && !batch.isStrict) batch.text = adapted.text.text();
  acceptAdaptedText(std::move(adapted), batch.isStrict);
  return toClientResult(m_plugIn.call().speakBuffer(
      m_identifier, batch.text.data(), static_cast<long>(batch.text.size()), batch.flags));
}

// Tells the synthesizer the charset of the next text. Returns false if it does not take that one;
// it has been told Mac OS Roman then. A synthesizer without the selector never gets it.
bool Channel::announce(Charset charset) {
  if (!m_takesUtf8) return charset == Charset::MacRoman;
  if (m_announced == charset) return true;
  const bool isUtf8 = charset == Charset::Utf8;
  if (set(kUtf8Text, isUtf8 ? this : nullptr) != noErr) {
    m_takesUtf8 = false;
    return !isUtf8;
  }
  m_announced = charset;
  return true;
}

// Reads the state that decides what a text means. A synthesizer that does not know a selector has
// the initial value.
TextSettings Channel::textSettings(Charset charset) {
  const auto read = [this](OSType selector, auto value) REQUIRES(m_turn) {
    get(selector, &value);
    return value;
  };
  TextSettings settings;
  settings.charset = charset;
  settings.startsInPhonemes = read(soInputMode, OSType{modeText}) == modePhonemes;
  settings.pitchBase = Fix2X(read(soPitchBase, Fixed{0}));
  settings.pitchRange = Fix2X(read(soPitchMod, Fixed{0}));
  // A delimiter of one character ends with a zero; one that begins with it is empty.
  const auto textOf = [charset](const UInt8(&delimiter)[2]) {
    std::string characters;
    for (const UInt8 byte : delimiter) {
      if (byte == 0) break;
      if (charset == Charset::Utf8) {
        base::appendUtf8(characters, base::fromMacRoman(byte));
      } else {
        characters += static_cast<char>(byte);
      }
    }
    return characters;
  };
  const base::ScopedLock held(m_lock);
  settings.openDelimiter = textOf(m_delimiters.startDelimiter);
  settings.closeDelimiter = textOf(m_delimiters.endDelimiter);
  return settings;
}

// Reports the problems of the text, before any event of its speech.
void Channel::acceptAdaptedText(AdaptedText adapted, bool isStrict) {
  const base::ScopedLock held(m_lock);
  m_carried = std::move(adapted.stateAtEnd);
  if (isStrict) return;
  const bool isReported = m_callbacks.error != nullptr || m_callbacks.errorCF != nullptr;
  for (const TextProblem& problem : adapted.problems) {
    Report report{Report::Kind::Error, m_job};
    report.code = badInputText;
    report.position = m_text.inCallersUnits(problem.position, 0).location;
    report.description = describe(problem.cause);
    noteError(report.code, report.position);
    if (m_callbacks.errorCF != nullptr) {
      report.text = m_text.stringAt(problem.position);
      report.range = m_text.inString(problem.position, {report.position, 0});
    }
    if (isReported) post(report);
  }
  m_syncValues = std::move(adapted.syncValues);
  if (adapted.isChanged) m_text.adapt(std::move(adapted.text));
}

ReadyText Channel::adaptedFor(CallerText text) {
  const base::ScopedLock turn(m_turn);
  if (!m_takesUtf8) text.useMacRoman();
  ReadyText ready{text.bytes(), text.charset()};
  if (isStrict()) return ready;
  const AdaptedText adapted = adaptText(ready.bytes, textSettings(ready.charset));
  if (adapted.isChanged) ready.bytes = adapted.text.text();
  return ready;
}

// ---- Stopping and pausing

OSErr Channel::performStop(SInt32 where) {
  {
    const base::ScopedLock held(m_lock);
    if (m_phase == Phase::Idle || endUnspokenJob()) return noErr;
    // A paused job reaches no boundary, so it stops immediately.
    if (m_paused) where = kImmediate;
  }
  return where == kImmediate ? stopImmediately() : stopAtBoundary(where);
}

// The job speaks on until the boundary and ends there. Nothing is spoken after this batch.
OSErr Channel::stopAtBoundary(SInt32 where) {
  {
    const base::ScopedLock held(m_lock);
    m_stopPending = true;
  }
  const auto boundary = static_cast<std::uintptr_t>(where);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the selector's value is a number
  const void* const value = reinterpret_cast<const void*>(boundary);
  const OSErr result = m_stopsWithoutWaiting
                           ? set(kStopAtBoundary, value)
                           : toClientResult(m_plugIn.call().stopSpeechAt(m_identifier, boundary));
  const base::ScopedLock held(m_lock);
  if (result != noErr) {
    m_stopPending = false;
  } else {
    endUnspokenJob();  // if the batch has ended meanwhile
  }
  return result;
}

OSErr Channel::stopImmediately() {
  const OSErr result = toClientResult(m_plugIn.call().stopSpeechAt(m_identifier, kImmediate));
  if (result != noErr) return result;
  const base::ScopedLock held(m_lock);
  if (endUnspokenJob()) return noErr;  // the batch has ended meanwhile
  becomeIdle();
  m_silencedJob = m_job;
  return noErr;
}

OSErr Channel::performPause(SInt32 where) {
  bool isStopping = false;
  {
    const base::ScopedLock held(m_lock);
    // An idle synthesizer must not be asked: it would remain in a paused state.
    if (m_phase == Phase::Idle || m_paused) return noErr;
    // The synthesizer does not have the text yet; startSpeaking() checks the flag.
    if (m_phase != Phase::Speaking) {
      m_paused = true;
      return noErr;
    }
    isStopping = m_stopPending;
  }
  // A paused job would not reach the boundary at which it is to stop.
  if (isStopping) return where == kImmediate ? stopImmediately() : OSErr{noErr};
  const OSErr result = toClientResult(
      m_plugIn.call().pauseSpeechAt(m_identifier, static_cast<unsigned long>(where)));
  const base::ScopedLock held(m_lock);
  if (result == noErr && m_phase != Phase::Idle) m_paused = true;
  // A job that has ended during the call cannot be paused; that is not a failure.
  return m_phase == Phase::Idle ? OSErr{noErr} : result;
}

// A job that the synthesizer does not have yet starts here.
OSErr Channel::performResume() {
  bool isReady = false;
  {
    const base::ScopedLock held(m_lock);
    if (m_phase == Phase::Idle || !m_paused) return noErr;
    isReady = m_phase == Phase::Ready;
    if (m_phase != Phase::Speaking) m_paused = false;
  }
  if (isReady) return startReadyJob();
  const OSErr result = toClientResult(m_plugIn.call().continueSpeech(m_identifier));
  const base::ScopedLock held(m_lock);
  if (result == noErr) m_paused = false;
  return m_phase == Phase::Idle ? OSErr{noErr} : result;
}

// The client has noErr for this job already, so a failure is reported as an error and the end of
// the job.
OSErr Channel::startReadyJob() {
  const OSErr result = resultForFile(startSpeaking());
  if (result != noErr) reportFailure(result);
  return result;
}

// Reports an error at position 0 and the end of the current job.
void Channel::reportFailure(OSErr error) {
  Report report{Report::Kind::Error, 0};
  report.code = error;
  const base::ScopedLock held(m_lock);
  becomeIdle();
  noteError(error, 0);
  report.job = m_job;
  post(report);
  CallbackThread::shared().post(takeDoneReport());
}

// ---- With m_lock

// Forgets what has not been spoken.
void Channel::becomeIdle() {
  m_phase = Phase::Idle;
  m_stopPending = false;
  m_mayHaveMore = false;
  m_next = {};
}

// Ends a job of which the synthesizer has nothing at the moment. Returns false if it has a batch.
bool Channel::endUnspokenJob() {
  if (m_phase != Phase::Gathering && m_phase != Phase::Ready) return false;
  becomeIdle();
  m_silencedJob = m_job;
  CallbackThread::shared().post(takeDoneReport());
  return true;
}

// Returns the value that the text has for the mark with this number. Marks come in order; their
// numbers repeat. Synthesizers report the number in the upper or in the lower half of the message.
OSType Channel::syncValueOf(OSType message) {
  constexpr OSType kLowerHalf = 0xFFFF;
  const OSType number = (message & kLowerHalf) == 0 ? message >> 16U : message;
  if (m_syncValues.empty() || number == 0 || number > kMostSyncNumber) return message;
  const std::size_t wanted = number - 1;
  const std::size_t expected = m_nextSync % kMostSyncNumber;
  const std::size_t mark = m_nextSync + (wanted + kMostSyncNumber - expected) % kMostSyncNumber;
  if (mark >= m_syncValues.size()) return message;
  m_nextSync = mark + 1;
  return m_syncValues[mark];
}

// Updates the record of soErrors, whose counters saturate.
void Channel::noteError(OSErr error, long position) {
  const auto offset =
      static_cast<SInt32>(std::clamp<long>(position, 0, std::numeric_limits<SInt32>::max()));
  if (m_errors.count == 0) {
    m_errors.oldest = error;
    m_errors.oldPos = offset;
  }
  m_errors.newest = error;
  m_errors.newPos = offset;
  if (m_errors.count < std::numeric_limits<SInt16>::max()) ++m_errors.count;
}

// Empty if the speech-done has been posted already.
CallbackThread::ReportList Channel::takeDoneReport() {
  return std::exchange(m_doneReport, {});
}

}  // namespace platform
