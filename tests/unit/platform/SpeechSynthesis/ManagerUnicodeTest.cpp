// SPDX-License-Identifier: Apache-2.0
//
// Texts in Unicode: strings, and bytes in UTF-8, for a synthesizer that takes UTF-8 and for one
// that does not.
#include <cstdlib>

#include <gmock/gmock.h>

#include "ManagerFixture.h"

namespace {

using manager::onDone;
using manager::onError;
using manager::onWord;
using manager::synthesizer;
using testing::ElementsAre;

constexpr OSType kUtf8Text = 0x75746638;  // 'utf8'

// Pieces for text-done, in order; then none.
std::vector<std::string> g_pieces;
std::size_t g_nextPiece = 0;

void givePiece(SpeechChannel, SRefCon, const void** buffer, unsigned long* length, SInt32*) {
  const bool isThere = g_nextPiece < g_pieces.size();
  *buffer = isThere ? g_pieces[g_nextPiece].data() : nullptr;
  *length = isThere ? g_pieces[g_nextPiece].size() : 0;
  ++g_nextPiece;
}

std::string utf8Of(CFStringRef string) {
  std::string text(200, '\0');
  CFStringGetCString(string, text.data(), 200, kCFStringEncodingUTF8);
  return text.c_str();
}

// Reports what the range of the string contains.
void onWordOfString(SpeechChannel channel, SRefCon refCon, CFStringRef string, CFRange range) {
  const CFStringRef word = CFStringCreateWithSubstring(kCFAllocatorDefault, string, range);
  static_cast<manager::Reports*>(refCon)->add(channel, word == nullptr ? "outside" : utf8Of(word));
  if (word != nullptr) CFRelease(word);
}

class ManagerUnicode : public manager::Manager {
 protected:
  void SetUp() override {
    Manager::SetUp();
    openChannel(true);
  }
  void TearDown() override {
    unsetenv("KAVREL_TEXT_ENCODING");
    Manager::TearDown();
  }

  // What a synthesizer offers is found out when a channel is opened.
  void openChannel(bool takesUtf8) {
    synthesizer().takeUtf8(takesUtf8);
    ASSERT_EQ(DisposeSpeechChannel(m_channel), noErr);
    ASSERT_EQ(NewSpeechChannel(nullptr, &m_channel), noErr);
    m_identifier = synthesizer().channels().rbegin()->first;
    m_reports.expected = m_channel;
    ASSERT_EQ(SetSpeechInfo(m_channel, soRefCon, &m_reports), noErr);
    installAll();
  }

  OSErr speakString(const std::string& utf8) {
    const CFStringRef string =
        CFStringCreateWithCString(kCFAllocatorDefault, utf8.c_str(), kCFStringEncodingUTF8);
    const OSErr result = SpeakCFString(m_channel, string, nullptr);
    CFRelease(string);
    return result;
  }

  OSErr setEncoding(CFTypeRef value) {
    return SetSpeechProperty(m_channel, kSpeechTextEncodingProperty, value);
  }

  std::string encoding() {
    CFTypeRef value = nullptr;
    EXPECT_EQ(CopySpeechProperty(m_channel, kSpeechTextEncodingProperty, &value), noErr);
    const std::string name = utf8Of(static_cast<CFStringRef>(value));
    CFRelease(value);
    return name;
  }

  // Reports the word as if the synthesizer spoke it. It must be in the synthesizer's text.
  void sendWord(const std::string& word) {
    const std::size_t position = record().text.find(word);
    ASSERT_NE(position, std::string::npos);
    synthesizer().sendWord(m_identifier, position, static_cast<UInt16>(word.size()));
  }

