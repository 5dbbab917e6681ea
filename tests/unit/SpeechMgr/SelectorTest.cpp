// SPDX-License-Identifier: Apache-2.0
//
// The settings record and the selectors that get and set its values.

#include <array>
#include <cstring>

#include "channels/ChannelTest.h"

namespace channels {
namespace {

using scripted::engine;
using testing::IsEmpty;

constexpr Fixed fixed(double value) {
  return static_cast<Fixed>(value * 65536.0);
}

class Selectors : public ChannelTest {
 protected:
  template <class Value>
  static Value get(SpeechChannelIdentifier id, OSType selector) {
    Value value{};
    EXPECT_EQ(SEGetSpeechInfo(id, selector, &value), noErr);
    return value;
  }

  template <class Value>
  static void setValue(SpeechChannelIdentifier id, OSType selector, Value value) {
    EXPECT_EQ(SESetSpeechInfo(id, selector, &value), noErr);
  }

  static SpeechMgrEnv environment(SpeechChannelIdentifier id) {
    return read(id, [](const speech_channel& c) { return c.environment; });
  }
};

// ---- The record

TEST(SettingsRecord, StartsWithTheDefaults) {
  const SpeechMgrEnv settings;
  EXPECT_FALSE(settings.speakPhones);
  EXPECT_FALSE(settings.spellOut);
  EXPECT_FALSE(settings.sayDigits);
  EXPECT_EQ(settings.volume, 100.0);
  EXPECT_EQ(settings.wpm, 180.0);
  EXPECT_EQ(settings.pitchBase, 0);
  EXPECT_EQ(settings.pitchRange, 0);
  EXPECT_STREQ(settings.tagStart, "[[");
  EXPECT_STREQ(settings.tagEnd, "]]");
}

TEST(SettingsRecord, TheAssumedPitchesAreTheNotesOf100And180Hertz) {
  EXPECT_EQ(kAssumedMalePitch, 43);
  EXPECT_EQ(kAssumedFemalePitch, 53);
}

class PitchDefaults : public ChannelTest {
 protected:
  VoiceSpec m_voice{code("BRVD"), 7};
  SpeechMgrEnv m_settings;
};

TEST_F(PitchDefaults, FollowTheGenderOfTheVoice) {
  struct Row {
    SInt16 gender;
    int pitch;
  };
  for (const Row& row :
       {Row{kMale, 43}, Row{kFemale, 53}, Row{kNeuter, 53}, Row{-1, 53}, Row{99, 53}}) {
    voices().genders[7] = row.gender;
    SpeechMgrEnv settings;
    EXPECT_EQ(SetPitchDefaults(&m_voice, settings, false), 0);
    EXPECT_EQ(settings.pitchBase, row.pitch) << row.gender;
    EXPECT_EQ(settings.pitchAssumedBase, row.pitch) << row.gender;
  }
}

TEST_F(PitchDefaults, KeepABaseThatWasSet) {
  voices().genders[7] = kMale;
  m_settings.pitchBase = 50;
  m_settings.pitchAssumedBase = 53;
  EXPECT_EQ(SetPitchDefaults(&m_voice, m_settings, false), 0);
  EXPECT_EQ(m_settings.pitchBase, 50);
  EXPECT_EQ(m_settings.pitchAssumedBase, 53);
}

TEST_F(PitchDefaults, OverwriteBothWhenForced) {
  voices().genders[7] = kMale;
  m_settings.pitchBase = 50;
  m_settings.pitchAssumedBase = 53;
  EXPECT_EQ(SetPitchDefaults(&m_voice, m_settings, true), 0);
  EXPECT_EQ(m_settings.pitchBase, 43);
  EXPECT_EQ(m_settings.pitchAssumedBase, 43);
}

TEST_F(PitchDefaults, RequireAWholeDescription) {
  SetPitchDefaults(&m_voice, m_settings, false);
  SetPitchDefaults(nullptr, m_settings, false);
  ASSERT_EQ(voices().asked.size(), 2u);
  EXPECT_EQ(voices().asked[0], std::make_pair(OSType{7}, 362L));
  EXPECT_EQ(voices().asked[1], std::make_pair(OSType{0}, 362L));
}

// ---- Reading

TEST_F(Selectors, ANewChannelReturnsTheDefaults) {
  const SpeechChannelIdentifier id = open();
  EXPECT_EQ(get<Fixed>(id, soRate), 0x00B40000);
  EXPECT_EQ(get<Fixed>(id, soVolume), 0x00010000);
  EXPECT_EQ(get<Fixed>(id, soPitchBase), 0);
  EXPECT_EQ(get<Fixed>(id, soPitchMod), 0);
  EXPECT_EQ(get<OSType>(id, soInputMode), code("TEXT"));
  EXPECT_EQ(get<OSType>(id, soCharacterMode), code("NORM"));
  EXPECT_EQ(get<OSType>(id, soNumberMode), code("NORM"));
}

TEST_F(Selectors, TheSynthesizerReturnsItsName) {
  const auto version = get<SpeechVersionInfo>(open(), soSynthType);
  EXPECT_EQ(OSType{version.synthType}, code("ttsc"));
  EXPECT_EQ(OSType{version.synthSubType}, code("KVRL"));
  EXPECT_EQ(OSType{version.synthManufacturer}, code("BRVD"));
  EXPECT_EQ(int{version.synthFlags}, 0);
  EXPECT_EQ(version.synthVersion.majorRev, 4);
  EXPECT_EQ(version.synthVersion.minorAndBugRev, 0x04);
  EXPECT_EQ(version.synthVersion.stage, 0x80);
  EXPECT_EQ(version.synthVersion.nonRelRev, 0);
}

TEST_F(Selectors, StatusEqualsTheStatusEntryPoint) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().port(1).phoneme("ae", 3);
  const auto info = get<SpeechStatusInfo>(id, soStatus);
  EXPECT_EQ(int{info.outputBusy}, 1);
  EXPECT_EQ(int{info.phonemeCode}, 2);
  EXPECT_EQ(int{info.inputBytesLeft}, statusInfo(id).inputBytesLeft);
}

TEST_F(Selectors, ErrorsAndTheRecentSyncAreReadableAndNotWritten) {
  const SpeechChannelIdentifier id = open();
  for (const OSType selector : {OSType{soErrors}, OSType{soRecentSync}}) {
    std::array<unsigned char, 64> record;
    record.fill(0xA5);
    EXPECT_EQ(SEGetSpeechInfo(id, selector, record.data()), noErr);
    for (const unsigned char byte : record) EXPECT_EQ(byte, 0xA5);
  }
}

TEST_F(Selectors, UnknownSelectorsAreRejectedWhenReadAndAcceptedWhenWritten) {
  const SpeechChannelIdentifier id = open();
  for (const OSType selector : {code("zzzz"), OSType{0}, OSType{0xFFFFFFFF}, code("RATE"),
                                OSType{soPhonemeSymbols}, OSType{soCurrentVoice}}) {
    std::array<unsigned char, 64> record;
    record.fill(0xA5);
    EXPECT_EQ(SEGetSpeechInfo(id, selector, record.data()), siUnknownInfoType) << selector;
    for (const unsigned char byte : record) EXPECT_EQ(byte, 0xA5);
    EXPECT_EQ(SESetSpeechInfo(id, selector, record.data()), noErr) << selector;
  }
}

TEST_F(Selectors, PrivateOnesThatHostsMayUseReadAsOne) {
  const SpeechChannelIdentifier id = open();
  for (const unsigned long selector : {kStopAtBoundary, kUtf8Text, kOneVoice}) {
    UInt32 offered = 0;
    EXPECT_EQ(SEGetSpeechInfo(id, selector, &offered), noErr) << selector;
    EXPECT_EQ(offered, 1U) << selector;
  }
}

TEST_F(Selectors, WriteOnlySelectorsAreUnknownWhenRead) {
  const SpeechChannelIdentifier id = open();
  for (const OSType selector :
       std::vector<OSType>{soCommandDelimiter, soReset, soOutputToFileWithCFURL, soTextDoneCallBack,
                           soSpeechDoneCallBack, soSyncCallBack, soErrorCallBack, soPhonemeCallBack,
                           soWordCallBack, soRefCon, kCallerPositions, kEngineErrors}) {
    std::array<unsigned char, 64> record{};
    EXPECT_EQ(SEGetSpeechInfo(id, selector, record.data()), siUnknownInfoType) << selector;
  }
}

TEST_F(Selectors, ReadOnlySelectorsAreAcceptedAndIgnoredWhenWritten) {
  const SpeechChannelIdentifier id = open();
  OSType value = code("XXXX");
  for (const OSType selector : {soStatus, soErrors, soRecentSync, soSynthType}) {
    EXPECT_EQ(SESetSpeechInfo(id, selector, &value), noErr);
  }
  EXPECT_EQ(OSType{get<SpeechVersionInfo>(id, soSynthType).synthSubType}, code("KVRL"));
}

TEST_F(Selectors, ANullPointerIsRejectedBeforeTheSelectorIsChecked) {
  const SpeechChannelIdentifier id = open();
  for (const OSType selector : {OSType{soStatus}, OSType{soErrors}, OSType{soRate}, code("zzzz")}) {
    EXPECT_EQ(SEGetSpeechInfo(id, selector, nullptr), paramErr);
  }
}

// ---- Writing

TEST_F(Selectors, NumbersAreTruncatedToIntegers) {
  struct Row {
    OSType selector;
    Fixed set;
    Fixed get;
  };
  const SpeechChannelIdentifier id = open();
  for (const Row& row :
       {Row{soRate, fixed(200.75), fixed(200)}, Row{soRate, fixed(0), fixed(0)},
        Row{soRate, fixed(-1.5), fixed(-1)}, Row{soRate, fixed(32767), fixed(32767)},
        Row{soPitchBase, fixed(50.9), fixed(50)}, Row{soPitchBase, fixed(-3), fixed(-3)},
        Row{soPitchMod, fixed(12.5), fixed(12)}, Row{soVolume, fixed(0.5), fixed(0.5)},
        Row{soVolume, fixed(1), fixed(1)}, Row{soVolume, fixed(0), fixed(0)},
        Row{soVolume, fixed(2), fixed(2)}}) {
    setValue(id, row.selector, row.set);
    EXPECT_EQ(get<Fixed>(id, row.selector), row.get) << row.selector << ' ' << row.set;
  }
}

TEST_F(Selectors, TheVolumeIsKeptInPercent) {
  const SpeechChannelIdentifier id = open();
  setValue(id, soVolume, fixed(0.5));
  EXPECT_EQ(environment(id).volume, 50.0);
  setValue(id, soVolume, Fixed{1});
  EXPECT_EQ(environment(id).volume, 0.0);
}

TEST_F(Selectors, ThePitchBaseDoesNotChangeTheAssumedPitch) {
  const SpeechChannelIdentifier id = open();
  set(id, soReset, nullptr);
  ASSERT_EQ(environment(id).pitchAssumedBase, 53);
  setValue(id, soPitchBase, fixed(60));
  EXPECT_EQ(environment(id).pitchBase, 60);
  EXPECT_EQ(environment(id).pitchAssumedBase, 53);
}

TEST_F(Selectors, ModesAcceptOnlyTheirTwoCodes) {
  struct Row {
    OSType selector;
    OSType on;
    OSType off;
  };
  const SpeechChannelIdentifier id = open();
  for (const Row& row : {Row{soInputMode, code("PHON"), code("TEXT")},
                         Row{soCharacterMode, code("LTRL"), code("NORM")},
                         Row{soNumberMode, code("LTRL"), code("NORM")}}) {
    SCOPED_TRACE(row.selector);
    setValue(id, row.selector, row.on);
    EXPECT_EQ(get<OSType>(id, row.selector), row.on);
    for (const OSType other : {code("TUNE"), code("phon"), OSType{0}}) {
      setValue(id, row.selector, other);
      EXPECT_EQ(get<OSType>(id, row.selector), row.on);
    }
    setValue(id, row.selector, row.off);
    EXPECT_EQ(get<OSType>(id, row.selector), row.off);
    setValue(id, row.selector, code("TUNE"));
    EXPECT_EQ(get<OSType>(id, row.selector), row.off);
  }
}

TEST_F(Selectors, ModesAreIndependent) {
  const SpeechChannelIdentifier id = open();
  setValue(id, soCharacterMode, code("LTRL"));
  EXPECT_EQ(get<OSType>(id, soNumberMode), code("NORM"));
  EXPECT_EQ(get<OSType>(id, soInputMode), code("TEXT"));
}

TEST_F(Selectors, DelimitersAreRecordedAndNotUsed) {
  const SpeechChannelIdentifier id = open();
  setValue(id, soCommandDelimiter, DelimiterInfo{{'{', '('}, {')', '}'}});
  EXPECT_STREQ(environment(id).tagStart, "{(");
  EXPECT_STREQ(environment(id).tagEnd, ")}");
  ASSERT_EQ(speak(id, "a {(rate 200)} b [[rate 200]] c"), noErr);
  EXPECT_EQ(engine().port(1).text(), converted("a {(rate 200)} b [[rate 200]] c"));
  EXPECT_THAT(engine().port(1).text(), testing::HasSubstr("{(rate 200)}"));
}

TEST_F(Selectors, AResetRestoresTheSettingsAndTheVoicesPitch) {
  const SpeechChannelIdentifier id = open();
  VoiceSpec voice{code("BRVD"), 7};
  voices().genders[7] = kMale;
  speech_channel* const channel = find_channel(id);
  {
    const ChannelLock held(channel);
    channel_set_voice(channel, &voice, cst_strdup("/v"));
  }
  setValue(id, soRate, fixed(300));
  setValue(id, soVolume, fixed(0.25));
  setValue(id, soPitchBase, fixed(60));
  setValue(id, soPitchMod, fixed(9));
  setValue(id, soInputMode, code("PHON"));
  setValue(id, soCharacterMode, code("LTRL"));
  setValue(id, soNumberMode, code("LTRL"));
  setValue(id, soCommandDelimiter, DelimiterInfo{{'<', '('}, {')', '>'}});
  EXPECT_EQ(SESetSpeechInfo(id, soReset, nullptr), noErr);
  const SpeechMgrEnv settings = environment(id);
  EXPECT_EQ(settings.wpm, 180.0);
  EXPECT_EQ(settings.volume, 100.0);
  EXPECT_EQ(settings.pitchBase, 43);
  EXPECT_EQ(settings.pitchAssumedBase, 43);
  EXPECT_EQ(settings.pitchRange, 0);
  EXPECT_FALSE(settings.speakPhones || settings.spellOut || settings.sayDigits);
  EXPECT_STREQ(settings.tagStart, "[[");
  EXPECT_STREQ(settings.tagEnd, "]]");
}

TEST_F(Selectors, AResetWithoutAVoiceSelectsTheDefaultVoice) {
  const SpeechChannelIdentifier id = open();
  voices().genders[0] = kMale;
  EXPECT_EQ(SESetSpeechInfo(id, soReset, nullptr), noErr);
  EXPECT_EQ(environment(id).pitchBase, 43);
}

TEST_F(Selectors, AResetKeepsCallbacksFileAndVoice) {
  const SpeechChannelIdentifier id = open();
  setVoice(id, "/voices/Ava");
  setFile(id, "/tmp/out.aiff");
  EXPECT_EQ(SESetSpeechInfo(id, soReset, nullptr), noErr);
  const VoiceSpec voice = read(id, [](const speech_channel& c) { return *c.voice; });
  EXPECT_EQ(OSType{voice.id}, 1u);
  ASSERT_EQ(speak(id, "Hello"), noErr);
  EXPECT_EQ(engine().port(1).voice(), "/voices/Ava");
  EXPECT_EQ(engine().port(1).parameters()["audio/output-file"], "/tmp/out.aiff");
  engine().port(1).end();
  EXPECT_TRUE(client().waitForDone());
}

TEST_F(Selectors, CallbacksAndTheReferenceConstantAreStoredUnchanged) {
  const SpeechChannelIdentifier id = openBare();
  struct Row {
    OSType selector;
    void* value;
    std::function<void*(const speech_channel&)> field;
  };
  int constant = 0;
  const std::vector<Row> rows = {
      {soTextDoneCallBack, asPointer(Client::textDone),
       [](const speech_channel& c) { return asPointer(c.cb_text_done); }},
      {soSpeechDoneCallBack, asPointer(Client::done),
       [](const speech_channel& c) { return asPointer(c.cb_speech_done); }},
      {soSyncCallBack, asPointer(Client::sync),
       [](const speech_channel& c) { return asPointer(c.cb_sync); }},
      {soErrorCallBack, asPointer(Client::error),
       [](const speech_channel& c) { return asPointer(c.cb_error); }},
      {soPhonemeCallBack, asPointer(Client::phoneme),
       [](const speech_channel& c) { return asPointer(c.cb_phoneme); }},
      {soWordCallBack, asPointer(Client::word),
       [](const speech_channel& c) { return asPointer(c.cb_word); }},
      {soRefCon, &constant,
       [](const speech_channel& c) { return reinterpret_cast<void*>(c.refcon); }},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(read(id, row.field), nullptr) << row.selector;
    EXPECT_EQ(SESetSpeechInfo(id, row.selector, row.value), noErr);
    EXPECT_EQ(read(id, row.field), row.value) << row.selector;
    EXPECT_EQ(SESetSpeechInfo(id, row.selector, nullptr), noErr);
    EXPECT_EQ(read(id, row.field), nullptr) << row.selector;
  }
}

TEST_F(Selectors, EachChannelHasItsOwnSettings) {
  const SpeechChannelIdentifier one = open();
  const SpeechChannelIdentifier other = open();
  setValue(one, soRate, fixed(300));
  EXPECT_EQ(get<Fixed>(other, soRate), fixed(180));
}

TEST_F(Selectors, DoNotCallTheEngine) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().forgetCalls();
  setValue(id, soRate, fixed(300));
  setValue(id, soVolume, fixed(0.5));
  set(id, soReset, nullptr);
  set(id, soWordCallBack, nullptr);
  EXPECT_THAT(engine().calls(), IsEmpty());
  EXPECT_EQ(engine().port(1).text(), converted("Hello"));
}

