// SPDX-License-Identifier: Apache-2.0
//
// Jobs: the engine calls of channel_speak, each transition of the state table, output to files,
// voices, failures.

#include "channels/ChannelTest.h"

namespace channels {
namespace {

using scripted::engine;
using scripted::OnStop;
using scripted::Op;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class Jobs : public ChannelTest {
 protected:
  void finish(SpeechChannelIdentifier, int port, int job) {
    engine().port(port).end();
    ASSERT_TRUE(client().waitForDone(job));
  }
};

std::string speakCall(int port, const std::string& text) {
  const std::string shown = text.size() > 60 ? text.substr(0, 60) + "…" : text;
  return "kavrel_port_speak_text(port " + std::to_string(port) + ", \"" + shown + "\", " +
         std::to_string(text.size()) + ", null, job, null) = 0";
}

// ---- The engine's calls

TEST_F(Jobs, TheFirstJobOpensThePortWithEventsAsTheyAreHeard) {
  const SpeechChannelIdentifier id = open();
  engine().forgetCalls();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  EXPECT_THAT(engine().calls(),
              ElementsAre("kavrel_params_new(null) = parameters", "kavrel_val_int(0) = value",
                          "kavrel_params_set_val(\"events/immediate\", 0) = 0",
                          "kavrel_port_open(engine, {events/immediate: 0}) = port 1",
                          "kavrel_port_set_callback(port 1, callback, 0x564, user) = 0",
                          speakCall(1, "<prosody volume='100'>Hello</prosody>")));
  EXPECT_EQ(status(id), STATUS_BUSY);
}

TEST_F(Jobs, TheSecondJobUsesThePortAsItIs) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  finish(id, 1, 1);
  engine().forgetCalls();
  ASSERT_EQ(speak(id, "again"), noErr);
  EXPECT_THAT(
      engine().calls(),
      ElementsAre("kavrel_port_wait(port 1, null) = 0", "kavrel_params_new(null) = parameters",
                  "kavrel_val_int(0) = value", "kavrel_params_set_val(\"events/immediate\", 0) = 0",
                  speakCall(1, converted("again"))));
}

// A parameter of the job: the port is the same for later jobs.
TEST_F(Jobs, OneVoiceIsAParameterOfTheJob) {
  const SpeechChannelIdentifier id = open();
  const auto lastCall = [&](const char* text) {
    EXPECT_EQ(speak(id, text), noErr);
    const std::string call = engine().calls().back();
    return call.substr(call.find("job, "));
  };
  int wanted = 0;
  ASSERT_EQ(set(id, kOneVoice, &wanted), noErr);
  EXPECT_EQ(lastCall("Hello"), "job, {events/immediate: 0, voice/one-voice: 1}) = 0");
  finish(id, 1, 1);
  ASSERT_EQ(SESetSpeechInfo(id, kOneVoice, nullptr), noErr);
  EXPECT_EQ(lastCall("again"), "job, null) = 0");
}

TEST_F(Jobs, AFileIsWrittenByAPortOfItsOwn) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "heard"), noErr);
  finish(id, 1, 1);
  setFile(id, "/tmp/out.aiff");
  engine().forgetCalls();
  ASSERT_EQ(speak(id, "written"), noErr);
  EXPECT_THAT(
      engine().calls(),
      ElementsAre("kavrel_port_wait(port 1, null) = 0", "kavrel_params_new(null) = parameters",
                  "kavrel_port_close(port 1) = 0", "kavrel_val_string(\"/tmp/out.aiff\") = value",
                  "kavrel_params_set_val(\"audio/output-file\", /tmp/out.aiff) = 0",
                  "kavrel_val_string(\"aiff\") = value",
                  "kavrel_params_set_val(\"audio/output-format\", aiff) = 0",
                  "kavrel_val_int(1) = value", "kavrel_params_set_val(\"events/immediate\", 1) = 0",
                  "kavrel_port_open(engine, {audio/output-file: /tmp/out.aiff, "
                  "audio/output-format: aiff, events/immediate: 1}) = port 2",
                  "kavrel_port_set_callback(port 2, callback, 0x564, user) = 0",
                  speakCall(2, converted("written"))));
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.output_is_file; }), 1);

  engine().forgetCalls();
  finish(id, 2, 2);
  EXPECT_THAT(engine().calls(Op::PortClose), ElementsAre("kavrel_port_close(port 2) = 0"));
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.output_is_file; }), 0);
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.port; }), nullptr);

  set(id, soOutputToFileWithCFURL, nullptr);
  ASSERT_EQ(speak(id, "heard again"), noErr);
  EXPECT_THAT(engine().port(3).parameters(), ElementsAre(Pair("events/immediate", "0")));
}

