// SPDX-License-Identifier: Apache-2.0
//
// Texts that the Manager adapts: what the synthesizer gets, and what clients learn of it.
#include <gmock/gmock.h>

#include "ManagerFixture.h"

namespace {

using manager::onError;
using manager::synthesizer;
using testing::ElementsAre;

class ManagerTexts : public manager::Manager {
 protected:
  void SetUp() override {
    Manager::SetUp();
    installAll();
  }

  std::vector<std::string> reportsAfter(std::size_t count) {
    EXPECT_TRUE(m_reports.wait(count));
    letCallbacksPass();
    return m_reports.lines();
  }

  void setStrict(CFTypeRef value) {
    EXPECT_EQ(SetSpeechProperty(m_channel, kSpeechStrictTextProperty, value), noErr);
  }

  SpeechErrorInfo errors() const {
    SpeechErrorInfo info{};
    EXPECT_EQ(GetSpeechInfo(m_channel, soErrors, &info), noErr);
    return info;
  }
};

TEST_F(ManagerTexts, GivesTheSynthesizerTheAdaptedText) {
  ASSERT_EQ(speak("a [[sync 0x41]]b[[frob]]c"), noErr);
  EXPECT_EQ(record().text, "a [[sync 1]]bc");
}

TEST_F(ManagerTexts, LeavesOrdinaryTextsUnchanged) {
  const std::string text = "a [[ rate 200; volm 0.5 ]]b & [c] <d>";
  ASSERT_EQ(speak(text), noErr);
  EXPECT_EQ(record().text, text);
}

TEST_F(ManagerTexts, ReportsSyncMarksWithTheirWrittenValues) {
  ASSERT_EQ(speak("[[sync 7]]a[[sync 0xFFFFFFFF]]b[[sync 'four']]c[[sync 7]]"), noErr);
  for (OSType number = 1; number <= 4; ++number) {
    synthesizer().sendSync(m_identifier, number << 16U);
  }
  EXPECT_THAT(reportsAfter(4),
              ElementsAre("sync 7", "sync 4294967295", "sync 1718580594", "sync 7"));
  OSType recent = 0;
  EXPECT_EQ(GetSpeechInfo(m_channel, soRecentSync, &recent), noErr);
  EXPECT_EQ(recent, 7U);
}

// A synthesizer that skips a mark does not shift the values of later ones.
TEST_F(ManagerTexts, KeepsValuesApartIfAMarkIsNotReached) {
  ASSERT_EQ(speak("[[sync 10]]a[[sync 20]]b[[sync 30]]"), noErr);
  synthesizer().sendSync(m_identifier, 1U << 16U);
  synthesizer().sendSync(m_identifier, 3U << 16U);
  EXPECT_THAT(reportsAfter(2), ElementsAre("sync 10", "sync 30"));
}

TEST_F(ManagerTexts, ReportsMoreMarksThanNumbersFit) {
  std::string text;
  constexpr std::uint32_t kMarks = 65540;
  for (std::uint32_t i = 0; i < kMarks; ++i) text += "[[sync " + std::to_string(i * 3) + "]]";
  ASSERT_EQ(speak(text), noErr);
  for (std::uint32_t i = 0; i < kMarks; ++i) {
    synthesizer().sendSync(m_identifier, (i % 65535 + 1) << 16U);
  }
  const std::vector<std::string> lines = reportsAfter(kMarks);
  ASSERT_EQ(lines.size(), kMarks);
  EXPECT_EQ(lines.front(), "sync 0");
  EXPECT_EQ(lines[65535], "sync " + std::to_string(65535 * 3));
  EXPECT_EQ(lines.back(), "sync " + std::to_string((kMarks - 1) * 3));
}

TEST_F(ManagerTexts, AcceptsSynthesizersThatReportTheNumberItself) {
  ASSERT_EQ(speak("[[sync 0x10]]a[[sync 0x20]]"), noErr);
  synthesizer().sendSync(m_identifier, 1);
  synthesizer().sendSync(m_identifier, 2);
  EXPECT_THAT(reportsAfter(2), ElementsAre("sync 16", "sync 32"));
}

TEST_F(ManagerTexts, ReportsWordsWhereTheCallerWroteThem) {
  const std::string text = "one [[frob]]two[[slcn 5]] [[sync 0x9]]three";
  ASSERT_EQ(speak(text), noErr);
  const std::string adapted = record().text;
  for (const char* const word : {"one", "two", "three"}) {
    synthesizer().sendWord(m_identifier, adapted.find(word),
                           static_cast<UInt16>(std::string(word).size()));
  }
  EXPECT_THAT(reportsAfter(5), ElementsAre("error -247 at 4", "error -247 at 15", "word 0+3",
                                           "word 12+3", "word 38+5"));
  EXPECT_EQ(status(), "busy, 5 left");
}

TEST_F(ManagerTexts, CountsAllBytesAsLeftBeforeTheFirstWord) {
  ASSERT_EQ(speak("[[frob]]a"), noErr);
  EXPECT_EQ(status(), "busy, 9 left");
}

TEST_F(ManagerTexts, CountsUtf16UnitsForStrings) {
  // Two units of the string become one byte.
  const char* const kText = "\xE2\x82\xAC\xF0\x9D\x90\x80 [[frob]]b[[sync 0x5]]c";
  const CFStringRef string =
      CFStringCreateWithCString(kCFAllocatorDefault, kText, kCFStringEncodingUTF8);
  ASSERT_EQ(SpeakCFString(m_channel, string, nullptr), noErr);
  CFRelease(string);
  const std::string adapted = record().text;
  synthesizer().sendWord(m_identifier, adapted.find('b'), 1);
  EXPECT_THAT(reportsAfter(2), ElementsAre("error -247 at 4", "word 12+1"));
}

// ---- Errors

TEST_F(ManagerTexts, ReportsProblemsBeforeTheSpeech) {
  ASSERT_EQ(speak("a [[rate x]]b [[inpt PHON]]d'[[inpt TEXT]] [["), noErr);
  synthesizer().sendWord(m_identifier, 0, 1);
  EXPECT_THAT(reportsAfter(4),
              ElementsAre("error -247 at 2", "error -247 at 28", "error -247 at 43", "word 0+1"));
  // Copies, since the record is packed and a reference to its positions would be misaligned.
  const SpeechErrorInfo info = errors();
  EXPECT_EQ(info.count, 3);
  EXPECT_EQ(info.oldest, badInputText);
  EXPECT_EQ(SInt32{info.oldPos}, 2);
  EXPECT_EQ(info.newest, badInputText);
  EXPECT_EQ(SInt32{info.newPos}, 43);
}

void onErrorObject(SpeechChannel channel, SRefCon refCon, CFErrorRef error) {
  const CFStringRef text = CFErrorCopyDescription(error);
  char description[100] = "";
  CFStringGetCString(text, description, sizeof description, kCFStringEncodingASCII);
  CFRelease(text);
  const CFDictionaryRef info = CFErrorCopyUserInfo(error);
  long offset = -1;
  CFNumberGetValue(
      static_cast<CFNumberRef>(CFDictionaryGetValue(info, kSpeechErrorCallbackCharacterOffset)),
      kCFNumberLongType, &offset);
  const auto spoken =
      static_cast<CFStringRef>(CFDictionaryGetValue(info, kSpeechErrorCallbackSpokenString));
  const CFIndex length = spoken == nullptr ? -1 : CFStringGetLength(spoken);
  CFRelease(info);
  static_cast<manager::Reports*>(refCon)->add(
      channel, std::string(description) + " " + std::to_string(CFErrorGetCode(error)) + " at " +
                   std::to_string(offset) + " of " + std::to_string(length));
}

TEST_F(ManagerTexts, DescribesProblemsInErrorObjects) {
  install(soErrorCallBack, static_cast<void (*)(SpeechChannel, SRefCon, OSErr, long)>(nullptr));
  const auto pointer = reinterpret_cast<long>(onErrorObject);
  const CFNumberRef number = CFNumberCreate(kCFAllocatorDefault, kCFNumberLongType, &pointer);
  ASSERT_EQ(SetSpeechProperty(m_channel, kSpeechErrorCFCallBack, number), noErr);
  CFRelease(number);
  ASSERT_EQ(speak("[[frob]][[rate x]][[inpt PHON]]Q[[inpt TEXT]][["), noErr);
  EXPECT_THAT(reportsAfter(4),
              ElementsAre("unknown embedded command -247 at 0 of 47",
                          "missing or invalid argument of an embedded command -247 at 8 of 47",
                          "unknown phoneme symbol -247 at 31 of 47",
                          "embedded command that is not closed -247 at 45 of 47"));
}

// ---- Settings

TEST_F(ManagerTexts, PassesTextsOnAsTheyAreIfStrict) {
  setStrict(kCFBooleanTrue);
  ASSERT_EQ(speak("a [[sync 0x41]]b[[frob]]c"), noErr);
  EXPECT_EQ(record().text, "a [[sync 0x41]]b[[frob]]c");
  synthesizer().sendSync(m_identifier, 1U << 16U);
  EXPECT_THAT(reportsAfter(1), ElementsAre("sync 65536"));
  EXPECT_EQ(errors().count, 0);
}

TEST_F(ManagerTexts, ReadsAndWritesStrictness) {
  const auto isStrict = [&] {
    CFTypeRef value = nullptr;
    EXPECT_EQ(CopySpeechProperty(m_channel, kSpeechStrictTextProperty, &value), noErr);
    const bool result = CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0;
    CFRelease(value);
    return result;
  };
  EXPECT_FALSE(isStrict());
  setStrict(kCFBooleanTrue);
  EXPECT_TRUE(isStrict());
  EXPECT_EQ(SetSpeechInfo(m_channel, soReset, nullptr), noErr);
  EXPECT_TRUE(isStrict());
  setStrict(kCFBooleanFalse);
  EXPECT_FALSE(isStrict());
  EXPECT_EQ(SetSpeechProperty(m_channel, kSpeechStrictTextProperty, CFSTR("yes")), paramErr);
  EXPECT_EQ(SetSpeechProperty(m_channel, kSpeechStrictTextProperty, nullptr), paramErr);
}

TEST_F(ManagerTexts, PassesOneVoiceOnAndReadsItBack) {
  constexpr OSType kOneVoice = 0x31766365;  // '1vce'
  const auto property = [&] {
    CFTypeRef value = nullptr;
    EXPECT_EQ(CopySpeechProperty(m_channel, kSpeechOneVoiceProperty, &value), noErr);
    const bool result = CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0;
    CFRelease(value);
    return result;
  };
  EXPECT_FALSE(property());
  ASSERT_EQ(SetSpeechProperty(m_channel, kSpeechOneVoiceProperty, kCFBooleanTrue), noErr);
  EXPECT_TRUE(property());
  EXPECT_NE(record().pointers[kOneVoice], nullptr);
  ASSERT_EQ(SetSpeechInfo(m_channel, soReset, nullptr), noErr);
  EXPECT_TRUE(property());
  ASSERT_EQ(SetSpeechProperty(m_channel, kSpeechOneVoiceProperty, kCFBooleanFalse), noErr);
  EXPECT_FALSE(property());
  EXPECT_EQ(record().pointers[kOneVoice], nullptr);
  EXPECT_EQ(SetSpeechProperty(m_channel, kSpeechOneVoiceProperty, CFSTR("yes")), paramErr);
}

TEST_F(ManagerTexts, HonoursTheDelimitersOfTheChannel) {
  DelimiterInfo delimiters = {{'(', '('}, {')', ')'}};
  ASSERT_EQ(SetSpeechInfo(m_channel, soCommandDelimiter, &delimiters), noErr);
  ASSERT_EQ(speak("((rate 200))a [[b]]"), noErr);
  EXPECT_EQ(record().text, "[[rate 200]]a [ [b]]");
  ASSERT_EQ(SetSpeechInfo(m_channel, soReset, nullptr), noErr);
  ASSERT_EQ(speak("((rate 200))a [[b]]"), noErr);
  EXPECT_EQ(record().text, "((rate 200))a ");
}

TEST_F(ManagerTexts, ReadsTheWholeTextAsPhonemesInThatMode) {
  OSType mode = modePhonemes;
  ASSERT_EQ(SetSpeechInfo(m_channel, soInputMode, &mode), noErr);
  ASSERT_EQ(speak("hEH, 'lOW."), noErr);
  EXPECT_EQ(record().text, "hEH% lOW%");
}

TEST_F(ManagerTexts, KeepsTheEndingProsodyOfAdaptedTexts) {
  ASSERT_EQ(speak("[[frob]]a [[emph +]]b", kNoEndingProsody), noErr);
  EXPECT_EQ(record().text, "a [[emph +]]b,[[cmnt]]  ");
}

TEST_F(ManagerTexts, AdaptsTheTextAndItsPiecesTogether) {
  static const char* const kPieces[] = {"0x41]]b [[fr", "ob]]c"};
  static std::size_t next;
  next = 0;
  const auto more = [](SpeechChannel, SRefCon, const void** buffer, unsigned long* length,
                       SInt32*) {
    *buffer = next < 2 ? kPieces[next] : nullptr;
    *length = next < 2 ? std::string(kPieces[next]).size() : 0;
    ++next;
  };
  install(soTextDoneCallBack, +more);
  ASSERT_EQ(speak("a [[sync "), noErr);
  EXPECT_THAT(reportsAfter(1), ElementsAre("error -247 at 8"));
  EXPECT_EQ(record().text, "a [[sync 1]]b c");
}

}  // namespace
