// SPDX-License-Identifier: Apache-2.0
//
// The speech of a text depends on the text, the voice and the settings alone: not on how many
// processes speak it, nor on what they have spoken before or speak at the same time.
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "KeptSynthesiser.h"
#include "job/pipeline.h"
#include "synth/synth_pool.h"
#include "synth/synth_program.h"
#include "synth/synthesiser.h"
#include "synth/voice.h"
#include "synth/voice_cache.h"

namespace {

using kavrel::Pipeline;
using kavrel::SpeechSegment;
using kavrel::Synthesiser;

Synthesiser& synthesiserOf(std::size_t processes) {
  return test::keptSynthesiser(kavrel::synthProgram(), {}, processes);
}

std::vector<SpeechSegment> speechOf(const std::string& text, Synthesiser& synthesiser,
                                    bool ahead = true) {
  Pipeline pipeline(text, kavrel::Encoding::Latin9, kavrel::defaultVoice(), ahead, synthesiser);
  std::vector<SpeechSegment> segments;
  SpeechSegment segment;
  Pipeline::Result result = pipeline.next(segment);
  for (; result == Pipeline::Result::Segment; result = pipeline.next(segment)) {
    segments.push_back(segment);
  }
  EXPECT_EQ(result, Pipeline::Result::End) << pipeline.error();
  return segments;
}

// Sentences of different lengths and settings.
std::string prose() {
  std::string text;
  for (int number = 1; number <= 24; ++number) {
    text += "Sentence <mark name=\"m" + std::to_string(number) + "\"/>number " +
            std::to_string(number) + " is <prosody rate=\"" + std::to_string(120 + 20 * number) +
            "\">spoken";
    for (int word = 0; word < number % 7; ++word) text += " again";
    text += "</prosody>, <prosody volume=\"60\">and</prosody> so on. ";
  }
  return text;
}

}  // namespace

TEST(SameSpeech, WithAnyNumberOfProcesses) {
  const std::string text = prose();
  const std::vector<SpeechSegment> expected = speechOf(text, synthesiserOf(1), false);
  ASSERT_GT(expected.size(), 40u);
  for (const std::size_t processes : {1u, 2u, 4u}) {
    EXPECT_TRUE(speechOf(text, synthesiserOf(processes)) == expected) << processes;
  }
}

TEST(SameSpeech, AfterOtherTextsAndBesideThem) {
  const std::string text = prose();
  Synthesiser& synthesiser = synthesiserOf(2);
  const std::vector<SpeechSegment> expected = speechOf(text, synthesiser);
  std::atomic<bool> done{false};
  std::vector<std::jthread> others;
  others.reserve(3);
  for (int other = 0; other < 3; ++other) {
    others.emplace_back([&, other] {
      const std::string rate = std::to_string(150 + 50 * other);
      while (!done) {
        speechOf("<prosody rate=\"" + rate + "\">Somebody else speaks, too.</prosody>", synthesiser,
                 other == 0);
      }
    });
  }
  for (int round = 0; round < 3; ++round) {
    EXPECT_TRUE(speechOf(text, synthesiser) == expected) << round;
  }
  done = true;
}
