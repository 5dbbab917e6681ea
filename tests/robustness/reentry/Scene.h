// SPDX-License-Identifier: Apache-2.0
//
// One cell of the table: a client that calls one entry point inside one callback.
//
// Threads: play() runs on the test's thread; callbacks run on threads of the plug-in and the
// engine.
#pragma once

#include <atomic>
#include <string>

#include "Table.h"

namespace reentry {

// Runs the cell in this process on the scripted engine. The process must have no other channels and
// threads.
class Scene {
 public:
  Scene(const Row& row, Target target) : m_row(row), m_target(target) {}

  // Returns the faults, one per line; empty if there are none.
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
  // Called by every callback; the first one of the cell's kind makes the call.
  void reached(Callback callback);
  void speakAgain();
  void closeChannels();
  // Waits up to ten seconds until all threads of the plug-in and the engine have exited; returns
  // whether they have.
  bool threadsEnd() const;

  SpeechChannelIdentifier target() const;
  long expectedResult() const;
  bool closes(Target target) const;
  void expect(bool holds, const std::string& what);

  int m_threads = 0;  // number of threads at the start of play()
  const Row& m_row;
  const Target m_target;
  SpeechChannelIdentifier m_same = 0;
  SpeechChannelIdentifier m_another = 0;
  SpeechChannelIdentifier m_closed = 0;
  SpeechChannelIdentifier m_opened = 0;  // opened by the call
  std::atomic<bool> m_called = false;
  std::atomic<bool> m_returned = false;
  std::atomic<long> m_result = kNever;
  std::atomic<int> m_signals = 0;         // speech-done calls of m_same that have returned
  std::atomic<int> m_signalsAnother = 0;  // of m_another
  std::string m_faults;
};

}  // namespace reentry
