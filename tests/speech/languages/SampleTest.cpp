// SPDX-License-Identifier: Apache-2.0
//
// A sentence in each language that is offered: it is spoken, and each word is reported once, in
// order, at its own bytes.
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "languages/Samples.h"
#include "speakers/PortSpeaker.h"

using languages::Sample;

namespace languages {

void PrintTo(const Sample& sample, std::ostream* out) {
  *out << sample.locale;
}

}  // namespace languages

namespace {

using test::Event;
using test::Folder;
using test::ofType;
using test::Speaker;
using test::texts;

class EachLanguage : public testing::TestWithParam<Sample> {
 protected:
  // Speaks with a voice of the language, and expects no error.
  std::vector<Event> speak(std::string_view text) {
    folder.write("kavrel.voice",
                 "format = 1\nname = Sample\nlanguage = " + GetParam().synthesiser +
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
  if (GetParam().hasBlanks) {
    EXPECT_EQ(texts(words), GetParam().words());
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
  std::string name = info.param.synthesiser;
  for (char& c : name) {
    if (c == '-') c = '_';
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Samples, EachLanguage,
                         testing::ValuesIn(languages::samplesIn(KAVREL_SAMPLES)), nameOf);

}  // namespace