TEST_F(Jobs, TwoFilesInARowHaveTwoPorts) {
  const SpeechChannelIdentifier id = open();
  setFile(id, "/tmp/out.aiff");
  ASSERT_EQ(speak(id, "one"), noErr);
  finish(id, 1, 1);
  ASSERT_EQ(speak(id, "two"), noErr);
  EXPECT_EQ(engine().ports(), 2);
  EXPECT_FALSE(engine().port(1).open());
  EXPECT_TRUE(engine().port(2).running());
}

TEST_F(Jobs, AFileChosenWhileSpeakingIsForTheNextJob) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "heard"), noErr);
  setFile(id, "/tmp/out.aiff");
  finish(id, 1, 1);
  EXPECT_TRUE(engine().port(1).open());
  ASSERT_EQ(speak(id, "written"), noErr);
  EXPECT_EQ(engine().port(2).parameters()["audio/output-file"], "/tmp/out.aiff");
}

TEST_F(Jobs, AStoppedFileJobClosesItsPort) {
  const SpeechChannelIdentifier id = open();
  setFile(id, "/tmp/out.aiff");
  ASSERT_EQ(speak(id, "written"), noErr);
  ASSERT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  ASSERT_TRUE(client().waitForDone());
  EXPECT_FALSE(engine().port(1).open());
}

// ---- Voices

TEST_F(Jobs, AVoiceIsLoadedOnceBeforeTheNextJobSpeaks) {
  const SpeechChannelIdentifier id = open();
  setVoice(id, "/voices/Ava");
  engine().forgetCalls();
  ASSERT_EQ(speak(id, "one"), noErr);
  finish(id, 1, 1);
  ASSERT_EQ(speak(id, "two"), noErr);
  EXPECT_THAT(engine().calls(Op::SetVoice),
              ElementsAre("kavrel_port_set_voice_from_dir(port 1, \"/voices/Ava\") = voice"));
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.voice_changed; }), 0);
}

TEST_F(Jobs, AVoiceChosenWhileSpeakingDoesNotDisturbTheJob) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "one"), noErr);
  setVoice(id, "/voices/Ava");
  EXPECT_EQ(engine().count(Op::SetVoice), 0);
  finish(id, 1, 1);
  ASSERT_EQ(speak(id, "two"), noErr);
  EXPECT_EQ(engine().port(1).voice(), "/voices/Ava");
}

TEST_F(Jobs, OfTwoVoicesChosenBetweenJobsTheSecondIsLoaded) {
  const SpeechChannelIdentifier id = open();
  setVoice(id, "/voices/Ava");
  const long blocks = engine().live().blocks;
  setVoice(id, "/voices/Bob");
  EXPECT_EQ(engine().live().blocks, blocks);
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.voice_changed; }), 1);
  ASSERT_EQ(speak(id, "one"), noErr);
  EXPECT_THAT(engine().calls(Op::SetVoice),
              ElementsAre("kavrel_port_set_voice_from_dir(port 1, \"/voices/Bob\") = voice"));
}

