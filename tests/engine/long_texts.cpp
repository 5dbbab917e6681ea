// SPDX-License-Identifier: Apache-2.0
//
// Long texts: memory does not grow with them but for their copies, and nobody hears where they are
// cut.
#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "speaker.h"
#include "workloads/HeapMeter.h"

using test::Folder;
using test::readSamples;
using test::Speaker;

namespace {

std::string repeated(std::string_view piece, std::size_t size) {
  std::string text;
  while (text.size() < size) text += piece;
  return text;
}

// The most that is held while `text` is spoken, its one copy in the job not counted.
std::size_t heldFor(const std::string& text) {
  Speaker speaker("/dev/null", KAVREL_EVENT_NONE);
  speaker.speakAll("One.");
  const workloads::HeapMeter meter;
  speaker.speakAll(text);
  return meter.peak() - std::min(meter.peak(), text.size());
}

// Samples in the longest stretch inside the sound that nobody hears.
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
        "                                        \n", "<emphasis>   </emphasis>    \n\n"}) {
    const std::size_t few = heldFor(repeated(piece, kShort));
    EXPECT_LE(heldFor(repeated(piece, kLong)), few + kSlack) << piece;
  }
}

TEST(LongText, IsCutWhereNobodyHearsIt) {
  const Folder folder;
  // Words that run into each other, so that a gap is heard.
  Speaker(folder.path("one.aiff")).speakAll("We know many an able man in one arena.");
  Speaker(folder.path("many.aiff"))
      .speakAll(repeated("we know many an able man in one arena ", 5000));
  const std::size_t usual = longestSilence(readSamples(folder.path("one.aiff")));
  const std::size_t cut = longestSilence(readSamples(folder.path("many.aiff")));
  constexpr std::size_t kHardlyHeard = 22050 / 20;
  EXPECT_LE(cut, usual + kHardlyHeard) << "usual: " << usual;
}