// ---- Output to a file

class OutputFile : public Selectors {
 protected:
  static std::string file(SpeechChannelIdentifier id) {
    return read(
        id, [](const speech_channel& c) { return std::string(c.outfile ? c.outfile : "(none)"); });
  }
};

TEST_F(OutputFile, IsThePathOfTheURL) {
  const SpeechChannelIdentifier id = open();
  EXPECT_EQ(file(id), "(none)");
  EXPECT_EQ(setFile(id, "/tmp/a b.aiff"), noErr);
  EXPECT_EQ(file(id), "/tmp/a b.aiff");
}

TEST_F(OutputFile, IsReplacedAndReleased) {
  const SpeechChannelIdentifier id = open();
  setFile(id, "/tmp/one.aiff");
  setFile(id, "/tmp/two.aiff");
  EXPECT_EQ(file(id), "/tmp/two.aiff");
  EXPECT_EQ(engine().live().blocks, 1);
  EXPECT_EQ(set(id, soOutputToFileWithCFURL, nullptr), noErr);
  EXPECT_EQ(file(id), "(none)");
  EXPECT_EQ(engine().live().blocks, 0);
}

TEST_F(OutputFile, OfARelativeURLIsAbsolute) {
  const SpeechChannelIdentifier id = open();
  EXPECT_EQ(setFile(id, "out.aiff"), noErr);
  EXPECT_EQ(file(id).front(), '/');
  EXPECT_THAT(file(id), testing::EndsWith("/out.aiff"));
}

TEST_F(OutputFile, MayHave2047Bytes) {
  const SpeechChannelIdentifier id = open();
  const std::string longest = '/' + std::string(2046, 'x');
  EXPECT_EQ(setFile(id, longest), noErr);
  EXPECT_EQ(file(id), longest);
}

TEST_F(OutputFile, WithATooLongPathIsRejectedAndTheBufferIsUnchanged) {
  const SpeechChannelIdentifier id = open();
  EXPECT_EQ(setFile(id, '/' + std::string(2047, 'x')), paramErr);
  EXPECT_NE(read(id, [](const speech_channel& c) { return c.outfile; }), nullptr);
  EXPECT_EQ(engine().heldLocks(), 0);
  EXPECT_EQ(engine().live().blocks, 1);
  EXPECT_EQ(set(id, soOutputToFileWithCFURL, nullptr), noErr);
  EXPECT_EQ(engine().live().blocks, 0);
}

}  // namespace
}  // namespace channels
