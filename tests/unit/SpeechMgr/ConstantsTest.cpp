// SPDX-License-Identifier: Apache-2.0
//
// The numeric values of the constants that binaries of other makers compile in: engine events and
// results, the platform's results and selectors, the enumerations of the markup model. Literal
// numbers on purpose: an enumeration cannot be checked against itself.

#include <ApplicationServices/ApplicationServices.h>

#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "AppleMarkupConverter.h"
#include "AppleSynthesisError.h"
#include "SpeechChannel.h"
#include "SpeechMgrUtils.h"

namespace {

using Values = std::vector<std::pair<long long, long long>>;

// Checks that the two numbers of each pair, the constant and its value, are equal.
void expectEqual(const Values& values) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    EXPECT_EQ(values[i].first, values[i].second) << "pair " << i;
  }
}

TEST(Constants, EngineEventsAreBits) {
  expectEqual({{KAVREL_EVENT_NONE, 0},
               {KAVREL_EVENT_AUDIO, 1},
               {KAVREL_EVENT_ERROR, 2},
               {KAVREL_EVENT_SENTENCE, 4},
               {KAVREL_EVENT_PHRASE, 8},
               {KAVREL_EVENT_TOKEN, 16},
               {KAVREL_EVENT_WORD, 32},
               {KAVREL_EVENT_BOOKMARK, 64},
               {KAVREL_EVENT_SYLLABLE, 128},
               {KAVREL_EVENT_PHONEME, 256},
               {KAVREL_EVENT_START, 512},
               {KAVREL_EVENT_END, 1024},
               {KAVREL_EVENT_ALL, 0xFFFFFFFF},
               {KAVREL_EVENT_NOW, 0xFFFFFFFF}});
  static_assert(sizeof(kavrel_event_t) == 4);
}

TEST(Constants, EngineResultsAreNegative) {
  expectEqual({{KAVREL_SUCCESS, 0},
               {KAVREL_UNKNOWN_ERROR, -1},
               {KAVREL_UNIMPLEMENTED, -2},
               {KAVREL_INTERNAL_ERROR, -3},
               {KAVREL_INVALID_PARAM, -4},
               {KAVREL_INVALID_POINTER, -5},
               {KAVREL_OBJECT_NOT_FOUND, -6},
               {KAVREL_UNKNOWN_ENCODING, -7},
               {KAVREL_INTERRUPTED, -8},
               {KAVREL_INVALID_VOICE, -9},
               {KAVREL_FILE_ERROR, -10},
               {KAVREL_WRONG_EVENT, -11},
               {KAVREL_ENGINE_INUSE, -12},
               {KAVREL_NETWORK_ERROR, -13},
               {KAVREL_INVALID_KEY, -14},
               {KAVREL_QUEUE_FULL, -15}});
}

TEST(Constants, EngineParametersHaveTheirKeys) {
  EXPECT_STREQ(KAVREL_KEY_CACHE_POLICY, "voice/cache-policy");
  EXPECT_STREQ(KAVREL_KEY_AUDIO_DEVICE, "audio/device");
  EXPECT_STREQ(KAVREL_KEY_OUTPUT_FILE, "audio/output-file");
  EXPECT_STREQ(KAVREL_KEY_OUTPUT_FORMAT, "audio/output-format");
  EXPECT_STREQ(KAVREL_KEY_EVENTS_IMMEDIATE, "events/immediate");
  EXPECT_STREQ(KAVREL_KEY_ONE_VOICE, "voice/one-voice");
}

TEST(Constants, ResultsOfThePlatform) {
  expectEqual({{noErr, 0},
               {paramErr, -50},
               {memFullErr, -108},
               {siUnknownInfoType, -231},
               {noSynthFound, -240},
               {synthOpenFailed, -241},
               {synthNotReady, -242},
               {bufTooSmall, -243},
               {voiceNotFound, -244},
               {incompatibleVoice, -245},
               {badDictFormat, -246},
               {badInputText, -247}});
}

