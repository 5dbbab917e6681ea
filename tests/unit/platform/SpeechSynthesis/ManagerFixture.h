// SPDX-License-Identifier: Apache-2.0
//
// The common fixture of all tests of the client interface: the project's voices, a synthesizer that
// the test controls, an open channel, and a list of the callbacks that the client received.
#pragma once

#include <ApplicationServices/ApplicationServices.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "synthesizers/FakeSynthesizer.h"

namespace manager {

using fake::ChannelRecord;
using fake::SpeakOutcome;
using fake::Status;

inline constexpr OSType kCreator = 0x4B56524C;
inline constexpr VoiceSpec kCorin = {kCreator, 101};
inline constexpr VoiceSpec kMaren = {kCreator, 102};

// The synthesizer that the Manager has loaded.
fake::FakeSynthesizer& synthesizer();

// The calls of the client's callbacks with their arguments, in order, one line each.
class Reports {
 public:
  void add(SpeechChannel channel, const std::string& line);
  std::vector<std::string> lines() const;
  // Returns false if fewer than `count` lines have been added after a time that is ample for any
  // machine.
  bool wait(std::size_t count);
  // The threads that the callbacks ran on.
  std::vector<std::thread::id> threads() const;

  SpeechChannel expected = nullptr;
  // If set, called inside every callback, before the line is added.
  std::function<void(const std::string& line)> inside;

 private:
  mutable std::mutex m_lock;
  std::condition_variable m_changed;
  std::vector<std::string> m_lines;
  std::vector<std::thread::id> m_threads;
};

// Callbacks. Their reference constant is a Reports.
void onDone(SpeechChannel channel, SRefCon refCon);
void onSync(SpeechChannel channel, SRefCon refCon, OSType message);
void onPhoneme(SpeechChannel channel, SRefCon refCon, SInt16 opcode);
void onWord(SpeechChannel channel, SRefCon refCon, unsigned long position, UInt16 length);
void onError(SpeechChannel channel, SRefCon refCon, OSErr error, long position);

class Manager : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  template <typename Function>
  void install(OSType selector, Function* function) {
    ASSERT_EQ(SetSpeechInfo(m_channel, selector, reinterpret_cast<const void*>(function)), noErr);
  }
  // All except text-done.
  void installAll();

  OSErr speak(const std::string& text, SInt32 flags = 0) {
    return SpeakBuffer(m_channel, text.data(), text.size(), flags);
  }

  // Reads soStatus.
  std::string status() const;

  // Waits until every pending callback has run. No end of a job may be held.
  void letCallbacksPass();

  ChannelRecord record() { return synthesizer().channels().at(m_identifier); }

  SpeechChannel m_channel = nullptr;
  SpeechChannelIdentifier m_identifier = 0;
  Reports m_reports;
};

}  // namespace manager
