// SPDX-License-Identifier: Apache-2.0
//
// What all entry points have in common: identifiers, result codes, the status record, the lock.

#include <array>

#include "channels/ChannelTest.h"

namespace channels {
namespace {

using scripted::engine;
using scripted::Op;
using testing::ElementsAre;
using testing::IsEmpty;

class EntryPoints : public ChannelTest {};

TEST_F(EntryPoints, OpeningWithoutAnIdentifierPointerUsesNoIdentifier) {
  const SpeechChannelIdentifier before = openBare();
  EXPECT_EQ(SEOpenSpeechChannel(nullptr), paramErr);
  EXPECT_EQ(openBare(), before + 1);
}

TEST_F(EntryPoints, IdentifiersAreNeverReused) {
  const SpeechChannelIdentifier first = openBare();
  const SpeechChannelIdentifier second = openBare();
  EXPECT_EQ(second, first + 1);
  EXPECT_EQ(close(first), noErr);
  EXPECT_EQ(close(second), noErr);
  EXPECT_EQ(openBare(), second + 1);
}

TEST_F(EntryPoints, AClosedChannelIsUnknown) {
  const SpeechChannelIdentifier id = openBare();
  EXPECT_EQ(close(id), noErr);
  EXPECT_EQ(close(id), noSynthFound);
  EXPECT_EQ(find_channel(id), nullptr);
}

// ---- Result codes

// Every entry point that takes a channel, with valid arguments.
struct EntryPoint {
  const char* name;
  std::function<long(SpeechChannelIdentifier)> call;
};

std::vector<EntryPoint> entryPoints() {
  static SpeechStatusInfo info;
  static Fixed rate = Long2Fix(200);
  static VoiceSpec voice{code("BRVD"), 1};
  static char text[] = "Hello";
  return {
      {"SESpeechStatus", [](auto id) { return SESpeechStatus(id, &info); }},
      {"SEStopSpeechAt", [](auto id) { return SEStopSpeechAt(id, kImmediate); }},
      {"SEPauseSpeechAt", [](auto id) { return SEPauseSpeechAt(id, kImmediate); }},
      {"SEContinueSpeech", [](auto id) { return SEContinueSpeech(id); }},
      {"SETextToPhonemes", [](auto id) { return SETextToPhonemes(id, text, 5, nullptr, nullptr); }},
      {"SEUseDictionary", [](auto id) { return SEUseDictionary(id, text, 5); }},
      {"SESpeakBuffer", [](auto id) { return SESpeakBuffer(id, text, 5, 0); }},
      {"SEGetSpeechInfo", [](auto id) { return SEGetSpeechInfo(id, soRate, &rate); }},
      {"SESetSpeechInfo", [](auto id) { return SESetSpeechInfo(id, soRate, &rate); }},
      {"SEUseVoice", [](auto id) { return SEUseVoice(id, &voice, nullptr); }},
      {"SECloseSpeechChannel", [](auto id) { return SECloseSpeechChannel(id); }},
  };
}

TEST_F(EntryPoints, UnknownIdentifiersAreRejectedByAll) {
  const SpeechChannelIdentifier closed = openBare();
  close(closed);
  engine().forgetCalls();
  for (const EntryPoint& entry : entryPoints()) {
    for (const SpeechChannelIdentifier id : {closed, closed + 1, SpeechChannelIdentifier{0},
                                             SpeechChannelIdentifier{-1}, INT32_MAX, INT32_MIN}) {
      EXPECT_EQ(entry.call(id), noSynthFound) << entry.name << ' ' << id;
    }
  }
  EXPECT_THAT(engine().calls(), IsEmpty());
}

// What each entry point returns in each state of the channel.
TEST_F(EntryPoints, ReturnResultsForTheStateOfTheChannel) {
  constexpr long kRefused = -1;  // the engine has nothing to pause
  struct Row {
    const char* name;
    long idle, busy, paused, closing;
  };
  const std::vector<Row> rows = {
      {"SESpeechStatus", noErr, noErr, noErr, noErr},
      {"SEStopSpeechAt", noErr, noErr, noErr, noErr},
      {"SEPauseSpeechAt", kRefused, noErr, noErr, kRefused},
      {"SEContinueSpeech", noErr, noErr, noErr, noErr},
      {"SETextToPhonemes", noErr, noErr, noErr, noErr},
      {"SEUseDictionary", noErr, noErr, noErr, noErr},
      {"SESpeakBuffer", noErr, synthNotReady, synthNotReady, synthNotReady},
      {"SEGetSpeechInfo", noErr, noErr, noErr, noErr},
      {"SESetSpeechInfo", noErr, noErr, noErr, noErr},
      {"SEUseVoice", noErr, noErr, noErr, noErr},
  };
  const std::vector<EntryPoint> calls = entryPoints();
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const Row& row = rows[i];
    SCOPED_TRACE(row.name);
    ASSERT_STREQ(calls[i].name, row.name);

    EXPECT_EQ(calls[i].call(open()), row.idle);

    const SpeechChannelIdentifier busy = open();
    ASSERT_EQ(speak(busy, "Hello"), noErr);
    EXPECT_EQ(calls[i].call(busy), row.busy);

    const SpeechChannelIdentifier paused = open();
    ASSERT_EQ(speak(paused, "Hello"), noErr);
    ASSERT_EQ(SEPauseSpeechAt(paused, kImmediate), noErr);
    EXPECT_EQ(calls[i].call(paused), row.paused);

    // Closing waits until the signalling thread gets the lock, which this thread holds.
    const SpeechChannelIdentifier closing = open();
    ASSERT_EQ(speak(closing, "Hello"), noErr);
    speech_channel* const channel = find_channel(closing);
    mutex_lock(&channel->mtx);
    ASSERT_EQ(SEStopSpeechAt(closing, kImmediate), noErr);
    ASSERT_EQ(channel->status, STATUS_CLOSING);
    EXPECT_EQ(calls[i].call(closing), row.closing);
    mutex_unlock(&channel->mtx);
  }
}

TEST_F(EntryPoints, NullArgumentsReturnResultsWithoutACrash) {
  const SpeechChannelIdentifier id = openBare();
  char text[] = "Hello";
  struct Row {
    const char* name;
    long result;
    long expected;
  };
  const std::vector<Row> rows = {
      {"open", SEOpenSpeechChannel(nullptr), paramErr},
      {"status", SESpeechStatus(id, nullptr), paramErr},
      {"text to phonemes", SETextToPhonemes(id, nullptr, 0, nullptr, nullptr), noErr},
      {"dictionary", SEUseDictionary(id, nullptr, 0), noErr},
      {"get", SEGetSpeechInfo(id, soRate, nullptr), paramErr},
      {"get unknown", SEGetSpeechInfo(id, code("zzzz"), nullptr), paramErr},
      {"set unknown", SESetSpeechInfo(id, code("zzzz"), nullptr), noErr},
      {"set reset", SESetSpeechInfo(id, soReset, nullptr), noErr},
      {"set file", SESetSpeechInfo(id, soOutputToFileWithCFURL, nullptr), noErr},
      {"set callback", SESetSpeechInfo(id, soWordCallBack, nullptr), noErr},
      {"voice", SEUseVoice(id, nullptr, nullptr), noErr},
      {"negative length", SESpeakBuffer(openBare(), text, -5, 0), noErr},
      {"null text", SESpeakBuffer(openBare(), nullptr, 0, 0), noErr},
      {"null text with a length", SESpeakBuffer(openBare(), nullptr, 5, 0), noErr},
  };
  for (const Row& row : rows) EXPECT_EQ(row.result, row.expected) << row.name;
}

TEST_F(EntryPoints, AChannelThatCannotBeCreatedReturnsOpenFailedOrOpens) {
  // The record is not allocated with the engine's allocator, so failures of that allocator do not
  // affect it.
  SpeechChannelIdentifier id = 0;
  engine().fail(Op::ParamsNew, 1);
  EXPECT_EQ(SEOpenSpeechChannel(&id), noErr);
  EXPECT_EQ(SECloseSpeechChannel(id), noErr);
}

// ---- Status

TEST_F(EntryPoints, AnIdleChannelReportsNoActivity) {
  const Status info = statusInfo(open());
  EXPECT_EQ(info.outputBusy, 0);
  EXPECT_EQ(info.outputPaused, 0);
  EXPECT_EQ(info.inputBytesLeft, 0);
  EXPECT_EQ(info.phonemeCode, 0);
}

TEST_F(EntryPoints, ABusyChannelReportsTheBytesLeftOfTheConvertedTextAndThePhoneme) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  const int length = static_cast<int>(converted("Hello").size());
  EXPECT_EQ(statusInfo(id).outputBusy, 1);
  EXPECT_EQ(statusInfo(id).outputPaused, 0);
  EXPECT_EQ(statusInfo(id).inputBytesLeft, length);
  engine().port(1).phoneme("ae", 7);
  EXPECT_EQ(statusInfo(id).inputBytesLeft, length - 7);
  EXPECT_EQ(statusInfo(id).phonemeCode, 2);
}

