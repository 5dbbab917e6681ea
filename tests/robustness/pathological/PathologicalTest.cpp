// SPDX-License-Identifier: Apache-2.0
//
// The plug-in with texts that are hard to convert. Each test runs in a separate process.
#include <ApplicationServices/ApplicationServices.h>

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <pthread.h>

#include "AppleMarkupConverter.h"
#include "AppleSynthesisError.h"
#include "KavrelSpeechEngine.h"
#include "SpeechMgrUtils.h"
#include "conversions/ComparedConversion.h"
#include "oracle/Oracle.h"
#include "workloads/HardTexts.h"
#include "workloads/HeapMeter.h"

namespace {

using workloads::HardText;
using Ending = HardText::Ending;

constexpr std::size_t kBytes = std::size_t{1} << 20;
constexpr std::size_t kMostHeld = 64;  // times the length of the text

// Stack frames are larger in sanitizer builds.
constexpr std::size_t kStack = std::size_t{KAVREL_SANITIZED ? 1024 : 128} * 1024;

// Settings that add prefix commands of every kind.
SpeechMgrEnv someSettings() {
  SpeechMgrEnv settings;
  settings.volume = 50;
  settings.wpm = 200;
  settings.pitchBase = 50;
  settings.pitchAssumedBase = 43;
  return settings;
}

// Runs `work` on a thread with a small stack.
void onSmallStack(std::function<void()> work) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, kStack), 0);
  pthread_t thread;
  const auto run = [](void* given) -> void* {
    (*static_cast<std::function<void()>*>(given))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
  EXPECT_EQ(pthread_join(thread, nullptr), 0);
  EXPECT_EQ(pthread_attr_destroy(&attributes), 0);
}

Ending endingOf(const std::function<void()>& conversion) {
  try {
    conversion();
    return Ending::Converts;
  } catch (const AppleSynthesisError& error) {
    return error.getErrorType() == BAD_PHONE_SEQUENCE ? Ending::BadPhoneSequence
                                                      : Ending::IndexOutOfRange;
  } catch (const std::out_of_range&) {
    return Ending::OutOfRange;
  }
}

struct Outcome {
  Ending ending = Ending::Converts;
  std::size_t held = 0;  // peak memory in bytes
};

Outcome measure(const std::function<void()>& conversion) {
  Outcome outcome;
  onSmallStack([&] {
    const workloads::HeapMeter meter;
    outcome.ending = endingOf(conversion);
    outcome.held = meter.peak();
  });
  return outcome;
}

// Prepares and converts a text with the settings, as speaking does. Measures the conversion only:
// base text, list, converted text and records, without the copies for callers.
Outcome speak(std::string text, const SpeechMgrEnv& settings) {
  AppleMarkupConverter converter(PreprocessText(reinterpret_cast<unsigned char*>(text.data())),
                                 AppleMarkupConverter::SSML, settings);
  const Outcome outcome = measure([&] { converter.convert(); });
  if (outcome.ending == Ending::Converts) {
    onSmallStack([&] {
      const std::unique_ptr<OffsetMap> offsets(converter.getOffsets());
      offsets->offset(0);
      EXPECT_FALSE(converter.getConvertedText().empty() && offsets->records().empty());
    });
  }
  return outcome;
}

// Converts a text unchanged, and checks positions throughout the result.
Ending convert(const std::string& text, AppleMarkupConverter::output_t output) {
  return measure([&] {
           AppleMarkupConverter converter(text, output);
           const auto length = static_cast<std::uint32_t>(converter.getConvertedText().size());
           const std::unique_ptr<OffsetMap> offsets(converter.getOffsets());
           const PositionMap origins = converter.getPositions();
           ASSERT_EQ(origins.length(), length);
           for (std::uint64_t step = 0; step <= 1000; ++step) {
             const auto position = static_cast<std::uint32_t>(length * step / 1000);
             offsets->offset(position);
             ASSERT_LE(origins.origin(position), origins.originEnd(position));
             ASSERT_LE(origins.originEnd(position), text.size());
           }
         })
      .ending;
}

Ending endingOf(oracle::Error error) {
  switch (error) {
    case oracle::Error::BadPhoneSequence:
      return Ending::BadPhoneSequence;
    case oracle::Error::IndexOutOfRange:
      return Ending::IndexOutOfRange;
    case oracle::Error::OutOfRange:
      return Ending::OutOfRange;
    default:
      return Ending::Converts;
  }
}