  std::vector<std::string> reportsAfter(std::size_t count) {
    EXPECT_TRUE(m_reports.wait(count));
    letCallbacksPass();
    return m_reports.lines();
  }
};

// ---- Strings

TEST_F(ManagerUnicode, StringsAreSpokenInUtf8AndRangesAreTheStrings) {
  ASSERT_EQ(speakString("Łódź \U0001F600 привет 世界 e\u0301t"), noErr);
  EXPECT_EQ(record().text, "Łódź \U0001F600 привет 世界 e\u0301t");
  EXPECT_TRUE(record().isUtf8);
  for (const char* const word : {"Łódź", "\U0001F600", "привет", "世", "界", "e\u0301t"}) {
    sendWord(word);
  }
  EXPECT_THAT(reportsAfter(6), ElementsAre("word 0+4", "word 5+2", "word 8+6", "word 15+1",
                                           "word 16+1", "word 18+3"));
  EXPECT_EQ(status(), "busy, 3 left");
}

TEST_F(ManagerUnicode, StringsInOtherEncodingsAreSpokenInUtf8) {
  const CFStringRef string = CFStringCreateWithCString(kCFAllocatorDefault, "\x8E\xF0 \xC7z\xC8",
                                                       kCFStringEncodingMacRoman);
  ASSERT_EQ(SpeakCFString(m_channel, string, nullptr), noErr);
  CFRelease(string);
  EXPECT_EQ(record().text, "é\uF8FF «z»");
}

TEST_F(ManagerUnicode, ErrorsOfStringsAreCountedInTheirUnits) {
  ASSERT_EQ(speakString("\U0001F600я [[frob]][[sync 'ю']] [[inpt PHON]]яq[[inpt TEXT]]!"), noErr);
  synthesizer().sendError(m_identifier, badInputText, static_cast<long>(record().text.find('!')));
  EXPECT_THAT(reportsAfter(4), ElementsAre("error -247 at 4", "error -247 at 12",
                                           "error -247 at 38", "error -247 at 53"));
}

TEST_F(ManagerUnicode, StringsWithoutWidthOnlyStop) {
  ASSERT_EQ(speakString("слово"), noErr);
  ASSERT_EQ(speakString("\u200B\u00AD"), noErr);
  EXPECT_EQ(SpeechBusy(), 0);
}

TEST_F(ManagerUnicode, TheNextBytesAreMacRomanAgain) {
  ASSERT_EQ(speakString("né"), noErr);
  EXPECT_TRUE(record().isUtf8);
  ASSERT_EQ(speak("n\x8E"), noErr);
  EXPECT_EQ(record().text, "n\x8E");
  EXPECT_FALSE(record().isUtf8);
}

TEST_F(ManagerUnicode, ASynthesizerThatLacksUtf8NeverSeesIt) {
  openChannel(false);
  ASSERT_EQ(speakString("Łódź \U0001F600 x"), noErr);
  EXPECT_EQ(record().text,
            "L\x97"
            "dz   x");
  EXPECT_FALSE(record().pointers.contains(kUtf8Text));
  sendWord("x");
  EXPECT_THAT(reportsAfter(1), ElementsAre("word 8+1"));
}

TEST_F(ManagerUnicode, TheSelectorIsNoneOfTheClients) {
  UInt32 value = 0;
  EXPECT_EQ(GetSpeechInfo(m_channel, kUtf8Text, &value), siUnknownInfoType);
  EXPECT_EQ(SetSpeechInfo(m_channel, kUtf8Text, &value), siUnknownInfoType);
}

TEST_F(ManagerUnicode, DelimitersAboveAsciiAreFoundInStrings) {
  DelimiterInfo delimiters = {{0xC7, 0xC7}, {0xC8, 0xC8}};  // guillemets
  ASSERT_EQ(SetSpeechInfo(m_channel, soCommandDelimiter, &delimiters), noErr);
  ASSERT_EQ(speakString("««rate 200»»я"), noErr);
  EXPECT_EQ(record().text, "[[rate 200]]я");
  ASSERT_EQ(speak("\xC7\xC7rate 90\xC8\xC8z"), noErr);
  EXPECT_EQ(record().text, "[[rate 90]]z");
}

// ---- Bytes

TEST_F(ManagerUnicode, TheEncodingOfBytesIsAProperty) {
  EXPECT_EQ(encoding(), "macroman");
  EXPECT_EQ(setEncoding(kSpeechTextEncodingUTF8), noErr);
  EXPECT_EQ(encoding(), "utf-8");
  EXPECT_EQ(SetSpeechInfo(m_channel, soReset, nullptr), noErr);
  EXPECT_EQ(encoding(), "utf-8");
  EXPECT_EQ(setEncoding(CFSTR("macroman")), noErr);
  EXPECT_EQ(encoding(), "macroman");
  EXPECT_EQ(setEncoding(CFSTR("latin9")), paramErr);
  EXPECT_EQ(setEncoding(kCFBooleanTrue), paramErr);
  EXPECT_EQ(setEncoding(nullptr), paramErr);
}

TEST_F(ManagerUnicode, TheEnvironmentChoosesTheEncodingOfNewChannels) {
  setenv("KAVREL_TEXT_ENCODING", "utf-8", 1);
  openChannel(true);
  EXPECT_EQ(encoding(), "utf-8");
  setenv("KAVREL_TEXT_ENCODING", "UTF-16", 1);
  EXPECT_EQ(encoding(), "utf-8");
  openChannel(true);
  EXPECT_EQ(encoding(), "macroman");
}

TEST_F(ManagerUnicode, WordsOfBytesInUtf8AreCountedInBytes) {
  ASSERT_EQ(setEncoding(kSpeechTextEncodingUTF8), noErr);
  ASSERT_EQ(speak("жук \U0001F600 [[frob]][[sync 0x9]]кот"), noErr);
  EXPECT_EQ(record().text, "жук \U0001F600 [[sync 1]]кот");
  EXPECT_TRUE(record().isUtf8);
  sendWord("жук");
  sendWord("кот");
  EXPECT_THAT(reportsAfter(3), ElementsAre("error -247 at 12", "word 0+6", "word 32+6"));
  EXPECT_EQ(status(), "busy, 6 left");
}

TEST_F(ManagerUnicode, StringsOfBytesInUtf8HaveRangesInTheirOwnUnits) {
  install(soWordCallBack, static_cast<SpeechWordProcPtr>(nullptr));
  const auto pointer = reinterpret_cast<long>(onWordOfString);
  const CFNumberRef number = CFNumberCreate(kCFAllocatorDefault, kCFNumberLongType, &pointer);
  ASSERT_EQ(SetSpeechProperty(m_channel, kSpeechWordCFCallBack, number), noErr);
  CFRelease(number);
  ASSERT_EQ(setEncoding(kSpeechTextEncodingUTF8), noErr);
  ASSERT_EQ(speak("жук \xFF \U0001F600 кот [[rate 90]]пёс"), noErr);
  for (const char* const word : {"жук", "\U0001F600", "кот", "пёс"}) sendWord(word);
  EXPECT_THAT(reportsAfter(4), ElementsAre("жук", "\U0001F600", "кот", "пёс"));
}

TEST_F(ManagerUnicode, BytesInUtf8AreConvertedForASynthesizerThatLacksIt) {
  openChannel(false);
  ASSERT_EQ(setEncoding(kSpeechTextEncodingUTF8), noErr);
  ASSERT_EQ(speak("Łódź \xFF жук n\xC3"), noErr);
  EXPECT_EQ(record().text,
            "L\x97"
            "dz       n ");
  sendWord("n");
  EXPECT_THAT(reportsAfter(1), ElementsAre("word 17+1"));
}

// ---- Pieces

TEST_F(ManagerUnicode, CharactersThatAreCutBetweenPiecesAreJoined) {
  for (const bool takesUtf8 : {true, false}) {
    openChannel(takesUtf8);
    install(soTextDoneCallBack, givePiece);
    ASSERT_EQ(setEncoding(kSpeechTextEncodingUTF8), noErr);
    g_pieces = {"\xA9 \xF0\x9F", "\x98", "\x80 z"};
    g_nextPiece = 0;
    ASSERT_EQ(speak("caf\xC3"), noErr);
    letCallbacksPass();
    letCallbacksPass();
    letCallbacksPass();
    letCallbacksPass();
    EXPECT_EQ(record().text, takesUtf8 ? "café \U0001F600 z" : "caf\x8E   z");
  }
}

// The first batch must not end inside a character, however long the text is without a blank.
TEST_F(ManagerUnicode, BatchesEndBetweenCharacters) {
  for (const std::size_t cut : {1U, 2U, 3U}) {
    openChannel(true);
    install(soTextDoneCallBack, givePiece);
    ASSERT_EQ(setEncoding(kSpeechTextEncodingUTF8), noErr);
    std::string text;
    for (int i = 0; i < 1000; ++i) text += "世";
    g_pieces = {text.substr(2100 + cut)};
    g_nextPiece = 0;
    ASSERT_EQ(speak(text.substr(0, 2100 + cut)), noErr);
    std::string spoken = record().text;
    EXPECT_GE(spoken.size(), 2000U);
    EXPECT_EQ(spoken.size() % 3, 0U);
    synthesizer().finish(m_identifier);
    synthesizer().join();
    for (int i = 0; i < 4; ++i) letCallbacksPass();
    EXPECT_EQ(spoken + record().text, text);
  }
}

TEST_F(ManagerUnicode, PiecesOfAStringHaveTheEncodingOfTheChannel) {
  install(soTextDoneCallBack, givePiece);
  g_pieces = {" \x8E\xD2"};
  g_nextPiece = 0;
  ASSERT_EQ(speakString("жук"), noErr);
  letCallbacksPass();
  letCallbacksPass();
  EXPECT_EQ(record().text, "жук é“");
  sendWord("é“");
  EXPECT_THAT(reportsAfter(1), ElementsAre("word 1+2"));
  ASSERT_EQ(setEncoding(kSpeechTextEncodingUTF8), noErr);
  g_pieces = {" кот"};
  g_nextPiece = 0;
  ASSERT_EQ(speakString("жук"), noErr);
  letCallbacksPass();
  letCallbacksPass();
  EXPECT_EQ(record().text, "жук кот");
  sendWord("кот");
  EXPECT_THAT(reportsAfter(3), ElementsAre("word 1+2", "done", "word 1+6"));
}

}  // namespace