TEST_F(EntryPoints, APausedChannelReportsNeitherBytesNorPhoneme) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().port(1).phoneme("ae", 7);
  ASSERT_EQ(SEPauseSpeechAt(id, kImmediate), noErr);
  const Status info = statusInfo(id);
  EXPECT_EQ(info.outputBusy, 0);
  EXPECT_EQ(info.outputPaused, 1);
  EXPECT_EQ(info.inputBytesLeft, 0);
  EXPECT_EQ(info.phonemeCode, 0);
}

TEST_F(EntryPoints, AClosingChannelReportsNoActivity) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  speech_channel* const channel = find_channel(id);
  mutex_lock(&channel->mtx);
  ASSERT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  const Status info = statusInfo(id);
  mutex_unlock(&channel->mtx);
  EXPECT_EQ(info.outputBusy, 0);
  EXPECT_EQ(info.outputPaused, 0);
  EXPECT_EQ(info.inputBytesLeft, 0);
  EXPECT_EQ(info.phonemeCode, 0);
}

TEST_F(EntryPoints, AfterAJobThePositionAndThePhonemeAreReset) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().port(1).phoneme("ae", 7).end();
  ASSERT_TRUE(client().waitForDone());
  ASSERT_EQ(speak(id, "Hello"), noErr);
  EXPECT_EQ(statusInfo(id).phonemeCode, 0);
  EXPECT_EQ(statusInfo(id).inputBytesLeft, static_cast<int>(converted("Hello").size()));
}

