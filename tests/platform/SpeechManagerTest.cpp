// SPDX-License-Identifier: Apache-2.0
//
// The client interface of the Manager, with the project's voices and a synthesizer that the tests
// control.
#include <ApplicationServices/ApplicationServices.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fake/FakeSynthesizer.h"

namespace {

using fake::ChannelRecord;
using fake::SpeakOutcome;
using fake::Status;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr OSType kCreator = 0x4B56524C;
constexpr VoiceSpec kCorin = {kCreator, 101};
constexpr VoiceSpec kMaren = {kCreator, 102};

// Where the Manager looks, set before anything asks it.
class Places : public testing::Environment {
 public:
  void SetUp() override {
    ASSERT_EQ(setenv("SPEECH_VOICE_PATH", VOICES_DIR, 1), 0);
    ASSERT_EQ(setenv("SPEECH_SYNTHESIZER_PATH", COMPLETE_SYNTHESIZER_DIR, 1), 0);
  }
};
[[maybe_unused]] const testing::Environment* const kPlaces =
    testing::AddGlobalTestEnvironment(new Places);

fake::FakeSynthesizer& synthesizer() {
  static fake::FakeSynthesizer* const found = [] {
    void* const library = dlopen(COMPLETE_SYNTHESIZER_DIR "/KavrelSpeech.so", RTLD_NOW);
    const auto accessor = reinterpret_cast<fake::Accessor>(dlsym(library, fake::kAccessorName));
    return accessor();
  }();
  return *found;
}

// What the client's callbacks were called with, in order, one line each.
class Reports {
 public:
  void add(SpeechChannel channel, const std::string& line) {
    const std::lock_guard held(m_lock);
    m_lines.push_back((channel == expected ? "" : "(wrong channel) ") + line);
    m_changed.notify_all();
  }

  std::vector<std::string> lines() {
    const std::lock_guard held(m_lock);
    return m_lines;
  }

  // False when fewer than `count` have come after a time that no machine needs.
  bool wait(std::size_t count) {
    std::unique_lock held(m_lock);
    return m_changed.wait_for(held, std::chrono::seconds(30),
                              [&] { return m_lines.size() >= count; });
  }

  SpeechChannel expected = nullptr;

 private:
  std::mutex m_lock;
  std::condition_variable m_changed;
  std::vector<std::string> m_lines;
};

Reports& reportsOf(SRefCon refCon) {
  return *static_cast<Reports*>(refCon);
}

void onDone(SpeechChannel channel, SRefCon refCon) {
  reportsOf(refCon).add(channel, "done");
}
void onSync(SpeechChannel channel, SRefCon refCon, OSType message) {
  reportsOf(refCon).add(channel, "sync " + std::to_string(message));
}
void onPhoneme(SpeechChannel channel, SRefCon refCon, SInt16 opcode) {
  reportsOf(refCon).add(channel, "phoneme " + std::to_string(opcode));
}
void onWord(SpeechChannel channel, SRefCon refCon, unsigned long position, UInt16 length) {
  reportsOf(refCon).add(channel, "word " + std::to_string(position) + "+" + std::to_string(length));
}
void onError(SpeechChannel channel, SRefCon refCon, OSErr error, long position) {
  reportsOf(refCon).add(channel,
                        "error " + std::to_string(error) + " at " + std::to_string(position));
}

class Manager : public testing::Test {
 protected:
  void SetUp() override {
    synthesizer().reset();
    ASSERT_EQ(NewSpeechChannel(nullptr, &m_channel), noErr);
    ASSERT_EQ(synthesizer().channels().size(), 1U);
    m_identifier = synthesizer().channels().begin()->first;
    m_reports.expected = m_channel;
    ASSERT_EQ(SetSpeechInfo(m_channel, soRefCon, &m_reports), noErr);
  }

  void TearDown() override {
    synthesizer().reset();
    if (m_channel != nullptr) {
      EXPECT_EQ(DisposeSpeechChannel(m_channel), noErr);
    }
    synthesizer().join();
    EXPECT_THAT(synthesizer().channels(), IsEmpty());
  }

  template <typename Function>
  void install(OSType selector, Function* function) {
    ASSERT_EQ(SetSpeechInfo(m_channel, selector, reinterpret_cast<const void*>(function)), noErr);
  }

  OSErr speak(const std::string& text, SInt32 flags = 0) {
    return SpeakBuffer(m_channel, text.data(), text.size(), flags);
  }

