// SPDX-License-Identifier: Apache-2.0
#include "Sequence.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>

#include "Calls.h"
#include "channels/ChannelTest.h"

namespace reentry {
namespace {

using channels::asPointer;
using channels::threadCount;
using scripted::engine;
using scripted::Op;
using scripted::Script;
using scripted::When;

constexpr const char* kText = "Outer";
constexpr const char* kPiece = " piece";
constexpr const char* kSpoken = "<prosody volume='100'>Outer piece</prosody>";

constexpr std::array kMomentNames = {
    "text-done", "text-done (second piece)", "speech-done", "sync", "phoneme", "word"};
constexpr std::array kEntryNames = {"open",  "close",    "status",           "stop",
                                    "pause", "continue", "text-to-phonemes", "use-dictionary",
                                    "speak", "get-info", "set-info",         "use-voice"};
constexpr std::array kTargetNames = {"same", "another", "closed", "unknown"};

Sequence& sequenceOf(SRefCon refCon) {
  return *static_cast<Sequence*>(refCon);
}

}  // namespace

// ---- The client

void Sequence::textDone(SpeechChannel /*channel*/, SRefCon refCon, const void** next,
                        unsigned long* /*length*/, SInt32* /*flags*/) {
  Sequence& sequence = sequenceOf(refCon);
  const int asked = sequence.m_piecesAsked++;
  // Only the first speak asks twice: later ones get no piece.
  *next = asked == 0 ? kPiece : nullptr;
  if (asked == 0) sequence.reached(Moment::TextDone);
  if (asked == 1) sequence.reached(Moment::TextDoneAgain);
}

void Sequence::speechDone(SpeechChannel channel, SRefCon refCon) {
  Sequence& sequence = sequenceOf(refCon);
  if (identifier(channel) == sequence.m_another.id) {
    ++sequence.m_another.signals;
    return;
  }
  // Counted first: the model counts a speech-done when the channel becomes idle.
  ++sequence.m_same.signals;
  sequence.reached(Moment::SpeechDone);
}

void Sequence::sync(SpeechChannel /*channel*/, SRefCon refCon, OSType /*message*/) {
  sequenceOf(refCon).reached(Moment::Sync);
}

void Sequence::phoneme(SpeechChannel /*channel*/, SRefCon refCon, SInt16 /*code*/) {
  sequenceOf(refCon).reached(Moment::Phoneme);
}

void Sequence::word(SpeechChannel /*channel*/, SRefCon refCon, unsigned long /*position*/,
                    UInt16 /*length*/) {
  sequenceOf(refCon).reached(Moment::Word);
}

// Only the first callback of the kind makes the calls: later ones would find another state.
void Sequence::reached(Moment moment) {
  if (moment != m_moment || m_called.exchange(true)) return;
  // At the other moments the model is in the right state already.
  if (m_moment == Moment::SpeechDone) {
    expect(m_same.model.settled(1), "the channel is idle when speech-done is called");
  }
  for (const SequenceCall& call : m_calls) makeCall(call);
  m_returned = true;
}

bool Sequence::isInTextDone() const {
  return m_moment == Moment::TextDone || m_moment == Moment::TextDoneAgain;
}

bool Sequence::isOnThePort() const {
  return !isInTextDone() && m_moment != Moment::SpeechDone;
}

void Sequence::makeCall(const SequenceCall& call) {
  SpeechChannelIdentifier opened = 0;
  SpeechStatusInfo status{};
  const long result = callEntryPoint(call.entry, identifierOf(call.target), opened, status);
  const std::string what = std::string(kEntryNames[static_cast<std::size_t>(call.entry)]) + " (" +
                           kTargetNames[static_cast<std::size_t>(call.target)] + ") returns " +
                           std::to_string(result);
  if (call.entry == EntryPoint::Open) {
    m_opened.push_back(opened);
    expect(result == noErr && opened > m_closed, what);
    return;
  }
  Subject* const subject = subjectOf(call.target);
  if (subject == nullptr || !subject->open) {
    expect(result == noSynthFound, what);
    return;
  }
  const std::string before = subject->model.text();
  expect(allows(*subject, call.entry, result, status), what + ", the channel was " + before);
}

bool Sequence::allows(Subject& subject, EntryPoint entry, long result,
                      const SpeechStatusInfo& status) {
  // On the port's own thread a new job begins only after the callback.
  const bool endsItself = &subject != &m_same || !isOnThePort();
  switch (entry) {
    case EntryPoint::Close:
      subject.open = false;
      return result == noErr && subject.model.close();
    case EntryPoint::Status:
      return result == noErr &&
             subject.model.status(status.outputBusy != 0, status.outputPaused != 0);
    case EntryPoint::Stop:
      return subject.model.stop(result);
    case EntryPoint::Pause:
      return subject.model.pause(result);
    case EntryPoint::Continue:
      return subject.model.unpause(result);
    case EntryPoint::Speak:
      return subject.model.speak(result, endsItself);
    default:
      return result == noErr;
  }
}

// ---- The test

std::string Sequence::play() {
  m_threads = threadCount();
  engine().reset();
  engine().everyJob(Script().word(22, 5).phoneme("ae", 22).bookmark("1").end(),
                    When::OnEngineThread);
  openChannels();
  speakAroundTheCalls();
  expect(threadsEnd(), "the threads exit");
  expect(m_returned, "the callback returns");
  if (isOnThePort()) m_same.model.leavePortCallback();
  checkSettled(m_same, "the same channel");
  checkSettled(m_another, "the other channel");
  speakAgain(m_same);
  speakAgain(m_another);
  closeChannels();
  expect(threadsEnd(), "the threads exit after the close");
  expect(engine().heldLocks() == 0, "no lock is held");
  expect(engine().live().blocks == 0, "all memory is released");
  for (const std::string& violation : engine().violations()) expect(false, violation);
  return m_faults;
}

// Opens the channels of all targets. Only m_same has all callbacks.
void Sequence::openChannels() {
  SEOpenSpeechChannel(&m_same.id);
  SEOpenSpeechChannel(&m_another.id);
  SEOpenSpeechChannel(&m_closed);
  SECloseSpeechChannel(m_closed);
  for (Subject* const subject : {&m_same, &m_another}) {
    subject->open = true;
    SESetSpeechInfo(subject->id, soRefCon, this);
    SESetSpeechInfo(subject->id, soSpeechDoneCallBack, asPointer(speechDone));
  }
  SESetSpeechInfo(m_same.id, soTextDoneCallBack, asPointer(textDone));
  SESetSpeechInfo(m_same.id, soSyncCallBack, asPointer(sync));
  SESetSpeechInfo(m_same.id, soPhonemeCallBack, asPointer(phoneme));
  SESetSpeechInfo(m_same.id, soWordCallBack, asPointer(word));
}

// The speak whose callback makes the calls. Inside text-done the model's job begins with its
// return, at all other moments before the callback.
void Sequence::speakAroundTheCalls() {
  if (isInTextDone()) {
    m_same.model.enterTextDone();
  } else {
    if (isOnThePort()) m_same.model.enterPortCallback();
    m_same.model.speak(noErr, !isOnThePort());
  }
  const long result = speak(m_same.id, kText);
  // Except in text-done, the callback may still be running, on another thread.
  const bool cancelled = isInTextDone() && !m_same.open;
  expect(result == (cancelled ? long{noSynthFound} : long{noErr}), "the speak around the callback");
  if (isInTextDone()) {
    if (cancelled) {
      m_same.model.cancelTextDone();
    } else {
      m_same.model.leaveTextDone();
    }
  }
  const std::vector<scripted::Call> calls = engine().log();
  const auto spoken = std::count_if(calls.begin(), calls.end(), [](const scripted::Call& call) {
    return call.op == Op::Speak && call.argument == kSpoken;
  });
  expect(spoken == (cancelled ? 0 : 1), "the text is spoken as it was gathered");
}

void Sequence::checkSettled(Subject& subject, const char* which) {
  const std::string before = subject.model.text();
  const int signals = subject.signals;
  expect(subject.model.settled(signals), std::string(which) + " has " + std::to_string(signals) +
                                             " speech-done calls, it was " + before);
}

// After a stop the channel must speak again, whatever the calls have done to it.
void Sequence::speakAgain(Subject& subject) {
  if (!subject.open) return;
  expect(subject.model.stop(SEStopSpeechAt(subject.id, kImmediate)), "a stop afterwards");
  expect(threadsEnd(), "the threads exit after the stop");
  checkSettled(subject, "the stopped channel");
  expect(subject.model.speak(speak(subject.id), true), "the channel speaks again");
  expect(threadsEnd(), "the threads exit after the next job");
  checkSettled(subject, "the channel that has spoken again");
}

void Sequence::closeChannels() {
  for (const Subject* const subject : {&m_same, &m_another}) {
    const long expected = subject->open ? long{noErr} : long{noSynthFound};
    expect(SECloseSpeechChannel(subject->id) == expected, "the close");
  }
  for (const SpeechChannelIdentifier id : m_opened) {
    expect(SECloseSpeechChannel(id) == noErr, "the close of a new channel");
  }
}

// Polls more often than channels::eventually, since thousands of sequences are played.
bool Sequence::threadsEnd() const {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (threadCount() > m_threads) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::microseconds(20));
  }
  return true;
}

Sequence::Subject* Sequence::subjectOf(Target target) {
  if (target == Target::Same) return &m_same;
  return target == Target::Another ? &m_another : nullptr;
}

SpeechChannelIdentifier Sequence::identifierOf(Target target) const {
  switch (target) {
    case Target::Same:
      return m_same.id;
    case Target::Another:
      return m_another.id;
    case Target::Closed:
      return m_closed;
    case Target::Unknown:
      return kUnknownChannel;
  }
  return 0;
}

std::string Sequence::text() const {
  std::string text = std::string("inside ") + kMomentNames[static_cast<std::size_t>(m_moment)];
  for (const SequenceCall& call : m_calls) {
    text += std::string(", ") + kEntryNames[static_cast<std::size_t>(call.entry)] + " (" +
            kTargetNames[static_cast<std::size_t>(call.target)] + ')';
  }
  return text;
}

void Sequence::expect(bool holds, const std::string& what) {
  if (!holds) m_faults += "does not hold: " + what + '\n';
}

}  // namespace reentry
