// SPDX-License-Identifier: Apache-2.0
//
// FakeSynthesizer: a synthesizer plug-in that makes no sound and does what a test tells it.
//
// It is loaded by the Manager like any other; a test reaches it with fakeSynthesizer(), by its name
// in the same library. It keeps to the duties of a synthesizer: text is refused while a channel is
// not idle, a stopped or finished channel becomes idle on a thread of the synthesizer's own, and
// then reports speech-done there, under no lock.
//
// Threads: all functions may be called on any thread. Callbacks that a test makes it send run on
// the test's thread, speech-done apart.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

#include <map>
#include <string>
#include <vector>

namespace fake {

enum class Status { Idle, Busy, Paused, Closing };

// What a channel was told; a copy of the moment.
struct ChannelRecord {
  Status status = Status::Idle;
  std::string text;                        // of the last job, text-done pieces included
  long flags = 0;                          // of the last job
  std::map<OSType, const void*> pointers;  // by selector: the value itself
  std::map<OSType, Fixed> numbers;         // by selector: what rate, pitch, volume and modes hold
  VoiceSpec voice{};
  std::string voicePath;
  std::vector<unsigned long> stops;  // places, in order
  std::vector<unsigned long> pauses;
  std::string dictionary;
  bool answersNothing = false;  // a stop is held
};

enum class SpeakOutcome { Speaks, RunsOutOfMemory, Throws, RefusesText };

class FakeSynthesizer {
 public:
  virtual ~FakeSynthesizer() = default;

  // Forgets what was set with the functions below; channels stay.
  virtual void reset() = 0;
  virtual void refuseToOpen(bool refuses) = 0;
  virtual void setSpeakOutcome(SpeakOutcome outcome) = 0;
  // Stopped and finished jobs stay in Closing until released again.
  virtual void holdEndsOfJobs(bool holds) = 0;
  // A stop at the end of a word or sentence does not return until released again, and the channel
  // answers no other call meanwhile.
  virtual void holdStopsAtPlaces(bool holds) = 0;
  // Waits until a stop is held.
  virtual void waitForHeldStop() = 0;

  // Open channels by their identifiers.
  virtual std::map<SpeechChannelIdentifier, ChannelRecord> channels() = 0;

  // An idle channel takes itself for paused.
  virtual void confuse(SpeechChannelIdentifier channel) = 0;

  // The job runs out by itself.
  virtual void finish(SpeechChannelIdentifier channel) = 0;
  // Sends the callback, if the channel has one.
  virtual void sendWord(SpeechChannelIdentifier channel, unsigned long position, UInt16 length) = 0;
  virtual void sendSync(SpeechChannelIdentifier channel, OSType message) = 0;
  virtual void sendPhoneme(SpeechChannelIdentifier channel, SInt16 opcode) = 0;
  virtual void sendError(SpeechChannelIdentifier channel, OSErr error, long position) = 0;
  // Waits until no thread of the synthesizer is left.
  virtual void join() = 0;
};

using Accessor = FakeSynthesizer* (*)();
inline constexpr const char* kAccessorName = "fakeSynthesizer";

}  // namespace fake
