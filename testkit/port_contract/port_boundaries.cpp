// SPDX-License-Identifier: Apache-2.0
//
// Tests of stopping and pausing at word and sentence boundaries, with output to a file and to
// sound: a device or the clock, depending on the program that these tests are compiled into.
#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "speakers/PortSpeaker.h"

using test::Event;
using test::Folder;
using test::ofType;
using test::Speaker;
using test::texts;

namespace {

using Texts = std::vector<std::string>;

constexpr const char* kText = "One two three. Four five.";
// The same words, faster: tests with sound output take as long as the speech.
constexpr const char* kFast = "<prosody rate=\"220\">One two three. Four five.</prosody>";

class PortBoundaries : public testing::TestWithParam<bool> {
 protected:
  std::string output() const { return GetParam() ? m_folder.path("out.aiff") : std::string(); }
  static const char* text() { return GetParam() ? kText : kFast; }

  const Folder m_folder;
};

// Calls `action` in the callback of the word `word`.
void atWord(Speaker& speaker, const std::string& word, std::function<void()> action) {
  speaker.onEvent = [word, action](const Event& event) {
    if (event.type == KAVREL_EVENT_WORD && event.text == word) action();
  };
}

// Takes the time that another port needs for three texts: a paused job that continues by mistake
// sends events meanwhile.
void letOthersWork(const Folder& folder) {
  Speaker other(folder.path("other.aiff"));
  for (int job = 0; job < 3; ++job) other.speakAll(test::kProse);
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Output, PortBoundaries, testing::Bool(),
                         [](const testing::TestParamInfo<bool>& output) {
                           return output.param ? "File" : KAVREL_SOUND_OUTPUT;
                         });

TEST_P(PortBoundaries, StopAtOnceSendsNothingButEnd) {
  Speaker speaker(output());
  atWord(speaker, "two", [&] { kavrel_port_stop(speaker.port(), nullptr, KAVREL_EVENT_NOW); });
  const std::vector<Event> events = speaker.speakAll(text());
  ASSERT_GE(events.size(), 2u);
  const Event& last = events.back();
  EXPECT_EQ(last.type, KAVREL_EVENT_END);
  EXPECT_EQ(events[events.size() - 2].text, "two");
  EXPECT_EQ(last.start, events[events.size() - 2].start);
}

TEST_P(PortBoundaries, StopAtAWordSpeaksTheCurrentWordAndNoMore) {
  Speaker speaker(output());
  atWord(speaker, "two", [&] { kavrel_port_stop(speaker.port(), nullptr, KAVREL_EVENT_WORD); });
  const std::vector<Event> events = speaker.speakAll(text());
  EXPECT_EQ(texts(ofType(events, KAVREL_EVENT_WORD)), (Texts{"One", "two"}));
  const Texts phones = texts(ofType(events, KAVREL_EVENT_PHONEME));
  ASSERT_GE(phones.size(), 2u);
  EXPECT_EQ((Texts{phones.end() - 2, phones.end()}), (Texts{"t", "uw"}));
  const Event word = ofType(events, KAVREL_EVENT_WORD).back();
  EXPECT_EQ(events.back(), (Event{KAVREL_EVENT_END, word.start + word.length, 0, ""}));
}

TEST_P(PortBoundaries, StopAtASentenceSpeaksTheCurrentSentenceAndNoMore) {
  Speaker speaker(output());
  atWord(speaker, "two", [&] { kavrel_port_stop(speaker.port(), nullptr, KAVREL_EVENT_SENTENCE); });
  const std::vector<Event> events = speaker.speakAll(text());
  EXPECT_EQ(texts(ofType(events, KAVREL_EVENT_WORD)), (Texts{"One", "two", "three"}));
  EXPECT_EQ(ofType(events, KAVREL_EVENT_SENTENCE).size(), 1u);
  EXPECT_EQ(ofType(events, KAVREL_EVENT_END).size(), 1u);
}

TEST_P(PortBoundaries, StopAtTheLastWordSpeaksToTheEnd) {
  Speaker speaker(output());
  atWord(speaker, "five", [&] { kavrel_port_stop(speaker.port(), nullptr, KAVREL_EVENT_WORD); });
  const std::vector<Event> events = speaker.speakAll(text());
  EXPECT_EQ(ofType(events, KAVREL_EVENT_WORD).size(), 5u);
  EXPECT_EQ(ofType(events, KAVREL_EVENT_END).size(), 1u);
}

TEST_P(PortBoundaries, StopAtOnceOverridesAPendingStop) {
  Speaker speaker(output());
  atWord(speaker, "two", [&] {
    kavrel_port_stop(speaker.port(), nullptr, KAVREL_EVENT_SENTENCE);
    kavrel_port_stop(speaker.port(), nullptr, KAVREL_EVENT_NOW);
    kavrel_port_stop(speaker.port(), nullptr, KAVREL_EVENT_SENTENCE);
  });
  EXPECT_EQ(texts(ofType(speaker.speakAll(text()), KAVREL_EVENT_WORD)), (Texts{"One", "two"}));
}

TEST_P(PortBoundaries, PauseHoldsTheJobUntilItIsResumed) {
  Speaker speaker(output());
  atWord(speaker, "two", [&] {
    EXPECT_EQ(kavrel_port_pause(speaker.port(), nullptr, KAVREL_EVENT_NOW), KAVREL_SUCCESS);
  });
  ASSERT_EQ(speaker.speak(text()), KAVREL_SUCCESS);
  speaker.waitFor(KAVREL_EVENT_WORD, 2);
  letOthersWork(m_folder);
  EXPECT_EQ(speaker.events().back().text, "two");
  ASSERT_EQ(kavrel_port_pause(speaker.port(), speaker.job(), KAVREL_EVENT_NOW), KAVREL_SUCCESS);
  ASSERT_EQ(kavrel_port_wait(speaker.port(), speaker.job()), KAVREL_SUCCESS);

  Speaker straight(m_folder.path("straight.aiff"));
  EXPECT_EQ(speaker.events(), straight.speakAll(text()));
}

TEST_P(PortBoundaries, PauseAtAWordHoldsBeforeTheNextWord) {
  Speaker speaker(output());
  atWord(speaker, "two", [&] { kavrel_port_pause(speaker.port(), nullptr, KAVREL_EVENT_WORD); });
  ASSERT_EQ(speaker.speak(text()), KAVREL_SUCCESS);
  speaker.waitFor(KAVREL_EVENT_PHONEME, 5);
  letOthersWork(m_folder);
  EXPECT_EQ(speaker.events().back().text, "uw");
  ASSERT_EQ(kavrel_port_pause(speaker.port(), speaker.job(), KAVREL_EVENT_NOW), KAVREL_SUCCESS);
  ASSERT_EQ(kavrel_port_wait(speaker.port(), speaker.job()), KAVREL_SUCCESS);

  Speaker straight(m_folder.path("straight.aiff"));
  EXPECT_EQ(speaker.events(), straight.speakAll(text()));
}

TEST_P(PortBoundaries, PauseAtASentenceHoldsBeforeTheNextSentence) {
  Speaker speaker(output(), KAVREL_EVENT_WORD | KAVREL_EVENT_SENTENCE | KAVREL_EVENT_END);
  atWord(speaker, "three",
         [&] { kavrel_port_pause(speaker.port(), nullptr, KAVREL_EVENT_SENTENCE); });
  ASSERT_EQ(speaker.speak(text()), KAVREL_SUCCESS);
  speaker.waitFor(KAVREL_EVENT_WORD, 3);
  letOthersWork(m_folder);
  EXPECT_EQ(speaker.events().back().text, "three");
  ASSERT_EQ(kavrel_port_stop(speaker.port(), speaker.job(), KAVREL_EVENT_SENTENCE), KAVREL_SUCCESS);
  ASSERT_EQ(kavrel_port_wait(speaker.port(), speaker.job()), KAVREL_SUCCESS);
  EXPECT_EQ(speaker.events(KAVREL_EVENT_WORD).size(), 3u);
  EXPECT_EQ(speaker.events(KAVREL_EVENT_END).size(), 1u);
}

TEST_P(PortBoundaries, PendingPauseIsCancelledByTheNext) {
  Speaker speaker(output(), KAVREL_EVENT_WORD);
  atWord(speaker, "two", [&] {
    kavrel_port_pause(speaker.port(), nullptr, KAVREL_EVENT_SENTENCE);
    kavrel_port_pause(speaker.port(), nullptr, KAVREL_EVENT_SENTENCE);
  });
  EXPECT_EQ(speaker.speakAll(text()).size(), 5u);
}

TEST_P(PortBoundaries, PauseBeforeTheFirstSampleHoldsEverything) {
  Speaker speaker(output());
  speaker.onEvent = [&](const Event& event) {
    if (event.type != KAVREL_EVENT_START) return;
    EXPECT_EQ(kavrel_port_pause(speaker.port(), nullptr, KAVREL_EVENT_WORD), KAVREL_SUCCESS);
  };
  ASSERT_EQ(speaker.speak(text()), KAVREL_SUCCESS);
  speaker.waitFor(KAVREL_EVENT_START);
  letOthersWork(m_folder);
  EXPECT_TRUE(speaker.events(KAVREL_EVENT_WORD).empty());
  ASSERT_EQ(kavrel_port_pause(speaker.port(), nullptr, KAVREL_EVENT_WORD), KAVREL_SUCCESS);
  ASSERT_EQ(kavrel_port_wait(speaker.port(), nullptr), KAVREL_SUCCESS);
  EXPECT_EQ(speaker.events(KAVREL_EVENT_WORD).size(), 5u);
}

TEST_P(PortBoundaries, PauseInTheLastWordHoldsTheEnd) {
  Speaker speaker(output(), KAVREL_EVENT_WORD | KAVREL_EVENT_END);
  atWord(speaker, "five", [&] { kavrel_port_pause(speaker.port(), nullptr, KAVREL_EVENT_WORD); });
  ASSERT_EQ(speaker.speak(text()), KAVREL_SUCCESS);
  speaker.waitFor(KAVREL_EVENT_WORD, 5);
  letOthersWork(m_folder);
  EXPECT_TRUE(speaker.events(KAVREL_EVENT_END).empty());
  ASSERT_EQ(kavrel_port_pause(speaker.port(), nullptr, KAVREL_EVENT_NOW), KAVREL_SUCCESS);
  ASSERT_EQ(kavrel_port_wait(speaker.port(), nullptr), KAVREL_SUCCESS);
  EXPECT_EQ(speaker.events(KAVREL_EVENT_END).size(), 1u);
}

TEST_P(PortBoundaries, StopEndsAPausedJobAtItsPosition) {
  Speaker speaker(output(), KAVREL_EVENT_WORD | KAVREL_EVENT_END);
  atWord(speaker, "two", [&] { kavrel_port_pause(speaker.port(), nullptr, KAVREL_EVENT_NOW); });
  ASSERT_EQ(speaker.speak(text()), KAVREL_SUCCESS);
  speaker.waitFor(KAVREL_EVENT_WORD, 2);
  ASSERT_EQ(kavrel_port_stop(speaker.port(), speaker.job(), KAVREL_EVENT_SENTENCE), KAVREL_SUCCESS);
  ASSERT_EQ(kavrel_port_wait(speaker.port(), speaker.job()), KAVREL_SUCCESS);
  EXPECT_EQ(texts(speaker.events(KAVREL_EVENT_WORD)), (Texts{"One", "two"}));
}

// Every state in which a job can be stopped, with every boundary.
TEST_P(PortBoundaries, EndIsSentOnceWhereverAJobIsStopped) {
  constexpr kavrel_event_t kNotPaused = KAVREL_EVENT_NONE;
  constexpr std::array kBoundaries{KAVREL_EVENT_NOW, KAVREL_EVENT_WORD, KAVREL_EVENT_SENTENCE};
  for (const kavrel_event_t pause :
       {kNotPaused, KAVREL_EVENT_NOW, KAVREL_EVENT_WORD, KAVREL_EVENT_SENTENCE}) {
    for (const kavrel_event_t stop : kBoundaries) {
      SCOPED_TRACE(testing::Message() << "pause " << pause << ", stop " << stop);
      Speaker speaker(output(), KAVREL_EVENT_WORD | KAVREL_EVENT_END);
      atWord(speaker, "One", [&] {
        if (pause != kNotPaused) kavrel_port_pause(speaker.port(), nullptr, pause);
        kavrel_port_stop(speaker.port(), nullptr, stop);
      });
      const Texts words = texts(speaker.speakAll(text()));
      // A stop overrides a pending pause, and ends a paused job at its position.
      const bool atOnce = stop == KAVREL_EVENT_NOW || pause == KAVREL_EVENT_NOW;
      const bool wholeSentence = !atOnce && stop == KAVREL_EVENT_SENTENCE;
      EXPECT_EQ(words, wholeSentence ? (Texts{"One", "two", "three", ""}) : (Texts{"One", ""}));
      EXPECT_EQ(speaker.events(KAVREL_EVENT_END).size(), 1u);
      EXPECT_EQ(kavrel_port_pause(speaker.port(), speaker.job(), KAVREL_EVENT_NOW),
                KAVREL_OBJECT_NOT_FOUND);
    }
  }
}

TEST_P(PortBoundaries, ImmediateEventsHaveTheSameOrder) {
  Speaker speaker(output());
  kavrel_params* const params = kavrel_params_new(nullptr);
  kavrel_params_set_val(params, KAVREL_KEY_EVENTS_IMMEDIATE, kavrel_val_int(1));
  kavrel_background_t job = nullptr;
  const std::string spoken = text();
  ASSERT_EQ(kavrel_port_speak_text(speaker.port(), spoken.data(), spoken.size(), "iso-8859-15",
                                   &job, params),
            KAVREL_SUCCESS);
  kavrel_params_delete(params);
  ASSERT_EQ(kavrel_port_wait(speaker.port(), job), KAVREL_SUCCESS);
  Speaker straight(m_folder.path("straight.aiff"));
  EXPECT_EQ(speaker.events(), straight.speakAll(spoken));
}

TEST(PortBoundariesInFiles, StopAtAWordEndsTheFileBeforeTheNextWord) {
  const Folder folder;
  Speaker whole(folder.path("whole.aiff"), KAVREL_EVENT_WORD);
  whole.speakAll("One two three.");
  Speaker cut(folder.path("cut.aiff"), KAVREL_EVENT_WORD);
  atWord(cut, "two", [&] { kavrel_port_stop(cut.port(), nullptr, KAVREL_EVENT_WORD); });
  cut.speakAll("One two three.");
  const auto wholeSize = test::readSamples(folder.path("whole.aiff")).size();
  const auto cutSize = test::readSamples(folder.path("cut.aiff")).size();
  EXPECT_GT(cutSize, wholeSize / 4);
  EXPECT_LT(cutSize, wholeSize * 2 / 3);
}

TEST(PortBoundariesInFiles, APauseLeavesNoTraceInTheFile) {
  const Folder folder;
  Speaker straight(folder.path("straight.aiff"));
  straight.speakAll(kText);
  Speaker paused(folder.path("paused.aiff"));
  atWord(paused, "two", [&] { kavrel_port_pause(paused.port(), nullptr, KAVREL_EVENT_WORD); });
  ASSERT_EQ(paused.speak(kText), KAVREL_SUCCESS);
  paused.waitFor(KAVREL_EVENT_PHONEME, 5);
  letOthersWork(folder);
  kavrel_port_pause(paused.port(), nullptr, KAVREL_EVENT_NOW);
  ASSERT_EQ(kavrel_port_wait(paused.port(), nullptr), KAVREL_SUCCESS);
  const auto expected = static_cast<double>(test::readSamples(folder.path("straight.aiff")).size());
  const auto found = static_cast<double>(test::readSamples(folder.path("paused.aiff")).size());
  EXPECT_NEAR(found / expected, 1.0, 0.02);
}
