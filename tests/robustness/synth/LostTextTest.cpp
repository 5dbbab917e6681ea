// SPDX-License-Identifier: Apache-2.0
//
// Texts that have lost a process of the real synthesiser, one file each in
// tests/robustness/regress/synth: the job ends, each of its words is reported once and in order,
// and the next job is spoken.
#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "job/pipeline.h"
#include "synth_texts/SynthText.h"
#include "text/sentence.h"

namespace {

using kavrel::Pipeline;

// Start and length of words.
using Words = std::vector<std::pair<std::uint32_t, std::uint32_t>>;

std::vector<std::filesystem::path> files() {
  std::vector<std::filesystem::path> found;
  for (const auto& entry : std::filesystem::directory_iterator(KAVREL_LOST_TEXTS)) {
    found.push_back(entry);
  }
  std::sort(found.begin(), found.end());
  return found;
}

Words wordsOf(const std::string& text, const kavrel::Voice& voice) {
  Words words;
  kavrel::SentenceReader reader(text, kavrel::Encoding::Utf8, voice.language());
  kavrel::Sentence sentence;
  while (reader.next(sentence)) {
    for (const kavrel::Item& item : sentence.items) {
      const bool isSpoken =
          item.kind == kavrel::Item::Kind::Word || item.kind == kavrel::Item::Kind::Phones;
      if (isSpoken && item.reported) words.emplace_back(item.start, item.length);
    }
  }
  return words;
}

struct Job {
  Pipeline::Result result = Pipeline::Result::Segment;
  std::string error;
  Words words;
  std::size_t samples = 0;
};

Job jobOf(const std::string& text, const kavrel::Voice& voice) {
  Pipeline pipeline(text, kavrel::Encoding::Utf8, voice, false);
  Job job;
  kavrel::SpeechSegment segment;
  while ((job.result = pipeline.next(segment)) == Pipeline::Result::Segment) {
    for (const auto& event : segment.events) {
      if (event.type == KAVREL_EVENT_WORD) job.words.emplace_back(event.start, event.length);
    }
    job.samples += segment.samples.size();
  }
  job.error = pipeline.error();
  return job;
}

std::string nameOf(const testing::TestParamInfo<std::filesystem::path>& info) {
  std::string name = info.param.filename().string();
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
  return name;
}

class LostText : public testing::TestWithParam<std::filesystem::path> {};

}  // namespace

TEST_P(LostText, IsSpokenToItsEndWithAllOfItsWords) {
  const auto text = synth_texts::readFile(GetParam());
  ASSERT_TRUE(text.has_value());
  const auto voice = synth_texts::voiceNamed(text->voice);
  ASSERT_TRUE(voice.has_value());
  const Job job = jobOf(text->text, *voice);
  EXPECT_EQ(job.result, Pipeline::Result::End) << job.error;
  EXPECT_EQ(job.words, wordsOf(text->text, *voice));

  const Job next = jobOf("One two.", *voice);
  EXPECT_EQ(next.result, Pipeline::Result::End) << next.error;
  EXPECT_GT(next.samples, 0U);
}

INSTANTIATE_TEST_SUITE_P(Files, LostText, testing::ValuesIn(files()), nameOf);
