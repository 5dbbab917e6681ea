// SPDX-License-Identifier: Apache-2.0
//
// FakeSynthesizer: a silent synthesizer plug-in that a test controls, for tests of the Manager.
//
// The Manager loads it like any other plug-in; the test finds it through the function
// fakeSynthesizer() of the same library. It follows the rules for synthesizers: it refuses text
// while a channel is not idle; a stopped or finished channel becomes idle on a thread of the
// synthesizer and then reports speech-done there, under no lock.
//
// Threads: all functions may be called on any thread. Callbacks sent by a test run on the test's
// thread, except speech-done.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

#include <map>
#include <string>
#include <vector>

namespace fake {

enum class Status { Idle, Busy, Paused, Closing };

// The calls that a channel has received and its state; a snapshot.
struct ChannelRecord {
  Status status = Status::Idle;
  std::string text;                        // of the last job, text-done pieces included
  bool isUtf8 = false;                     // the last job's text was announced as UTF-8
  long flags = 0;                          // of the last job
  std::map<OSType, const void*> pointers;  // by selector: the value itself
  std::map<OSType, Fixed> numbers;         // by selector: rate, pitch, volume and modes
  VoiceSpec voice{};
  std::string voicePath;
  std::vector<unsigned long> stops;  // boundaries, in order of the calls
  std::vector<unsigned long> pauses;
  std::string dictionary;
  bool stopPending = false;  // a stop is held
};

enum class SpeakOutcome { Speaks, RunsOutOfMemory, Throws, RefusesText };

class FakeSynthesizer {
 public:
  virtual ~FakeSynthesizer() = default;

  // Resets all settings made with the functions below; channels stay.
  virtual void reset() = 0;
  virtual void refuseToOpen(bool refuses) = 0;
  virtual void setSpeakOutcome(SpeakOutcome outcome) = 0;
  // true: stopped and finished jobs stay in Closing until false is set.
  virtual void holdEndsOfJobs(bool holds) = 0;
  // true: a job that is to stop at the end of a word or sentence does not reach it until false is
  // set.
  virtual void holdStopsAtBoundaries(bool holds) = 0;
  // false: there is no way to stop at a boundary without waiting for it (selector "stbd").
  virtual void stopWithoutWaiting(bool can) = 0;

  // true: texts are UTF-8 if a channel is told so (selector "utf8"). false, the default: there is
  // no such selector.
  virtual void takeUtf8(bool takes) = 0;

  // Open channels by identifier.
  virtual std::map<SpeechChannelIdentifier, ChannelRecord> channels() = 0;

  // Sets the state of a channel to Paused, whatever it is.
  virtual void confuse(SpeechChannelIdentifier channel) = 0;

  // Ends the job as if its text had been spoken.
  virtual void finish(SpeechChannelIdentifier channel) = 0;
  // Sends the callback, if the channel has one.
  virtual void sendWord(SpeechChannelIdentifier channel, unsigned long position, UInt16 length) = 0;
  virtual void sendSync(SpeechChannelIdentifier channel, OSType message) = 0;
  virtual void sendPhoneme(SpeechChannelIdentifier channel, SInt16 opcode) = 0;
  virtual void sendError(SpeechChannelIdentifier channel, OSErr error, long position) = 0;
  // Waits until all threads of the synthesizer have exited, except the calling one.
  virtual void join() = 0;
};

using Accessor = FakeSynthesizer* (*)();
inline constexpr const char* kAccessorName = "fakeSynthesizer";

}  // namespace fake