// A file job has its own port, and the voice was loaded into the port before it.
TEST_F(Jobs, AVoiceThatIsNotNewIsNotLoadedIntoANewPort) {
  const SpeechChannelIdentifier id = open();
  setVoice(id, "/voices/Ava");
  ASSERT_EQ(speak(id, "heard"), noErr);
  finish(id, 1, 1);
  setFile(id, "/tmp/out.aiff");
  ASSERT_EQ(speak(id, "written"), noErr);
  EXPECT_EQ(engine().port(2).voice(), "");
}

// ---- Failures

// A job that cannot start, for any of three reasons, leaves a channel that can be used again.
TEST_F(Jobs, ABufferThatCannotBeSpokenLeavesTheChannelIdleAndEmpty) {
  for (const Op op : {Op::PortOpen, Op::SetVoice, Op::Speak}) {
    SCOPED_TRACE(static_cast<int>(op));
    const SpeechChannelIdentifier id = open();
    setVoice(id, "/voices/Ava");
    engine().fail(op, 1);
    EXPECT_EQ(speak(id, "Hello"), synthNotReady);
    EXPECT_EQ(status(id), STATUS_IDLE);
    EXPECT_EQ(read(id, [](const speech_channel& c) { return c.text; }), nullptr);
    EXPECT_EQ(read(id, [](const speech_channel& c) { return c.text_offsets; }), nullptr);
    EXPECT_EQ(read(id, [](const speech_channel& c) { return c.port; }), nullptr);
    EXPECT_EQ(speak(id, "Hello"), noErr);
    EXPECT_EQ(status(id), STATUS_BUSY);
  }
  EXPECT_THAT(client().texts(), IsEmpty());
}

TEST_F(Jobs, AJobThatCannotStartClosesThePort) {
  for (const Op op : {Op::SetVoice, Op::Speak}) {
    const SpeechChannelIdentifier id = open();
    setVoice(id, "/voices/Ava");
    engine().fail(op, 1);
    EXPECT_EQ(speak(id, "Hello"), synthNotReady);
    EXPECT_FALSE(engine().port(engine().ports()).open());
  }
  EXPECT_EQ(engine().live().ports, 0);
}

TEST_F(Jobs, APortThatCannotBeOpenedIsNotClosed) {
  const SpeechChannelIdentifier id = open();
  engine().fail(Op::PortOpen, 1);
  EXPECT_EQ(speak(id, "Hello"), synthNotReady);
  EXPECT_EQ(engine().count(Op::PortClose), 0);
  EXPECT_EQ(engine().count(Op::SetCallback), 0);
}

TEST_F(Jobs, AVoiceThatCannotBeLoadedIsTriedAgain) {
  const SpeechChannelIdentifier id = open();
  setVoice(id, "/voices/Ava");
  engine().fail(Op::SetVoice, 1);
  EXPECT_EQ(speak(id, "Hello"), synthNotReady);
  EXPECT_EQ(speak(id, "Hello"), noErr);
  EXPECT_EQ(engine().port(2).voice(), "/voices/Ava");
}

TEST_F(Jobs, AVoiceWithoutAFolderKeepsTheJobFromStarting) {
  const SpeechChannelIdentifier id = open();
  setVoice(id, nullptr);
  EXPECT_EQ(speak(id, "Hello"), synthNotReady);
}

// The layer below the entry point leaves the state of the channel to its caller.
TEST_F(Jobs, AFailedStartLeavesStatusAndTextToTheCaller) {
  for (const Op op : {Op::PortOpen, Op::SetVoice, Op::Speak}) {
    SCOPED_TRACE(static_cast<int>(op));
    const SpeechChannelIdentifier id = open();
    setVoice(id, "/voices/Ava");
    speech_channel* const channel = find_channel(id);
    const ChannelLock held(channel);
    channel->text = cst_strdup("Hello");
    engine().fail(op, 1);
    EXPECT_EQ(channel_speak(channel), -1);
    EXPECT_EQ(channel->status, STATUS_BUSY);
    EXPECT_STREQ(channel->text, "Hello");
    EXPECT_EQ(channel->port, nullptr);
    EXPECT_EQ(channel->voice_changed, op == Op::Speak ? 0 : 1);
  }
}

