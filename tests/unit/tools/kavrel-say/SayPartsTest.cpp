// SPDX-License-Identifier: Apache-2.0
//
// Unit tests of kavrel-say: rows of cells, the progress bar, captions, audio formats.
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "audio/AudioFormat.h"
#include "events/Captions.h"
#include "screen/Highlight.h"
#include "screen/Progress.h"
#include "screen/TextLayout.h"
#include "speech/PositionCounter.h"

namespace {

using say::Cue;
using say::Progress;
using say::Row;
using say::SpokenWord;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using Strings = std::vector<std::string>;

// ---- Rows

Strings rowsOf(const std::string& text, std::size_t width) {
  Strings rows;
  for (std::size_t at = 0; at < text.size();) {
    const Row row = say::rowAt(text, at, width);
    EXPECT_GT(row.next, at);
    rows.push_back(say::renderRow(text, row, width, {}, "<", ">"));
    at = row.next;
  }
  return rows;
}

struct Wrapped {
  const char* text;
  std::size_t width;
  Strings rows;
};

class TextLayout : public testing::TestWithParam<Wrapped> {};

TEST_P(TextLayout, FillsRowsWithoutExceedingThem) {
  EXPECT_EQ(rowsOf(GetParam().text, GetParam().width), GetParam().rows);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, TextLayout,
    testing::Values(
        Wrapped{"hello world", 11, {"hello world"}}, Wrapped{"hello world", 10, {"hello", "world"}},
        Wrapped{"hello world", 5, {"hello", "world"}},
        Wrapped{"hello  \nworld", 5, {"hello", "world"}},
        Wrapped{"hello\n\nworld", 20, {"hello", "", "world"}},
        Wrapped{"a\r\nb\rc\n", 20, {"a", "b", "c"}}, Wrapped{"abcdefg", 3, {"abc", "def", "g"}},
        Wrapped{"well-known fact", 6, {"well-", "known", "fact"}}, Wrapped{"   a", 2, {"", "a"}},
        Wrapped{"a\tb", 20, {"a       b"}},
        Wrapped{"\u65E5\u672C\u8A9E", 5, {"\u65E5\u672C", "\u8A9E"}},
        Wrapped{"ab\u65E5c", 3, {"ab", "\u65E5c"}},
        // An accent is kept with its letter at the end of a row.
        Wrapped{"abe\u0301f", 3, {"abe\u0301", "f"}},
        Wrapped{"\u65E5\u0301\u672C", 2, {"\u65E5\u0301", "\u672C"}},
        // Clusters are not cut: joined emoji, flags, syllables, vowel signs.
        Wrapped{"ab\U0001F468\u200D\U0001F469\u200D\U0001F467cd",
                3,
                {"ab", "\U0001F468\u200D\U0001F469\u200D\U0001F467", "cd"}},
        Wrapped{"a\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7",
                3,
                {"a\U0001F1E9\U0001F1EA", "\U0001F1EB\U0001F1F7"}},
        Wrapped{"a\u1112\u1161\u11ABb", 2, {"a", "\u1112\u1161\u11AB", "b"}},
        Wrapped{"नमस्ते", 3, {"नम", "स्ते"}}, Wrapped{"می\u200Cخواهم", 6, {"می\u200Cخواه", "م"}},
        // Closing punctuation does not begin a row, opening punctuation ends none.
        Wrapped{"世界。世", 5, {"世", "界。", "世"}}, Wrapped{"世「界", 4, {"世", "「界"}},
        // No row is wider than the screen.
        Wrapped{"\u65E5a", 1, {"?", "a"}},
        Wrapped{"x\x1B\x07\xC2\x9By\xFF", 9, {"x\uFFFD\uFFFD\uFFFDy\uFFFD"}}));

TEST(TextLayoutMarks, SurroundTheWordInEveryRow) {
  const std::string text = "an abcdef";
  EXPECT_EQ(say::renderRow(text, {0, 5, 5}, 9, {3, 9}, "<", ">"), "an <ab>");
  EXPECT_EQ(say::renderRow(text, {5, 9, 9}, 9, {3, 9}, "<", ">"), "<cdef>");
  EXPECT_EQ(say::renderRow(text, {0, 9, 9}, 9, {}, "<", ">"), "an abcdef");
  const std::string accent = "ae\u0301b";
  EXPECT_EQ(say::renderRow(accent, {0, 5, 5}, 9, {0, 2}, "<", ">"), "<ae\u0301>b");
}

// ---- The bar

TEST(ProgressBar, ShowsTheShareAndTheTimeLeft) {
  Progress progress(100);
  EXPECT_EQ(progress.bar(20, 0), "[-------------]   0%");
  progress.reach(50, 10);
  EXPECT_EQ(progress.bar(40, 10), "[###########-----------]  50%  0:10 left");
  EXPECT_EQ(progress.bar(40, 14), "[###########-----------]  50%  0:06 left");
  EXPECT_EQ(progress.bar(40, 99), "[###########-----------]  50%  0:00 left");
  progress.complete(20);
  EXPECT_EQ(progress.bar(40, 20), "[####################] 100%  0:20 in all");
}

TEST(ProgressBar, NeverGoesBack) {
  Progress progress(100);
  progress.reach(60, 6);
  progress.reach(20, 7);
  EXPECT_EQ(progress.fraction(), 0.6);
}

TEST(ProgressBar, ShowsNoTimeAtFirst) {
  Progress progress(1000);
  progress.reach(5, 3);
  EXPECT_FALSE(progress.secondsLeft(3).has_value());
  progress.reach(500, 0.1);
  EXPECT_FALSE(progress.secondsLeft(0.1).has_value());
}

TEST(ProgressBar, IsNeverWiderThanItsLimit) {
  Progress progress(100);
  progress.reach(40, 100'000);
  for (std::size_t width = 0; width < 100; ++width) {
    EXPECT_LE(progress.bar(width, 100'000).size(), width);
  }
  EXPECT_EQ(progress.bar(21, 100'000), " 40%  41:40:00 left");
  EXPECT_EQ(progress.bar(4, 100'000), " 40%");
  EXPECT_EQ(progress.bar(3, 100'000), "");
}

TEST(ProgressBar, AcceptsAnEmptyText) {
  Progress progress(0);
  progress.reach(0, 1);
  progress.complete(1);
  EXPECT_THAT(progress.bar(40, 1), HasSubstr("100%"));
}

// ---- Captions

// The words of the text, a third of a second each, with 0.3 seconds of silence after punctuation
// that ends a sentence or a part of it.
std::vector<SpokenWord> wordsIn(const std::string& text, const Strings& words) {
  std::vector<SpokenWord> spoken;
  std::size_t at = 0;
  double now = 0;
  for (const std::string& word : words) {
    at = text.find(word, at);
    EXPECT_NE(at, std::string::npos) << word;
    spoken.push_back({{at, word.size()}, now, now + 1.0 / 3});
    at += word.size();
    now += 1.0 / 3;
    if (at < text.size() && std::string(".,!?;").find(text[at]) != std::string::npos) now += 0.3;
  }
  return spoken;
}

std::vector<Cue> cues(const std::string& text, const Strings& words,
                      tool::Brackets brackets = tool::Brackets::Command) {
  return say::cuesOf(text, wordsIn(text, words), brackets);
}

std::vector<Strings> linesOf(const std::vector<Cue>& all) {
  std::vector<Strings> lines;
  for (const Cue& cue : all) lines.push_back(cue.lines);
  return lines;
}

TEST(Captions, HaveACueForEachSentence) {
  const auto all = cues("One two three four. Five six seven!",
                        {"One", "two", "three", "four", "Five", "six", "seven"});
  EXPECT_THAT(linesOf(all),
              ElementsAre(Strings{"One two three four."}, Strings{"Five six seven!"}));
  EXPECT_NEAR(all[0].begin, 0, 1e-9);
  EXPECT_NEAR(all[0].end, 4.0 / 3, 1e-9);
  EXPECT_NEAR(all[1].begin, 4.0 / 3 + 0.3, 1e-9);
}

TEST(Captions, KeepPunctuationWithTheWordItTouches) {
  EXPECT_THAT(linesOf(cues("\u201COne two three four.\u201D \u201CFive six (seven) eight.\u201D",
                           {"One", "two", "three", "four", "Five", "six", "seven", "eight"})),
              ElementsAre(Strings{"\u201COne two three four.\u201D"},
                          Strings{"\u201CFive six (seven) eight.\u201D"}));
  EXPECT_THAT(linesOf(cues("so\u2014well, (yes) it is", {"so", "well", "yes", "it", "is"})),
              ElementsAre(Strings{"so\u2014well, (yes) it is"}));
}

TEST(Captions, OmitCommandsUnlessBracketsAreText) {
  const std::string text = "[[rate 300]]One[[slnc 5]]two [[emph +]] three";
  EXPECT_THAT(linesOf(cues(text, {"One", "two", "three"})), ElementsAre(Strings{"One two three"}));
  EXPECT_THAT(linesOf(cues("a [[b]] c", {"a", "c"}, tool::Brackets::Text)),
              ElementsAre(Strings{"a [[b]] c"}));
  EXPECT_THAT(linesOf(cues("a [[ b [[rate 9]]c", {"a", "b", "c"})),
              ElementsAre(Strings{"a [[ b c"}));
  EXPECT_THAT(linesOf(cues("a [[ never closed", {"a", "never", "closed"})),
              ElementsAre(Strings{"a [[ never closed"}));
}

TEST(Captions, SplitALongSentenceAfterACommaIntoTwoLinesAtMost) {
  const std::string text =
      "The kettle is on, the post has come at last, and there is nothing in the world that cannot "
      "wait until ten.";
  Strings words;
  std::string word;
  for (const char c : text) {
    if (c == ' ' || c == ',' || c == '.') {
      if (!word.empty()) words.push_back(word);
      word.clear();
    } else {
      word += c;
    }
  }
  const auto all = cues(text, words);
  ASSERT_EQ(all.size(), 2U);
  EXPECT_THAT(all[0].lines, ElementsAre("The kettle is on, the", "post has come at last,"));
  for (const Cue& cue : all) {
    EXPECT_LE(cue.lines.size(), 2U);
    EXPECT_LE(cue.end - cue.begin, 7);
    for (const std::string& line : cue.lines) EXPECT_LE(line.size(), 42U);
  }
}

TEST(Captions, JoinSentencesThatAreTooShortToBeRead) {
  EXPECT_THAT(linesOf(cues("Yes. No. It is so.", {"Yes", "No", "It", "is", "so"})),
              ElementsAre(Strings{"Yes. No. It is so."}));
}

TEST(Captions, DoNotOverlapAndLastASecondWhereTheyCan) {
  const auto all = cues("Yes.\n\nNo.\n\nSo.", {"Yes", "No", "So"});
  ASSERT_EQ(all.size(), 3U);
  EXPECT_EQ(all[0].end, all[1].begin);
  EXPECT_NEAR(all[2].end - all[2].begin, 1, 1e-9);
}

TEST(Captions, BeginACueAtAParagraphAndAfterALongPause) {
  EXPECT_EQ(cues("one two three four\n \nfive six", {"one", "two", "three", "four", "five", "six"})
                .size(),
            2U);
  std::vector<SpokenWord> words = wordsIn("one two", {"one", "two"});
  words[1].begin += 2;
  words[1].end += 2;
  EXPECT_EQ(say::cuesOf("one two", words, tool::Brackets::Command).size(), 2U);
}

TEST(Captions, ShowInvalidTextAsReplaced) {
  EXPECT_THAT(linesOf(cues("a\xFF\x01 b\xC3\xA9", {"a", "b"})),
              ElementsAre(Strings{"a\uFFFD b\u00E9"}));
}

TEST(Captions, AreEmptyWithoutWords) {
  EXPECT_THAT(cues("[[slnc 5]]", {}), IsEmpty());
  EXPECT_EQ(say::webVttOf({}), "WEBVTT\n");
  EXPECT_EQ(say::subRipOf({}), "");
}

TEST(Captions, AreEscapedInWebVttAndNotInSubRip) {
  const std::vector<Cue> all = {{0.0004, 1.9996, {"a < b --> c & d", "e"}}, {3661.5, 3662, {"f"}}};
  EXPECT_EQ(say::webVttOf(all),
            "WEBVTT\n\n00:00:00.000 --> 00:00:02.000\na &lt; b --&gt; c &amp; d\ne\n\n"
            "01:01:01.500 --> 01:01:02.000\nf\n");
  EXPECT_EQ(say::subRipOf(all),
            "1\n00:00:00,000 --> 00:00:02,000\na < b --> c & d\ne\n\n"
            "2\n01:01:01,500 --> 01:01:02,000\nf\n");
}

// ---- Names

TEST(AudioFormat, IsThatOfTheFileNameExtension) {
  EXPECT_EQ(say::audioFormatOf("a/b.WAV", {}, {}).fileFormat, "WAVE");
  EXPECT_EQ(say::audioFormatOf("b.flac", {}, {}).fileFormat, "FLAC");
  EXPECT_TRUE(say::audioFormatOf("speech", {}, {}).isNative());
  EXPECT_TRUE(say::audioFormatOf("speech.aif", {}, "BEI16@22050").isNative());
  EXPECT_FALSE(say::audioFormatOf("speech.aif", {}, "BEI16@44100").isNative());
  EXPECT_EQ(say::audioFormatOf("speech.txt", "wave", {}).fileFormat, "WAVE");
}

TEST(AudioFormat, HasTheRequestedRate) {
  EXPECT_EQ(say::audioFormatOf("a.wav", {}, "LEF32@48000").rate, 48000);
  EXPECT_EQ(say::audioFormatOf("a.wav", {}, "@8000").rate, 8000);
  EXPECT_EQ(say::audioFormatOf("a.wav", {}, "ulaw").rate, 22050);
  EXPECT_EQ(say::audioFormatOf("a.opus", {}, {}).rate, 24000);
}

TEST(AudioFormat, ReportsUnsupportedFormats) {
  const struct {
    const char* path;
    std::optional<std::string> file;
    std::optional<std::string> data;
    const char* about;
  } cases[] = {{"a.m4a", {}, {}, ".m4a"},
               {"a", "wmv", {}, "\"wmv\""},
               {"a.wav", {}, "LEI17", "\"LEI17\""},
               {"a.flac", {}, "LEF32", "FLAC files do not support the data format"},
               {"a.aiff", {}, "LEF32", "AIFF files do not support the data format"},
               {"a.wav", {}, "LEI16@x", "\"x\""},
               {"a.wav", {}, "LEI16@1", "\"1\""},
               {"a.opus", {}, "@44100", "8000, 12000"}};
  for (const auto& [path, file, data, about] : cases) {
    try {
      say::audioFormatOf(path, file, data);
      ADD_FAILURE() << about;
    } catch (const std::invalid_argument& error) {
      EXPECT_THAT(error.what(), HasSubstr(about));
    }
  }
}

TEST(AudioFormat, ListsOnlySupportedCombinations) {
  EXPECT_THAT(say::fileFormatList(), AllOf(StartsWith("AIFF    .aiff .aif"), HasSubstr("FLAC")));
  EXPECT_THAT(say::dataFormatList("x.flac", {}), testing::Not(HasSubstr("F32")));
  EXPECT_THAT(say::dataFormatList("", "Ogg"), StartsWith("vorbis"));
}

TEST(Highlight, RejectsUnknownStyles) {
  for (const char* const name :
       {"", "true", "pink", "/", "red/pink", "setaf", "setaf 256", "setab -1", "Bold"}) {
    EXPECT_THROW(say::highlightNamed(name), std::invalid_argument) << name;
  }
}

TEST(PositionCounter, CountsBytesOrCharactersFromTheStartOfTheInput) {
  const std::string text = "\u00E9\xFF b\U0001F600c";
  const auto of = [&](say::PositionUnit unit, std::size_t first, tool::Slice slice) {
    say::PositionCounter positions(text, unit, first);
    const tool::Slice counted = positions.of(slice);
    return std::pair(counted.position, counted.length);
  };
  EXPECT_EQ(of(say::PositionUnit::Bytes, 10, {4, 5}), std::pair(std::size_t{14}, std::size_t{5}));
  EXPECT_EQ(of(say::PositionUnit::Characters, 0, {4, 5}),
            std::pair(std::size_t{3}, std::size_t{2}));
  say::PositionCounter positions(text, say::PositionUnit::Characters, 7);
  EXPECT_EQ(positions.end(), 13U);
  EXPECT_EQ(positions.of({0, 2}).position, 7U);
}

}  // namespace
