// SPDX-License-Identifier: Apache-2.0
//
// The end of a job: exactly one speech-done, on its own thread, with the channel idle, however the
// engine reports END and whatever the client does inside the callback.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "channels/ChannelTest.h"

namespace channels {
namespace {

using scripted::engine;
using scripted::OnStop;
using scripted::Op;
using scripted::Script;
using scripted::When;
using testing::Each;
using testing::ElementsAre;

class Finishing : public ChannelTest {};

// ---- Speech-done

TEST_F(Finishing, AnEndedJobIsSignalledOnceWithIdentifierAndConstant) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().port(1).end();
  ASSERT_TRUE(client().waitForDone());
  settle();
  ASSERT_THAT(client().texts(), ElementsAre("done"));
  EXPECT_EQ(client().events()[0].channel, id);
}

TEST_F(Finishing, TheChannelIsIdleWhenSpeechDoneRuns) {
  const SpeechChannelIdentifier id = open();
  channel_status_t seen = STATUS_CLOSING;
  bool lockWasFree = false;
  client().onDone = [&](auto channel) {
    seen = status(channel);
    // On another thread: the one that holds a recursive lock can always lock it again.
    std::thread([&, record = find_channel(channel)] {
      lockWasFree = pthread_mutex_trylock(&record->mtx) == 0;
      if (lockWasFree) pthread_mutex_unlock(&record->mtx);
    }).join();
  };
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().port(1).end();
  ASSERT_TRUE(client().waitForDone());
  EXPECT_EQ(seen, STATUS_IDLE);
  EXPECT_TRUE(lockWasFree);
}

TEST_F(Finishing, SpeechDoneRunsNeitherOnTheEnginesThreadNorOnAClients) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  // The engine's thread runs until speech-done, so that no other thread can get its identifier.
  std::thread engineThread([this] {
    engine().port(1).end();
    EXPECT_TRUE(client().waitForDone());
    EXPECT_NE(client().events()[0].thread, std::this_thread::get_id());
  });
  engineThread.join();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  ASSERT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  ASSERT_TRUE(client().waitForDone(2));
  EXPECT_NE(client().events()[1].thread, std::this_thread::get_id());
}

TEST_F(Finishing, WithoutACallbackTheChannelStillBecomesIdle) {
  const SpeechChannelIdentifier id = openBare();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().port(1).end();
  EXPECT_TRUE(eventually([&] { return status(id) == STATUS_IDLE; }));
}

TEST_F(Finishing, TheEndEventReturnsBeforeTheJobIsFinished) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  speech_channel* const channel = find_channel(id);
  mutex_lock(&channel->mtx);
  engine().port(1).end();
  EXPECT_EQ(channel->status, STATUS_BUSY);
  EXPECT_NE(channel->text, nullptr);
  mutex_unlock(&channel->mtx);
  ASSERT_TRUE(client().waitForDone());
}

TEST_F(Finishing, AFinishedJobLeavesNothingOnTheChannel) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().port(1).phoneme("ae", 3).end();
  ASSERT_TRUE(client().waitForDone());
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.text; }), nullptr);
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.text_offsets; }), nullptr);
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.job; }), nullptr);
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.curr_pos; }), 0);
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.curr_phoneme; }), 0);
  EXPECT_NE(read(id, [](const speech_channel& c) { return c.port; }), nullptr);
}

TEST_F(Finishing, TheFinishingThreadWaitsForTheEnginesPort) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().forgetCalls();
  engine().port(1).end();
  ASSERT_TRUE(client().waitForDone());
  EXPECT_THAT(engine().calls(), ElementsAre("kavrel_port_wait(port 1, job 1) = 0"));
  EXPECT_NE(engine().log()[0].thread, std::this_thread::get_id());
}

TEST_F(Finishing, AFailedWaitDoesNotKeepTheJobFromFinishing) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().setResult(Op::Wait, KAVREL_INTERNAL_ERROR);
  engine().port(1).end();
  EXPECT_TRUE(client().waitForDone());
}

// ---- The order of finishing

TEST_F(Finishing, AFileJobIsWaitedForBeforeItsPortIsClosed) {
  const SpeechChannelIdentifier id = open();
  setFile(id, "/tmp/out.aiff");
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().forgetCalls();
  engine().port(1).end();
  ASSERT_TRUE(client().waitForDone());
  EXPECT_THAT(engine().calls(),
              ElementsAre("kavrel_port_wait(port 1, job 1) = 0", "kavrel_port_close(port 1) = 0"));
}