  // What soStatus says.
  std::string status() {
    SpeechStatusInfo info = {9, 9, 9, 9};
    EXPECT_EQ(GetSpeechInfo(m_channel, soStatus, &info), noErr);
    const std::string state = info.outputBusy == 1 ? "busy" : "";
    return state + (info.outputPaused == 1 ? "paused" : "") +
           (info.outputBusy + info.outputPaused == 0 ? "idle" : "") + ", " +
           std::to_string(info.inputBytesLeft) + " left";
  }

  ChannelRecord record() { return synthesizer().channels().at(m_identifier); }

  SpeechChannel m_channel = nullptr;
  SpeechChannelIdentifier m_identifier = 0;
  Reports m_reports;
};

// ---- Voices

TEST(Voices, AreCountedFromOne) {
  SInt16 count = 0;
  ASSERT_EQ(CountVoices(&count), noErr);
  ASSERT_GE(count, 3);
  VoiceSpec voice{};
  for (const SInt16 index : {SInt16{1}, count}) {
    EXPECT_EQ(GetIndVoice(index, &voice), noErr);
    EXPECT_EQ(GetVoiceDescription(&voice, nullptr, 0), noErr);
  }

  VoiceSpec untouched = {1, 2};
  for (const int index : {0, -1, count + 1, 32767}) {
    EXPECT_EQ(GetIndVoice(static_cast<SInt16>(index), &untouched), voiceNotFound) << index;
  }
  EXPECT_EQ(OSType{untouched.creator}, 1U);
  EXPECT_EQ(OSType{untouched.id}, 2U);
  EXPECT_EQ(CountVoices(nullptr), paramErr);
  EXPECT_EQ(GetIndVoice(1, nullptr), paramErr);
}

TEST(Voices, AreSpecifiedByCreatorAndNumber) {
  VoiceSpec voice{};
  EXPECT_EQ(MakeVoiceSpec(kCreator, 77, &voice), noErr);
  EXPECT_EQ(OSType{voice.creator}, kCreator);
  EXPECT_EQ(OSType{voice.id}, 77U);
  EXPECT_EQ(MakeVoiceSpec(kCreator, 77, nullptr), paramErr);
}

TEST(Voices, DescribeThemselvesUpToTheLengthAskedFor) {
  VoiceDescription whole;
  std::memset(&whole, 0xEE, sizeof whole);
  ASSERT_EQ(GetVoiceDescription(&kMaren, &whole, 5000), noErr);
  EXPECT_EQ(SInt32{whole.length}, 362);
  EXPECT_EQ(OSType{whole.voice.id}, kMaren.id);
  EXPECT_EQ(whole.gender, kFemale);
  EXPECT_STREQ(reinterpret_cast<const char*>(whole.name) + 1, "Maren");
  for (std::size_t i = 6; i < sizeof whole.name; ++i) EXPECT_EQ(whole.name[i], 0) << i;
  for (std::size_t i = whole.comment[0] + 1U; i < sizeof whole.comment; ++i) {
    EXPECT_EQ(whole.comment[i], 0) << i;
  }

  VoiceDescription part;
  std::memset(&part, 0xEE, sizeof part);
  ASSERT_EQ(GetVoiceDescription(&kMaren, &part, 80), noErr);
  EXPECT_EQ(SInt32{part.length}, 80);
  EXPECT_EQ(part.name[0], 5);
  EXPECT_EQ(part.comment[0], 0xEE);

  ASSERT_EQ(GetVoiceDescription(&kMaren, &part, 0), noErr);
  EXPECT_EQ(SInt32{part.length}, 80);
  EXPECT_EQ(GetVoiceDescription(&kMaren, &part, -1), paramErr);
}

TEST(Voices, AreTheDefaultVoiceWhenNoneIsNamed) {
  VoiceDescription description{};
  ASSERT_EQ(GetVoiceDescription(nullptr, &description, sizeof description), noErr);
  EXPECT_EQ(OSType{description.voice.id}, kCorin.id);
}

TEST(Voices, ThatAreUnknownLeaveTheRecordAlone) {
  const VoiceSpec unknown = {kCreator, 9999};
  VoiceDescription untouched{};
  untouched.length = -5;
  EXPECT_EQ(GetVoiceDescription(&unknown, &untouched, 362), voiceNotFound);
  EXPECT_EQ(SInt32{untouched.length}, -5);
  EXPECT_EQ(GetVoiceDescription(&unknown, nullptr, 0), voiceNotFound);
  EXPECT_EQ(GetVoiceDescription(&kMaren, nullptr, 0), noErr);
}

TEST(Voices, TellTheirLocale) {
  VoiceLocale locale{};
  ASSERT_EQ(GetVoiceInfo(&kMaren, soVoiceLocale, &locale), noErr);
  EXPECT_STREQ(locale.identifier, "en_US");
}

TEST(Voices, TellTheirDescriptionAsInformationToo) {
  VoiceDescription expected{};
  VoiceDescription description{};
  ASSERT_EQ(GetVoiceDescription(nullptr, &expected, sizeof expected), noErr);
  ASSERT_EQ(GetVoiceInfo(nullptr, soVoiceDescription, &description), noErr);
  EXPECT_EQ(std::memcmp(&description, &expected, sizeof expected), 0);
}

TEST(Voices, LeaveTheRecordAloneWhenTheyHaveNoSuchInformation) {
  const VoiceSpec unknown = {kCreator, 9999};
  VoiceLocale locale = {"xx_XX"};
  EXPECT_EQ(GetVoiceInfo(&unknown, soVoiceLocale, &locale), voiceNotFound);
  EXPECT_EQ(GetVoiceInfo(&kMaren, soVoiceLocale, nullptr), paramErr);
  EXPECT_EQ(GetVoiceInfo(&kMaren, soRate, &locale), siUnknownInfoType);
  EXPECT_STREQ(locale.identifier, "xx_XX");
}

// ---- Opening and closing

TEST_F(Manager, OpensAChannelWithTheDefaultVoiceAndExactPositions) {
  const ChannelRecord opened = record();
  EXPECT_EQ(OSType{opened.voice.id}, kCorin.id);
  EXPECT_EQ(opened.voicePath, VOICES_DIR "/Corin.SpeechVoice");
  EXPECT_NE(opened.pointers.at(0x63706F73), nullptr);
}

TEST_F(Manager, OpensAChannelWithTheVoiceAskedFor) {
  VoiceSpec voice = kMaren;
  SpeechChannel channel = nullptr;
  ASSERT_EQ(NewSpeechChannel(&voice, &channel), noErr);
  EXPECT_NE(channel, m_channel);
  EXPECT_EQ(synthesizer().channels().rbegin()->second.voicePath, VOICES_DIR "/Maren.SpeechVoice");
  EXPECT_EQ(DisposeSpeechChannel(channel), noErr);
}

TEST_F(Manager, OpensNothingWhenItCannot) {
  VoiceSpec unknown = {kCreator, 9999};
  auto* channel = m_channel;
  EXPECT_EQ(NewSpeechChannel(&unknown, &channel), voiceNotFound);
  EXPECT_EQ(channel, nullptr);
  EXPECT_EQ(NewSpeechChannel(nullptr, nullptr), paramErr);

  synthesizer().refuseToOpen(true);
  channel = m_channel;
  EXPECT_EQ(NewSpeechChannel(nullptr, &channel), synthOpenFailed);
  EXPECT_EQ(channel, nullptr);
  EXPECT_EQ(synthesizer().channels().size(), 1U);
}

TEST_F(Manager, AnswersForAChannelThatIsNotOne) {
  SpeechChannel disposed = nullptr;
  ASSERT_EQ(NewSpeechChannel(nullptr, &disposed), noErr);
  ASSERT_EQ(DisposeSpeechChannel(disposed), noErr);
  SpeechChannelRecord other{};
  Fixed rate = 0;
  for (SpeechChannel const channel : {SpeechChannel{nullptr}, disposed, &other}) {
    EXPECT_EQ(DisposeSpeechChannel(channel), invalidComponentID);
    EXPECT_EQ(SpeakText(channel, "a", 1), invalidComponentID);
    EXPECT_EQ(SpeakBuffer(channel, "a", 1, 0), invalidComponentID);
    EXPECT_EQ(StopSpeech(channel), invalidComponentID);
    EXPECT_EQ(StopSpeechAt(channel, kEndOfWord), invalidComponentID);
    EXPECT_EQ(PauseSpeechAt(channel, kImmediate), invalidComponentID);
    EXPECT_EQ(ContinueSpeech(channel), invalidComponentID);
    EXPECT_EQ(SetSpeechInfo(channel, soRate, &rate), invalidComponentID);
    EXPECT_EQ(GetSpeechInfo(channel, soRate, &rate), invalidComponentID);
    EXPECT_EQ(SetSpeechRate(channel, rate), invalidComponentID);
    EXPECT_EQ(GetSpeechRate(channel, &rate), invalidComponentID);
  }
}

TEST_F(Manager, NeverGivesAHandleTwice) {
  std::vector<SpeechChannel> seen = {m_channel};
  for (int i = 0; i < 100; ++i) {
    SpeechChannel channel = nullptr;
    ASSERT_EQ(NewSpeechChannel(nullptr, &channel), noErr);
    EXPECT_THAT(seen, testing::Not(testing::Contains(channel)));
    seen.push_back(channel);
    ASSERT_EQ(DisposeSpeechChannel(channel), noErr);
  }
}

// ---- Speaking

TEST_F(Manager, SpeaksTheBytesGivenAndReportsTheEnd) {
  install(soSpeechDoneCallBack, onDone);
  ASSERT_EQ(SpeakBuffer(m_channel, "Hello there", 5, kNoEndingProsody), noErr);
  EXPECT_EQ(record().text, "Hello");
  EXPECT_EQ(record().flags, kNoEndingProsody);
  EXPECT_EQ(SpeechBusy(), 1);
  synthesizer().finish(m_identifier);
  ASSERT_TRUE(m_reports.wait(1));
  EXPECT_THAT(m_reports.lines(), ElementsAre("done"));
  EXPECT_EQ(SpeechBusy(), 0);
}

TEST_F(Manager, PutsNewTextInThePlaceOfTheOld) {
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

TEST_F(Manager, DoesNotInterruptWhenToldNotTo) {
  ASSERT_EQ(speak("one"), noErr);
  EXPECT_EQ(speak("two", kNoSpeechInterrupt), synthNotReady);
  ASSERT_EQ(PauseSpeechAt(m_channel, kImmediate), noErr);
  EXPECT_EQ(speak("two", kNoSpeechInterrupt), synthNotReady);
  EXPECT_EQ(record().text, "one");
  EXPECT_THAT(record().stops, IsEmpty());
}

TEST_F(Manager, StopsOnNoText) {
  for (const bool isNull : {true, false}) {
    ASSERT_EQ(speak("one"), noErr);
    EXPECT_EQ(SpeakText(m_channel, isNull ? nullptr : "two", isNull ? 3 : 0), noErr);
    EXPECT_NE(record().status, Status::Busy);
  }
  EXPECT_EQ(record().stops.size(), 2U);
}

TEST_F(Manager, RefusesTextLongerThanAPosition) {
  EXPECT_EQ(SpeakText(m_channel, "x", 0x80000000UL), paramErr);
}

TEST_F(Manager, EndsExceptionsOfTheSynthesizer) {
  synthesizer().setSpeakOutcome(SpeakOutcome::Throws);
  EXPECT_EQ(speak("one"), badInputText);
  synthesizer().setSpeakOutcome(SpeakOutcome::RunsOutOfMemory);
  EXPECT_EQ(speak("one"), memFullErr);
  synthesizer().setSpeakOutcome(SpeakOutcome::RefusesText);
  EXPECT_EQ(speak("one"), badInputText);
  // None of them is waited for.
  synthesizer().setSpeakOutcome(SpeakOutcome::Speaks);
  EXPECT_EQ(speak("two"), noErr);
}

TEST_F(Manager, StopsAtThePlaceAskedFor) {
  EXPECT_EQ(StopSpeech(m_channel), noErr);  // with nothing to stop
  ASSERT_EQ(speak("one"), noErr);
  EXPECT_EQ(StopSpeechAt(m_channel, 3), paramErr);
  EXPECT_EQ(StopSpeechAt(m_channel, -1), paramErr);
  EXPECT_EQ(record().status, Status::Busy);
  EXPECT_EQ(StopSpeechAt(m_channel, kEndOfSentence), noErr);
  EXPECT_THAT(record().stops, ElementsAre(kImmediate, kEndOfSentence));
}

TEST_F(Manager, PausesAndGoesOn) {
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

TEST_F(Manager, GivesCallbacksTheClientsOwnChannelAndConstant) {
  install(soWordCallBack, onWord);
  install(soSyncCallBack, onSync);
  install(soPhonemeCallBack, onPhoneme);
  install(soErrorCallBack, onError);
  ASSERT_EQ(speak("one two"), noErr);
  synthesizer().sendWord(m_identifier, 4, 3);
  synthesizer().sendPhoneme(m_identifier, 18);
  synthesizer().sendSync(m_identifier, 0x41424344);
  synthesizer().sendError(m_identifier, badInputText, 5);
  EXPECT_THAT(m_reports.lines(),
              ElementsAre("word 4+3", "phoneme 18", "sync 1094861636", "error -247 at 5"));
}

TEST_F(Manager, SwitchesACallbackOffWithNull) {
  install(soWordCallBack, onWord);
  ASSERT_EQ(SetSpeechInfo(m_channel, soWordCallBack, nullptr), noErr);
  install(soPhonemeCallBack, onPhoneme);
  ASSERT_EQ(SetSpeechInfo(m_channel, soPhonemeCallBack, nullptr), noErr);
  EXPECT_EQ(record().pointers.at(soPhonemeCallBack), nullptr);
  install(soSyncCallBack, onSync);
  ASSERT_EQ(SetSpeechInfo(m_channel, soSyncCallBack, nullptr), noErr);
  synthesizer().sendWord(m_identifier, 4, 3);
  synthesizer().sendSync(m_identifier, 1);
  EXPECT_THAT(m_reports.lines(), IsEmpty());
}

TEST_F(Manager, RemembersTheLastSyncWithoutACallback) {
  OSType last = 5;
  EXPECT_EQ(GetSpeechInfo(m_channel, soRecentSync, &last), noErr);
  EXPECT_EQ(last, 0U);
  synthesizer().sendSync(m_identifier, 0x41424344);
  EXPECT_EQ(GetSpeechInfo(m_channel, soRecentSync, &last), noErr);
  EXPECT_EQ(last, 0x41424344U);
}

TEST_F(Manager, KeepsWordsInsideTheTextAndInOrder) {
  install(soWordCallBack, onWord);
  ASSERT_EQ(speak("one two three"), noErr);
  synthesizer().sendWord(m_identifier, 4, 3);
  synthesizer().sendWord(m_identifier, 2, 2);
  synthesizer().sendWord(m_identifier, 8, 60'000);
  synthesizer().sendWord(m_identifier, 5'000'000'000, 3);
  ASSERT_EQ(speak("four"), noErr);
  synthesizer().sendWord(m_identifier, 0, 4);
  EXPECT_THAT(m_reports.lines(),
              ElementsAre("word 4+3", "word 4+2", "word 8+5", "word 13+0", "word 0+4"));
}

TEST_F(Manager, CountsTheBytesLeftInTheCallersTextAndKeepsThemWhilePaused) {
  EXPECT_EQ(status(), "idle, 0 left");
  ASSERT_EQ(speak("one two three"), noErr);
  EXPECT_EQ(status(), "busy, 13 left");
  synthesizer().sendWord(m_identifier, 4, 3);
  EXPECT_EQ(status(), "busy, 9 left");
  ASSERT_EQ(PauseSpeechAt(m_channel, kImmediate), noErr);
  EXPECT_EQ(status(), "paused, 9 left");
  ASSERT_EQ(StopSpeech(m_channel), noErr);
  EXPECT_EQ(status(), "idle, 0 left");
}

// A text-done callback that hands out pieces, and wipes each before the next.
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
  EXPECT_EQ(record().text, "one two th ree");
  EXPECT_EQ(status(), "busy, 14 left");
}

TEST_F(Manager, TakesAnEmptyPieceAsTheEnd) {
  Pieces pieces;
  pieces.texts = {" two", "", " three"};
  ASSERT_EQ(SetSpeechInfo(m_channel, soRefCon, &pieces), noErr);
  install(soTextDoneCallBack, onTextDone);
  ASSERT_EQ(speak("one", kNoEndingProsody), noErr);
  EXPECT_EQ(record().text, "one two");
}

void speakOnceMore(SpeechChannel channel, SRefCon refCon) {
  if (reportsOf(refCon).lines().empty()) {
    EXPECT_EQ(SpeakText(channel, "again", 5), noErr);
  }
  onDone(channel, refCon);
}

TEST_F(Manager, SpeaksAgainFromInsideSpeechDone) {
  install(soSpeechDoneCallBack, speakOnceMore);
  ASSERT_EQ(speak("one"), noErr);
  synthesizer().finish(m_identifier);
  ASSERT_TRUE(m_reports.wait(1));
  EXPECT_EQ(record().text, "again");
  synthesizer().finish(m_identifier);
  ASSERT_TRUE(m_reports.wait(2));
}

void disposeAtTheEnd(SpeechChannel channel, SRefCon refCon) {
  EXPECT_EQ(DisposeSpeechChannel(channel), noErr);
  onDone(channel, refCon);
}

TEST_F(Manager, DisposesAChannelInsideItsSpeechDone) {
  install(soSpeechDoneCallBack, disposeAtTheEnd);
  ASSERT_EQ(speak("one"), noErr);
  synthesizer().finish(m_identifier);
  ASSERT_TRUE(m_reports.wait(1));
  EXPECT_EQ(StopSpeech(m_channel), invalidComponentID);
  m_channel = nullptr;
}

TEST_F(Manager, ReportsNothingAfterTheChannelIsDisposed) {
  install(soWordCallBack, onWord);
  ASSERT_EQ(speak("one"), noErr);
  const auto lateWord =
      reinterpret_cast<SpeechWordProcPtr>(const_cast<void*>(record().pointers[soWordCallBack]));
  auto* const lateConstant = const_cast<void*>(record().pointers[soRefCon]);
  ASSERT_EQ(DisposeSpeechChannel(m_channel), noErr);
  m_channel = nullptr;
  lateWord(nullptr, lateConstant, 0, 1);
  EXPECT_THAT(m_reports.lines(), IsEmpty());
}

// ---- Settings

TEST_F(Manager, HandsSettingsToTheSynthesizerAndBack) {
  EXPECT_EQ(SetSpeechRate(m_channel, Long2Fix(210)), noErr);
  EXPECT_EQ(record().numbers.at(soRate), Long2Fix(210));
  Fixed rate = 0;
  EXPECT_EQ(GetSpeechRate(m_channel, &rate), noErr);
  EXPECT_EQ(rate, Long2Fix(210));
  EXPECT_EQ(SetSpeechPitch(m_channel, Long2Fix(48)), noErr);
  Fixed pitch = 0;
  EXPECT_EQ(GetSpeechPitch(m_channel, &pitch), noErr);
  EXPECT_EQ(pitch, Long2Fix(48));
  EXPECT_EQ(SetSpeechInfo(m_channel, soReset, nullptr), noErr);
  EXPECT_TRUE(record().pointers.contains(soReset));
}

TEST_F(Manager, RefusesNullWhereAValueIsRead) {
  for (const OSType selector : {soInputMode, soCharacterMode, soNumberMode, soRate, soPitchBase,
                                soPitchMod, soVolume, soCommandDelimiter, soCurrentVoice}) {
    EXPECT_EQ(SetSpeechInfo(m_channel, selector, nullptr), paramErr) << selector;
    EXPECT_EQ(GetSpeechInfo(m_channel, selector, nullptr), paramErr) << selector;
  }
  EXPECT_EQ(GetSpeechRate(m_channel, nullptr), paramErr);
}

TEST_F(Manager, PassesOnThatASelectorIsUnknown) {
  SInt32 value = 0;
  EXPECT_EQ(GetSpeechInfo(m_channel, 0x61626364, &value), siUnknownInfoType);
}

TEST_F(Manager, FillsTheErrorRecordWithZeroes) {
  SpeechErrorInfo errors = {1, 2, 3, 4, 5};
  EXPECT_EQ(GetSpeechInfo(m_channel, soErrors, &errors), noErr);
  const SpeechErrorInfo none{};
  EXPECT_EQ(std::memcmp(&errors, &none, sizeof none), 0);
}

TEST_F(Manager, SwitchesTheVoice) {
  EXPECT_EQ(SetSpeechInfo(m_channel, soCurrentVoice, &kMaren), noErr);
  EXPECT_EQ(record().voicePath, VOICES_DIR "/Maren.SpeechVoice");
  VoiceSpec current{};
  EXPECT_EQ(GetSpeechInfo(m_channel, soCurrentVoice, &current), noErr);
  EXPECT_EQ(OSType{current.id}, kMaren.id);

  const VoiceSpec unknown = {kCreator, 9999};
  EXPECT_EQ(SetSpeechInfo(m_channel, soCurrentVoice, &unknown), voiceNotFound);
  EXPECT_EQ(OSType{record().voice.id}, kMaren.id);
}

TEST(CallbackHelpers, ReturnWhatTheyAreGiven) {
  EXPECT_EQ(NewSpeechDoneUPP(onDone), onDone);
  EXPECT_EQ(NewSpeechTextDoneUPP(onTextDone), onTextDone);
  EXPECT_EQ(NewSpeechSyncUPP(onSync), onSync);
  EXPECT_EQ(NewSpeechErrorUPP(onError), onError);
  EXPECT_EQ(NewSpeechPhonemeUPP(onPhoneme), onPhoneme);
  EXPECT_EQ(NewSpeechWordUPP(onWord), onWord);
}

}  // namespace
