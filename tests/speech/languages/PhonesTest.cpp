// SPDX-License-Identifier: Apache-2.0
//
// The phones of the languages that are offered: every event of a sample is known, its phones take
// the time of its sound, and every phone of the engine has a sound in every language.
//
// All languages, by the tests that are called Full; a few of them by the others.
#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "phone_lists/PhoneLists.h"
#include "text/phones.h"

namespace {

using kavrel::SynthAudio;
using phone_lists::Sample;

constexpr std::string_view kFew[] = {"en-us", "de", "fi", "hi", "ru", "cmn-latn-pinyin"};
constexpr std::string_view kNames =
    "ae ey ao ah i eh ih ay aa uw uh ow aw oy b ch d dh f g h jh k l m n ng p r s sh t th v w j z "
    "zh";

std::vector<Sample> few() {
  std::vector<Sample> chosen;
  std::ranges::copy_if(phone_lists::samples(), std::back_inserter(chosen), [](const Sample& each) {
    return std::ranges::find(kFew, each.language) != std::end(kFew);
  });
  return chosen;
}

std::vector<std::string> names() {
  std::istringstream stream{std::string(kNames)};
  return {std::istream_iterator<std::string>(stream), {}};
}

// The sound for a phone, without its sign of stress.
std::string soundOf(const std::string& phone, int stress, std::string_view language) {
  const std::vector<kavrel::Phone> phones = {{phone, kavrel::isVowel(phone) ? stress : -1}};
  const std::string input = kavrel::synthesiserInput(phones, language);
  return kavrel::isVowel(phone) ? input.substr(1) : input;
}

class SpokenSample : public testing::TestWithParam<Sample> {};
class FullSpokenSample : public testing::TestWithParam<Sample> {};

void expectKnownEvents(const Sample& sample) {
  const SynthAudio audio = phone_lists::speak(sample.text, false, sample.language);
  for (const SynthAudio::Event& event : audio.events()) {
    const bool isSwitch = !kavrel::languageOfEvent(event.phone).empty();
    EXPECT_TRUE(isSwitch || kavrel::isKnownEvent(event.phone)) << event.phone;
  }
}

// Each phone lasts until the next one. All of the sound is in one of them, but for a silence of
// less than 50 ms before the first; nothing but pauses is silent.
void expectPhonesToTakeAllTime(const Sample& sample) {
  const SynthAudio audio = phone_lists::speak(sample.text, false, sample.language);
  const std::uint64_t length = audio.samples().size();
  std::vector<std::uint64_t> begins;
  std::uint64_t latest = 0;
  for (const SynthAudio::Event& event : audio.events()) {
    EXPECT_GE(event.sample, latest);
    latest = event.sample;
    const bool isPause = event.silence == SynthAudio::Silence::Pause;
    if (event.mark > 0 || !kavrel::languageOfEvent(event.phone).empty()) continue;
    if (isPause || !kavrel::phonesOfEvent(event.phone, sample.language).empty()) {
      begins.push_back(event.sample);
    }
  }
  ASSERT_GT(begins.size(), 10u);
  EXPECT_LT(begins.front(), 1103u);
  begins.push_back(length);
  std::uint64_t sum = begins.front();
  for (std::size_t at = 1; at < begins.size(); ++at) {
    sum += begins[at] - begins[at - 1];
    // The longest sounds are those of tone languages.
    EXPECT_LT(begins[at] - begins[at - 1], 22050u) << at;
  }
  EXPECT_EQ(sum, length);
}

// A vowel is heard as vowels, a consonant begins as one; the English ones as themselves.
void expectEveryPhoneToSound(const Sample& sample) {
  for (const std::string& phone : names()) {
    const bool vowel = kavrel::isVowel(phone);
    for (const int stress : {1, 0}) {
      const std::string sound = soundOf(phone, stress, sample.language);
      const auto heard = phone_lists::phonesOfSound(sound, vowel, stress, sample.language);
      ASSERT_FALSE(heard.empty()) << phone << stress;
      EXPECT_EQ(kavrel::isVowel(heard.front()), vowel) << phone << stress << ": " << heard.front();
      if (sample.language == "en-us" || sample.language == "en") {
        EXPECT_EQ(heard, std::vector<std::string>{phone}) << stress;
      }
      if (!vowel) break;
    }
  }
}

TEST_P(SpokenSample, HasKnownEventsOnly) {
  expectKnownEvents(GetParam());
}
TEST_P(SpokenSample, HasPhonesForAllOfItsTime) {
  expectPhonesToTakeAllTime(GetParam());
}
TEST_P(SpokenSample, HasALanguageWithASoundForEveryPhone) {
  expectEveryPhoneToSound(GetParam());
}

TEST_P(FullSpokenSample, HasKnownEventsOnly) {
  expectKnownEvents(GetParam());
}
TEST_P(FullSpokenSample, HasPhonesForAllOfItsTime) {
  expectPhonesToTakeAllTime(GetParam());
}
TEST_P(FullSpokenSample, HasALanguageWithASoundForEveryPhone) {
  expectEveryPhoneToSound(GetParam());
}
// The list in the engine is what phone-lists finds.
TEST_P(FullSpokenSample, HasALanguageWhoseInputsAreListed) {
  const std::string language = GetParam().language;
  std::istringstream inputs(phone_lists::inputsOf(language));
  for (std::string input; inputs >> input;) {
    const std::size_t equals = input.find('=');
    std::string phone = input.substr(0, equals);
    int stress = -1;
    if (phone.back() == '0' || phone.back() == '1') {
      stress = phone.back() - '0';
      phone.pop_back();
    }
    EXPECT_EQ(soundOf(phone, stress, language), input.substr(equals + 1)) << input;
  }
}

// The names in tests/unit/engine/text/phone_events.tsv, all of whose phones a unit test checks.
std::set<std::string> listedEvents() {
  std::set<std::string> listed = {"\x01"};  // written as its code there
  std::ifstream file(KAVREL_PHONE_EVENTS);
  for (std::string line; std::getline(file, line);) listed.insert(line.substr(0, line.find('\t')));
  return listed;
}

TEST_P(FullSpokenSample, HasALanguageWhoseEventsAreListed) {
  const std::set<std::string> listed = listedEvents();
  for (const std::string& name : phone_lists::eventNames(GetParam())) {
    EXPECT_TRUE(listed.contains(name)) << name;
  }
}

std::string nameOf(const testing::TestParamInfo<Sample>& info) {
  std::string name = info.param.language;
  std::ranges::replace(name, '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Some, SpokenSample, testing::ValuesIn(few()), nameOf);
INSTANTIATE_TEST_SUITE_P(All, FullSpokenSample, testing::ValuesIn(phone_lists::samples()), nameOf);

}  // namespace
