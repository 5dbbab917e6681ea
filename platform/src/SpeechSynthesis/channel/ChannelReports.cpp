// SPDX-License-Identifier: Apache-2.0
//
// Channel, third part: the synthesizer's events, which arrive on its threads, and the client's
// callbacks, which run on the callback thread.
#include <CoreFoundation/CFError.h>

#include <algorithm>
#include <limits>
#include <new>

#include "CoreFoundation/CFObject.h"
#include "SpeechSynthesis/calls/Results.h"
#include "SpeechSynthesis/calls/SpeechErrors.h"
#include "SpeechSynthesis/channel/Channel.h"
#include "SpeechSynthesis/channel/SpokenPieces.h"

namespace platform {
namespace {

constexpr double kUsualRate = 180;  // words per minute

}  // namespace

// ---- On the synthesizer's threads

// Events are ignored unless the synthesizer owes the end of a job (m_endOwed): a late event must
// not be reported for the next job. Without a callback no report is created, only the state is
// updated.

void Channel::handleJobEnd() {
  const base::ScopedLock held(m_lock);
  if (!m_endOwed) return;
  m_endOwed = false;
  if (m_phase == Phase::Speaking && hasNextBatch()) {
    prepareNextBatch();
  } else if (m_phase == Phase::Speaking || m_phase == Phase::Idle) {
    becomeIdle();
    // Posted under the lock, before anyone is woken: a thread that waits for this starts the next
    // job.
    CallbackThread::shared().post(takeDoneReport());
  }
  m_jobEnded.notifyAll();
}

void Channel::handleSync(OSType message) {
  Report report{Report::Kind::Sync, 0};
  const base::ScopedLock held(m_lock);
  report.value = syncValueOf(message);
  // Kept for soRecentSync even after the end of the job.
  m_recentSync = report.value;
  if (!m_endOwed || m_callbacks.sync == nullptr) return;
  report.job = m_job;
  post(report);
}

void Channel::handleWord(unsigned long position, UInt16 length) {
  Report report{Report::Kind::Word, 0};
  const base::ScopedLock held(m_lock);
  if (!m_endOwed) return;
  const unsigned long end = m_text.bytes().size();
  // Clients rely on positions that do not decrease and lie within the text.
  m_wordPosition = std::clamp(position, m_wordPosition, end);
  const bool runsLow =
      end - m_wordPosition <= bytesBeforeEnd(m_numbers[0].value_or(kUsualRate), m_text.charset());
  if (runsLow && !hasEnoughText()) requestText();
  if (m_callbacks.word == nullptr && m_callbacks.wordCF == nullptr) return;
  const CFRange range =
      m_text.inCallersUnits(m_wordPosition, std::min<unsigned long>(length, end - m_wordPosition));
  report.job = m_job;
  report.position = range.location;
  report.length = range.length;
  if (m_callbacks.wordCF != nullptr) {
    report.text = m_text.stringAt(m_wordPosition);
    report.range = m_text.inString(m_wordPosition, range);
  }
  post(report);
}

void Channel::handlePhoneme(SInt16 opcode) {
  Report report{Report::Kind::Phoneme, 0};
  report.code = opcode;
  const base::ScopedLock held(m_lock);
  if (!m_endOwed) return;
  m_phonemeCode = opcode;
  if (m_callbacks.phoneme == nullptr) return;
  report.job = m_job;
  post(report);
}

void Channel::handleError(OSErr error, long position) {
  Report report{Report::Kind::Error, 0};
  report.code = error;
  const base::ScopedLock held(m_lock);
  report.position = position;
  const auto at = static_cast<unsigned long>(std::max(position, 0L));
  if (m_text.needsMapping() && position >= 0) {
    report.position = m_text.inCallersUnits(at, 0).location;
  }
  noteError(error, report.position);
  if (m_callbacks.errorCF != nullptr && m_endOwed) {
    report.text = m_text.stringAt(at);
    report.range = m_text.inString(at, {report.position, 0});
  }
  if (m_callbacks.error == nullptr && m_callbacks.errorCF == nullptr) return;
  report.job = m_job;
  post(report);
}

void Channel::post(const Report& report) noexcept {
  try {
    CallbackThread::shared().post(shared_from_this(), report);
  } catch (const std::bad_alloc&) {
    // Out of memory: this report is lost. Speech-done is not, since it was allocated in advance.
  }
}

// ---- On the callback thread

// Checked here, not when posting: the client may have disposed or stopped the channel meanwhile.
void Channel::deliver(const Report& report) {
  ClientCallbacks callbacks;
  {
    const base::ScopedLock held(m_lock);
    if (m_disposed) return;
    if (report.kind != Report::Kind::SpeechDone && report.job <= m_silencedJob) return;
    callbacks = m_callbacks;
  }
  switch (report.kind) {
    case Report::Kind::TextDone:
      return askForMoreText(callbacks, report);
    case Report::Kind::NextBatch:
      return startNextBatch();
    default:
      return callClient(callbacks, report);
  }
}

// Not guarded: an exception that leaves a client's callback ends the process, as the contract says.
void Channel::callClient(const ClientCallbacks& callbacks, const Report& report) {
  switch (report.kind) {
    case Report::Kind::SpeechDone:
      if (callbacks.speechDone != nullptr) callbacks.speechDone(m_handle, callbacks.refCon);
      return;
    case Report::Kind::Sync:
      if (callbacks.sync != nullptr) callbacks.sync(m_handle, callbacks.refCon, report.value);
      return;
    case Report::Kind::Phoneme:
      if (callbacks.phoneme != nullptr) callbacks.phoneme(m_handle, callbacks.refCon, report.code);
      return;
    case Report::Kind::Word:
      return callWordCallbacks(callbacks, report);
    case Report::Kind::Error:
      return callErrorCallbacks(callbacks, report);
    case Report::Kind::TextDone:
    case Report::Kind::NextBatch:
      return;
  }
}

// The plain callback first. It may have stopped or disposed the channel.
void Channel::callWordCallbacks(const ClientCallbacks& callbacks, const Report& report) {
  if (callbacks.word != nullptr) {
    constexpr long kMost = std::numeric_limits<UInt16>::max();
    callbacks.word(m_handle, callbacks.refCon, static_cast<unsigned long>(report.position),
                   static_cast<UInt16>(std::min(report.length, kMost)));
  }
  if (callbacks.wordCF == nullptr || report.text == nullptr) return;
  {
    const base::ScopedLock held(m_lock);
    if (m_disposed || report.job != m_job || report.job <= m_silencedJob) return;
  }
  callbacks.wordCF(m_handle, callbacks.refCon, report.text.get(), report.range);
}

// As callWordCallbacks(), but an error is reported even if its text is no longer current.
void Channel::callErrorCallbacks(const ClientCallbacks& callbacks, const Report& report) {
  if (callbacks.error != nullptr) {
    callbacks.error(m_handle, callbacks.refCon, report.code, report.position);
  }
  if (callbacks.errorCF == nullptr) return;
  {
    const base::ScopedLock held(m_lock);
    if (m_disposed) return;
  }
  Owned<CFErrorRef> error;
  try {
    error = Owned(createSpeechError(report.code, report.text.get(), report.range.location,
                                    report.description));
  } catch (const std::bad_alloc&) {
    // Out of memory: null, as when the last step fails.
  }
  // This report is lost then, but soErrors has it.
  if (!error) return;
  callbacks.errorCF(m_handle, callbacks.refCon, error.get());
}

}  // namespace platform