TEST_F(Jobs, AFailedWaitBeforeTheJobDoesNotKeepItFromStarting) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "one"), noErr);
  finish(id, 1, 1);
  engine().queueResult(Op::Wait, KAVREL_INTERNAL_ERROR);
  EXPECT_EQ(speak(id, "two"), noErr);
}

TEST_F(Jobs, PositiveResultsOfTheEngineAreSuccess) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "one"), noErr);
  engine().queueResult(Op::Pause, static_cast<kavrel_result_t>(7));
  EXPECT_EQ(SEPauseSpeechAt(id, kImmediate), noErr);
}

// ---- Waiting

TEST_F(Jobs, WaitingOnAChannelThatNeverSpokeDoesNotCallTheEngine) {
  speech_channel* const channel = find_channel(open());
  engine().forgetCalls();
  const ChannelLock held(channel);
  EXPECT_EQ(channel_wait(channel), 0);
  EXPECT_THAT(engine().calls(), IsEmpty());
}

TEST_F(Jobs, WaitingReturnsFailureWhenTheEngineDoes) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "one"), noErr);
  finish(id, 1, 1);
  engine().queueResult(Op::Wait, KAVREL_INTERRUPTED);
  speech_channel* const channel = find_channel(id);
  const ChannelLock held(channel);
  EXPECT_EQ(channel_wait(channel), -1);
  EXPECT_EQ(channel_wait(channel), 0);
}

// ---- The state table

TEST_F(Jobs, BoundaryCodesNameEngineEvents) {
  EXPECT_EQ(get_kavrel_event(1), KAVREL_EVENT_WORD);
  EXPECT_EQ(get_kavrel_event(2), KAVREL_EVENT_SENTENCE);
  for (const long other : {0L, -1L, 3L, 1000L, -1000L}) {
    EXPECT_EQ(get_kavrel_event(other), KAVREL_EVENT_NOW) << other;
  }
}

TEST_F(Jobs, ANewChannelIsIdle) {
  EXPECT_EQ(status(open()), STATUS_IDLE);
}

TEST_F(Jobs, IdleToBusyBySpeaking) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "one"), noErr);
  EXPECT_EQ(status(id), STATUS_BUSY);
}

TEST_F(Jobs, BusyToPausedAndBack) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "one"), noErr);
  EXPECT_EQ(SEPauseSpeechAt(id, kImmediate), noErr);
  EXPECT_EQ(status(id), STATUS_PAUSED);
  EXPECT_TRUE(engine().port(1).paused());
  EXPECT_EQ(SEContinueSpeech(id), noErr);
  EXPECT_EQ(status(id), STATUS_BUSY);
  EXPECT_FALSE(engine().port(1).paused());
}

TEST_F(Jobs, ASecondPauseDoesNotCallTheEngine) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "one"), noErr);
  EXPECT_EQ(SEPauseSpeechAt(id, kImmediate), noErr);
  EXPECT_EQ(SEPauseSpeechAt(id, kEndOfWord), noErr);
  EXPECT_EQ(engine().count(Op::Pause), 1);
  EXPECT_EQ(status(id), STATUS_PAUSED);
}

TEST_F(Jobs, ContinuingAChannelThatIsNotPausedDoesNotCallTheEngine) {
  const SpeechChannelIdentifier id = open();
  EXPECT_EQ(SEContinueSpeech(id), noErr);
  EXPECT_EQ(status(id), STATUS_IDLE);
  ASSERT_EQ(speak(id, "one"), noErr);
  EXPECT_EQ(SEContinueSpeech(id), noErr);
  EXPECT_EQ(status(id), STATUS_BUSY);
  EXPECT_EQ(engine().count(Op::Pause), 0);
}

