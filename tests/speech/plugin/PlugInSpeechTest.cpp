// SPDX-License-Identifier: Apache-2.0
//
// The plug-in through its entry points, with the real engine.
#include <algorithm>
#include <cctype>
#include <future>
#include <sstream>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "KavrelSpeechEngine.h"
#include "speakers/ChannelSpeaker.h"

namespace {

using speech::soundIn;
using speech::Speaker;
using speech::TemporaryFolder;
using speech::Word;
using testing::ElementsAre;

// The words of a text as a reader counts them: runs of letters and digits, with the characters
// inside them.
std::vector<std::string> plainWords(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> words;
  for (std::string token; in >> token;) {
    const auto isWordByte = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; };
    const auto first = std::find_if(token.begin(), token.end(), isWordByte);
    const auto last = std::find_if(token.rbegin(), token.rend(), isWordByte).base();
    if (first < last) words.emplace_back(first, last);
  }
  return words;
}

std::vector<std::string> slices(const std::string& text, const std::vector<Word>& words) {
  std::vector<std::string> result;
  for (const Word& word : words) result.push_back(text.substr(word.position, word.length));
  return result;
}

// Prose of about `bytes` bytes, with sentences and paragraphs.
std::string prose(std::size_t bytes) {
  const std::string paragraph =
      "The harbour was quiet before the morning boats came in. Nobody had lit the lamps, and the "
      "three old cranes stood against a sky of pale grey; a dog walked along the wall, stopped, "
      "and went on. \"Is it far?\" asked the girl. It was 12 miles, he said, or perhaps 13.\n\n";
  std::string text;
  while (text.size() < bytes) text += paragraph;
  return text;
}

class Speech : public testing::Test {
 protected:
  TemporaryFolder folder;
};

TEST_F(Speech, IsWrittenToAnAudibleFileWithCorrectWordPositions) {
  Speaker speaker;
  speaker.reportTruePositions();
  speaker.writeTo(folder / "hello.aiff");
  const std::string text = "Hello [[slnc 300]]world.";
  ASSERT_EQ(speaker.speak(text), noErr);
  ASSERT_TRUE(speaker.waitForDone());

  EXPECT_THAT(slices(text, speaker.words()), ElementsAre("Hello", "world"));
  EXPECT_FALSE(speaker.phonemes().empty());
  const speech::Sound sound = soundIn(folder / "hello.aiff");
  EXPECT_GT(sound.seconds(), 0.8);
  EXPECT_LT(sound.seconds(), 5.0);
  EXPECT_GT(sound.loudness(), 300);
}

