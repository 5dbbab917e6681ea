// SPDX-License-Identifier: Apache-2.0
//
// The calls of the client interface that take or return Core Foundation objects.
#include <gmock/gmock.h>

#include "ManagerFixture.h"

namespace {

using namespace manager;
using testing::ElementsAre;

std::string textOf(CFTypeRef string) {
  char text[200] = "(no text)";
  if (string != nullptr && CFGetTypeID(string) == CFStringGetTypeID()) {
    CFStringGetCString(static_cast<CFStringRef>(string), text, sizeof text, kCFStringEncodingUTF8);
  }
  return text;
}

double numberOf(CFTypeRef number) {
  double value = -999;
  if (number != nullptr && CFGetTypeID(number) == CFNumberGetTypeID()) {
    CFNumberGetValue(static_cast<CFNumberRef>(number), kCFNumberDoubleType, &value);
  }
  return value;
}

class ManagerProperties : public Manager {
 protected:
  void TearDown() override {
    for (CFTypeRef const object : m_objects) CFRelease(object);
    Manager::TearDown();
  }

  // Released at the end of the test.
  template <typename Ref>
  Ref kept(Ref object) {
    m_objects.push_back(object);
    return object;
  }
  CFNumberRef number(double value) {
    return kept(CFNumberCreate(nullptr, kCFNumberDoubleType, &value));
  }
  CFNumberRef pointer(const void* value) {
    return kept(CFNumberCreate(nullptr, kCFNumberLongType, &value));
  }
  CFDictionaryRef dictionary(CFStringRef key, CFTypeRef value) {
    return kept(CFDictionaryCreate(nullptr, reinterpret_cast<const void**>(&key), &value, 1,
                                   &kCFTypeDictionaryKeyCallBacks,
                                   &kCFTypeDictionaryValueCallBacks));
  }

  CFTypeRef property(CFStringRef key) {
    CFTypeRef object = nullptr;
    EXPECT_EQ(CopySpeechProperty(m_channel, key, &object), noErr) << textOf(key);
    return kept(object);
  }
  CFTypeRef propertyAt(CFStringRef key, CFStringRef inner) {
    return CFDictionaryGetValue(static_cast<CFDictionaryRef>(property(key)), inner);
  }
  OSErr set(CFStringRef key, CFTypeRef object) { return SetSpeechProperty(m_channel, key, object); }

