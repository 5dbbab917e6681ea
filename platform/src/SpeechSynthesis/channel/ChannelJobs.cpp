// SPDX-License-Identifier: Apache-2.0
//
// The jobs of a channel: beginning, stopping, pausing.
#include <algorithm>
#include <chrono>
#include <exception>
#include <limits>
#include <thread>
#include <utility>

#include "SpeechSynthesis/calls/Results.h"
#include "SpeechSynthesis/channel/Channel.h"
#include "SpeechSynthesis/channel/EndingProsody.h"

namespace platform {
namespace {

// How long the end of a stopped job is waited for.
constexpr std::chrono::seconds kEndOfJobLimit{1};

bool isStopBoundary(SInt32 where) {
  return where == kImmediate || where == kEndOfWord || where == kEndOfSentence;
}

}  // namespace

// ---- What clients ask for

OSErr Channel::speak(CallerText text, SInt32 flags) {
  if ((flags & kNoSpeechInterrupt) != 0 && isActive()) return synthNotReady;
  const auto begun = std::make_shared<CallerText>(std::move(text));
  const auto result = std::make_shared<OSErr>(OSErr{noErr});
  const std::thread::id caller = std::this_thread::get_id();
  m_calls.runOrQueue(shared_from_this(), [this, begun, result, flags, caller] {
    const OSErr answer = resultOf([&] { return begin(std::move(*begun), flags); });
    if (answer == noErr) return;
    if (std::this_thread::get_id() == caller) {
      *result = answer;
    } else {
      reportUnbegunJob(answer);
    }
  });
  if (*result == badInputText) {
    const std::lock_guard held(m_lock);
    noteError(*result, 0);
  }
  return *result;
}

OSErr Channel::stop(SInt32 where) {
  if (!isStopBoundary(where)) return paramErr;
  {
    const std::lock_guard held(m_lock);
    // Whatever still comes of the speech until the stop can be made is not reported.
    if (m_isStopPending && where == kImmediate) m_silencedJob = m_job;
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

// ---- In turn: beginning

OSErr Channel::begin(CallerText text, SInt32 flags) {
  if (isActive()) {
    if ((flags & kNoSpeechInterrupt) != 0) return synthNotReady;
    if (const OSErr result = performStop(kImmediate); result != noErr) return result;
  }
  clearStalePause();
  if (!waitForEndOfJob()) return synthNotReady;
  return acceptJob(std::move(text), flags);
}

// A synthesizer that was asked to pause at the very end of a job may take itself for paused, with
// nothing to go on with. Stopped, it is ready again.
void Channel::clearStalePause() {
  SpeechStatusInfo status{};
  if (m_plugIn.call().speechStatus(m_identifier, &status) != noErr) return;
  if (status.outputBusy == 0 && status.outputPaused == 0) return;
  {
    const std::lock_guard held(m_lock);
    if (m_isOwedEnd) return;
    m_isOwedEnd = true;
  }
  if (m_plugIn.call().stopSpeechAt(m_identifier, kImmediate) == noErr) return;
  const std::lock_guard held(m_lock);
  m_isOwedEnd = false;
}

// False when a job does not end in time.
bool Channel::waitForEndOfJob() {
  std::unique_lock held(m_lock);
  return m_jobEnded.wait_for(held, kEndOfJobLimit, [this] { return !m_isOwedEnd || m_isDisposed; });
}

OSErr Channel::acceptJob(CallerText text, SInt32 flags) {
  {
    const std::lock_guard held(m_lock);
    if (m_isDisposed) return invalidComponentID;
    // What may fail comes first.
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
    m_isPaused = (flags & kPreflightThenPause) != 0;
    m_phase = gathers ? Phase::Gathering : Phase::Ready;
    if (gathers || m_isPaused) return noErr;
  }
  const OSErr result = startSpeaking();
  if (result != noErr) {
    const std::lock_guard held(m_lock);
    m_doneReport.clear();
  }
  return result;
}

// Hands the job that is ready to the synthesizer. When that fails there is no job.
OSErr Channel::startSpeaking() {
  {
    const std::lock_guard held(m_lock);
    if (m_phase != Phase::Ready || m_isPaused) return noErr;
    // Before the call: a short job may end before the call returns.
    m_phase = Phase::Speaking;
    m_isOwedEnd = true;
  }
  const OSErr result = resultOf([this] { return speakInPlugIn(); });
  if (result == noErr) return noErr;
  const std::lock_guard held(m_lock);
  m_phase = Phase::Idle;
  m_isOwedEnd = false;
  return result;
}

OSErr Channel::speakInPlugIn() {
  std::string text;
  SInt32 flags = 0;
  {
    const std::lock_guard held(m_lock);
    text = m_text.bytes();
    flags = m_flags;
  }
  if ((flags & kNoEndingProsody) != 0) {
    OSType input = modeText;
    OSType characters = modeNormal;
    m_plugIn.call().getSpeechInfo(m_identifier, soInputMode, &input);
    m_plugIn.call().getSpeechInfo(m_identifier, soCharacterMode, &characters);
    if (input == modeText && characters == modeNormal) text = withoutEndingProsody(text);
  }
  return toClientResult(m_plugIn.call().speakBuffer(m_identifier, text.data(),
                                                    static_cast<long>(text.size()), flags));
}

// ---- In turn: stopping and pausing

OSErr Channel::performStop(SInt32 where) {
  bool atOnce = where == kImmediate;
  {
    const std::unique_lock held(m_lock);
    if (endUnspokenJob() || m_phase == Phase::Idle) return noErr;
    // A paused job stops where it stands.
    atOnce = atOnce || m_isPaused;
    if (!atOnce) m_isStopPending = true;
  }
  if (atOnce) return stopImmediately();
  try {
    m_calls.queue(shared_from_this(), [this, where] { stopAtBoundary(where); });
  } catch (const std::exception&) {
    // Without a thread the caller waits.
    stopAtBoundary(where);
  }
  return noErr;
}

// Returns when the place is reached.
void Channel::stopAtBoundary(SInt32 where) {
  resultOf([&] {
    return toClientResult(
        m_plugIn.call().stopSpeechAt(m_identifier, static_cast<unsigned long>(where)));
  });
  const std::lock_guard held(m_lock);
  m_isStopPending = false;
  if (m_phase == Phase::Speaking) m_phase = Phase::Idle;
}

OSErr Channel::stopImmediately() {
  const OSErr result = toClientResult(m_plugIn.call().stopSpeechAt(m_identifier, kImmediate));
  if (result != noErr) return result;
  const std::lock_guard held(m_lock);
  m_phase = Phase::Idle;
  m_silencedJob = m_job;
  return noErr;
}

OSErr Channel::performPause(SInt32 where) {
  {
    const std::lock_guard held(m_lock);
    // Asked to pause an idle channel, a synthesizer would take it for paused.
    if (m_phase == Phase::Idle || m_isPaused) return noErr;
    if (m_phase != Phase::Speaking) {
      m_isPaused = true;
      return noErr;
    }
  }
  const OSErr result = toClientResult(
      m_plugIn.call().pauseSpeechAt(m_identifier, static_cast<unsigned long>(where)));
  const std::lock_guard held(m_lock);
  if (result == noErr && m_phase == Phase::Speaking) m_isPaused = true;
  // A job that has ended meanwhile has nothing to pause.
  return m_phase == Phase::Idle ? OSErr{noErr} : result;
}

OSErr Channel::performResume() {
  bool isReady = false;
  {
    const std::lock_guard held(m_lock);
    if (m_phase == Phase::Idle || !m_isPaused) return noErr;
    isReady = m_phase == Phase::Ready;
    if (m_phase != Phase::Speaking) m_isPaused = false;
  }
  if (isReady) return startReadyJob();
  const OSErr result = toClientResult(m_plugIn.call().continueSpeech(m_identifier));
  const std::lock_guard held(m_lock);
  if (result == noErr) m_isPaused = false;
  return m_phase == Phase::Idle ? OSErr{noErr} : result;
}

// Of a job that has been accepted already, a failure to begin is an error of its own, and its end.
OSErr Channel::startReadyJob() {
  const OSErr result = startSpeaking();
  if (result != noErr) reportFailure(result);
  return result;
}

void Channel::reportFailure(OSErr error) {
  Report report{Report::Kind::Error, 0};
  report.code = error;
  const std::lock_guard held(m_lock);
  noteError(error, 0);
  report.job = m_job;
  post(report);
  CallbackThread::shared().post(takeDoneReport());
}

// A text that was queued has been answered with noErr: what keeps it from being spoken is told as
// the error and the end of a job.
void Channel::reportUnbegunJob(OSErr error) {
  {
    const std::lock_guard held(m_lock);
    m_doneReport = {{shared_from_this(), {Report::Kind::SpeechDone, ++m_job}}};
  }
  reportFailure(error);
}

// ---- With m_lock

// Ends a job that the synthesizer has not got; false when there is none.
bool Channel::endUnspokenJob() {
  if (m_phase != Phase::Gathering && m_phase != Phase::Ready) return false;
  m_phase = Phase::Idle;
  m_silencedJob = m_job;
  CallbackThread::shared().post(takeDoneReport());
  return true;
}

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

CallbackThread::ReportList Channel::takeDoneReport() {
  return std::exchange(m_doneReport, {});
}

}  // namespace platform
