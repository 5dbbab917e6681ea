// SPDX-License-Identifier: Apache-2.0
//
// A client that calls several entry points, one after the other, inside one callback. Each result
// is checked with a model of the channel that the call is for; at the end the number of speech-done
// calls is, too.
//
// Threads: play() runs on the test's thread; callbacks run on threads of the plug-in and the
// engine. The calls are made on one thread while the test's thread waits for the callback.
#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "Table.h"
#include "state_model/StateModel.h"

namespace reentry {

// Where the calls are made. The error callback is missing: it is never called (see Table.h).
enum class Moment {
  TextDone,       // the first call of text-done, which then supplies more text
  TextDoneAgain,  // the second call, after a piece of text
  SpeechDone,
  Sync,
  Phoneme,
  Word,
};

struct SequenceCall {
  EntryPoint entry;
  Target target;
};

class Sequence {
 public:
  Sequence(Moment moment, std::vector<SequenceCall> calls)
      : m_moment(moment), m_calls(std::move(calls)) {}

  // Runs the sequence in this process on the scripted engine. The process must have no other
  // channels and threads. Returns the faults, one per line; empty if there are none.
  std::string play();

  // The sequence as text, for messages.
  std::string text() const;

 private:
  // A channel of the test and what is expected of it.
  struct Subject {
    SpeechChannelIdentifier id = 0;
    bool open = false;
    model::StateModel model;
    std::atomic<int> signals = 0;  // speech-done calls that have returned
  };

  static void textDone(SpeechChannel channel, SRefCon refCon, const void** next,
                       unsigned long* length, SInt32* flags);
  static void speechDone(SpeechChannel channel, SRefCon refCon);
  static void sync(SpeechChannel channel, SRefCon refCon, OSType message);
  static void phoneme(SpeechChannel channel, SRefCon refCon, SInt16 code);
  static void word(SpeechChannel channel, SRefCon refCon, unsigned long position, UInt16 length);

  void openChannels();
  void speakAroundTheCalls();
  // Called by every callback; the first one at the sequence's moment makes the calls.
  void reached(Moment moment);
  bool isInTextDone() const;
  bool isOnThePort() const;
  void makeCall(const SequenceCall& call);
  Subject* subjectOf(Target target);
  SpeechChannelIdentifier identifierOf(Target target) const;
  // Whether the model allows the result of a call for an open channel.
  bool allows(Subject& subject, EntryPoint entry, long result, const SpeechStatusInfo& status);
  void checkSettled(Subject& subject, const char* which);
  void speakAgain(Subject& subject);
  void closeChannels();
  bool threadsEnd() const;
  void expect(bool holds, const std::string& what);

  const Moment m_moment;
  const std::vector<SequenceCall> m_calls;
  int m_threads = 0;  // number of threads at the start of play()
  Subject m_same;
  Subject m_another;
  SpeechChannelIdentifier m_closed = 0;
  std::vector<SpeechChannelIdentifier> m_opened;  // by the calls
  std::atomic<int> m_piecesAsked = 0;
  std::atomic<bool> m_called = false;
  std::atomic<bool> m_returned = false;
  std::string m_faults;
};

}  // namespace reentry
