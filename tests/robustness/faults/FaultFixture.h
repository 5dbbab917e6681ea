// SPDX-License-Identifier: Apache-2.0
//
// Shared by the fault tests: the complete use of a channel by a client, with a check that every
// result is an allowed one, and the checks that must hold after any fault.
#pragma once

#include "FaultyEngine.h"
#include "FaultyPlatform.h"
#include "channels/ChannelTest.h"

namespace faults {

class FaultTest : public channels::ChannelTest {
 protected:
  FaultTest();
  ~FaultTest() override;

  // Opens a channel, sets a client and a voice, then speaks, pauses, continues and stops, once with
  // output to the device and once to a file, and closes the channel. Any call may fail.
  static void useAChannel();

  // Checks that a fresh channel speaks a job from beginning to end.
  static void expectAFreshChannelSpeaks();
  // Checks that no lock is held and that as many blocks are allocated as before.
  static void expectNothingIsLeft(long blocksBefore);

  // Closes the channel and waits until its record is freed.
  static void closeAndWait(SpeechChannelIdentifier id);

  // Waits up to ten seconds until the channel is idle; returns whether it is.
  static bool becomesIdle(SpeechChannelIdentifier id);

  // The port that was opened last.
  static scripted::Port lastPort();
};

}  // namespace faults