TEST_F(Finishing, TheTextIsKeptUntilTheEngineHasEnded) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  speech_channel* const channel = find_channel(id);
  std::string text;
  bool hasOffsets = false;
  kavrel_background_t job = nullptr;
  // On this thread, which holds the lock.
  engine().during(Op::Wait, [&] {
    text = channel->text != nullptr ? channel->text : "(none)";
    hasOffsets = channel->text_offsets != nullptr;
    job = channel->job;
  });
  ASSERT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  engine().during(Op::Wait, nullptr);
  EXPECT_EQ(text, converted("Hello"));
  EXPECT_TRUE(hasOffsets);
  EXPECT_NE(job, nullptr);
}

// The signalling thread waits for the lock, so it exists for as long as the text is being freed.
TEST_F(Finishing, TheSignallingThreadStartsBeforeTheTextIsFreed) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().onStop(OnStop::EndsSilently);  // no finishing thread
  const int before = threadCount();
  int whenFreed = 0;
  engine().during(Op::Free, [&] { whenFreed = threadCount(); });
  ASSERT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  engine().during(Op::Free, nullptr);
  EXPECT_EQ(whenFreed, before + 1);
  EXPECT_TRUE(client().waitForDone());
}

TEST_F(Finishing, TheConditionIsSignalledAfterTheCallbackHasReturned) {
  const SpeechChannelIdentifier id = open();
  speech_channel* const channel = find_channel(id);
  std::atomic<bool> returned = false;
  client().onDone = [&](auto) { returned = true; };
  ASSERT_EQ(speak(id, "Hello"), noErr);
  mutex_lock(&channel->mtx);
  engine().port(1).end();
  timespec limit{};
  clock_gettime(CLOCK_REALTIME, &limit);
  limit.tv_sec += 10;
  int result = 0;
  while (!returned && result == 0) {  // a wait may end for no reason
    result = pthread_cond_timedwait(&channel->speech_finished, &channel->mtx, &limit);
  }
  EXPECT_EQ(result, 0);
  mutex_unlock(&channel->mtx);
}

// ---- END events of the engine

TEST_F(Finishing, AnEndBeforeSpeakReturnsFinishesTheJob) {
  const SpeechChannelIdentifier id = open();
  for (int job = 1; job <= 50; ++job) {
    engine().queueJob(Script().word(22, 5).end(), When::InsideSpeak);
    ASSERT_EQ(speak(id, "Hello"), noErr);
    ASSERT_TRUE(client().waitForDone(job));
    EXPECT_EQ(status(id), STATUS_IDLE);
  }
  settle();
  EXPECT_EQ(client().count("done"), 50);
}

TEST_F(Finishing, AnEndFromTheEnginesThreadFinishesTheJob) {
  const SpeechChannelIdentifier id = open();
  engine().everyJob(Script().word(22, 5).end(), When::OnEngineThread);
  for (int job = 1; job <= 50; ++job) {
    ASSERT_EQ(speak(id, "Hello"), noErr);
    ASSERT_TRUE(client().waitForDone(job));
  }
  settle();
  EXPECT_EQ(client().count("done"), 50);
}

TEST_F(Finishing, ASecondEndIsNotASecondSpeechDone) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().port(1).end().end();
  ASSERT_TRUE(client().waitForDone());
  settle();
  EXPECT_THAT(client().texts(), ElementsAre("done"));
  EXPECT_EQ(status(id), STATUS_IDLE);
}

TEST_F(Finishing, AStoppedJobIsSignalledOnceHoweverItEnds) {
  for (const OnStop mode :
       {OnStop::EndsAtOnce, OnStop::EndsBeforeReturn, OnStop::EndsTwice, OnStop::EndsSilently}) {
    SCOPED_TRACE(static_cast<int>(mode));
    Client& own = newClient();
    const SpeechChannelIdentifier id = open(own);
    engine().onStop(mode);
    for (int job = 1; job <= 20; ++job) {
      ASSERT_EQ(speak(id, "Hello"), noErr);
      ASSERT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
      ASSERT_TRUE(own.waitForDone(job));
    }
    settle();
    EXPECT_EQ(own.count("done"), 20);
    EXPECT_EQ(status(id), STATUS_IDLE);
    close(id);
  }
}