 private:
  std::vector<CFTypeRef> m_objects;
};

TEST_F(ManagerProperties, ConvertNumbersToFixed) {
  for (CFStringRef const key : {kSpeechRateProperty, kSpeechPitchBaseProperty,
                                kSpeechPitchModProperty, kSpeechVolumeProperty}) {
    EXPECT_EQ(set(key, number(0.75)), noErr);
    EXPECT_EQ(numberOf(property(key)), 0.75);
    EXPECT_EQ(set(key, number(40'000)), paramErr);
    EXPECT_EQ(set(key, CFSTR("1")), paramErr);
    EXPECT_EQ(set(key, nullptr), paramErr);
  }
  EXPECT_EQ(record().numbers.at(soVolume), 0xC000);
}

TEST_F(ManagerProperties, RepresentModesAsStrings) {
  EXPECT_EQ(set(kSpeechInputModeProperty, kSpeechModePhoneme), noErr);
  EXPECT_EQ(textOf(property(kSpeechInputModeProperty)), textOf(kSpeechModePhoneme));
  EXPECT_EQ(set(kSpeechCharacterModeProperty, kSpeechModeLiteral), noErr);
  EXPECT_EQ(textOf(property(kSpeechCharacterModeProperty)), textOf(kSpeechModeLiteral));
  EXPECT_EQ(set(kSpeechNumberModeProperty, kSpeechModeNormal), noErr);
  EXPECT_EQ(set(kSpeechNumberModeProperty, kSpeechModePhoneme), paramErr);
  EXPECT_EQ(set(kSpeechInputModeProperty, CFSTR("loud")), paramErr);
}

TEST_F(ManagerProperties, ReturnTheState) {
  ASSERT_EQ(speak("one two"), noErr);
  synthesizer().sendWord(m_identifier, 4, 3);
  synthesizer().sendPhoneme(m_identifier, 35);
  EXPECT_EQ(numberOf(propertyAt(kSpeechStatusProperty, kSpeechStatusOutputBusy)), 1);
  EXPECT_EQ(numberOf(propertyAt(kSpeechStatusProperty, kSpeechStatusOutputPaused)), 0);
  EXPECT_EQ(numberOf(propertyAt(kSpeechStatusProperty, kSpeechStatusNumberOfCharactersLeft)), 3);
  EXPECT_EQ(numberOf(propertyAt(kSpeechStatusProperty, kSpeechStatusPhonemeCode)), 35);
  synthesizer().sendSync(m_identifier, 0x10000);
  EXPECT_EQ(numberOf(property(kSpeechRecentSyncProperty)), 65536);
}

TEST_F(ManagerProperties, ReturnErrorsOnce) {
  ASSERT_EQ(speak("one two"), noErr);
  synthesizer().sendError(m_identifier, badInputText, 4);
  const auto errors = static_cast<CFDictionaryRef>(property(kSpeechErrorsProperty));
  EXPECT_EQ(numberOf(CFDictionaryGetValue(errors, kSpeechErrorCount)), 1);
  EXPECT_EQ(numberOf(CFDictionaryGetValue(errors, kSpeechErrorOldest)), -247);
  EXPECT_EQ(numberOf(CFDictionaryGetValue(errors, kSpeechErrorNewestCharacterOffset)), 4);
  EXPECT_EQ(numberOf(propertyAt(kSpeechErrorsProperty, kSpeechErrorCount)), 0);
}

TEST_F(ManagerProperties, ReturnTheSynthesizer) {
  EXPECT_EQ(textOf(propertyAt(kSpeechSynthesizerInfoProperty, kSpeechSynthesizerInfoIdentifier)),
            "KVRL");
  EXPECT_EQ(numberOf(propertyAt(kSpeechCurrentVoiceProperty, kSpeechVoiceID)), 101);
  const auto voice = static_cast<CFDictionaryRef>(property(kSpeechCurrentVoiceProperty));
  ASSERT_EQ(SetSpeechInfo(m_channel, soCurrentVoice, &kMaren), noErr);
  EXPECT_EQ(set(kSpeechCurrentVoiceProperty, voice), noErr);
  EXPECT_EQ(OSType{record().voice.id}, kCorin.id);
  EXPECT_EQ(set(kSpeechCurrentVoiceProperty, dictionary(kSpeechVoiceID, number(1))), paramErr);
}

TEST_F(ManagerProperties, ReturnThePhonemeSymbols) {
  const auto symbols = static_cast<CFArrayRef>(property(kSpeechPhonemeSymbolsProperty));
  ASSERT_EQ(CFArrayGetCount(symbols), 42);
  const auto iy = static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(symbols, 6));
  EXPECT_EQ(textOf(CFDictionaryGetValue(iy, kSpeechPhonemeInfoSymbol)), "IY");
  EXPECT_EQ(numberOf(CFDictionaryGetValue(iy, kSpeechPhonemeInfoOpcode)), 6);
  const std::string example = textOf(CFDictionaryGetValue(iy, kSpeechPhonemeInfoExample));
  EXPECT_LE(numberOf(CFDictionaryGetValue(iy, kSpeechPhonemeInfoHiliteEnd)), example.size());
}

TEST_F(ManagerProperties, AreRejectedWhenUnknownReadOnlyOrWriteOnly) {
  CFTypeRef object = CFSTR("left over");
  EXPECT_EQ(CopySpeechProperty(m_channel, CFSTR("colour"), &object), siUnknownInfoType);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(CopySpeechProperty(m_channel, kSpeechResetProperty, &object), siUnknownInfoType);
  EXPECT_EQ(CopySpeechProperty(m_channel, nullptr, &object), paramErr);
  EXPECT_EQ(CopySpeechProperty(m_channel, kSpeechRateProperty, nullptr), paramErr);
  EXPECT_EQ(set(CFSTR("colour"), CFSTR("red")), siUnknownInfoType);
  EXPECT_EQ(set(kSpeechStatusProperty, number(1)), siUnknownInfoType);
  EXPECT_EQ(set(nullptr, number(1)), paramErr);
}

TEST_F(ManagerProperties, SetDelimitersFileAndReset) {
  CFStringRef keys[] = {kSpeechCommandPrefix, kSpeechCommandSuffix};
  CFStringRef values[] = {CFSTR("<<"), CFSTR(">")};
  const auto delimiters = kept(CFDictionaryCreate(
      nullptr, reinterpret_cast<const void**>(keys), reinterpret_cast<const void**>(values), 2,
      &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
  EXPECT_EQ(set(kSpeechCommandDelimiterProperty, delimiters), noErr);
  EXPECT_TRUE(record().pointers.contains(soCommandDelimiter));
  EXPECT_EQ(set(kSpeechCommandDelimiterProperty, dictionary(kSpeechCommandPrefix, CFSTR("<<"))),
            paramErr);
  const auto url = kept(
      CFURLCreateWithFileSystemPath(nullptr, CFSTR("/tmp/x.aiff"), kCFURLPOSIXPathStyle, false));
  EXPECT_EQ(set(kSpeechOutputToFileURLProperty, url), noErr);
  EXPECT_EQ(record().pointers.at(soOutputToFileWithCFURL), url);
  EXPECT_EQ(set(kSpeechOutputToFileURLProperty, nullptr), noErr);
  EXPECT_EQ(set(kSpeechOutputToFileURLProperty, CFSTR("/tmp/x.aiff")), paramErr);
  EXPECT_EQ(set(kSpeechResetProperty, nullptr), noErr);
  EXPECT_TRUE(record().pointers.contains(soReset));
}

void wordOfString(SpeechChannel channel, SRefCon refCon, CFStringRef string, CFRange range) {
  CFStringRef word = CFStringCreateWithSubstring(nullptr, string, range);
  static_cast<Reports*>(refCon)->add(channel, textOf(word));
  CFRelease(word);
}
void errorOfString(SpeechChannel channel, SRefCon refCon, CFErrorRef error) {
  CFDictionaryRef info = CFErrorCopyUserInfo(error);
  const auto offset = numberOf(CFDictionaryGetValue(info, kSpeechErrorCallbackCharacterOffset));
  static_cast<Reports*>(refCon)->add(
      channel, std::to_string(CFErrorGetCode(error)) + " at " +
                   std::to_string(static_cast<int>(offset)) + " of " +
                   textOf(CFDictionaryGetValue(info, kSpeechErrorCallbackSpokenString)));
  CFRelease(info);
}

TEST_F(ManagerProperties, InstallCallbacksThatReceiveStrings) {
  EXPECT_EQ(set(kSpeechRefConProperty, pointer(&m_reports)), noErr);
  EXPECT_EQ(set(kSpeechWordCFCallBack, pointer(reinterpret_cast<const void*>(wordOfString))),
            noErr);
  EXPECT_EQ(set(kSpeechErrorCFCallBack, pointer(reinterpret_cast<const void*>(errorOfString))),
            noErr);
  EXPECT_EQ(set(kSpeechSpeechDoneCallBack, pointer(reinterpret_cast<const void*>(onDone))), noErr);
  EXPECT_EQ(set(kSpeechSyncCallBack, CFSTR("no number")), paramErr);
  const auto string = kept(CFStringCreateWithCString(
      nullptr, "\xE2\x80\x9Cone\xE2\x80\x9D tw\xC3\xB6", kCFStringEncodingUTF8));
  ASSERT_EQ(SpeakCFString(m_channel, string, nullptr), noErr);
  synthesizer().sendWord(m_identifier, 1, 3);
  synthesizer().sendWord(m_identifier, 6, 3);
  synthesizer().sendError(m_identifier, badInputText, 6);
  ASSERT_TRUE(m_reports.wait(3));
  // For a text given as bytes: a string with the same text.
  ASSERT_EQ(speak("z\x9A"), noErr);
  synthesizer().sendWord(m_identifier, 0, 2);
  ASSERT_TRUE(m_reports.wait(5));
  EXPECT_THAT(m_reports.lines(), ElementsAre("one", "tw\xC3\xB6",
                                             "-247 at 6 of \xE2\x80\x9Cone\xE2\x80\x9D tw\xC3\xB6",
                                             "done", "z\xC3\xB6"));
}

TEST_F(ManagerProperties, PassOptionsToSpeakCFString) {
  ASSERT_EQ(SpeakCFString(m_channel, CFSTR("one"), nullptr), noErr);
  EXPECT_EQ(
      SpeakCFString(m_channel, CFSTR("two"), dictionary(kSpeechNoSpeechInterrupt, kCFBooleanTrue)),
      synthNotReady);
  EXPECT_EQ(
      SpeakCFString(m_channel, CFSTR("two"), dictionary(kSpeechNoSpeechInterrupt, kCFBooleanFalse)),
      noErr);
  EXPECT_EQ(SpeakCFString(m_channel, CFSTR("two"), dictionary(kSpeechNoEndingProsody, number(1))),
            noErr);
  EXPECT_EQ(record().text, "two,");
  EXPECT_EQ(
      SpeakCFString(m_channel, CFSTR("three"), dictionary(kSpeechPreflightThenPause, number(1))),
      noErr);
  EXPECT_EQ(status(), "paused, 5 left");
  EXPECT_EQ(SpeakCFString(m_channel, nullptr, nullptr), noErr);
  EXPECT_EQ(status(), "idle, 0 left");
  ASSERT_EQ(SpeakCFString(m_channel, CFSTR("four"), nullptr), noErr);
  EXPECT_EQ(SpeakCFString(m_channel, CFSTR(""), nullptr), noErr);
  EXPECT_EQ(SpeechBusy(), 0);
}

TEST_F(ManagerProperties, CheckTheFormOfPronunciationDictionaries) {
  const auto entryOf = [&](CFStringRef phonemes) {
    const auto entry = kept(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                      &kCFTypeDictionaryValueCallBacks));
    CFDictionarySetValue(entry, kSpeechDictionaryEntrySpelling, CFSTR("tomato"));
    if (phonemes != nullptr) CFDictionarySetValue(entry, kSpeechDictionaryEntryPhonemes, phonemes);
    const void* entries[] = {entry};
    return dictionary(kSpeechDictionaryPronunciations,
                      kept(CFArrayCreate(nullptr, entries, 1, &kCFTypeArrayCallBacks)));
  };
  EXPECT_EQ(UseSpeechDictionary(m_channel, entryOf(CFSTR("tAXmAAtOW"))), noErr);
  EXPECT_EQ(UseSpeechDictionary(m_channel, entryOf(nullptr)), badDictFormat);
  EXPECT_EQ(
      UseSpeechDictionary(m_channel, dictionary(kSpeechDictionaryPronunciations, CFSTR("tomato"))),
      badDictFormat);
  EXPECT_EQ(UseSpeechDictionary(m_channel, nullptr), paramErr);
}

}  // namespace
