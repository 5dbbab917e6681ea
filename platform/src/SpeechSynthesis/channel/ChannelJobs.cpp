// SPDX-License-Identifier: Apache-2.0
//
// Channel, second part: starting, stopping, pausing and resuming jobs.
#include <algorithm>
#include <chrono>
#include <exception>
#include <iterator>
#include <limits>
#include <thread>
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

// The work may be queued and then outlives this call, so what it uses is shared. If it runs on this
// thread, its result is returned; otherwise a failure is reported as the error and the end of a
// job.
OSErr Channel::speak(CallerText text, SInt32 flags) {
  if ((flags & kNoSpeechInterrupt) != 0 && isActive()) return synthNotReady;
  const auto shared = std::make_shared<CallerText>(std::move(text));
  const auto result = std::make_shared<OSErr>(OSErr{noErr});
  const std::thread::id caller = std::this_thread::get_id();
  m_calls.runOrQueue(shared_from_this(), [this, shared, result, flags, caller] {
    const OSErr outcome = resultOf([&] { return startJob(std::move(*shared), flags); });
    if (outcome == noErr) return;
    if (std::this_thread::get_id() == caller) {
      *result = outcome;
    } else {
      reportUnstartedJob(outcome);
    }
  });
  // soErrors counts refused texts too.
  if (*result == badInputText) {
    const base::ScopedLock held(m_lock);
    noteError(*result, 0);
  }
  return *result;
}

OSErr Channel::stop(SInt32 where) {
  if (!isStopBoundary(where)) return paramErr;
  {
    const base::ScopedLock held(m_lock);
    // This stop is queued after a pending one. Until it can run, the job speaks on, but its events
    // are not reported.
    if (m_stopPending && where == kImmediate) m_silencedJob = m_job;
  }
  return runOrQueue([where](Channel& channel) { return channel.performStop(where); });
}

OSErr Channel::pause(SInt32 where) {
  if (!isStopBoundary(where)) return paramErr;
  return runOrQueue([where](Channel& channel) { return channel.performPause(where); });
}

OSErr Channel::resume() {
  return runOrQueue([](Channel& channel) { return channel.performResume(); });
}

// ---- On the call queue: starting

// Replaces the current job: stops it, waits for its end, then accepts the new text.
OSErr Channel::startJob(CallerText text, SInt32 flags) {
  if (isActive()) {
    if ((flags & kNoSpeechInterrupt) != 0) return synthNotReady;
    if (const OSErr result = performStop(kImmediate); result != noErr) return result;
  }
  clearStalePause();
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
  {
    const base::ScopedLock held(m_lock);
    if (m_disposed) return invalidComponentID;
    // First the steps that can fail. The report of speech-done is allocated here, so that the end
    // of the job can always be reported.
    CallbackThread::ReportList doneReport{
        {shared_from_this(), {Report::Kind::SpeechDone, m_job + 1}}};
    const bool gathers = m_callbacks.textDone != nullptr && !text.isString();
    if (gathers) {
      CallbackThread::shared().post(shared_from_this(), {Report::Kind::TextDone, m_job + 1});
    }
    ++m_job;
    m_doneReport = std::move(doneReport);
    m_text = std::move(text);
    m_flags = flags;
    m_wordPosition = 0;
    m_phonemeCode = 0;
    m_syncValues.clear();
    m_nextSync = 0;
    m_paused = (flags & kPreflightThenPause) != 0;
    m_phase = gathers ? Phase::Gathering : Phase::Ready;
    if (gathers || m_paused) return noErr;
  }
  const OSErr result = startSpeaking();
  if (result != noErr) {
    const base::ScopedLock held(m_lock);
    m_doneReport.clear();
  }
  return result;
}

// Passes a job in phase Ready to the synthesizer. No effect in any other phase, or while paused.
// After a failure the channel is idle.
OSErr Channel::startSpeaking() {
  {
    const base::ScopedLock held(m_lock);
    if (m_phase != Phase::Ready || m_paused) return noErr;
    // Set before the call: a short job may end before the call returns.
    m_phase = Phase::Speaking;
    m_endOwed = true;
  }
  const OSErr result = resultOf([this] { return speakInPlugIn(); });
  if (result == noErr) return noErr;
  const base::ScopedLock held(m_lock);
  m_phase = Phase::Idle;
  m_endOwed = false;
  return result;
}

// The comma of kNoEndingProsody is added only for ordinary text: in other modes it would be spoken.
// It comes before the adaptation, which may end the text with a command.
OSErr Channel::speakInPlugIn() {
  std::string text;
  SInt32 flags = 0;
  bool isStrict = false;
  {
    const base::ScopedLock held(m_lock);
    text = m_text.bytes();
    flags = m_flags;
    isStrict = m_isStrict;
  }
  if ((flags & kNoEndingProsody) != 0) {
    OSType input = modeText;
    OSType characters = modeNormal;
    m_plugIn.call().getSpeechInfo(m_identifier, soInputMode, &input);
    m_plugIn.call().getSpeechInfo(m_identifier, soCharacterMode, &characters);
    if (input == modeText && characters == modeNormal) text = withoutEndingProsody(text);
  }
  if (!isStrict) {
    AdaptedText adapted = adaptText(text, textSettings());
    if (adapted.isChanged) text = adapted.text.text();
    acceptAdaptedText(std::move(adapted));
  }
  return toClientResult(m_plugIn.call().speakBuffer(m_identifier, text.data(),
                                                    static_cast<long>(text.size()), flags));
}