TEST_F(Speech, OfLongProseReportsEveryWordOnceAtItsPosition) {
  Speaker speaker;
  speaker.reportTruePositions();
  speaker.writeTo(folder / "prose.aiff");
  const std::string text = prose(100'000);
  ASSERT_EQ(speaker.speak(text), noErr);
  ASSERT_TRUE(speaker.waitForDone());

  EXPECT_EQ(slices(text, speaker.words()), plainWords(text));
  unsigned long last = 0;
  for (const Word& word : speaker.words()) {
    EXPECT_GE(word.position, last);
    EXPECT_LE(word.position + word.length, text.size());
    last = word.position;
  }
}

TEST_F(Speech, KeepsExactPositionsWherePreparationChangesLengths) {
  Speaker speaker;
  speaker.reportTruePositions();
  speaker.writeTo(folder / "odd.aiff");
  // Mac OS Roman: curly quotes, an ellipsis, accents, the Apple logo.
  const std::string text =
      "Q&A <b>bold</b> on OS X: \xD2smart\xD3 quotes\xC9 caf\x8E, "
      "[[rate 200]]\xDEne \xF0 end";
  ASSERT_EQ(speaker.speak(text), noErr);
  ASSERT_TRUE(speaker.waitForDone());
  EXPECT_THAT(slices(text, speaker.words()),
              ElementsAre("Q&A", "<b>bold</b>", "on", "OS", "X", "smart", "quotes", "caf\x8E",
                          "\xDEne", "\xF0", "end"));
}

TEST_F(Speech, ReportsSyncMarksInOrder) {
  Speaker speaker;
  speaker.writeTo(folder / "sync.aiff");
  ASSERT_EQ(speaker.speak("[[sync 1]]one [[sync 2]] two.[[sync 3]]"), noErr);
  ASSERT_TRUE(speaker.waitForDone());
  EXPECT_THAT(speaker.syncs(), ElementsAre(1 << 16, 2 << 16, 3 << 16));
}

TEST_F(Speech, OfTwoChannelsAtOnceEqualsEachAlone) {
  const std::string text = prose(3000);
  struct Part {
    std::string voice;
    int rate;
  };
  const std::vector<Part> parts = {{"Corin", 160}, {"Maren", 220}};
  const auto begin = [&](Speaker& speaker, std::size_t part, const std::string& file) {
    speaker.useVoice(parts[part].voice);
    speaker.setRate(parts[part].rate);
    speaker.writeTo(folder / file);
    ASSERT_EQ(speaker.speak(text), noErr);
  };

  Speaker together[2];
  begin(together[0], 0, "together0.aiff");
  begin(together[1], 1, "together1.aiff");
  for (std::size_t i = 0; i < 2; ++i) {
    Speaker alone;
    ASSERT_TRUE(together[i].waitForDone());
    const std::string name = std::to_string(i) + ".aiff";
    begin(alone, i, "alone" + name);
    ASSERT_TRUE(alone.waitForDone());
    EXPECT_EQ(together[i].phonemes(), alone.phonemes());
    EXPECT_EQ(together[i].words(), alone.words());
    const double seconds = soundIn(folder / ("alone" + name)).seconds();
    EXPECT_NEAR(soundIn(folder / ("together" + name)).seconds(), seconds, 0.02 * seconds);
  }
}

TEST_F(Speech, GathersTextDonePiecesIntoOneJob) {
  Speaker speaker;
  speaker.reportTruePositions();
  speaker.writeTo(folder / "pieces.aiff");
  ASSERT_EQ(speaker.speak("one two", {" three", "", " four."}), noErr);
  ASSERT_TRUE(speaker.waitForDone());
  EXPECT_THAT(slices("one two three four.", speaker.words()),
              ElementsAre("one", "two", "three", "four"));
  EXPECT_EQ(speaker.doneCount(), 1u);
}

TEST_F(Speech, OfAnEmptyTextEndsLikeAnyOther) {
  Speaker speaker;
  speaker.writeTo(folder / "empty.aiff");
  ASSERT_EQ(SESpeakBuffer(speaker.id(), nullptr, 0, 0), noErr);
  ASSERT_TRUE(speaker.waitForDone());
  EXPECT_TRUE(speaker.words().empty());
  EXPECT_NO_THROW(soundIn(folder / "empty.aiff"));
}

TEST_F(Speech, ReadsNoByteAfterTheBuffer) {
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  void* pages = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(pages, MAP_FAILED);
  char* const end = static_cast<char*>(pages) + page;
  ASSERT_EQ(mprotect(end, page, PROT_NONE), 0);
  const std::string text = "last word";
  std::copy(text.begin(), text.end(), end - text.size());

  Speaker speaker;
  speaker.writeTo(folder / "guard.aiff");
  ASSERT_EQ(SESpeakBuffer(speaker.id(), end - text.size(), static_cast<long>(text.size()), 0),
            noErr);
  ASSERT_TRUE(speaker.waitForDone());
  EXPECT_EQ(speaker.words().size(), 2u);
  munmap(pages, 2 * page);
}

TEST_F(Speech, OfAMegabyteInOneCallStartsAndStops) {
  Speaker speaker;
  speaker.writeTo(folder / "megabyte.aiff");
  ASSERT_EQ(speaker.speak(prose(1 << 20)), noErr);
  ASSERT_TRUE(speaker.waitForWords(100));
  EXPECT_EQ(SEStopSpeechAt(speaker.id(), kImmediate), noErr);
  ASSERT_TRUE(speaker.waitForDone());
  EXPECT_GT(soundIn(folder / "megabyte.aiff").seconds(), 1.0);
}

// ---- Boundaries of stops and pauses, with a file and in real time

enum class Output { File, Clock };

class SpeechTo : public testing::TestWithParam<Output> {
 protected:
  void direct(Speaker& speaker) {
    speaker.reportTruePositions();
    if (GetParam() == Output::File) speaker.writeTo(folder / "out.aiff");
  }

  TemporaryFolder folder;
};

TEST_P(SpeechTo, StopsAtOnce) {
  Speaker speaker;
  direct(speaker);
  ASSERT_EQ(speaker.speak(prose(200'000)), noErr);
  ASSERT_TRUE(speaker.waitForWords(2));
  EXPECT_EQ(SEStopSpeechAt(speaker.id(), kImmediate), noErr);
  ASSERT_TRUE(speaker.waitForDone());
  EXPECT_LT(speaker.words().size(), 40'000u);
  EXPECT_EQ(speaker.doneCount(), 1u);
}

TEST_P(SpeechTo, StopsAtTheEndOfAWordAndOfASentence) {
  for (const unsigned long boundary : {kEndOfWord, kEndOfSentence}) {
    Speaker speaker;
    direct(speaker);
    const std::string text = "One two three four five six seven eight. " + prose(50'000);
    ASSERT_EQ(speaker.speak(text), noErr);
    ASSERT_TRUE(speaker.waitForWords(1));
    EXPECT_EQ(SEStopSpeechAt(speaker.id(), boundary), noErr);
    ASSERT_TRUE(speaker.waitForDone());
    const std::size_t heard = speaker.words().size();
    if (GetParam() == Output::Clock) {
      // In real time the speech is still in the first word, so the boundaries are known.
      EXPECT_EQ(heard, boundary == kEndOfWord ? 1u : 8u);
    } else {
      EXPECT_LT(heard, plainWords(text).size());
    }
  }
}

TEST_P(SpeechTo, PausesAndContinuesWithoutLosingAWord) {
  Speaker speaker;
  direct(speaker);
  speaker.setRate(400);
  std::promise<long> paused;
  bool first = true;
  // A pause on the engine's own thread cannot come after the end of the job.
  speaker.onWord = [&](const Word&) {
    if (std::exchange(first, false)) paused.set_value(SEPauseSpeechAt(speaker.id(), kImmediate));
  };
  const std::string text = "One two three four five. Six seven eight.";
  ASSERT_EQ(speaker.speak(text), noErr);
  EXPECT_EQ(paused.get_future().get(), noErr);
  SpeechStatusInfo status{};
  EXPECT_EQ(SESpeechStatus(speaker.id(), &status), noErr);
  EXPECT_TRUE(status.outputPaused);
  EXPECT_EQ(speaker.doneCount(), 0u);
  EXPECT_EQ(SEContinueSpeech(speaker.id()), noErr);
  ASSERT_TRUE(speaker.waitForDone());
  EXPECT_EQ(slices(text, speaker.words()), plainWords(text));
}

TEST_P(SpeechTo, StopsWhilePaused) {
  Speaker speaker;
  direct(speaker);
  ASSERT_EQ(speaker.speak(prose(100'000)), noErr);
  ASSERT_TRUE(speaker.waitForWords(1));
  EXPECT_EQ(SEPauseSpeechAt(speaker.id(), kImmediate), noErr);
  EXPECT_EQ(SEStopSpeechAt(speaker.id(), kImmediate), noErr);
  EXPECT_TRUE(speaker.waitForDone());
}

TEST_P(SpeechTo, RejectsMoreTextWhileItSpeaks) {
  Speaker speaker;
  direct(speaker);
  ASSERT_EQ(speaker.speak(prose(100'000)), noErr);
  EXPECT_EQ(speaker.speak("more"), synthNotReady);
  EXPECT_EQ(speaker.close(), noErr);
  EXPECT_EQ(speaker.doneCount(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Output, SpeechTo, testing::Values(Output::File, Output::Clock),
                         [](const auto& output) {
                           return output.param == Output::File ? "File" : "Clock";
                         });

// ---- Channels and callbacks

TEST_F(Speech, CanBeStartedAgainInsideSpeechDone) {
  Speaker speaker;
  speaker.writeTo(folder / "again.aiff");
  int rounds = 0;
  long result = noErr;
  speaker.onDone = [&] {
    if (++rounds < 5 && result == noErr) result = speaker.speak("again");
  };
  ASSERT_EQ(speaker.speak("once"), noErr);
  ASSERT_TRUE(speaker.waitForDone(5));
  EXPECT_EQ(result, noErr);
  EXPECT_EQ(speaker.words().size(), 5u);
}

TEST_F(Speech, AllowsClosingItsChannelInsideSpeechDone) {
  Speaker speaker;
  speaker.writeTo(folder / "close.aiff");
  long result = -1;
  speaker.onDone = [&] { result = speaker.close(); };
  ASSERT_EQ(speaker.speak("goodbye"), noErr);
  ASSERT_TRUE(speaker.waitForDone());
  EXPECT_EQ(result, noErr);
  EXPECT_EQ(SESpeechStatus(speaker.id(), nullptr), noSynthFound);
}

TEST_F(Speech, CanBeStoppedInsideAWordCallback) {
  Speaker speaker;
  speaker.writeTo(folder / "stop.aiff");
  speaker.onWord = [&](const Word&) { SEStopSpeechAt(speaker.id(), kImmediate); };
  ASSERT_EQ(speaker.speak("one two three"), noErr);
  ASSERT_TRUE(speaker.waitForDone());
  EXPECT_EQ(speaker.words().size(), 1u);
  speaker.onWord = nullptr;
  // The end of the stopped job may not have been reported yet.
  while (speaker.speak("once more") == synthNotReady) usleep(1000);
  ASSERT_TRUE(speaker.waitForDone(2));
  EXPECT_EQ(speaker.words().size(), 3u);
}

TEST_F(Speech, IsRejectedForAFileThatCannotBeWrittenAndWorksAfterwards) {
  Speaker speaker;
  speaker.writeTo(folder / "missing/out.aiff");
  EXPECT_EQ(speaker.speak("hello"), synthNotReady);
  speaker.writeTo(folder / "out.aiff");
  ASSERT_EQ(speaker.speak("hello"), noErr);
  EXPECT_TRUE(speaker.waitForDone());
}

TEST_F(Speech, TheDiagnosticLineAboutAVoiceIsCompletedByTheBundle) {
  Speaker speaker;
  testing::internal::CaptureStderr();
  cst_diag_mask = CST_DIAG_CHANNELS;
  cst_diag_level = 2;
  speaker.useVoice("Quill");
  cst_diag_mask = 0;
  cst_diag_level = 0;
  const std::string written = testing::internal::GetCapturedStderr();
  EXPECT_THAT(written, testing::ContainsRegex("voice bundle info: [^\n]+\n$"));
  EXPECT_EQ(std::count(written.begin(), written.end(), '\n'), 1) << written;
}

TEST_F(Speech, IsRejectedWithAMissingVoice) {
  Speaker speaker;
  speaker.writeTo(folder / "out.aiff");
  speaker.useVoice("Nobody");
  EXPECT_EQ(speaker.speak("hello"), synthNotReady);
  speaker.useVoice("Quill");
  EXPECT_EQ(speaker.speak("hello"), noErr);
  EXPECT_TRUE(speaker.waitForDone());
}

TEST_F(Speech, IsRejectedWithInvalidPhonemes) {
  Speaker speaker;
  EXPECT_EQ(speaker.speak("[[inpt PHON]]QQ[[inpt TEXT]]"), badInputText);
}

TEST_F(Speech, SpeaksPhonemes) {
  Speaker speaker;
  speaker.writeTo(folder / "phones.aiff");
  ASSERT_EQ(speaker.speak("[[inpt PHON]]hEHl1OW[[inpt TEXT]]"), noErr);
  ASSERT_TRUE(speaker.waitForDone());
  // h, eh, l, ow by their codes, between pauses.
  const std::vector<int> codes = speaker.phonemes();
  EXPECT_THAT(codes, testing::IsSupersetOf({24, 7, 27, 15}));
}

}  // namespace
