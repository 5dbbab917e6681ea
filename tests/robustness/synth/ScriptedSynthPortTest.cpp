// SPDX-License-Identifier: Apache-2.0
//
// Whole jobs, from the C interface down, on a synthesiser that misbehaves: each ends, with all of
// its words, whatever the processes do.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KeptSynthesiser.h"
#include "base/threads/Clock.h"
#include "job/pipeline.h"
#include "synth/synth_pool.h"
#include "synth/synthesiser.h"
#include "synth/voice.h"

namespace {

using base::Clock;
using kavrel::Pipeline;
using kavrel::Synthesiser;
using kavrel::SynthPool;
using std::chrono::milliseconds;

kavrel::SynthProcess::Limits shortLimits() {
  kavrel::SynthProcess::Limits limits;
  limits.start = milliseconds(3000);
  limits.silence = milliseconds(400);
  return limits;
}

class ScriptedSynthJob : public testing::Test {
 protected:
  // Produces a text to its end; returns the texts of its words.
  std::vector<std::string> wordsOf(const std::string& text,
                                   const std::string& program = KAVREL_SCRIPTED_SYNTH) {
    Pipeline pipeline(text, kavrel::Encoding::Latin9, m_voice, true,
                      test::keptSynthesiser(program, shortLimits()));
    std::vector<std::string> words;
    kavrel::SpeechSegment segment;
    for (;;) {
      m_result = pipeline.next(segment);
      if (m_result != Pipeline::Result::Segment) break;
      for (const auto& event : segment.events) {
        if (event.type == KAVREL_EVENT_WORD) {
          words.push_back(text.substr(event.start, event.length));
        }
      }
    }
    m_error = pipeline.error();
    return words;
  }

  kavrel::Voice m_voice;
  Pipeline::Result m_result = Pipeline::Result::End;
  std::string m_error;
};

}  // namespace

TEST_F(ScriptedSynthJob, EndsWithAllWordsWhateverOneOfThemDoes) {
  for (const std::string fault :
       {"CRASH", "TERM", "HALF", "GARBAGE", "COUNTS", "QUIT", "CALL", "STOP", "SPIN", "NOEND"}) {
    const Clock::time_point begin = Clock::now();
    EXPECT_EQ(wordsOf("One two. Three " + fault + " four. Five."),
              (std::vector<std::string>{"One", "two", "Three", fault, "four", "Five"}))
        << fault;
    EXPECT_EQ(m_result, Pipeline::Result::End) << fault << ": " << m_error;
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(20)) << fault;
  }
}

TEST_F(ScriptedSynthJob, FailsWithAMessageIfNoProcessStarts) {
  EXPECT_TRUE(wordsOf("One two.", "/nowhere/kavrel-synth").empty());
  EXPECT_EQ(m_result, Pipeline::Result::Failed);
  EXPECT_EQ(m_error, "cannot start /nowhere/kavrel-synth: No such file or directory");
}
