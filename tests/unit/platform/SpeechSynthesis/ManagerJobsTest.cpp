// SPDX-License-Identifier: Apache-2.0
//
// Speaking, stopping, pausing and the client's callbacks: one test per aspect.
#include <thread>
#include <utility>

#include <gmock/gmock.h>

#include "ManagerFixture.h"

namespace {

using namespace manager;
using testing::ElementsAre;
using testing::IsEmpty;

// ---- Speaking

TEST_F(Manager, SpeaksTheBytesGivenAndReportsTheEnd) {
  install(soSpeechDoneCallBack, onDone);
  ASSERT_EQ(SpeakBuffer(m_channel, "Hello. there", 6, kNoEndingProsody), noErr);
  EXPECT_EQ(record().text, "Hello.");
  EXPECT_EQ(record().flags, kNoEndingProsody);
  EXPECT_EQ(SpeechBusy(), 1);
  synthesizer().finish(m_identifier);
  ASSERT_TRUE(m_reports.wait(1));
  EXPECT_THAT(m_reports.lines(), ElementsAre("done"));
  EXPECT_EQ(SpeechBusy(), 0);
}

TEST_F(Manager, ReplacesTheOldTextWithNewText) {
  install(soSpeechDoneCallBack, onDone);
  ASSERT_EQ(speak("one"), noErr);
  ASSERT_EQ(SpeakText(m_channel, "two", 3), noErr);
  EXPECT_EQ(record().text, "two");
  EXPECT_EQ(record().status, Status::Busy);
  EXPECT_THAT(record().stops, ElementsAre(kImmediate));
  ASSERT_TRUE(m_reports.wait(1));
  EXPECT_THAT(m_reports.lines(), ElementsAre("done"));
}

TEST_F(Manager, WaitsForAJobThatIsEnding) {
  ASSERT_EQ(speak("one"), noErr);
  synthesizer().holdEndsOfJobs(true);
  synthesizer().finish(m_identifier);
  ASSERT_EQ(record().status, Status::Closing);
  std::jthread releasing([] { synthesizer().holdEndsOfJobs(false); });
  EXPECT_EQ(speak("two"), noErr);
  EXPECT_EQ(record().text, "two");
}

TEST_F(Manager, GivesUpOnAJobThatDoesNotEnd) {
  ASSERT_EQ(speak("one"), noErr);
  synthesizer().holdEndsOfJobs(true);
  EXPECT_EQ(speak("two"), synthNotReady);
  EXPECT_EQ(record().text, "one");
}

TEST_F(Manager, DoesNotInterruptWhenForbidden) {
  ASSERT_EQ(speak("one"), noErr);
  EXPECT_EQ(speak("two", kNoSpeechInterrupt), synthNotReady);
  ASSERT_EQ(PauseSpeechAt(m_channel, kImmediate), noErr);
  EXPECT_EQ(speak("two", kNoSpeechInterrupt), synthNotReady);
  EXPECT_EQ(record().text, "one");
  EXPECT_THAT(record().stops, IsEmpty());
}

TEST_F(Manager, StopsWhenGivenNoText) {
  for (const bool isNull : {true, false}) {
    ASSERT_EQ(speak("one"), noErr);
    EXPECT_EQ(SpeakText(m_channel, isNull ? nullptr : "two", isNull ? 3 : 0), noErr);
    EXPECT_NE(record().status, Status::Busy);
  }
  EXPECT_EQ(record().stops.size(), 2U);
}

TEST_F(Manager, RejectsTextThatIsTooLongForPositions) {
  EXPECT_EQ(SpeakText(m_channel, "x", 0x80000000UL), paramErr);
}

TEST_F(Manager, CatchesExceptionsOfTheSynthesizer) {
  synthesizer().setSpeakOutcome(SpeakOutcome::Throws);
  EXPECT_EQ(speak("one"), badInputText);
  synthesizer().setSpeakOutcome(SpeakOutcome::RunsOutOfMemory);
  EXPECT_EQ(speak("one"), memFullErr);
  synthesizer().setSpeakOutcome(SpeakOutcome::RefusesText);
  EXPECT_EQ(speak("one"), badInputText);
  // None of these jobs delays the next call.
  synthesizer().setSpeakOutcome(SpeakOutcome::Speaks);
  EXPECT_EQ(speak("two"), noErr);
}

TEST_F(Manager, StopsAtTheRequestedBoundary) {
  install(soSpeechDoneCallBack, onDone);
  EXPECT_EQ(StopSpeech(m_channel), noErr);  // nothing to stop
  ASSERT_EQ(speak("one"), noErr);
  EXPECT_EQ(StopSpeechAt(m_channel, 3), paramErr);
  EXPECT_EQ(StopSpeechAt(m_channel, -1), paramErr);
  EXPECT_EQ(record().status, Status::Busy);
  EXPECT_EQ(StopSpeechAt(m_channel, kEndOfSentence), noErr);
  ASSERT_TRUE(m_reports.wait(1));
  EXPECT_THAT(record().stops, ElementsAre(kEndOfSentence));
}

TEST_F(Manager, PausesAndContinues) {
  ASSERT_EQ(speak("one"), noErr);
  EXPECT_EQ(PauseSpeechAt(m_channel, kEndOfWord), noErr);
  EXPECT_EQ(record().status, Status::Paused);
  EXPECT_EQ(SpeechBusy(), 1);
  EXPECT_EQ(PauseSpeechAt(m_channel, kEndOfWord), noErr);
  EXPECT_THAT(record().pauses, ElementsAre(kEndOfWord));
  EXPECT_EQ(ContinueSpeech(m_channel), noErr);
  EXPECT_EQ(record().status, Status::Busy);
  EXPECT_EQ(PauseSpeechAt(m_channel, 7), paramErr);
}

TEST_F(Manager, DoesNotPauseAnIdleChannel) {
  EXPECT_EQ(PauseSpeechAt(m_channel, kImmediate), noErr);
  EXPECT_EQ(record().status, Status::Idle);
  EXPECT_EQ(SpeechBusy(), 0);
}

// ---- Callbacks

TEST_F(Manager, PassesCallbacksTheClientsChannelAndConstant) {
  install(soWordCallBack, onWord);
  install(soSyncCallBack, onSync);
  install(soPhonemeCallBack, onPhoneme);
  install(soErrorCallBack, onError);
  ASSERT_EQ(speak("one two"), noErr);
  synthesizer().sendWord(m_identifier, 4, 3);
  synthesizer().sendPhoneme(m_identifier, 18);
  synthesizer().sendSync(m_identifier, 0x41424344);
  synthesizer().sendError(m_identifier, badInputText, 5);
  ASSERT_TRUE(m_reports.wait(4));
  EXPECT_THAT(m_reports.lines(),
              ElementsAre("word 4+3", "phoneme 18", "sync 1094861636", "error -247 at 5"));
}

TEST_F(Manager, SwitchesACallbackOffWithNull) {
  installAll();
  for (const OSType selector :
       {soSpeechDoneCallBack, soSyncCallBack, soPhonemeCallBack, soWordCallBack, soErrorCallBack}) {
    ASSERT_EQ(SetSpeechInfo(m_channel, selector, nullptr), noErr);
  }
  ASSERT_EQ(speak("one two"), noErr);
  synthesizer().sendWord(m_identifier, 4, 3);
  synthesizer().sendPhoneme(m_identifier, 3);
  synthesizer().sendSync(m_identifier, 1);
  synthesizer().sendError(m_identifier, badInputText, 5);
  synthesizer().finish(m_identifier);
  letCallbacksPass();
  EXPECT_THAT(m_reports.lines(), IsEmpty());
}

TEST_F(Manager, CallsTheCallbackThatIsSetWhenTheEventIsReported) {
  installAll();
  ASSERT_EQ(speak("one two"), noErr);
  m_reports.inside = [&](const std::string& line) {
    if (line == "word 0+3") SetSpeechInfo(m_channel, soWordCallBack, nullptr);
  };
  synthesizer().sendWord(m_identifier, 0, 3);
  synthesizer().sendWord(m_identifier, 4, 3);
  synthesizer().sendPhoneme(m_identifier, 3);
  ASSERT_TRUE(m_reports.wait(2));
  EXPECT_THAT(m_reports.lines(), ElementsAre("word 0+3", "phoneme 3"));
}

// A text-done callback that returns pieces and overwrites each before the next.
struct Pieces {
  std::vector<std::string> texts;
  std::size_t next = 0;
};
void onTextDone(SpeechChannel /*channel*/, SRefCon refCon, const void** nextBuf,
                unsigned long* byteLen, SInt32* controlFlags) {
  auto& pieces = *static_cast<Pieces*>(refCon);
  EXPECT_EQ(*controlFlags, kNoEndingProsody);
  if (pieces.next > 0) pieces.texts[pieces.next - 1].assign(100, '!');
  if (pieces.next == pieces.texts.size()) return;
  *nextBuf = pieces.texts[pieces.next].data();
  *byteLen = pieces.texts[pieces.next].size();
  ++pieces.next;
}

TEST_F(Manager, TakesTextDonePiecesByTheirLength) {
  Pieces pieces;
  pieces.texts = {" two", std::string(" th\0ree", 7)};
  ASSERT_EQ(SetSpeechInfo(m_channel, soRefCon, &pieces), noErr);
  install(soTextDoneCallBack, onTextDone);
  ASSERT_EQ(speak("one", kNoEndingProsody), noErr);
  letCallbacksPass();
  letCallbacksPass();
  letCallbacksPass();
  EXPECT_EQ(record().text, "one two th ree,");
  EXPECT_EQ(status(), "busy, 14 left");
}

TEST_F(Manager, TakesAnEmptyPieceAsTheEnd) {
  Pieces pieces;
  pieces.texts = {" two", "", " three"};
  ASSERT_EQ(SetSpeechInfo(m_channel, soRefCon, &pieces), noErr);
  install(soTextDoneCallBack, onTextDone);
  ASSERT_EQ(speak("one.", kNoEndingProsody), noErr);
  EXPECT_EQ(SpeechBusy(), 1);
  letCallbacksPass();
  letCallbacksPass();
  EXPECT_EQ(record().text, "one. two,");
}

// A text-done callback that can stop the job, and the reports of one channel.
struct Gatherer {
  SpeechChannel channel;
  std::string action;
  Reports reports;
};
void actInTextDone(SpeechChannel channel, SRefCon refCon, const void** nextBuf,
                   unsigned long* byteLen, SInt32* /*controlFlags*/) {
  auto& gatherer = *static_cast<Gatherer*>(refCon);
  gatherer.reports.add(channel, "text");
  *nextBuf = " more";
  *byteLen = 5;
  const std::string action = std::exchange(gatherer.action, "");
  if (action == "stop") {
    EXPECT_EQ(StopSpeech(channel), noErr);
  }
  if (action == "dispose") {
    EXPECT_EQ(DisposeSpeechChannel(channel), noErr);
  }
  if (action == "end") *nextBuf = nullptr;
  if (action == "speak") {
    SetSpeechInfo(channel, soTextDoneCallBack, nullptr);
    EXPECT_EQ(SpeakText(channel, "other", 5), noErr);
  }
}
void gathererIsDone(SpeechChannel channel, SRefCon refCon) {
  static_cast<Gatherer*>(refCon)->reports.add(channel, "done");
}

class ManagerGathering : public Manager {
 protected:
  // Speaks while the client supplies more text and performs `action` inside its callback.
  void gatherAnd(const std::string& action) {
    m_gatherer.channel = m_channel;
    m_gatherer.reports.expected = m_channel;
    m_gatherer.action = action;
    ASSERT_EQ(SetSpeechInfo(m_channel, soRefCon, &m_gatherer), noErr);
    install(soTextDoneCallBack, actInTextDone);
    install(soSpeechDoneCallBack, gathererIsDone);
    ASSERT_EQ(speak("one"), noErr);
  }
  Gatherer m_gatherer;
};

TEST_F(ManagerGathering, EndsWithAStopInsideTextDone) {
  gatherAnd("stop");
  ASSERT_TRUE(m_gatherer.reports.wait(2));
  letCallbacksPass();
  EXPECT_THAT(m_gatherer.reports.lines(), ElementsAre("text", "done"));
  EXPECT_EQ(record().status, Status::Idle);
  EXPECT_EQ(SpeechBusy(), 0);
}

TEST_F(ManagerGathering, EndsWithADisposalInsideTextDone) {
  gatherAnd("dispose");
  while (!synthesizer().channels().empty()) std::this_thread::yield();
  EXPECT_EQ(StopSpeech(m_channel), invalidComponentID);
  m_channel = nullptr;
  letCallbacksPass();
  EXPECT_THAT(m_gatherer.reports.lines(), ElementsAre("text"));
}

TEST_F(ManagerGathering, IsReplacedByATextSpokenInsideTextDone) {
  gatherAnd("speak");
  ASSERT_TRUE(m_gatherer.reports.wait(2));
  letCallbacksPass();
  EXPECT_EQ(record().text, "other");
  EXPECT_THAT(m_gatherer.reports.lines(), ElementsAre("text", "done"));
  synthesizer().finish(m_identifier);
  ASSERT_TRUE(m_gatherer.reports.wait(3));
}

TEST_F(ManagerGathering, DoesNotBlockOtherChannels) {
  gatherAnd("");  // never ends
  letCallbacksPass();
  EXPECT_EQ(StopSpeech(m_channel), noErr);
  letCallbacksPass();
  EXPECT_EQ(m_gatherer.reports.lines().back(), "done");
}

TEST_F(ManagerGathering, ReportsAFailureAsAnErrorAndTheEnd) {
  synthesizer().setSpeakOutcome(SpeakOutcome::RefusesText);
  gatherAnd("end");
  ASSERT_TRUE(m_gatherer.reports.wait(2));
  EXPECT_THAT(m_gatherer.reports.lines(), ElementsAre("text", "done"));
  SpeechErrorInfo errors{};
  EXPECT_EQ(GetSpeechInfo(m_channel, soErrors, &errors), noErr);
  EXPECT_EQ(errors.count, 1);
  EXPECT_EQ(errors.newest, badInputText);
  EXPECT_EQ(SpeechBusy(), 0);
}

// ---- Flags

TEST_F(Manager, WaitsForContinueAfterAPreflight) {
  installAll();
  ASSERT_EQ(speak("one two", kPreflightThenPause), noErr);
  EXPECT_EQ(status(), "paused, 7 left");
  EXPECT_EQ(SpeechBusy(), 1);
  EXPECT_EQ(record().text, "");
  EXPECT_EQ(ContinueSpeech(m_channel), noErr);
  EXPECT_EQ(record().text, "one two");
  EXPECT_EQ(status(), "busy, 7 left");
  synthesizer().finish(m_identifier);
  ASSERT_TRUE(m_reports.wait(1));
  EXPECT_THAT(m_reports.lines(), ElementsAre("done"));
}

TEST_F(Manager, StopsATextThatWaitsForContinue) {
  installAll();
  ASSERT_EQ(speak("one two", kPreflightThenPause), noErr);
  EXPECT_EQ(StopSpeechAt(m_channel, kEndOfWord), noErr);
  EXPECT_EQ(status(), "idle, 0 left");
  EXPECT_EQ(ContinueSpeech(m_channel), noErr);
  letCallbacksPass();
  EXPECT_THAT(m_reports.lines(), ElementsAre("done"));
  EXPECT_EQ(record().text, "");
}

TEST_F(Manager, ReportsAtContinueThatATextCannotBeSpoken) {
  installAll();
  ASSERT_EQ(speak("one two", kPreflightThenPause), noErr);
  synthesizer().setSpeakOutcome(SpeakOutcome::RefusesText);
  EXPECT_EQ(ContinueSpeech(m_channel), badInputText);
  ASSERT_TRUE(m_reports.wait(2));
  EXPECT_THAT(m_reports.lines(), ElementsAre("error -247 at 0", "done"));
}

TEST_F(Manager, AppendsACommaForNoEndingProsody) {
  const auto spoken = [&](const std::string& text) {
    EXPECT_EQ(speak(text, kNoEndingProsody), noErr);
    return record().text;
  };
  EXPECT_EQ(spoken("one two "), "one two ,");
  EXPECT_EQ(spoken("one two."), "one two.");
  EXPECT_EQ(spoken("[[inpt PHON]]hEHl"), "[[inpt PHON]]hEHl");
  EXPECT_EQ(spoken("[[char LTRL]]ab"), "[[char LTRL]]ab");
  EXPECT_EQ(spoken(" "), " ");
}

// ---- Calls after a stop at a boundary

// A channel that speaks "one two three" and is to stop at the end of the sentence, which it does
// not reach.
class ManagerStopping : public Manager {
 protected:
  void SetUp() override {
    Manager::SetUp();
    installAll();
    ASSERT_EQ(speak("one two three"), noErr);
    synthesizer().holdStopsAtBoundaries(true);
    ASSERT_EQ(StopSpeechAt(m_channel, kEndOfSentence), noErr);
  }
};

TEST_F(ManagerStopping, AnImmediateStopEndsTheJobAtOnce) {
  EXPECT_EQ(StopSpeech(m_channel), noErr);
  EXPECT_EQ(status(), "idle, 0 left");
  synthesizer().sendWord(m_identifier, 4, 3);
  ASSERT_TRUE(m_reports.wait(1));
  letCallbacksPass();
  EXPECT_THAT(m_reports.lines(), ElementsAre("done"));
}

TEST_F(ManagerStopping, ANearerBoundaryIsPassedOn) {
  EXPECT_EQ(StopSpeechAt(m_channel, kEndOfWord), noErr);
  EXPECT_THAT(record().stops, ElementsAre(kEndOfSentence, kEndOfWord));
  synthesizer().holdStopsAtBoundaries(false);
  ASSERT_TRUE(m_reports.wait(1));
  letCallbacksPass();
  EXPECT_THAT(m_reports.lines(), ElementsAre("done"));
}

TEST_F(ManagerStopping, NewTextIsSpokenAtOnce) {
  EXPECT_EQ(speak("next", kNoSpeechInterrupt), synthNotReady);
  EXPECT_EQ(speak("next"), noErr);
  EXPECT_EQ(record().text, "next");
  ASSERT_TRUE(m_reports.wait(1));
  synthesizer().finish(m_identifier);
  ASSERT_TRUE(m_reports.wait(2));
  EXPECT_THAT(m_reports.lines(), ElementsAre("done", "done"));
}

TEST_F(ManagerStopping, SettingsAreSetAndReadAtOnce) {
  EXPECT_EQ(SetSpeechRate(m_channel, Long2Fix(210)), noErr);
  Fixed rate = 0;
  EXPECT_EQ(GetSpeechRate(m_channel, &rate), noErr);
  EXPECT_EQ(rate, Long2Fix(210));
  EXPECT_EQ(SetSpeechInfo(m_channel, soCurrentVoice, &kMaren), noErr);
  EXPECT_EQ(OSType{record().voice.id}, kMaren.id);
  EXPECT_EQ(status(), "busy, 13 left");
}

TEST_F(ManagerStopping, APauseAtOnceEndsTheJobAndOneAtABoundaryHasNoEffect) {
  EXPECT_EQ(PauseSpeechAt(m_channel, kEndOfWord), noErr);
  EXPECT_EQ(ContinueSpeech(m_channel), noErr);
  EXPECT_EQ(status(), "busy, 13 left");
  EXPECT_EQ(PauseSpeechAt(m_channel, kImmediate), noErr);
  EXPECT_EQ(status(), "idle, 0 left");
  ASSERT_TRUE(m_reports.wait(1));
  EXPECT_THAT(m_reports.lines(), ElementsAre("done"));
}

TEST_F(ManagerStopping, DisposalClosesTheSynthesizersChannel) {
  EXPECT_EQ(DisposeSpeechChannel(m_channel), noErr);
  m_channel = nullptr;
  EXPECT_TRUE(synthesizer().channels().empty());
  EXPECT_THAT(m_reports.lines(), IsEmpty());
}

TEST_F(Manager, StopsAtABoundaryWithASynthesizerThatWaitsForIt) {
  synthesizer().stopWithoutWaiting(false);
  SpeechChannel channel = nullptr;
  ASSERT_EQ(NewSpeechChannel(nullptr, &channel), noErr);
  ASSERT_EQ(SpeakText(channel, "one two", 7), noErr);
  EXPECT_EQ(StopSpeechAt(channel, kEndOfWord), noErr);
  const ChannelRecord other = synthesizer().channels().rbegin()->second;
  EXPECT_THAT(other.stops, ElementsAre(kEndOfWord));
  EXPECT_FALSE(other.pointers.contains(0x73746264));
  EXPECT_EQ(DisposeSpeechChannel(channel), noErr);
}

TEST_F(Manager, SpeaksAgainAfterASynthesizerTreatedAnIdleChannelAsPaused) {
  installAll();
  ASSERT_EQ(speak("one"), noErr);
  synthesizer().finish(m_identifier);
  ASSERT_TRUE(m_reports.wait(1));
  synthesizer().confuse(m_identifier);
  EXPECT_EQ(speak("two"), noErr);
  EXPECT_EQ(record().text, "two");
  letCallbacksPass();
  EXPECT_THAT(m_reports.lines(), ElementsAre("done"));
}

}  // namespace