// Reads the state that decides what a text means. A synthesizer that does not know a selector has
// the initial value.
TextSettings Channel::textSettings() {
  const auto read = [this](OSType selector, auto value) {
    m_plugIn.call().getSpeechInfo(m_identifier, selector, &value);
    return value;
  };
  constexpr double kFixedOne = 65536;
  TextSettings settings;
  settings.startsInPhonemes = read(soInputMode, OSType{modeText}) == modePhonemes;
  settings.pitchBase = read(soPitchBase, Fixed{0}) / kFixedOne;
  settings.pitchRange = read(soPitchMod, Fixed{0}) / kFixedOne;
  // A delimiter of one character ends with a zero; one that begins with it is empty.
  const auto textOf = [](const UInt8(&delimiter)[2]) {
    std::string characters(std::begin(delimiter), std::end(delimiter));
    return characters.substr(0, characters.find('\0'));
  };
  const base::ScopedLock held(m_lock);
  settings.openDelimiter = textOf(m_delimiters.startDelimiter);
  settings.closeDelimiter = textOf(m_delimiters.endDelimiter);
  return settings;
}

// Reports the problems of the text, before any event of its speech.
void Channel::acceptAdaptedText(AdaptedText adapted) {
  const base::ScopedLock held(m_lock);
  const bool isReported = m_callbacks.error != nullptr || m_callbacks.errorCF != nullptr;
  for (const TextProblem& problem : adapted.problems) {
    Report report{Report::Kind::Error, m_job};
    report.code = badInputText;
    report.position = m_text.inCallersUnits(problem.position, 0).location;
    report.description = describe(problem.cause);
    noteError(report.code, report.position);
    if (isReported) post(report);
  }
  m_syncValues = std::move(adapted.syncValues);
  if (adapted.isChanged) m_text.adapt(std::move(adapted.text));
}

std::string Channel::adaptedFor(const std::string& text) {
  if (isStrict()) return text;
  std::string result = text;
  m_calls.runNow([&] {
    const AdaptedText adapted = adaptText(text, textSettings());
    if (adapted.isChanged) result = adapted.text.text();
  });
  return result;
}

// ---- On the call queue: stopping and pausing

// A stop at a boundary is queued as the waiting call, so that the caller need not wait.
OSErr Channel::performStop(SInt32 where) {
  bool atOnce = where == kImmediate;
  {
    const base::ScopedLock held(m_lock);
    if (endUnspokenJob() || m_phase == Phase::Idle) return noErr;
    // A paused job reaches no boundary, so it stops immediately.
    atOnce = atOnce || m_paused;
    if (!atOnce) m_stopPending = true;
  }
  if (atOnce) return stopImmediately();
  try {
    m_calls.queue(shared_from_this(), [this, where] { stopAtBoundary(where); });
  } catch (const std::exception&) {
    // No thread for the wait, so the caller waits. The stop itself must not fail.
    stopAtBoundary(where);
  }
  return noErr;
}

// Returns when the boundary is reached. A failure has no caller to report to: the channel counts as
// idle then, and a new text waits for the end of the old one.
void Channel::stopAtBoundary(SInt32 where) {
  resultOf([&] {
    return toClientResult(
        m_plugIn.call().stopSpeechAt(m_identifier, static_cast<unsigned long>(where)));
  });
  const base::ScopedLock held(m_lock);
  m_stopPending = false;
  if (m_phase == Phase::Speaking) m_phase = Phase::Idle;
}

OSErr Channel::stopImmediately() {
  const OSErr result = toClientResult(m_plugIn.call().stopSpeechAt(m_identifier, kImmediate));
  if (result != noErr) return result;
  const base::ScopedLock held(m_lock);
  m_phase = Phase::Idle;
  m_silencedJob = m_job;
  return noErr;
}

OSErr Channel::performPause(SInt32 where) {
  {
    const base::ScopedLock held(m_lock);
    // An idle synthesizer must not be asked: it would remain in a paused state.
    if (m_phase == Phase::Idle || m_paused) return noErr;
    // The synthesizer does not have the text yet; startSpeaking() checks the flag.
    if (m_phase != Phase::Speaking) {
      m_paused = true;
      return noErr;
    }
  }
  const OSErr result = toClientResult(
      m_plugIn.call().pauseSpeechAt(m_identifier, static_cast<unsigned long>(where)));
  const base::ScopedLock held(m_lock);
  if (result == noErr && m_phase == Phase::Speaking) m_paused = true;
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
  const OSErr result = startSpeaking();
  if (result != noErr) reportFailure(result);
  return result;
}

// Reports an error at position 0 and the end of the current job.
void Channel::reportFailure(OSErr error) {
  Report report{Report::Kind::Error, 0};
  report.code = error;
  const base::ScopedLock held(m_lock);
  noteError(error, 0);
  report.job = m_job;
  post(report);
  CallbackThread::shared().post(takeDoneReport());
}

// The client has noErr for a queued text already. A failure to start it is reported as the error
// and the end of a job, so that each accepted text has its speech-done.
void Channel::reportUnstartedJob(OSErr error) {
  {
    const base::ScopedLock held(m_lock);
    m_doneReport = {{shared_from_this(), {Report::Kind::SpeechDone, ++m_job}}};
  }
  reportFailure(error);
}

// ---- With m_lock

// Ends a job that the synthesizer does not have yet. Returns false if there is none.
bool Channel::endUnspokenJob() {
  if (m_phase != Phase::Gathering && m_phase != Phase::Ready) return false;
  m_phase = Phase::Idle;
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