TEST_F(Finishing, AnEndAfterTheStopDoesNotAffectTheNextJob) {
  const SpeechChannelIdentifier id = open();
  engine().onStop(OnStop::TestEnds);
  engine().setWaitLimit(std::chrono::milliseconds(1));
  m_violationsExpected = true;
  ASSERT_EQ(speak(id, "first"), noErr);
  ASSERT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  ASSERT_TRUE(client().waitForDone(1));
  ASSERT_EQ(speak(id, "second"), noErr);
  engine().port(1).endOf(1);
  settle();
  EXPECT_EQ(client().count("done"), 1);
  EXPECT_EQ(status(id), STATUS_BUSY);
  EXPECT_EQ(read(id, [](const speech_channel& c) { return std::string(c.text); }),
            converted("second"));
  engine().port(1).endOf(2);
  ASSERT_TRUE(client().waitForDone(2));
  settle();
  EXPECT_EQ(client().count("done"), 2);
}

TEST_F(Finishing, AJobWithoutAnEndIsFinishedByAStopAndTheChannelSpeaksAgain) {
  const SpeechChannelIdentifier id = open();
  engine().onStop(OnStop::EndsSilently);
  for (int job = 1; job <= 5; ++job) {
    ASSERT_EQ(speak(id, "Hello"), noErr);
    ASSERT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
    ASSERT_TRUE(client().waitForDone(job));
  }
  engine().onStop(OnStop::EndsAtOnce);
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().port(1).end();
  ASSERT_TRUE(client().waitForDone(6));
  settle();
  EXPECT_EQ(client().count("done"), 6);
}

// ---- One speech-done per job

TEST_F(Finishing, AStopOfAChannelPausedWhileClosingGivesNoSecondSpeechDone) {
  for (const bool continued : {false, true}) {
    Client& own = newClient();
    const SpeechChannelIdentifier id = open(own);
    ASSERT_EQ(speak(id, "Hello"), noErr);
    speech_channel* const channel = find_channel(id);
    mutex_lock(&channel->mtx);
    ASSERT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
    EXPECT_EQ(SEPauseSpeechAt(id, kImmediate), -1);
    if (continued) {
      EXPECT_EQ(SEContinueSpeech(id), -1);
    }
    EXPECT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
    EXPECT_EQ(channel->status, STATUS_CLOSING);
    mutex_unlock(&channel->mtx);
    ASSERT_TRUE(own.waitForDone());
    settle();
    EXPECT_EQ(own.count("done"), 1);
    EXPECT_EQ(status(id), STATUS_IDLE);
  }
}

TEST_F(Finishing, ACloseOfAChannelPausedWhileClosingGivesNoSecondSpeechDone) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  speech_channel* const channel = find_channel(id);
  mutex_lock(&channel->mtx);
  ASSERT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  EXPECT_EQ(SEPauseSpeechAt(id, kImmediate), -1);
  mutex_unlock(&channel->mtx);
  EXPECT_EQ(close(id), noErr);
  settle();
  EXPECT_EQ(client().count("done"), 1);
}

TEST_F(Finishing, AStopOfAChannelPausedWhileIdleGivesOneSpeechDone) {
  const SpeechChannelIdentifier id = open();
  EXPECT_EQ(SEPauseSpeechAt(id, kImmediate), -1);
  EXPECT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  ASSERT_TRUE(client().waitForDone());
  settle();
  EXPECT_EQ(client().count("done"), 1);
  EXPECT_EQ(status(id), STATUS_IDLE);
}

// A pause and a stop inside text-done leave one signal to come when the job begins. A close waits
// for both signals.
TEST_F(Finishing, ACloseWaitsForEverySignalThatIsDue) {
  const SpeechChannelIdentifier id = open();
  client().onTextDone = [](auto channel, const void** next, unsigned long*, SInt32*) {
    *next = nullptr;
    SEPauseSpeechAt(channel, kImmediate);
    SEStopSpeechAt(channel, kImmediate);
  };
  set(id, soTextDoneCallBack, asPointer(Client::textDone));
  HeldUp first;
  ASSERT_EQ(speak(id, "Hello"), noErr);
  ASSERT_TRUE(first.arrived());
  std::atomic<bool> closed = false;
  std::thread closer([&] {
    EXPECT_EQ(close(id), noErr);
    closed = true;
  });
  ASSERT_TRUE(client().waitForDone(1));
  EXPECT_FALSE(closed);
  first.release();
  closer.join();
  EXPECT_EQ(client().count("done"), 2);
}

