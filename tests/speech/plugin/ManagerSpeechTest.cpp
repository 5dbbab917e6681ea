// SPDX-License-Identifier: Apache-2.0
//
// The Manager with the real plug-in and the real engine: behaviour that the unit tests check with
// their own synthesizer also holds here.
#include <ApplicationServices/ApplicationServices.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ManagerClient.h"

namespace {

using Client = speech::ManagerClient;
using speech::Sound;
using speech::soundIn;
using speech::TemporaryFolder;
using speech::Word;
using testing::ElementsAre;

std::vector<std::string> slices(const std::string& text, const std::vector<Word>& words) {
  std::vector<std::string> parts;
  for (const Word& word : words) parts.push_back(text.substr(word.position, word.length));
  return parts;
}

class ManagerSpeech : public testing::Test {
 protected:
  TemporaryFolder folder;
};

TEST_F(ManagerSpeech, ReportsRangesOfTheCallersBufferWhateverItsText) {
  Client client;
  client.writeTo(folder / "ranges.aiff");
  const std::string text =
      std::string("one\0two ", 8) + "[[rate 300]]<b>&amp;\xD2six\xD3 OS X\x01 \xF0 end";
  ASSERT_EQ(client.speak(text), noErr);
  ASSERT_TRUE(client.waitForEnds(1));
  const std::vector<std::string> spoken = slices(text, client.words());
  EXPECT_EQ(spoken.front(), "one");
  EXPECT_EQ(spoken.back(), "end");
  EXPECT_THAT(spoken, testing::IsSupersetOf({"two", "OS"}));
}

TEST_F(ManagerSpeech, ReportsOrderedRangesInsideTheBufferForAnyBytes) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    std::string text;
    for (unsigned state = seed; text.size() < 300;) {
      state = state * 1664525U + 1013904223U;
      // All byte values, with words between them.
      text += state % 3 == 0 ? static_cast<char>(state >> 24U) : "word [[x]] "[(state >> 8U) % 11];
    }
    Client client;
    client.writeTo(folder / "bytes.aiff");
    const OSErr result = client.speak(text);
    if (result != noErr) {
      EXPECT_EQ(result, badInputText) << seed;
      continue;
    }
    ASSERT_TRUE(client.waitForEnds(1)) << seed;
    unsigned long last = 0;
    for (const Word& word : client.words()) {
      EXPECT_GE(word.position, last) << seed;
      EXPECT_LE(word.position + word.length, text.size()) << seed;
      last = word.position;
    }
  }
}

TEST_F(ManagerSpeech, StopsAtTheEndOfTheSentenceWithoutBlockingTheCaller) {
  Client client;
  const Fixed rate = Long2Fix(400);
  ASSERT_EQ(SetSpeechInfo(client.channel(), soRate, &rate), noErr);
  ASSERT_EQ(client.speak("One two three four five six. Seven eight nine."), noErr);
  ASSERT_TRUE(client.waitForWords(1));
  ASSERT_EQ(StopSpeechAt(client.channel(), kEndOfSentence), noErr);
  EXPECT_EQ(client.status().outputBusy, 1);
  ASSERT_TRUE(client.waitForEnds(1));
  EXPECT_EQ(client.words().size(), 6U);
  EXPECT_EQ(client.status().outputBusy, 0);
}

TEST_F(ManagerSpeech, KeepsTheBytesLeftWhilePaused) {
  Client client;
  const std::string text = "One two three four five six.";
  ASSERT_EQ(client.speak(text), noErr);
  ASSERT_TRUE(client.waitForWords(2));
  ASSERT_EQ(PauseSpeechAt(client.channel(), kImmediate), noErr);
  const SpeechStatusInfo paused = client.status();
  EXPECT_EQ(paused.outputPaused, 1);
  // The fields of the record are not aligned, so no reference may be bound to them.
  const SInt32 bytesLeft = paused.inputBytesLeft;
  EXPECT_GT(bytesLeft, 0);
  EXPECT_LE(bytesLeft, static_cast<SInt32>(text.size()) - 4);
  ASSERT_EQ(StopSpeech(client.channel()), noErr);
  EXPECT_TRUE(client.waitForEnds(1));
}

TEST_F(ManagerSpeech, WritesNothingBeforeContinueAfterAPreflight) {
  Client client;
  client.writeTo(folder / "preflight.aiff");
  ASSERT_EQ(client.speak("Hello there.", kPreflightThenPause), noErr);
  EXPECT_EQ(client.status().outputPaused, 1);
  EXPECT_FALSE(std::filesystem::exists(folder / "preflight.aiff"));
  ASSERT_EQ(ContinueSpeech(client.channel()), noErr);
  ASSERT_TRUE(client.waitForEnds(1));
  EXPECT_GT(soundIn(folder / "preflight.aiff").seconds(), 0.3);
}

