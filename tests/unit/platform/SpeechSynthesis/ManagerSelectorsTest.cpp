// SPDX-License-Identifier: Apache-2.0
//
// Which selectors and properties the Manager accepts, and the names that are declared but not
// offered.
#include <cstring>
#include <string>

#include <gmock/gmock.h>

#include "ManagerFixture.h"

namespace {

using namespace manager;

using ManagerBehaviour = Manager;

// Room for the value of any selector; its first four bytes are `code`.
struct Value {
  explicit Value(OSType code) { std::memcpy(bytes, &code, sizeof code); }
  alignas(8) char bytes[64] = {};
};

std::string pascalText(const unsigned char* string) {
  return {reinterpret_cast<const char*>(string) + 1, string[0]};
}

// ---- Selectors

TEST_F(ManagerBehaviour, ASelectorThatNobodyKnowsIsRejected) {
  constexpr OSType kUnknown[] = {0, 0x61626364, 0xFFFFFFFF, soVoiceDescription, modeText};
  for (const OSType selector : kUnknown) {
    Value value(0x10000);
    EXPECT_EQ(SetSpeechInfo(m_channel, selector, &value), siUnknownInfoType) << selector;
    EXPECT_EQ(SetSpeechInfo(m_channel, selector, nullptr), siUnknownInfoType) << selector;
    EXPECT_EQ(GetSpeechInfo(m_channel, selector, &value), siUnknownInfoType) << selector;
    EXPECT_FALSE(record().pointers.contains(selector)) << selector;
    EXPECT_EQ(SetSpeechInfo(nullptr, selector, &value), invalidComponentID) << selector;
  }
}

TEST_F(ManagerBehaviour, EverySelectorOfTheHeaderIsAccepted) {
  for (const OSType selector :
       {soRate, soPitchBase, soPitchMod, soVolume, soCommandDelimiter, soReset, soTextDoneCallBack,
        soSpeechDoneCallBack, soSyncCallBack, soErrorCallBack, soPhonemeCallBack, soWordCallBack,
        soRefCon, soSynthExtension}) {
    Value value(0x10000);
    const void* const argument =
        selector == soReset || (selector & 0xFFFF) == 0x6362 || selector == soRefCon
            ? nullptr
            : static_cast<const void*>(&value);
    EXPECT_EQ(SetSpeechInfo(m_channel, selector, argument), noErr) << selector;
  }
  EXPECT_EQ(SetSpeechInfo(m_channel, soCurrentVoice, &kMaren), noErr);
  EXPECT_EQ(SetSpeechInfo(m_channel, soOutputToFileWithCFURL, nullptr), noErr);
}

TEST_F(ManagerBehaviour, AReadOnlySelectorIsIgnoredWhenItIsSet) {
  for (const OSType selector : {soStatus, soErrors, soSynthType, soRecentSync, soPhonemeSymbols}) {
    Value value(0);
    EXPECT_EQ(SetSpeechInfo(m_channel, selector, &value), noErr) << selector;
  }
}

TEST_F(ManagerBehaviour, AnUnknownModeIsRejected) {
  const struct {
    OSType selector;
    OSType mode;
    OSErr result;
  } table[] = {{soInputMode, modeText, noErr},         {soInputMode, modePhonemes, noErr},
               {soInputMode, modeTune, noErr},         {soInputMode, modeNormal, paramErr},
               {soInputMode, modeLiteral, paramErr},   {soInputMode, 0, paramErr},
               {soCharacterMode, modeNormal, noErr},   {soCharacterMode, modeLiteral, noErr},
               {soCharacterMode, modeText, paramErr},  {soCharacterMode, 0x6C74726C, paramErr},
               {soNumberMode, modeNormal, noErr},      {soNumberMode, modeLiteral, noErr},
               {soNumberMode, modePhonemes, paramErr}, {soNumberMode, 0xFFFFFFFF, paramErr}};
  for (const auto& row : table) {
    const auto before = record().numbers;
    EXPECT_EQ(SetSpeechInfo(m_channel, row.selector, &row.mode), row.result) << row.mode;
    if (row.result == noErr) {
      EXPECT_EQ(static_cast<OSType>(record().numbers.at(row.selector)), row.mode);
    } else {
      EXPECT_EQ(record().numbers, before);
    }
  }
}

TEST_F(ManagerBehaviour, AnUnknownModeIsRejectedAsAProperty) {
  EXPECT_EQ(SetSpeechProperty(m_channel, kSpeechInputModeProperty, CFSTR("TUNA")), paramErr);
  EXPECT_EQ(SetSpeechProperty(m_channel, kSpeechNumberModeProperty, kSpeechModeText), paramErr);
  EXPECT_EQ(SetSpeechProperty(m_channel, kSpeechNumberModeProperty, kSpeechModeLiteral), noErr);
}

TEST_F(ManagerBehaviour, PhonemeSymbolsAreAHandleWithADescriptor) {
  Handle symbols = nullptr;
  ASSERT_EQ(GetSpeechInfo(m_channel, soPhonemeSymbols, &symbols), noErr);
  ASSERT_NE(symbols, nullptr);
  constexpr int kCount = 42;
  ASSERT_EQ(GetHandleSize(symbols), 2 + 54 * kCount);
  const auto* const descriptor = reinterpret_cast<const PhonemeDescriptor*>(*symbols);
  ASSERT_EQ(SInt16{descriptor->phonemeCount}, kCount);
  const PhonemeInfo* const infos = descriptor->thePhonemes;
  for (int code = 0; code < kCount; ++code) {
    EXPECT_EQ(SInt16{infos[code].opcode}, code);
    EXPECT_GT(infos[code].phStr[0], 0);
    EXPECT_LE(SInt16{infos[code].hiliteStart}, SInt16{infos[code].hiliteEnd});
    EXPECT_LE(SInt16{infos[code].hiliteEnd}, infos[code].exampleStr[0]);
    EXPECT_EQ(infos[code].phStr[15], 0);
    EXPECT_EQ(infos[code].exampleStr[31], 0);
  }
  EXPECT_EQ(pascalText(infos[6].phStr), "IY");
  EXPECT_EQ(pascalText(infos[6].exampleStr), "see");
  EXPECT_EQ(SInt16{infos[6].hiliteStart}, 1);
  EXPECT_EQ(SInt16{infos[6].hiliteEnd}, 3);

  // Each call creates a handle.
  Handle others = symbols;
  ASSERT_EQ(GetSpeechInfo(m_channel, soPhonemeSymbols, &others), noErr);
  EXPECT_NE(others, symbols);
  DisposeHandle(others);
  DisposeHandle(symbols);
  EXPECT_EQ(GetSpeechInfo(m_channel, soPhonemeSymbols, nullptr), paramErr);
}

// ---- Declared, not offered

TEST_F(ManagerBehaviour, SelectorsThatAreNotOfferedAreUnknown) {
  for (const OSType selector : {soCurrentA5, soSoundOutput, soOutputToExtAudioFile,
                                soOutputToAudioDevice, soPhonemeOptions}) {
    Value value(1);
    EXPECT_EQ(SetSpeechInfo(m_channel, selector, &value), siUnknownInfoType) << selector;
    EXPECT_EQ(SetSpeechInfo(m_channel, selector, nullptr), siUnknownInfoType) << selector;
    EXPECT_EQ(GetSpeechInfo(m_channel, selector, &value), siUnknownInfoType) << selector;
    EXPECT_FALSE(record().pointers.contains(selector)) << selector;
  }
  VoiceFileInfo file;
  std::memset(&file, 0xEE, sizeof file);
  const VoiceFileInfo before = file;
  EXPECT_EQ(GetVoiceInfo(&kMaren, soVoiceFile, &file), siUnknownInfoType);
  EXPECT_EQ(std::memcmp(&file, &before, sizeof file), 0);
}

TEST_F(ManagerBehaviour, PropertiesThatAreNotOfferedAreUnknown) {
  for (CFStringRef const property :
       {kSpeechPhonemeOptionsProperty, kSpeechOutputToExtAudioFileProperty,
        kSpeechOutputToAudioDeviceProperty, kSpeechOutputChannelMapProperty}) {
    CFTypeRef object = CFSTR("left over");
    EXPECT_EQ(CopySpeechProperty(m_channel, property, &object), siUnknownInfoType);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(SetSpeechProperty(m_channel, property, kCFBooleanTrue), siUnknownInfoType);
    EXPECT_EQ(SetSpeechProperty(m_channel, property, nullptr), siUnknownInfoType);
    EXPECT_EQ(SetSpeechProperty(nullptr, property, kCFBooleanTrue), invalidComponentID);
  }
}

TEST(Modules, AreNotRegistered) {
  CFURLRef const url =
      CFURLCreateWithFileSystemPath(nullptr, CFSTR("/tmp"), kCFURLPOSIXPathStyle, true);
  EXPECT_EQ(SpeechSynthesisRegisterModuleURL(url), siUnknownInfoType);
  EXPECT_EQ(SpeechSynthesisUnregisterModuleURL(url), siUnknownInfoType);
  EXPECT_EQ(SpeechSynthesisRegisterModuleURL(nullptr), siUnknownInfoType);
  CFRelease(url);
}

// ---- Old names of callbacks

TEST_F(ManagerBehaviour, OldNamesOfCallbacksMakeThemAndCallThem) {
  const SpeechWordUPP word = NewSpeechWordProc(onWord);
  EXPECT_EQ(word, &onWord);
  CallSpeechWordProc(word, m_channel, &m_reports, 3, 4);
  CallSpeechDoneProc(NewSpeechDoneProc(onDone), m_channel, &m_reports);
  CallSpeechSyncProc(NewSpeechSyncProc(onSync), m_channel, &m_reports, 5);
  CallSpeechPhonemeProc(NewSpeechPhonemeProc(onPhoneme), m_channel, &m_reports, 6);
  CallSpeechErrorProc(NewSpeechErrorProc(onError), m_channel, &m_reports, paramErr, 7);
  EXPECT_THAT(m_reports.lines(),
              testing::ElementsAre("word 3+4", "done", "sync 5", "phoneme 6", "error -50 at 7"));
}

}  // namespace