// A finishing thread that runs only after a stop has finished its job.
class LateFinishing : public Finishing {
 protected:
  // Speaks, plays END and stops while the finishing thread of that END is held up.
  void finishWithoutTheThread(HeldUp& thread) {
    ASSERT_EQ(speak(m_id, "first"), noErr);
    engine().port(1).end();
    ASSERT_TRUE(thread.arrived());
    ASSERT_EQ(SEStopSpeechAt(m_id, kImmediate), noErr);
    ASSERT_TRUE(client().waitForDone(1));
  }

  const SpeechChannelIdentifier m_id = open();
};

TEST_F(LateFinishing, DoesNotAffectTheNextJob) {
  HeldUp thread;
  finishWithoutTheThread(thread);
  ASSERT_EQ(speak(m_id, "second"), noErr);
  thread.release();
  settle();
  EXPECT_EQ(status(m_id), STATUS_BUSY);
  EXPECT_TRUE(engine().port(1).running());
  EXPECT_EQ(client().count("done"), 1);
  engine().port(1).end();
  ASSERT_TRUE(client().waitForDone(2));
}

TEST_F(LateFinishing, DoesNotAffectAnIdleChannel) {
  HeldUp thread;
  finishWithoutTheThread(thread);
  thread.release();
  settle();
  EXPECT_EQ(status(m_id), STATUS_IDLE);
  EXPECT_EQ(client().count("done"), 1);
}

// Pausing marks an idle channel paused, and continuing busy, though it has no job.
TEST_F(LateFinishing, DoesNotAffectAChannelPausedWhileIdle) {
  HeldUp thread;
  finishWithoutTheThread(thread);
  SEPauseSpeechAt(m_id, kImmediate);
  thread.release();
  settle();
  EXPECT_EQ(status(m_id), STATUS_PAUSED);
  EXPECT_EQ(client().count("done"), 1);
}

TEST_F(LateFinishing, DoesNotAffectAChannelPausedAndContinuedWhileIdle) {
  HeldUp thread;
  finishWithoutTheThread(thread);
  SEPauseSpeechAt(m_id, kImmediate);
  SEContinueSpeech(m_id);
  thread.release();
  settle();
  EXPECT_EQ(status(m_id), STATUS_BUSY);
  EXPECT_EQ(client().count("done"), 1);
}

TEST_F(LateFinishing, DoesNotAffectAClosedChannel) {
  HeldUp thread;
  finishWithoutTheThread(thread);
  EXPECT_EQ(close(m_id), noErr);
  thread.release();
  settle();
  EXPECT_EQ(client().count("done"), 1);
}

TEST_F(Finishing, AStopAndAnEndAtTheSameTimeGiveOneSpeechDone) {
  const SpeechChannelIdentifier id = open();
  for (int job = 1; job <= 100; ++job) {
    ASSERT_EQ(speak(id, "Hello"), noErr);
    std::thread ender([] { engine().port(1).end(); });
    EXPECT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
    ender.join();
    ASSERT_TRUE(client().waitForDone(job));
  }
  settle();
  EXPECT_EQ(client().count("done"), 100);
  EXPECT_EQ(status(id), STATUS_IDLE);
}

// ---- Calls inside speech-done

TEST_F(Finishing, TheChannelMayBeClosedInsideSpeechDone) {
  for (int round = 0; round < 50; ++round) {
    Client& own = newClient();
    const SpeechChannelIdentifier id = open(own);
    long result = -1;
    own.onDone = [&](auto channel) { result = SECloseSpeechChannel(channel); };
    ASSERT_EQ(speak(id, "Hello"), noErr);
    engine().port(engine().ports()).end();
    ASSERT_TRUE(own.waitForDone());
    EXPECT_EQ(result, noErr);
    EXPECT_EQ(find_channel(id), nullptr);
    settle();
    EXPECT_EQ(own.count("done"), 1);
  }
}

TEST_F(Finishing, TheChannelMayBeClosedInsideSpeechDoneOfAStop) {
  const SpeechChannelIdentifier id = open();
  client().onDone = [&](auto channel) { SECloseSpeechChannel(channel); };
  ASSERT_EQ(speak(id, "Hello"), noErr);
  ASSERT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  ASSERT_TRUE(client().waitForDone());
  EXPECT_EQ(find_channel(id), nullptr);
}