TEST_F(ManagerSpeech, SoundsDifferentWithoutEndingProsodyAndHasTheSameWords) {
  const auto spoken = [&](const std::string& file, SInt32 flags, std::vector<Word>& words) {
    Client client;
    client.writeTo(folder / file);
    EXPECT_EQ(client.speak("the red house", flags), noErr);
    EXPECT_TRUE(client.waitForEnds(1));
    words = client.words();
    return soundIn(folder / file);
  };
  std::vector<Word> plain;
  std::vector<Word> open;
  const Sound ended = spoken("ended.aiff", 0, plain);
  const Sound kept = spoken("open.aiff", kNoEndingProsody, open);
  EXPECT_EQ(plain, open);
  EXPECT_NE(ended.samples, kept.samples);
}

TEST_F(ManagerSpeech, ReturnsPhonemesThatAreSpokenTheSame) {
  Client client;
  Handle handle = NewHandle(0);
  long bytes = 0;
  const std::string text = "Five good dogs.";
  ASSERT_EQ(TextToPhonemes(client.channel(), text.data(), text.size(), handle, &bytes), noErr);
  const std::string phonemes(*handle, static_cast<std::size_t>(bytes));
  EXPECT_EQ(std::count(phonemes.begin(), phonemes.end(), ' '), 2) << phonemes;
  // Again, with the result as input, while the channel is speaking.
  OSType mode = modePhonemes;
  ASSERT_EQ(SetSpeechInfo(client.channel(), soInputMode, &mode), noErr);
  ASSERT_EQ(client.speak(phonemes), noErr);
  ASSERT_EQ(TextToPhonemes(client.channel(), phonemes.data(), phonemes.size(), handle, &bytes),
            noErr);
  std::string again(*handle, static_cast<std::size_t>(bytes));
  std::string expected = phonemes;
  // Whether phonemes are reported per word depends on the engine.
  std::erase(again, ' ');
  std::erase(expected, ' ');
  EXPECT_EQ(again, expected);
  // Unknown symbols are left out, unless texts are passed on as they are.
  ASSERT_EQ(TextToPhonemes(client.channel(), "QhAY", 4, handle, &bytes), noErr);
  EXPECT_EQ(std::string(*handle, static_cast<std::size_t>(bytes)), "hAY");
  ASSERT_EQ(SetSpeechProperty(client.channel(), kSpeechStrictTextProperty, kCFBooleanTrue), noErr);
  ASSERT_EQ(TextToPhonemes(client.channel(), "QhAY", 4, handle, &bytes), badInputText);
  ASSERT_EQ(TextToPhonemes(client.channel(), nullptr, 0, handle, &bytes), noErr);
  EXPECT_EQ(bytes, 0);
  EXPECT_EQ(TextToPhonemes(client.channel(), "a", 1, nullptr, &bytes), paramErr);
  DisposeHandle(handle);
}

TEST_F(ManagerSpeech, LeavesNoFileAfterReturningPhonemes) {
  const std::filesystem::path temporary = folder / "temporary";
  std::filesystem::create_directory(temporary);
  ASSERT_EQ(setenv("TMPDIR", temporary.c_str(), 1), 0);
  {
    Client client;
    CFStringRef phonemes = nullptr;
    ASSERT_EQ(CopyPhonemesFromText(client.channel(), CFSTR("red"), &phonemes), noErr);
    EXPECT_TRUE(CFEqual(phonemes, CFSTR("rEHd")));
    CFRelease(phonemes);
  }
  EXPECT_TRUE(std::filesystem::is_empty(temporary));
  unsetenv("TMPDIR");
}

TEST_F(ManagerSpeech, SpeaksAgainAfterATextThatCannotBeSpoken) {
  Client client;
  client.writeTo(folder / "after.aiff");
  ASSERT_EQ(SetSpeechProperty(client.channel(), kSpeechStrictTextProperty, kCFBooleanTrue), noErr);
  EXPECT_EQ(client.speak("[[inpt PHON]]QQ[[inpt TEXT]]"), badInputText);
  SpeechErrorInfo errors{};
  EXPECT_EQ(GetSpeechInfo(client.channel(), soErrors, &errors), noErr);
  EXPECT_EQ(errors.count, 1);
  EXPECT_EQ(errors.newest, badInputText);
  EXPECT_EQ(SpeechBusy(), 0);
  EXPECT_EQ(client.speak("fine"), noErr);
  EXPECT_TRUE(client.waitForEnds(1));
}

TEST_F(ManagerSpeech, LeaksNothingWhenDisposedDuringSpeech) {
  for (int round = 0; round < 20; ++round) {
    Client client;
    client.writeTo(folder / "disposed.aiff");
    ASSERT_EQ(client.speak("One two three four five six seven eight nine ten."), noErr);
    if (round % 2 == 0) {
      ASSERT_TRUE(client.waitForWords(1));
    }
  }
  EXPECT_EQ(SpeechBusy(), 0);
}

}  // namespace
