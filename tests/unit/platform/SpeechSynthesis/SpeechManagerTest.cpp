// SPDX-License-Identifier: Apache-2.0
//
// The client interface of the Manager: voices, channels, settings, single calls.
#include <cstdint>
#include <cstring>

#include <gmock/gmock.h>

#include "ManagerFixture.h"

namespace {

using namespace manager;
using testing::ElementsAre;
using testing::IsEmpty;

// ---- Voices

TEST(Voices, AreNumberedFromOne) {
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

TEST(Voices, ReturnDescriptionsUpToTheRequestedLength) {
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

TEST(Voices, UseTheDefaultVoiceWhenNoneIsGiven) {
  VoiceDescription description{};
  ASSERT_EQ(GetVoiceDescription(nullptr, &description, sizeof description), noErr);
  EXPECT_EQ(OSType{description.voice.id}, kCorin.id);
}

TEST(Voices, LeaveTheRecordUnchangedWhenUnknown) {
  const VoiceSpec unknown = {kCreator, 9999};
  VoiceDescription untouched{};
  untouched.length = -5;
  EXPECT_EQ(GetVoiceDescription(&unknown, &untouched, 362), voiceNotFound);
  EXPECT_EQ(SInt32{untouched.length}, -5);
  EXPECT_EQ(GetVoiceDescription(&unknown, nullptr, 0), voiceNotFound);
  EXPECT_EQ(GetVoiceDescription(&kMaren, nullptr, 0), noErr);
}

TEST(Voices, ReturnTheirLocale) {
  VoiceLocale locale{};
  ASSERT_EQ(GetVoiceInfo(&kMaren, soVoiceLocale, &locale), noErr);
  EXPECT_STREQ(locale.identifier, "en_US");
}

TEST(Voices, ReturnTheirDescriptionAsInformation) {
  VoiceDescription expected{};
  VoiceDescription description{};
  ASSERT_EQ(GetVoiceDescription(nullptr, &expected, sizeof expected), noErr);
  ASSERT_EQ(GetVoiceInfo(nullptr, soVoiceDescription, &description), noErr);
  EXPECT_EQ(std::memcmp(&description, &expected, sizeof expected), 0);
}

TEST(Voices, LeaveTheRecordUnchangedWithoutSuchInformation) {
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

TEST_F(Manager, OpensAChannelWithTheRequestedVoice) {
  VoiceSpec voice = kMaren;
  SpeechChannel channel = nullptr;
  ASSERT_EQ(NewSpeechChannel(&voice, &channel), noErr);
  EXPECT_NE(channel, m_channel);
  EXPECT_EQ(synthesizer().channels().rbegin()->second.voicePath, VOICES_DIR "/Maren.SpeechVoice");
  EXPECT_EQ(DisposeSpeechChannel(channel), noErr);
}

TEST_F(Manager, ReturnsNoChannelOnFailure) {
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

TEST_F(Manager, RejectsAnInvalidChannel) {
  SpeechChannel disposed = nullptr;
  ASSERT_EQ(NewSpeechChannel(nullptr, &disposed), noErr);
  ASSERT_EQ(DisposeSpeechChannel(disposed), noErr);
  SpeechChannelRecord other{};
  Fixed rate = 0;
  auto* const random = reinterpret_cast<SpeechChannel>(std::uintptr_t{0xDEADBEEF});
  for (SpeechChannel const channel : {SpeechChannel{nullptr}, disposed, &other, random}) {
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
    EXPECT_EQ(TextToPhonemes(channel, "a", 1, nullptr, nullptr), invalidComponentID);
    EXPECT_EQ(UseDictionary(channel, nullptr), invalidComponentID);
    EXPECT_EQ(SpeakCFString(channel, CFSTR("a"), nullptr), invalidComponentID);
    EXPECT_EQ(SetSpeechProperty(channel, kSpeechRateProperty, nullptr), invalidComponentID);
    EXPECT_EQ(CopySpeechProperty(channel, kSpeechRateProperty, nullptr), invalidComponentID);
    EXPECT_EQ(CopyPhonemesFromText(channel, CFSTR("a"), nullptr), invalidComponentID);
    EXPECT_EQ(UseSpeechDictionary(channel, nullptr), invalidComponentID);
  }
}

TEST_F(Manager, NeverReusesAHandle) {
  std::vector<SpeechChannel> seen = {m_channel};
  for (int i = 0; i < 100; ++i) {
    SpeechChannel channel = nullptr;
    ASSERT_EQ(NewSpeechChannel(nullptr, &channel), noErr);
    EXPECT_THAT(seen, testing::Not(testing::Contains(channel)));
    seen.push_back(channel);
    ASSERT_EQ(DisposeSpeechChannel(channel), noErr);
  }
}

// ---- Settings

TEST_F(Manager, PassesSettingsToTheSynthesizerAndBack) {
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

TEST_F(Manager, RejectsNullWhereAValueIsRead) {
  for (const OSType selector : {soInputMode, soCharacterMode, soNumberMode, soRate, soPitchBase,
                                soPitchMod, soVolume, soCommandDelimiter, soCurrentVoice}) {
    EXPECT_EQ(SetSpeechInfo(m_channel, selector, nullptr), paramErr) << selector;
    EXPECT_EQ(GetSpeechInfo(m_channel, selector, nullptr), paramErr) << selector;
  }
  EXPECT_EQ(GetSpeechRate(m_channel, nullptr), paramErr);
}

TEST_F(Manager, ReturnsTheResultForAnUnknownSelector) {
  SInt32 value = 0;
  EXPECT_EQ(GetSpeechInfo(m_channel, 0x61626364, &value), siUnknownInfoType);
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

TEST_F(Manager, RejectsAFileWhosePathIsTooLong) {
  const std::string path = "/" + std::string(3000, 'x');
  CFURLRef url =
      CFURLCreateFromFileSystemRepresentation(nullptr, reinterpret_cast<const UInt8*>(path.data()),
                                              static_cast<CFIndex>(path.size()), false);
  EXPECT_EQ(SetSpeechInfo(m_channel, soOutputToFileWithCFURL, url), paramErr);
  EXPECT_FALSE(record().pointers.contains(soOutputToFileWithCFURL));
  CFRelease(url);
}

TEST_F(Manager, PassesOnValidDictionaries) {
  const std::string good(
      "\0\0\0\x0C"
      "dict"
      "\0\0\0\1",
      12);
  Handle handle = NewHandle(12);
  std::memcpy(*handle, good.data(), 12);
  EXPECT_EQ(UseDictionary(m_channel, handle), noErr);
  EXPECT_EQ(record().dictionary, good);
  (*handle)[3] = 13;  // longer than the handle
  EXPECT_EQ(UseDictionary(m_channel, handle), badDictFormat);
  std::memcpy(*handle,
              "\0\0\0\x0C"
              "what",
              8);
  EXPECT_EQ(UseDictionary(m_channel, handle), badDictFormat);
  SetHandleSize(handle, 3);
  EXPECT_EQ(UseDictionary(m_channel, handle), badDictFormat);
  EXPECT_EQ(UseDictionary(m_channel, nullptr), paramErr);
  EXPECT_EQ(UseDictionary(nullptr, handle), invalidComponentID);
  DisposeHandle(handle);
}

TEST(ManagerVersion, IsThatOfTheInterface) {
  const NumVersion version = SpeechManagerVersion();
  EXPECT_EQ(version.majorRev, 4);
  EXPECT_EQ(version.minorAndBugRev, 0x04);
  EXPECT_EQ(version.stage, finalStage);
}

void onTextDone(SpeechChannel /*channel*/, SRefCon refCon, const void** /*nextBuf*/,
                unsigned long* /*byteLen*/, SInt32* /*controlFlags*/) {
  onDone(nullptr, refCon);
}

TEST(CallbackHelpers, CallTheirFunction) {
  Reports reports;
  const void* next = nullptr;
  unsigned long bytes = 0;
  SInt32 flags = 0;
  InvokeSpeechTextDoneUPP(nullptr, &reports, &next, &bytes, &flags, onTextDone);
  InvokeSpeechDoneUPP(nullptr, &reports, onDone);
  InvokeSpeechSyncUPP(nullptr, &reports, 7, onSync);
  InvokeSpeechErrorUPP(nullptr, &reports, -5, 6, onError);
  InvokeSpeechPhonemeUPP(nullptr, &reports, 8, onPhoneme);
  InvokeSpeechWordUPP(nullptr, &reports, 9, 10, onWord);
  EXPECT_THAT(reports.lines(),
              ElementsAre("done", "done", "sync 7", "error -5 at 6", "phoneme 8", "word 9+10"));
}

TEST(CallbackHelpers, ReturnTheirFunction) {
  EXPECT_EQ(NewSpeechDoneUPP(onDone), onDone);
  EXPECT_EQ(NewSpeechTextDoneUPP(onTextDone), onTextDone);
  EXPECT_EQ(NewSpeechSyncUPP(onSync), onSync);
  EXPECT_EQ(NewSpeechErrorUPP(onError), onError);
  EXPECT_EQ(NewSpeechPhonemeUPP(onPhoneme), onPhoneme);
  EXPECT_EQ(NewSpeechWordUPP(onWord), onWord);
}

}  // namespace
