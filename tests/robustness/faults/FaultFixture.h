// SPDX-License-Identifier: Apache-2.0
//
// What the tests of faults share: a client's whole life with a channel, of which every result has
// to be one that is listed, and what must hold after any fault.
#pragma once

#include "FaultyEngine.h"
#include "FaultyPlatform.h"
#include "channels/ChannelTest.h"

namespace faults {

class FaultTest : public channels::ChannelTest {
 protected:
  FaultTest();
  ~FaultTest() override;

  // Opens a channel, gives it a client and a voice, speaks, pauses, continues and stops on it, once
  // to the device and once to a file, and closes it, with whatever fails.
  static void useAChannel();

  // A fresh channel speaks a job from beginning to end.
  static void expectAFreshChannelSpeaks();
  // No lock is held, and no block that was not held before.
  static void expectNothingIsLeft(long blocksBefore);

  // Closes the channel, and waits until its record is freed.
  static void closeWhole(SpeechChannelIdentifier id);

  // Whether the channel neither speaks nor is paused nor finishes a job; waits for it.
  static bool becomesIdle(SpeechChannelIdentifier id);

  // The port that was opened last.
  static scripted::Port lastPort();
};

}  // namespace faults