TEST_F(EntryPoints, ANullStatusRecordIsRejectedAfterTheLockIsTakenAndReleased) {
  const SpeechChannelIdentifier id = open();
  const int locked = engine().count(Op::MutexLock);
  const int unlocked = engine().count(Op::MutexUnlock);
  EXPECT_EQ(SESpeechStatus(id, nullptr), paramErr);
  EXPECT_EQ(engine().count(Op::MutexLock), locked + 1);
  EXPECT_EQ(engine().count(Op::MutexUnlock), unlocked + 1);
}

TEST_F(EntryPoints, TheStatusWaitsForTheLockOfTheChannel) {
  const SpeechChannelIdentifier id = open();
  speech_channel* const channel = find_channel(id);
  mutex_lock(&channel->mtx);
  std::atomic<bool> returned = false;
  const int locks = engine().count(Op::MutexLock);
  std::thread other([&] {
    statusInfo(id);
    returned = true;
  });
  ASSERT_TRUE(engine().waitForCall(Op::MutexLock, locks + 1));
  EXPECT_FALSE(returned);
  mutex_unlock(&channel->mtx);
  other.join();
  EXPECT_TRUE(returned);
}

TEST_F(EntryPoints, TextToPhonemesAndDictionariesTakeNoLockAndChangeNothing) {
  const SpeechChannelIdentifier id = open();
  const int locks = engine().count(Op::MutexLock);
  char text[] = "Hello";
  int marker = 0;
  void* phonemes = &marker;
  long length = 77;
  EXPECT_EQ(SETextToPhonemes(id, text, 5, &phonemes, &length), noErr);
  EXPECT_EQ(phonemes, &marker);
  EXPECT_EQ(length, 77);
  EXPECT_EQ(SEUseDictionary(id, text, 5), noErr);
  EXPECT_STREQ(text, "Hello");
  EXPECT_EQ(engine().count(Op::MutexLock), locks);
}

// ---- Boundaries

TEST_F(EntryPoints, BoundariesAreTheEnginesEventTypes) {
  struct Row {
    unsigned long where;
    const char* boundary;
  };
  for (const Row& row :
       {Row{kImmediate, "NOW"}, Row{kEndOfWord, "WORD"}, Row{kEndOfSentence, "SENTENCE"},
        Row{3, "NOW"}, Row{static_cast<unsigned long>(-1), "NOW"}}) {
    SCOPED_TRACE(row.where);
    Client& own = newClient();
    const SpeechChannelIdentifier id = open(own);
    ASSERT_EQ(speak(id, "Hello"), noErr);
    engine().forgetCalls();
    EXPECT_EQ(SEPauseSpeechAt(id, row.where), noErr);
    EXPECT_THAT(engine().calls(Op::Pause),
                ElementsAre(testing::EndsWith(std::string(", ") + row.boundary + ") = 0")));
    EXPECT_EQ(SEStopSpeechAt(id, row.where), noErr);
    EXPECT_THAT(engine().calls(Op::Stop),
                ElementsAre(testing::EndsWith(std::string(", ") + row.boundary + ") = 0")));
    EXPECT_TRUE(own.waitForDone());
  }
}

TEST_F(EntryPoints, ContinuingResumesAtOnceWhateverTheBoundaryOfThePause) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  ASSERT_EQ(SEPauseSpeechAt(id, kEndOfSentence), noErr);
  EXPECT_EQ(SEContinueSpeech(id), noErr);
  EXPECT_THAT(engine().calls(Op::Pause),
              ElementsAre("kavrel_port_pause(port 1, job 1, SENTENCE) = 0",
                          "kavrel_port_pause(port 1, job 1, NOW) = 0"));
  EXPECT_EQ(statusInfo(id).outputBusy, 1);
}

}  // namespace
}  // namespace channels
