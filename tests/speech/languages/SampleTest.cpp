// SPDX-License-Identifier: Apache-2.0
//
// A sentence in each language that is offered: it is spoken, and each word is reported once, in
// order, at its own bytes.
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "speakers/PortSpeaker.h"

namespace {

using test::Event;
using test::Folder;
using test::ofType;
using test::Speaker;
using test::texts;

struct Sample {
  std::string language;  // the synthesiser's name
  std::string tag;
  std::string text;
};

void PrintTo(const Sample& sample, std::ostream* out) {
  *out << sample.tag;
}

std::vector<Sample> samples() {
  std::vector<Sample> all;
  std::ifstream file(KAVREL_SAMPLES);
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with('#')) continue;
    std::istringstream fields(line);
    Sample sample;
    std::string script;
    std::string direction;
    std::getline(fields, sample.language, '\t');
    std::getline(fields, sample.tag, '\t');
    std::getline(fields, script, '\t');
    std::getline(fields, direction, '\t');
    std::getline(fields, sample.text);
    all.push_back(sample);
  }
  return all;
}

bool hasBlanks(const Sample& sample) {
  return !sample.tag.starts_with("zh") && !sample.tag.starts_with("yue");
}

void trim(std::string_view& word, std::string_view sign) {
  if (word.starts_with(sign)) word.remove_prefix(sign.size());
  if (word.ends_with(sign)) word.remove_suffix(sign.size());
}

// The words between blanks, without the punctuation that the samples have.
std::vector<std::string> wordsOf(std::string_view text) {
  std::vector<std::string> words;
  std::istringstream parts{std::string(text)};
  for (std::string part; parts >> part;) {
    std::string_view word = part;
    for (const std::string_view sign : {".", ",", "'", "!", "?", ":", "।", "።", "։", "۔", "،"}) {
      trim(word, sign);
    }
    words.emplace_back(word);
  }
  return words;
}

class EachLanguage : public testing::TestWithParam<Sample> {
 protected:
  // Speaks with a voice of the language, and expects no error.
  std::vector<Event> speak(std::string_view text) {
    folder.write("kavrel.voice",
                 "format = 1\nname = Sample\nlanguage = " + GetParam().language +
                     "\npitch.offset = 19.3\npitch.range = 0.272\npitch.scale = 34.7\n"
                     "pitch.spread = 0.54\npitch.lowest = 68\npitch.highest = 170\n");
    Speaker speaker(folder.path("out.aiff"));
    const std::string voice = folder.path();
    EXPECT_NE(kavrel_port_set_voice_from_dir(speaker.port(), voice.c_str()), nullptr);
    const std::vector<Event> events = speaker.speakAll(text, "utf-8");
    EXPECT_TRUE(ofType(events, KAVREL_EVENT_ERROR).empty());
    return events;
  }

  const Folder folder;
};

TEST_P(EachLanguage, SpeaksItsSampleAndReportsEachWordAtItsOwnBytes) {
  const std::string& text = GetParam().text;
  const std::vector<Event> words = ofType(speak(text), KAVREL_EVENT_WORD);
  std::string joined;
  for (const Event& word : words) {
    EXPECT_EQ(
        text.substr(static_cast<std::size_t>(word.start), static_cast<std::size_t>(word.length)),
        word.text);
    joined += word.text;
  }
  if (hasBlanks(GetParam())) {
    EXPECT_EQ(texts(words), wordsOf(text));
  } else {
    EXPECT_EQ(joined + "。", text);
    EXPECT_GT(words.size(), 5u);
  }
  // Half a second at least.
  EXPECT_GT(test::readSamples(folder.path("out.aiff")).size(), 11025u);
}

TEST_P(EachLanguage, HasMarksAroundItsSample) {
  const std::string text = "<mark name='é'/>" + GetParam().text + "<mark name='я'/>";
  EXPECT_EQ(texts(ofType(speak(text), KAVREL_EVENT_BOOKMARK)),
            (std::vector<std::string>{"é", "я"}));
}

std::string nameOf(const testing::TestParamInfo<Sample>& info) {
  std::string name = info.param.language;
  for (char& c : name) {
    if (c == '-') c = '_';
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Samples, EachLanguage, testing::ValuesIn(samples()), nameOf);

}  // namespace