std::string nameOf(const testing::TestParamInfo<HardText>& info) {
  return info.param.name;
}

class HardTexts : public testing::TestWithParam<HardText> {
 protected:
  static void SetUpTestSuite() { BuildPhoneTranslationTables(); }
};

// Preparation stops at a NUL, so a text may lose the part that makes its conversion fail.
TEST_P(HardTexts, AreSpokenOnASmallStackWithinTheirMemory) {
  const std::string text = GetParam().make(kBytes);
  const Outcome outcome = speak(text, SpeechMgrEnv());
  EXPECT_EQ(outcome.ending, GetParam().spoken);
  RecordProperty("held", std::to_string(outcome.held / text.size()) + " times the text");
  if (!workloads::HeapMeter::works() || GetParam().carriesPhones) return;
  EXPECT_GT(outcome.held, 0U);
  EXPECT_LE(outcome.held, kMostHeld * text.size());
}

TEST_P(HardTexts, AreSpokenWithSettingsOfEveryKind) {
  const std::string text = GetParam().make(kBytes);
  const Outcome outcome = speak(text, someSettings());
  EXPECT_EQ(outcome.ending, GetParam().spoken);
  RecordProperty("held", std::to_string(outcome.held / text.size()) + " times the text");
}

TEST_P(HardTexts, ConvertUnchangedOnASmallStack) {
  const std::string text = GetParam().make(kBytes);
  EXPECT_EQ(convert(text, AppleMarkupConverter::SSML), GetParam().converted);
  EXPECT_EQ(convert(text, AppleMarkupConverter::PLAINTEXT), Ending::Converts);
}

// Without the texts that fail at the limit of phones, which a short text does not reach.
std::vector<HardText> textsWithoutCarriedPhones() {
  std::vector<HardText> texts = workloads::hardTexts();
  std::erase_if(texts, [](const HardText& text) { return text.carriesPhones; });
  return texts;
}

class ShortHardTexts : public HardTexts {};

// Checks that the endings in HardTexts.cpp are those of the oracle, not only of the product.
TEST_P(ShortHardTexts, EndAsTheOracleSays) {
  const std::string text = GetParam().make(1024);
  const auto ending = [](const std::string& given,
                         const std::optional<oracle::Settings>& settings) {
    return endingOf(oracle::convert(given, settings, oracle::Output::Ssml).error);
  };
  EXPECT_EQ(ending(text, std::nullopt), GetParam().converted);
  const std::string prepared = oracle::prepare(text);
  EXPECT_EQ(ending(prepared, conversion::settingsOf(SpeechMgrEnv())), GetParam().spoken);
  EXPECT_EQ(ending(prepared, conversion::settingsOf(someSettings())), GetParam().spoken);
}

INSTANTIATE_TEST_SUITE_P(All, HardTexts, testing::ValuesIn(workloads::hardTexts()), nameOf);
INSTANTIATE_TEST_SUITE_P(All, ShortHardTexts, testing::ValuesIn(textsWithoutCarriedPhones()),
                         nameOf);

// Provides one byte per call of the text-done callback, `left` times.
struct Pieces {
  std::size_t left = kBytes;

  static void next(SpeechChannel /*channel*/, SRefCon refCon, const void** next,
                   unsigned long* length, SInt32* /*flags*/) {
    auto* pieces = reinterpret_cast<Pieces*>(refCon);
    *next = pieces->left > 0 ? "a" : nullptr;
    *length = 1;
    if (pieces->left > 0) --pieces->left;
  }
};

TEST(TextDone, MayAddAMillionPiecesOfOneByte) {
  Pieces pieces;
  SpeechChannelIdentifier id = 0;
  ASSERT_EQ(SEOpenSpeechChannel(&id), noErr);
  ASSERT_EQ(SESetSpeechInfo(id, soRefCon, &pieces), noErr);
  ASSERT_EQ(SESetSpeechInfo(id, soTextDoneCallBack, reinterpret_cast<void*>(&Pieces::next)), noErr);
  std::string text = "x";
  std::size_t held = 0;
  {
    const workloads::HeapMeter meter;
    EXPECT_EQ(SESpeakBuffer(id, text.data(), 1, 0), noErr);
    held = meter.peak();
  }
  EXPECT_EQ(pieces.left, 0U);
  EXPECT_LE(held, kMostHeld * kBytes);
  EXPECT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  EXPECT_EQ(SECloseSpeechChannel(id), noErr);
}

}  // namespace
