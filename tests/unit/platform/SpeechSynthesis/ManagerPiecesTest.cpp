// SPDX-License-Identifier: Apache-2.0
//
// Text that the client supplies in pieces, inside its text-done callback.
#include <ApplicationServices/SpeechProperties.h>

#include <deque>
#include <string>

#include <gmock/gmock.h>

#include "ManagerFixture.h"

namespace {

using namespace manager;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

// A sentence of 60 bytes.
const std::string kSentence = "This sentence has sixty characters, its full stop included. ";

std::string sentences(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += kSentence;
  return text;
}

// A client with pieces of text; the flags that it returns with the next one.
struct Supply {
  std::deque<std::string> pieces;
  std::string current;
  SInt32 flags = 0;
  Reports* reports = nullptr;
};

void supplyPiece(SpeechChannel channel, SRefCon refCon, const void** nextBuf,
                 unsigned long* byteLen, SInt32* controlFlags) {
  auto& supply = *static_cast<Supply*>(refCon);
  supply.reports->add(channel, "text");
  *controlFlags = supply.flags;
  if (supply.pieces.empty()) return;
  supply.current = supply.pieces.front();
  supply.pieces.pop_front();
  *nextBuf = supply.current.data();
  *byteLen = supply.current.size();
}
void suppliedWord(SpeechChannel channel, SRefCon refCon, unsigned long position, UInt16 length) {
  onWord(channel, static_cast<Supply*>(refCon)->reports, position, length);
}
void supplyIsDone(SpeechChannel channel, SRefCon refCon) {
  onDone(channel, static_cast<Supply*>(refCon)->reports);
}

class ManagerPieces : public Manager {
 protected:
  void SetUp() override {
    Manager::SetUp();
    m_supply.reports = &m_reports;
    ASSERT_EQ(SetSpeechInfo(m_channel, soRefCon, &m_supply), noErr);
    install(soTextDoneCallBack, supplyPiece);
    install(soSpeechDoneCallBack, supplyIsDone);
    install(soWordCallBack, suppliedWord);
  }

  // Lets all text-done callbacks run that are due.
  void letTextBeRequested() {
    std::size_t before = 0;
    do {
      before = m_reports.lines().size();
      letCallbacksPass();
      letCallbacksPass();
    } while (m_reports.lines().size() != before);
  }
  // Ends the batch that the synthesizer has, and lets the next one start.
  void finishBatch() {
    synthesizer().finish(m_identifier);
    synthesizer().join();
    letTextBeRequested();
  }