TEST_F(Jobs, PausingAnIdleChannelMarksItPausedAndCallsTheEngine) {
  const SpeechChannelIdentifier id = open();
  EXPECT_EQ(SEPauseSpeechAt(id, kImmediate), -1);
  EXPECT_EQ(status(id), STATUS_PAUSED);
  EXPECT_THAT(engine().calls(Op::Pause), ElementsAre("kavrel_port_pause(null, null, NOW) = -5"));
  EXPECT_EQ(speak(id, "one"), synthNotReady);
  EXPECT_EQ(SEContinueSpeech(id), -1);
  EXPECT_EQ(status(id), STATUS_BUSY);
}

TEST_F(Jobs, AClosingChannelIsMarkedPausedUntilItIsSignalled) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "one"), noErr);
  speech_channel* const channel = find_channel(id);
  mutex_lock(&channel->mtx);
  ASSERT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  ASSERT_EQ(channel->status, STATUS_CLOSING);
  EXPECT_EQ(SEPauseSpeechAt(id, kImmediate), -1);
  EXPECT_EQ(channel->status, STATUS_PAUSED);
  mutex_unlock(&channel->mtx);
  ASSERT_TRUE(client().waitForDone());
  EXPECT_EQ(status(id), STATUS_IDLE);
}

TEST_F(Jobs, ARefusedPauseIsReportedAndTheChannelCountsAsPaused) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "one"), noErr);
  engine().queueResult(Op::Pause, KAVREL_INTERNAL_ERROR);
  EXPECT_EQ(SEPauseSpeechAt(id, kImmediate), -1);
  EXPECT_EQ(status(id), STATUS_PAUSED);
  engine().queueResult(Op::Pause, KAVREL_INTERNAL_ERROR);
  EXPECT_EQ(SEContinueSpeech(id), -1);
  EXPECT_EQ(status(id), STATUS_BUSY);
}

TEST_F(Jobs, BusyToIdleByTheEndOfTheJob) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "one"), noErr);
  finish(id, 1, 1);
  EXPECT_EQ(status(id), STATUS_IDLE);
}

TEST_F(Jobs, PausedToIdleByTheEndOfTheJob) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "one"), noErr);
  ASSERT_EQ(SEPauseSpeechAt(id, kImmediate), noErr);
  finish(id, 1, 1);
  EXPECT_EQ(status(id), STATUS_IDLE);
}

TEST_F(Jobs, BusyAndPausedToIdleByAStop) {
  for (const bool paused : {false, true}) {
    Client& own = newClient();
    const SpeechChannelIdentifier id = open(own);
    ASSERT_EQ(speak(id, "one"), noErr);
    if (paused) {
      ASSERT_EQ(SEPauseSpeechAt(id, kImmediate), noErr);
    }
    EXPECT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
    ASSERT_TRUE(own.waitForDone());
    EXPECT_EQ(status(id), STATUS_IDLE);
  }
}

TEST_F(Jobs, AStopOnAnIdleChannelDoesNotCallTheEngine) {
  const SpeechChannelIdentifier id = open();
  engine().forgetCalls();
  EXPECT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  EXPECT_THAT(engine().calls(), IsEmpty());
  EXPECT_EQ(status(id), STATUS_IDLE);
}

TEST_F(Jobs, AStopWhileTheChannelIsClosingDoesNotCallTheEngine) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "one"), noErr);
  speech_channel* const channel = find_channel(id);
  mutex_lock(&channel->mtx);
  ASSERT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  EXPECT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  EXPECT_EQ(engine().count(Op::Stop), 1);
  mutex_unlock(&channel->mtx);
  ASSERT_TRUE(client().waitForDone());
  EXPECT_EQ(client().count("done"), 1);
}

TEST_F(Jobs, ARefusedStopIsReportedOnStandardErrorAndLeavesTheJob) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "one"), noErr);
  engine().queueResult(Op::Stop, KAVREL_FILE_ERROR);
  testing::internal::CaptureStderr();
  EXPECT_EQ(SEStopSpeechAt(id, kImmediate), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Stopping channel failed (file error)\n");
  EXPECT_EQ(status(id), STATUS_BUSY);
  EXPECT_EQ(client().count("done"), 0);
  EXPECT_TRUE(engine().port(1).running());
}

