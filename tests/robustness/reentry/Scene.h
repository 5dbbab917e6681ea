// SPDX-License-Identifier: Apache-2.0
//
// One cell of the table: a client that calls one entry point inside one callback.
#pragma once

#include <atomic>
#include <string>

#include "Table.h"

namespace reentry {

// Plays the cell in this process, on the scripted engine; what was not as it has to be, a line
// each. The process must have no other channels and threads.
class Scene {
 public:
  Scene(const Row& row, Target target) : m_row(row), m_target(target) {}

  std::string play();

 private:
  static void textDone(SpeechChannel channel, SRefCon refCon, const void** next,
                       unsigned long* length, SInt32* flags);
  static void speechDone(SpeechChannel channel, SRefCon refCon);
  static void sync(SpeechChannel channel, SRefCon refCon, OSType message);
  static void error(SpeechChannel channel, SRefCon refCon, OSErr error, long position);
  static void phoneme(SpeechChannel channel, SRefCon refCon, SInt16 code);
  static void word(SpeechChannel channel, SRefCon refCon, unsigned long position, UInt16 length);

  void openChannels();
  // A callback has come; the first one of the cell's kind makes the call.
  void reached(Callback callback);
  long callEntry(SpeechChannelIdentifier id);
  void speakAgain();
  void closeChannels();
  // Whether no thread of the plug-in or the engine is left; waits for it.
  bool threadsEnd() const;

  SpeechChannelIdentifier target() const;
  long expectedAnswer() const;
  bool closes(Target target) const;
  void expect(bool holds, const std::string& what);

  int m_threads = 0;  // before the play
  const Row& m_row;
  const Target m_target;
  SpeechChannelIdentifier m_same = 0;
  SpeechChannelIdentifier m_another = 0;
  SpeechChannelIdentifier m_closed = 0;
  SpeechChannelIdentifier m_opened = 0;  // by the call
  std::atomic<bool> m_called = false;
  std::atomic<bool> m_answered = false;
  std::atomic<long> m_answer = kNever;
  std::atomic<int> m_signals = 0;         // speech-done calls of m_same that have returned
  std::atomic<int> m_signalsAnother = 0;  // of m_another
  std::string m_faults;
};

}  // namespace reentry