TEST_F(Finishing, EveryEntryPointMayBeCalledInsideSpeechDone) {
  const SpeechChannelIdentifier id = open();
  std::vector<long> results;
  client().onDone = [&](auto channel) {
    Fixed rate = Long2Fix(200);
    SpeechStatusInfo info{};
    SpeechChannelIdentifier other = 0;
    results = {SESpeechStatus(channel, &info),
               SEStopSpeechAt(channel, kImmediate),
               SEContinueSpeech(channel),
               SEGetSpeechInfo(channel, soRate, &rate),
               SESetSpeechInfo(channel, soRate, &rate),
               SETextToPhonemes(channel, nullptr, 0, nullptr, nullptr),
               SEUseDictionary(channel, nullptr, 0),
               SEOpenSpeechChannel(&other),
               SECloseSpeechChannel(other)};
  };
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().port(1).end();
  ASSERT_TRUE(client().waitForDone());
  EXPECT_THAT(results, Each(noErr));
}

// ---- Calls inside the engine's callbacks

TEST_F(Finishing, AStopInsideAWordCallbackReturnsAndSignalsOnce) {
  const SpeechChannelIdentifier id = open();
  client().onWord = [&](auto channel) { EXPECT_EQ(SEStopSpeechAt(channel, kImmediate), noErr); };
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().port(1).word(22, 5);
  ASSERT_TRUE(client().waitForDone());
  settle();
  EXPECT_EQ(client().count("done"), 1);
  client().onWord = nullptr;
  ASSERT_EQ(speak(id, "again"), noErr);
  engine().port(1).end();
  ASSERT_TRUE(client().waitForDone(2));
}

TEST_F(Finishing, ACloseInsideAWordCallbackReturnsAndSignalsOnce) {
  const SpeechChannelIdentifier id = open();
  client().onWord = [&](auto channel) { EXPECT_EQ(SECloseSpeechChannel(channel), noErr); };
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().port(1).word(22, 5);
  ASSERT_TRUE(client().waitForDone());
  settle();
  EXPECT_EQ(client().count("done"), 1);
  EXPECT_EQ(find_channel(id), nullptr);
}

TEST_F(Finishing, ASpeakInsideAWordCallbackIsRejected) {
  const SpeechChannelIdentifier id = open();
  long result = noErr;
  client().onWord = [&](auto channel) { result = speak(channel, "again"); };
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().port(1).word(22, 5).end();
  EXPECT_EQ(result, synthNotReady);
  ASSERT_TRUE(client().waitForDone());
}

TEST_F(Finishing, AStopDoesNotWaitForeverForACallbackThatDoesNotReturn) {
  const SpeechChannelIdentifier id = open();
  engine().setCallbackPatience(std::chrono::milliseconds(1));
  engine().onStop(OnStop::EndsAtOnce);
  std::mutex lock;
  std::condition_variable changed;
  bool inCallback = false;
  bool go = false;
  client().onWord = [&](auto) {
    std::unique_lock held(lock);
    inCallback = true;
    changed.notify_all();
    changed.wait(held, [&] { return go; });
  };
  engine().queueJob(Script().word(22, 5), When::OnEngineThread);
  ASSERT_EQ(speak(id, "Hello"), noErr);
  {
    std::unique_lock held(lock);
    changed.wait(held, [&] { return inCallback; });
  }
  EXPECT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  EXPECT_TRUE(client().waitForDone());
  {
    const std::lock_guard held(lock);
    go = true;
  }
  changed.notify_all();
  settle();
  EXPECT_EQ(client().count("done"), 1);
}

// A client that calls into its channel from the engine's thread waits for a stop that holds the
// lock and waits for that callback.
TEST_F(Finishing, ACallbackThatWaitsForTheLockOfAStopIsNotADeadlock) {
  const SpeechChannelIdentifier id = open();
  engine().setCallbackPatience(std::chrono::milliseconds(20));
  client().onWord = [&](auto channel) {
    // The stop has begun and holds the lock.
    engine().waitForCall(Op::Stop);
    SpeechStatusInfo info{};
    SESpeechStatus(channel, &info);
  };
  engine().queueJob(Script().word(22, 5), When::OnEngineThread);
  ASSERT_EQ(speak(id, "Hello"), noErr);
  ASSERT_TRUE(client().waitFor("word 0 5", 1));
  EXPECT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  ASSERT_TRUE(client().waitForDone());
  settle();
  EXPECT_EQ(client().count("done"), 1);
}

}  // namespace
}  // namespace channels
