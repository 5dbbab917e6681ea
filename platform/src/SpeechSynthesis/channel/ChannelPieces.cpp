// SPDX-License-Identifier: Apache-2.0
//
// Channel, fourth part: the text of a job that the synthesizer does not have yet, the client's
// text-done callback, which supplies it, and the batches in which it is spoken.
//
// With an output file, all of the text is one batch: the synthesizer writes one file per batch.
#include <limits>
#include <new>
#include <utility>

#include "SpeechSynthesis/calls/Results.h"
#include "SpeechSynthesis/channel/Channel.h"
#include "SpeechSynthesis/channel/SpokenPieces.h"

namespace platform {
namespace {

// Positions have 32 bits, so no text may be longer.
constexpr std::size_t kLongestText = std::numeric_limits<SInt32>::max();

}  // namespace

// ---- With m_lock

bool Channel::hasEnoughText() const {
  return !m_mayHaveMore || (m_file.empty() && isEnoughToSpeak(m_next.bytes(), m_next.charset()));
}

bool Channel::hasNextBatch() const {
  return !m_stopPending && (m_mayHaveMore || !m_next.bytes().empty());
}

// Asks the client for a piece, unless it is being asked already. Out of memory: the text ends here.
void Channel::requestText() {
  if (!m_mayHaveMore || m_isAsking || m_stopPending) return;
  try {
    CallbackThread::shared().post(shared_from_this(), {Report::Kind::TextDone, m_job});
    m_isAsking = true;
  } catch (const std::bad_alloc&) {
    m_mayHaveMore = false;
    if (m_phase == Phase::Gathering) m_phase = Phase::Ready;
  }
}

// Called when the synthesizer has spoken a batch. The next one is started on the callback thread:
// the synthesizer is not ready on its own.
void Channel::prepareNextBatch() {
  m_text = {};
  m_wordPosition = 0;
  m_phase = Phase::Gathering;
  if (!hasEnoughText()) requestText();
  if (m_phase == Phase::Gathering && m_isAsking) return;
  m_phase = Phase::Ready;
  try {
    CallbackThread::shared().post(shared_from_this(), {Report::Kind::NextBatch, m_job});
  } catch (const std::bad_alloc&) {
    // The rest of the text is lost, but not the end of the job.
    endUnspokenJob();
  }
}

// Takes what can be spoken now. The rest stays in m_next.
Channel::Batch Channel::takeBatch(bool takesUtf8) {
  CallerText rest(m_next.charset());
  if (m_mayHaveMore && m_file.empty()) {
    rest = m_next.splitOff(lengthOfCompletePart(m_next.bytes(), m_next.charset()));
  }
  m_text = std::exchange(m_next, std::move(rest));
  if (!takesUtf8) m_text.useMacRoman();
  m_text.insertAtStart(m_carried);
  m_wordPosition = 0;
  m_syncValues.clear();
  m_nextSync = 0;
  return {m_text.bytes(), m_text.charset(), m_flags, m_isStrict, m_next.bytes().empty()};
}

// ---- On the callback thread

// Asks the client for one piece of text. The next piece is a report of its own, so that a client
// with an endless text does not block the callbacks of other channels.
void Channel::askForMoreText(const ClientCallbacks& callbacks, const Report& report) {
  SInt32 flags = 0;
  {
    const base::ScopedLock held(m_lock);
    if (report.job != m_job || !m_isAsking) return;
    flags = m_flags & ~kPreflightThenPause;
  }
  const void* piece = nullptr;
  unsigned long bytes = 0;
  if (callbacks.textDone != nullptr) {
    callbacks.textDone(m_handle, callbacks.refCon, &piece, &bytes, &flags);
  }
  if (acceptPiece(report, piece, bytes, flags)) startNextBatch();
}

// Appends the piece and asks for the next one, if that is needed now. Returns true if a batch can
// be started; the job is ready then.
bool Channel::acceptPiece(const Report& report, const void* piece, unsigned long bytes,
                          SInt32 flags) {
  const base::ScopedLock held(m_lock);
  // The callback may have stopped the channel or started another text.
  if (report.job != m_job || m_phase == Phase::Idle) return false;
  m_isAsking = false;
  const bool isGathering = m_phase == Phase::Gathering;
  // A character of Mac OS Roman becomes at most three bytes.
  const std::size_t growth = m_pieceCharset == m_next.charset() ? 1 : 3;
  const std::size_t room = (kLongestText - m_next.bytes().size()) / growth;
  m_mayHaveMore = m_mayHaveMore && piece != nullptr && bytes > 0 && bytes <= room;
  try {
    if (m_mayHaveMore) m_next.append(piece, bytes, m_pieceCharset);
  } catch (const std::bad_alloc&) {
    m_mayHaveMore = false;  // the text ends here
  }
  if (m_mayHaveMore) {
    m_flags = flags & ~kPreflightThenPause;
    if ((flags & kPreflightThenPause) != 0) m_pausesBeforeNext = true;
    if (!hasEnoughText()) requestText();
  }
  // Without memory for the request, the text ends here, and requestText() has changed the phase.
  if (!isGathering || m_isAsking) return false;
  m_phase = Phase::Ready;
  return true;
}

// Starts the batch that is ready. The client has noErr for this job already, so a failure is
// reported as an error and the end of the job.
void Channel::startNextBatch() {
  {
    const base::ScopedLock held(m_lock);
    if (m_phase != Phase::Ready) return;
    // The last piece was the end: the batches before it were all.
    if (m_next.bytes().empty()) {
      becomeIdle();
      CallbackThread::shared().post(takeDoneReport());
      return;
    }
    if (std::exchange(m_pausesBeforeNext, false)) m_paused = true;
  }
  const base::ScopedLock turn(m_turn);
  startReadyJob();
}

}  // namespace platform
