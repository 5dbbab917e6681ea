// SPDX-License-Identifier: Apache-2.0
//
// Which events a job sends, in which order, with which text and position.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "speakers/PortSpeaker.h"

using test::Event;
using test::Folder;
using test::kProse;
using test::ofType;
using test::Speaker;
using test::texts;

namespace {

using Texts = std::vector<std::string>;

// The part of `text` at the event's position.
std::string at(std::string_view text, const Event& event) {
  return std::string(
      text.substr(static_cast<std::size_t>(event.start), static_cast<std::size_t>(event.length)));
}

}  // namespace

TEST(PortEvents, BeginWithStartAndFinishWithEndOnce) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"));
  const std::vector<Event> events = speaker.speakAll(kProse);
  const int length = static_cast<int>(std::string_view(kProse).size());
  ASSERT_GE(events.size(), 2u);
  EXPECT_EQ(events.front(), (Event{KAVREL_EVENT_START, 0, length, ""}));
  EXPECT_EQ(events.back(), (Event{KAVREL_EVENT_END, length, 0, ""}));
  EXPECT_EQ(ofType(events, KAVREL_EVENT_START).size(), 1u);
  EXPECT_EQ(ofType(events, KAVREL_EVENT_END).size(), 1u);
  EXPECT_TRUE(ofType(events, KAVREL_EVENT_ERROR).empty());
}

TEST(PortEvents, ReportEveryWordOnceInOrder) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"));
  const std::vector<Event> words = ofType(speaker.speakAll(kProse), KAVREL_EVENT_WORD);
  EXPECT_EQ(
      texts(words),
      (Texts{"The",     "harbour", "was",    "quiet", "that", "morning", "A",      "single", "boat",
             "painted", "green",   "lay",    "at",    "the",  "quay",    "Who",    "had",    "left",
             "it",      "there",   "Nobody", "could", "say",  "the",     "keeper", "had",    "seen",
             "12",      "sails",   "go",     "out",   "and",  "none",    "come",   "back",   "It",
             "will",    "rain",    "said",   "the",   "old",  "man"}));
  for (const Event& word : words) EXPECT_EQ(at(kProse, word), word.text);
}

TEST(PortEvents, ReportEverySentenceBeforeItsFirstWord) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"));
  const std::string_view text = "One two. Three four! Five?";
  speaker.speakAll(text);
  Texts found;
  for (const Event& event : speaker.events()) {
    if (event.type == KAVREL_EVENT_SENTENCE) found.push_back("/" + at(text, event));
    if (event.type == KAVREL_EVENT_WORD) found.push_back(event.text);
  }
  ASSERT_EQ(found.size(), 8u);
  EXPECT_EQ(found[0].substr(0, 9), "/One two.");
  EXPECT_EQ(found[1], "One");
  EXPECT_EQ(found[3].substr(0, 12), "/Three four!");
  EXPECT_EQ(found[4], "Three");
  EXPECT_EQ(found[6].substr(0, 6), "/Five?");
  EXPECT_EQ(found[7], "Five");
}

TEST(PortEvents, ReportEveryMarkOnceAtItsPosition) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"));
  const std::string_view text =
      "<mark name=\"1\"/>One <mark name=\"2\"/>two. <mark name=\"a&amp;b\"/><mark name=\"4\"/> "
      "Three "
      "<break time=\"10ms\"/><mark name=\"5\"/> four.<mark name=\"6\"/>";
  speaker.speakAll(text);
  Texts found;
  for (const Event& event : speaker.events()) {
    if (event.type == KAVREL_EVENT_BOOKMARK) {
      found.push_back("#" + event.text);
      EXPECT_EQ(at(text, event).substr(0, 5), "<mark");
    }
    if (event.type == KAVREL_EVENT_WORD) found.push_back(event.text);
  }
  EXPECT_EQ(found, (Texts{"#1", "One", "#2", "two", "#a&b", "#4", "Three", "#5", "four", "#6"}));
}

TEST(PortEvents, GivePhonesThePositionOfTheirWord) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"));
  speaker.speakAll("The cat sat.");
  Texts found;
  for (const Event& event : speaker.events()) {
    if (event.type != KAVREL_EVENT_PHONEME || event.text == "pau") continue;
    found.push_back(event.text + "@" + std::to_string(event.start));
  }
  EXPECT_EQ(found, (Texts{"dh@0", "ah@0", "k@4", "ae@4", "t@4", "s@8", "ae@8", "t@8"}));
}

TEST(PortEvents, ResolveEntitiesInWordsAndCountAllTheirBytes) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"));
  const std::string_view text = "AT&amp;T works.";
  const std::vector<Event> words = ofType(speaker.speakAll(text), KAVREL_EVENT_WORD);
  ASSERT_EQ(words.size(), 2u);
  EXPECT_EQ(words[0], (Event{KAVREL_EVENT_WORD, 0, 8, "AT&T"}));
  EXPECT_EQ(words[1], (Event{KAVREL_EVENT_WORD, 9, 5, "works"}));
}

TEST(PortEvents, ReportPhonesAsTheyAreWritten) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"));
  const std::vector<Event> events = speaker.speakAll("<phoneme ph=\"z ow1 b ih0 t\">dog</phoneme>");
  Texts phones = texts(ofType(events, KAVREL_EVENT_PHONEME));
  std::erase(phones, "pau");
  EXPECT_EQ(phones, (Texts{"z", "ow", "b", "ih", "t"}));
  EXPECT_EQ(texts(ofType(events, KAVREL_EVENT_WORD)), Texts{"dog"});
}

TEST(PortEvents, AreSentOnlyAsTheMaskAllows) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"), KAVREL_EVENT_WORD | KAVREL_EVENT_END);
  const std::vector<Event> events = speaker.speakAll("One two.");
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[0].type, KAVREL_EVENT_WORD);
  EXPECT_EQ(events[1].type, KAVREL_EVENT_WORD);
  EXPECT_EQ(events[2].type, KAVREL_EVENT_END);
}

TEST(PortEvents, AreNotSentWithoutACallback) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"));
  ASSERT_EQ(kavrel_port_set_callback(speaker.port(), nullptr, KAVREL_EVENT_ALL, nullptr),
            KAVREL_SUCCESS);
  EXPECT_TRUE(speaker.speakAll("One two.").empty());
  EXPECT_GT(test::readSamples(folder.path("out.aiff")).size(), 1000u);
}

TEST(PortEvents, AreTheSameInRealTimeAsForAFile) {
  const Folder folder;
  Speaker inFile(folder.path("out.aiff"));
  Speaker inTime;
  const char* const text = "One <mark name=\"m\"/>two.";
  EXPECT_EQ(inTime.speakAll(text), inFile.speakAll(text));
}

TEST(PortEvents, AreOnlyStartAndEndForATextWithoutWords) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"));
  const std::vector<Event> events = speaker.speakAll(" \n ");
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0], (Event{KAVREL_EVENT_START, 0, 3, ""}));
  EXPECT_EQ(events[1], (Event{KAVREL_EVENT_END, 3, 0, ""}));
}

TEST(PortEvents, ReportEveryWordOfASentenceOfThousands) {
  std::string text;
  for (int number = 0; number < 3000; ++number) text += "word" + std::to_string(number % 7) + " ";
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"), KAVREL_EVENT_WORD);
  const std::vector<Event> words = speaker.speakAll(text);
  ASSERT_EQ(words.size(), 3000u);
  int start = 0;
  for (const Event& word : words) {
    ASSERT_EQ(word.start, start);
    start += word.length + 1;
  }
}