TEST(Constants, SelectorsAndBoundariesOfThePlatform) {
  expectEqual({{soStatus, 0x73746174},
               {soErrors, 0x6572726F},
               {soInputMode, 0x696E7074},
               {soCharacterMode, 0x63686172},
               {soNumberMode, 0x6E6D6272},
               {soRate, 0x72617465},
               {soPitchBase, 0x70626173},
               {soPitchMod, 0x706D6F64},
               {soVolume, 0x766F6C6D},
               {soSynthType, 0x76657273},
               {soRecentSync, 0x73796E63},
               {soCommandDelimiter, 0x646C696D},
               {soReset, 0x72736574},
               {soRefCon, 0x72656663},
               {soTextDoneCallBack, 0x74646362},
               {soSpeechDoneCallBack, 0x73646362},
               {soSyncCallBack, 0x73796362},
               {soErrorCallBack, 0x65726362},
               {soPhonemeCallBack, 0x70686362},
               {soWordCallBack, 0x77646362},
               {soOutputToFileWithCFURL, 0x6F706166},
               {kImmediate, 0},
               {kEndOfWord, 1},
               {kEndOfSentence, 2},
               {kNeuter, 0},
               {kMale, 1},
               {kFemale, 2}});
}

TEST(Constants, StatesOfAChannel) {
  expectEqual({{STATUS_IDLE, 0}, {STATUS_BUSY, 1}, {STATUS_PAUSED, 2}, {STATUS_CLOSING, 3}});
}

TEST(Constants, KindsOfCommands) {
  using Token = AppleMarkupToken;
  expectEqual({{Token::CHAR_SPELLOUT_TAG, 0},
               {Token::CHAR_NORMAL_TAG, 1},
               {Token::COMMENT_TAG, 2},
               {Token::DELIM_TAG, 3},
               {Token::EMPHASIS_POSITIVE_TAG, 4},
               {Token::EMPHASIS_NONE_TAG, 5},
               {Token::PHONEME_TAG, 6},
               {Token::TUNE_PHONES_TAG, 7},
               {Token::TEXT_TAG, 8},
               {Token::NUMBER_SPELLOUT_TAG, 9},
               {Token::NUMBER_NORMAL_TAG, 10},
               {Token::PITCH_TAG, 11},
               {Token::PITCH_RANGE_TAG, 12},
               {Token::RATE_TAG, 13},
               {Token::RESET_TAG, 14},
               {Token::SILENCE_TAG, 15},
               {Token::SYNC_TAG, 16},
               {Token::VERSION_TAG, 17},
               {Token::VOLUME_TAG, 18},
               {Token::EXTENSION_TAG, 19},
               {Token::WORD_CONTEXT_TAG, 20},
               {Token::WORD_SKIP_CONTEXT_TAG, 21},
               {Token::TEXT_CONTEXT_TAG, 22},
               {Token::TEXT_SKIP_CONTEXT_TAG, 23},
               {Token::NORMAL_CONTEXT_TAG, 24},
               {Token::UNKNOWN, 25}});
}

TEST(Constants, OfTheConverterAndItsMaps) {
  expectEqual({{AppleMarkupConverter::PLAINTEXT, 0},
               {AppleMarkupConverter::SSML, 1},
               {OffsetMap::APPLE_TOKEN, 0},
               {OffsetMap::SSML_TOKEN, 1},
               {OffsetMap::UNKNOWN_TOKEN, 2},
               {OBJECT_NOT_INITIALIZED, 0},
               {INDEX_OUT_OF_RANGE, 1},
               {TAG_NOT_HANDLED, 2},
               {BAD_PHONE_SEQUENCE, 3},
               {UNKNOWN_ERROR, 4}});
}

// ---- Types that other code relies on

static_assert(std::is_convertible_v<AppleSynthesisErrorType, AppleSynthesisError>);
static_assert(std::is_same_v<decltype(OffsetMap::Offset::type), OffsetMap::TokenType>);
static_assert(sizeof(OffsetMap::TokenType) == sizeof(int));
// A text may have a million records.
static_assert(sizeof(OffsetMap::Offset) == 12);

TEST(Types, PreparationTakesTheTextAlone) {
  std::string (*const prepare)(unsigned char*) = PreprocessText;
  BuildPhoneTranslationTables();
  unsigned char text[] = "a&b";
  EXPECT_EQ(prepare(text), "a&amp;b");
}

}  // namespace