  Supply m_supply;
};

// Behaviour 18.
TEST_F(ManagerPieces, TextDoneIsCalledForStringsBeforeSpeechDone) {
  CFStringRef const text = CFStringCreateWithCString(nullptr, "one", kCFStringEncodingUTF8);
  ASSERT_EQ(SpeakCFString(m_channel, text, nullptr), noErr);
  CFRelease(text);
  letTextBeRequested();
  EXPECT_EQ(record().text, "one");
  finishBatch();
  EXPECT_THAT(m_reports.lines(), ElementsAre("text", "done"));
}

TEST_F(ManagerPieces, TextDoneOfAPropertyIsCalledForStrings) {
  install(soTextDoneCallBack, static_cast<SpeechTextDoneProcPtr>(nullptr));
  auto address = reinterpret_cast<std::intptr_t>(&supplyPiece);
  CFNumberRef const number = CFNumberCreate(nullptr, kCFNumberLongType, &address);
  ASSERT_EQ(SetSpeechProperty(m_channel, kSpeechTextDoneCallBack, number), noErr);
  CFRelease(number);
  m_supply.pieces = {" two"};
  CFStringRef const text = CFStringCreateWithCString(nullptr, "one", kCFStringEncodingUTF8);
  ASSERT_EQ(SpeakCFString(m_channel, text, nullptr), noErr);
  CFRelease(text);
  letTextBeRequested();
  EXPECT_EQ(record().text, "one two");
  finishBatch();
  EXPECT_THAT(m_reports.lines(), ElementsAre("text", "text", "done"));
}

// Behaviour 20.
TEST_F(ManagerPieces, AShortTextIsSpokenAsOne) {
  m_supply.pieces = {"It goes on. ", "Here it ends."};
  ASSERT_EQ(speak("It begins. "), noErr);
  letTextBeRequested();
  EXPECT_EQ(record().text, "It begins. It goes on. Here it ends.");
  finishBatch();
  EXPECT_THAT(m_reports.lines(), ElementsAre("text", "text", "text", "done"));
}

TEST_F(ManagerPieces, TheNextPieceIsRequestedWhenTheTextRunsLow) {
  m_supply.pieces = {sentences(4), sentences(4), sentences(4)};
  ASSERT_EQ(speak(sentences(4)), noErr);
  letTextBeRequested();
  EXPECT_EQ(record().text, sentences(4));
  EXPECT_THAT(m_reports.lines(), IsEmpty());
  synthesizer().sendWord(m_identifier, 120, 4);
  letTextBeRequested();
  EXPECT_THAT(m_reports.lines(), ElementsAre("word 120+4"));
  synthesizer().sendWord(m_identifier, 220, 4);
  letTextBeRequested();
  EXPECT_THAT(m_reports.lines(), ElementsAre("word 120+4", "text", "word 220+4"));
  // It is enough for now.
  synthesizer().sendWord(m_identifier, 230, 4);
  letTextBeRequested();
  EXPECT_EQ(m_reports.lines().size(), 4U);
  EXPECT_EQ(status(), "busy, 250 left");
  finishBatch();
  EXPECT_EQ(status(), "busy, 240 left");
  EXPECT_EQ(m_reports.lines().size(), 4U);
}

TEST_F(ManagerPieces, AnEndlessTextIsSpokenBatchByBatch) {
  for (int i = 0; i < 1000; ++i) m_supply.pieces.push_back(sentences(4));
  ASSERT_EQ(speak(sentences(4)), noErr);
  for (int batch = 0; batch < 20; ++batch) {
    letTextBeRequested();
    ASSERT_EQ(record().text, sentences(4));
    finishBatch();
  }
  EXPECT_EQ(m_supply.pieces.size(), 980U);
  const std::size_t before = m_reports.lines().size();
  EXPECT_EQ(StopSpeech(m_channel), noErr);
  ASSERT_TRUE(m_reports.wait(before + 1));
  letTextBeRequested();
  EXPECT_EQ(m_reports.lines().back(), "done");
  EXPECT_EQ(SpeechBusy(), 0);
}

TEST_F(ManagerPieces, ABatchEndsWithASentence) {
  m_supply.pieces = {"and goes on here. The end"};
  ASSERT_EQ(speak(sentences(4) + "It starts here "), noErr);
  letTextBeRequested();
  EXPECT_EQ(record().text, sentences(4));
  EXPECT_EQ(status(), "busy, 255 left");
  finishBatch();
  EXPECT_EQ(record().text, "It starts here and goes on here. The end");
  EXPECT_EQ(status(), "busy, 40 left");
  finishBatch();
  EXPECT_THAT(m_reports.lines(), ElementsAre("text", "text", "done"));
}

TEST_F(ManagerPieces, WordPositionsAreThoseInThePiece) {
  m_supply.pieces = {"and goes on here. The end"};
  ASSERT_EQ(speak(sentences(4) + "It starts here "), noErr);
  letTextBeRequested();
  finishBatch();
  ASSERT_EQ(record().text, "It starts here and goes on here. The end");
  synthesizer().sendWord(m_identifier, 3, 6);
  synthesizer().sendWord(m_identifier, 19, 4);
  letTextBeRequested();
  EXPECT_THAT(m_reports.lines(), ElementsAre("text", "text", "word 243+6", "word 4+4"));
}

TEST_F(ManagerPieces, CommandsHoldInTheNextBatch) {
  m_supply.pieces = {sentences(4) + "[[inpt TEXT; rset 0; nmbr LTRL]]", "1."};
  ASSERT_EQ(speak("[[rate 90; volm +0.5]]" + sentences(4) + "[[inpt PHON; rate +10]]hEHl."), noErr);
  letTextBeRequested();
  EXPECT_EQ(record().text,
            "[[rate 90; volm +0.5]]" + sentences(4) + "[[rate +10]][[inpt PHON]]hEHl%");
  finishBatch();
  EXPECT_THAT(record().text, StartsWith("[[rate 90]][[rate +10]][[volm +0.5]][[inpt PHON]]"));
  finishBatch();
  EXPECT_THAT(record().text, EndsWith("[[rset]][[nmbr LTRL]]1."));
}

TEST_F(ManagerPieces, FlagsHoldForTheNextPiece) {
  m_supply.pieces = {sentences(4)};
  m_supply.flags = kNoEndingProsody | kPreflightThenPause;
  ASSERT_EQ(speak(sentences(4)), noErr);
  letTextBeRequested();
  EXPECT_EQ(record().flags, 0);
  finishBatch();
  EXPECT_EQ(status(), "paused, 240 left");
  EXPECT_EQ(ContinueSpeech(m_channel), noErr);
  EXPECT_EQ(record().flags, kNoEndingProsody);
  EXPECT_EQ(record().text, sentences(4));
  EXPECT_EQ(status(), "busy, 240 left");
}

TEST_F(ManagerPieces, APauseBetweenTwoBatchesHolds) {
  m_supply.pieces = {sentences(4)};
  ASSERT_EQ(speak(sentences(4)), noErr);
  letTextBeRequested();
  ASSERT_EQ(PauseSpeechAt(m_channel, kEndOfSentence), noErr);
  finishBatch();  // although paused: a synthesizer may be at its end already
  EXPECT_EQ(status(), "paused, 240 left");
  EXPECT_EQ(SpeechBusy(), 1);
  EXPECT_EQ(ContinueSpeech(m_channel), noErr);
  EXPECT_EQ(status(), "busy, 240 left");
  finishBatch();
  EXPECT_EQ(m_reports.lines().back(), "done");
}

TEST_F(ManagerPieces, AStopAtABoundaryEndsTheJobWithTheBatch) {
  m_supply.pieces = {sentences(4), sentences(4)};
  ASSERT_EQ(speak(sentences(4)), noErr);
  synthesizer().holdStopsAtBoundaries(true);
  ASSERT_EQ(StopSpeechAt(m_channel, kEndOfSentence), noErr);
  synthesizer().sendWord(m_identifier, 220, 4);
  letTextBeRequested();
  synthesizer().holdStopsAtBoundaries(false);
  synthesizer().join();
  letTextBeRequested();
  EXPECT_THAT(m_reports.lines(), ElementsAre("word 220+4", "done"));
  EXPECT_EQ(status(), "idle, 0 left");
}

TEST_F(ManagerPieces, AFailureOfALaterBatchIsReportedAndEndsTheJob) {
  m_supply.pieces = {sentences(4)};
  ASSERT_EQ(speak(sentences(4)), noErr);
  synthesizer().setSpeakOutcome(SpeakOutcome::RefusesText);
  synthesizer().finish(m_identifier);
  ASSERT_TRUE(m_reports.wait(2));
  EXPECT_THAT(m_reports.lines(), ElementsAre("text", "done"));
  SpeechErrorInfo errors{};
  EXPECT_EQ(GetSpeechInfo(m_channel, soErrors, &errors), noErr);
  EXPECT_EQ(errors.newest, badInputText);
  EXPECT_EQ(SpeechBusy(), 0);
}

// A file would be begun anew by each batch.
TEST_F(ManagerPieces, AFileGetsAllPiecesAtOnce) {
  CFURLRef const url = CFURLCreateFromFileSystemRepresentation(
      nullptr, reinterpret_cast<const UInt8*>("/dev/null"), 9, false);
  ASSERT_EQ(SetSpeechInfo(m_channel, soOutputToFileWithCFURL, url), noErr);
  m_supply.pieces = {sentences(40), sentences(2)};
  ASSERT_EQ(speak(sentences(4)), noErr);
  letTextBeRequested();
  EXPECT_EQ(record().text, sentences(46));
  finishBatch();
  EXPECT_THAT(m_reports.lines(), ElementsAre("text", "text", "text", "done"));
  ASSERT_EQ(SetSpeechInfo(m_channel, soOutputToFileWithCFURL, nullptr), noErr);
  CFRelease(url);
}

}  // namespace