TEST_F(Jobs, AStopCallsTheEngineAndWaitsForTheJob) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "one"), noErr);
  engine().forgetCalls();
  EXPECT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  const std::vector<std::string> calls = engine().calls();
  ASSERT_GE(calls.size(), 2u);
  EXPECT_EQ(calls[0], "kavrel_port_stop(port 1, job 1, NOW) = 0");
  EXPECT_EQ(calls[1], "kavrel_port_wait(port 1, job 1) = 0");
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.text; }), nullptr);
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.job; }), nullptr);
}

TEST_F(Jobs, AStopAtTheEndOfAWordReturnsWhenTheEngineHasReachedIt) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "one two"), noErr);
  engine().onStop(OnStop::TestEnds);
  std::atomic<bool> returned = false;
  std::thread stopper([&] {
    EXPECT_EQ(SEStopSpeechAt(id, kEndOfWord), noErr);
    returned = true;
  });
  ASSERT_TRUE(engine().waitForCall(Op::Stop));
  EXPECT_FALSE(returned);
  EXPECT_TRUE(engine().port(1).running());
  engine().port(1).end();
  stopper.join();
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.text; }), nullptr);
  ASSERT_TRUE(client().waitForDone());
  EXPECT_EQ(client().count("done"), 1);
}

// ---- Stops that do not wait

class StopsAtBoundaries : public Jobs {
 protected:
  static long stopAt(SpeechChannelIdentifier id, std::uintptr_t where) {
    return SESetSpeechInfo(id, kStopAtBoundary, reinterpret_cast<void*>(where));
  }
};

TEST_F(StopsAtBoundaries, ReturnBeforeTheEngineHasReachedTheBoundary) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "one two"), noErr);
  engine().onStop(OnStop::TestEnds);
  engine().forgetCalls();
  EXPECT_EQ(stopAt(id, kEndOfSentence), noErr);
  EXPECT_THAT(engine().calls(Op::Stop),
              ElementsAre("kavrel_port_stop(port 1, job 1, SENTENCE) = 0"));
  EXPECT_EQ(engine().count(Op::Wait), 0);
  EXPECT_EQ(status(id), STATUS_BUSY);
  EXPECT_EQ(speak(id, "next"), synthNotReady);
  engine().port(1).end();
  ASSERT_TRUE(client().waitForDone());
  EXPECT_EQ(client().count("done"), 1);
  EXPECT_EQ(speak(id, "next"), noErr);
}

TEST_F(StopsAtBoundaries, AreOvertakenByAnImmediateStop) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "one two"), noErr);
  engine().onStop(OnStop::TestEnds);
  EXPECT_EQ(stopAt(id, kEndOfWord), noErr);
  engine().onStop(OnStop::EndsAtOnce);
  EXPECT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  ASSERT_TRUE(client().waitForDone());
  EXPECT_EQ(client().count("done"), 1);
}

TEST_F(StopsAtBoundaries, DoNothingWithoutAJob) {
  const SpeechChannelIdentifier id = open();
  EXPECT_EQ(stopAt(id, kEndOfWord), noErr);
  EXPECT_EQ(engine().count(Op::Stop), 0);
  EXPECT_EQ(stopAt(id + 1, kEndOfWord), noSynthFound);
}

TEST_F(StopsAtBoundaries, ReportThatTheEngineRefuses) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "one"), noErr);
  engine().queueResult(Op::Stop, KAVREL_FILE_ERROR);
  testing::internal::CaptureStderr();
  EXPECT_EQ(stopAt(id, kEndOfWord), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Stopping channel failed (file error)\n");
  EXPECT_EQ(status(id), STATUS_BUSY);
}

TEST_F(StopsAtBoundaries, AreOffered) {
  const SpeechChannelIdentifier id = open();
  UInt32 offered = 0;
  EXPECT_EQ(SEGetSpeechInfo(id, kStopAtBoundary, &offered), noErr);
  EXPECT_EQ(offered, 1U);
}

}  // namespace
}  // namespace channels
