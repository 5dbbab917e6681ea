// SPDX-License-Identifier: Apache-2.0
//
// Long texts and many jobs: memory does not grow with them, except for the copies of the texts, and
// the cuts between parts of a text are inaudible. Tests whose names begin with Full take long.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "speakers/PortSpeaker.h"
#include "workloads/HeapMeter.h"

using test::Folder;
using test::kProse;
using test::readSamples;
using test::Speaker;

namespace {

std::string repeated(std::string_view piece, std::size_t size) {
  std::string text;
  while (text.size() < size) text += piece;
  return text;
}

// Peak memory in bytes while `text` is spoken, without the job's copy of the text.
std::size_t peakFor(const std::string& text) {
  Speaker speaker("/dev/null", KAVREL_EVENT_NONE);
  speaker.speakAll("One.");
  const workloads::HeapMeter meter;
  speaker.speakAll(text);
  return meter.peak() - std::min(meter.peak(), text.size());
}

std::size_t openFiles() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

// Speaks jobs to one file and stops each after a random number of words.
void speakAndStop(int jobs, const std::string& file, std::mt19937& random) {
  constexpr std::array<kavrel_event_t, 3> kBoundaries = {KAVREL_EVENT_NOW, KAVREL_EVENT_WORD,
                                                         KAVREL_EVENT_SENTENCE};
  constexpr std::size_t kWords = 30;
  for (int job = 0; job < jobs; ++job) {
    Speaker speaker(file);
    ASSERT_EQ(speaker.speak(kProse), KAVREL_SUCCESS);
    speaker.waitFor(KAVREL_EVENT_WORD, random() % kWords);
    kavrel_port_stop(speaker.port(), speaker.job(), kBoundaries[random() % kBoundaries.size()]);
    ASSERT_EQ(kavrel_port_wait(speaker.port(), speaker.job()), KAVREL_SUCCESS);
    ASSERT_EQ(speaker.events(KAVREL_EVENT_END).size(), 1u);
  }
}

// The first jobs are not measured, since they may fill caches.
void expectNothingLeftBy(int jobs) {
  constexpr int kFirst = 50;
  constexpr std::ptrdiff_t kSlack = 32'000;
  const Folder folder;
  const std::size_t threads = test::idleThreads();
  std::mt19937 random(7);
  speakAndStop(kFirst, folder.path("out.aiff"), random);
  ASSERT_TRUE(test::threadsFallTo(threads));
  const std::size_t files = openFiles();
  const workloads::HeapMeter meter;
  speakAndStop(jobs, folder.path("out.aiff"), random);
  EXPECT_TRUE(test::threadsFallTo(threads));
  EXPECT_EQ(openFiles(), files);
  EXPECT_LE(meter.growth(), kSlack);
  testing::Test::RecordProperty("growth", std::to_string(meter.growth()));
}

// The longest silence inside the audio, in samples.
std::size_t longestSilence(const std::vector<std::int16_t>& samples) {
  constexpr int kInaudible = 100;
  const auto isHeard = [](int sample) { return std::abs(sample) > kInaudible; };
  const auto last = std::find_if(samples.rbegin(), samples.rend(), isHeard).base();
  auto from = std::find_if(samples.begin(), samples.end(), isHeard);
  std::size_t longest = 0;
  while (from < last) {
    const auto next = std::find_if(from + 1, last, isHeard);
    longest = std::max(longest, static_cast<std::size_t>(next - from));
    from = next;
  }
  return longest;
}

}  // namespace

TEST(LongText, IsSpokenInMemoryThatDoesNotGrowWithIt) {
  if (!workloads::HeapMeter::works()) GTEST_SKIP() << "memory cannot be counted here";
  constexpr std::size_t kShort = 500'000;
  constexpr std::size_t kLong = 1'000'000;
  constexpr std::size_t kSlack = 200'000;
  for (const std::string_view piece :
       {"<prosody rate=\"300\"> </prosody><break time=\"1ms\"/>\n",
        "                                        \n", "<emphasis>   </emphasis>    \n\n",
        "<mark name=\"1\"/>", "<mark name=\"1\"/>\n<mark name=\"2\"/> \n"}) {
    const std::size_t few = peakFor(repeated(piece, kShort));
    EXPECT_LE(peakFor(repeated(piece, kLong)), few + kSlack) << piece;
  }
}

TEST(LongText, IsCutInaudibly) {
  const Folder folder;
  // Words that run into each other, so that a gap would be heard.
  Speaker(folder.path("one.aiff")).speakAll("We know many an able man in one arena.");
  Speaker(folder.path("many.aiff"))
      .speakAll(repeated("we know many an able man in one arena ", 5000));
  const std::size_t usual = longestSilence(readSamples(folder.path("one.aiff")));
  const std::size_t cut = longestSilence(readSamples(folder.path("many.aiff")));
  constexpr std::size_t kHardlyHeard = 22050 / 20;
  EXPECT_LE(cut, usual + kHardlyHeard) << "usual: " << usual;
}

TEST(LongText, OfMarksAfterAWordIsSpokenInMemoryThatDoesNotGrowWithIt) {
  if (!workloads::HeapMeter::works()) GTEST_SKIP() << "memory cannot be counted here";
  constexpr std::size_t kSlack = 200'000;
  const std::size_t few = peakFor("one " + repeated("<mark name=\"1\"/>", 500'000) + " two");
  EXPECT_LE(peakFor("one " + repeated("<mark name=\"1\"/>", 1'000'000) + " two"), few + kSlack);
}

TEST(ManyJobs, LeaveNothingOpenWhereverTheyAreStopped) {
  expectNothingLeftBy(200);
}

TEST(FullManyJobs, LeaveNothingOpenWhereverTheyAreStopped) {
  expectNothingLeftBy(1000);
}

TEST(FullLongText, OfTenMegabytesIsSpokenInTheMemoryOfOne) {
  if (!workloads::HeapMeter::works()) GTEST_SKIP() << "memory cannot be counted here";
  constexpr std::size_t kSlack = 200'000;
  const std::string piece = "It rains. " + repeated("<mark name=\"1\"/>", 6000);
  const std::size_t few = peakFor(repeated(piece, 1'000'000));
  const std::size_t many = peakFor(repeated(piece, 10'000'000));
  EXPECT_LE(many, few + kSlack);
  RecordProperty("few", std::to_string(few));
  RecordProperty("many", std::to_string(many));
}

TEST(FullLongText, EndsWithAnErrorIfTheFileIsFull) {
  // Together longer than the 27 hours that an AIFF file can hold.
  Speaker speaker("/dev/null", KAVREL_EVENT_ERROR | KAVREL_EVENT_END);
  const auto events = speaker.speakAll(repeated("<break time=\"600s\"/>", 20 * 170));
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].type, KAVREL_EVENT_ERROR);
  EXPECT_EQ(events[0].text, "/dev/null: is as large as an AIFF file can be");
  EXPECT_EQ(events[1].type, KAVREL_EVENT_END);
}
