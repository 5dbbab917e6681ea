// SPDX-License-Identifier: Apache-2.0
//
// Properties of the oracle beyond the worked examples: its list, origins and limits, and
// termination.
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "oracle/Oracle.h"
#include "oracle/OraclePasses.h"
#include "oracle/OracleTokens.h"

namespace {

using oracle::Error;
using oracle::Output;

oracle::Result ssml(const std::string& text) {
  return oracle::convert(text, std::nullopt, Output::Ssml);
}

oracle::TokenList listOf(const std::string& text) {
  oracle::TokenList list;
  list.create(text, oracle::OffsetMap());
  return list;
}

std::string stringOf(const oracle::TokenList& list) {
  std::string text;
  for (const oracle::Carried& each : list.converted()) text += each.byte;
  return text;
}

std::string repeated(const std::string& piece, int times) {
  std::string text;
  for (int i = 0; i < times; ++i) text += piece;
  return text;
}

Error errorOfInsertAt(oracle::TokenList& list, int index, int start) {
  oracle::Token token;
  token.start = start;
  try {
    list.insert(index, token);
  } catch (const oracle::Failure& failure) {
    return failure.error;
  }
  return Error::None;
}

TEST(OracleTokenList, SplitsACompoundCommandAtItsSemicolon) {
  const oracle::TokenList list = listOf("Hello [[rate 200; pbas 50]]");
  ASSERT_EQ(list.size(), 2);
  EXPECT_EQ(list.at(0).start, 6);
  EXPECT_EQ(list.at(0).size, 10);
  EXPECT_EQ(list.at(1).start, 16);
  EXPECT_EQ(list.at(1).size, 11);
  EXPECT_EQ(list.at(1).argument(0), "50");
  EXPECT_EQ(list.at(1).argument(5), "");
}

TEST(OracleTokenList, FindsAdjacentCommands) {
  const oracle::TokenList list = listOf("[[a]] [[b]]");
  ASSERT_EQ(list.size(), 2);
  EXPECT_EQ(list.at(0).start, 0);
  EXPECT_EQ(list.at(1).start, 6);
}

TEST(OracleTokenList, IgnoresASemicolonOutsideACommand) {
  const oracle::TokenList list = listOf("a;b [[rate 1]] c;d");
  ASSERT_EQ(list.size(), 1);
  EXPECT_EQ(list.at(0).size, 10);
}

TEST(OracleTokenList, ExtendsAnUnclosedCommandToTheEndOfTheText) {
  for (const std::string before : {"", "x", "xy", "x [[a]] "}) {
    SCOPED_TRACE(before);
    const oracle::TokenList list = listOf(before + "[[rate 1; volm 2 and more");
    ASSERT_GE(list.size(), 2);
    const oracle::Token last = list.at(list.size() - 1);
    EXPECT_EQ(last.kind, oracle::Kind::Volume);
    EXPECT_EQ(static_cast<std::size_t>(last.start + last.size), list.base().size());
  }
}

TEST(OracleTokenList, PutsTheReplacementAtTheCommandsPosition) {
  oracle::TokenList list = listOf("a[[rate 200]]b");
  EXPECT_EQ(stringOf(list), "ab");
  EXPECT_TRUE(list.offsets().records() ==
              (std::vector<oracle::Record>{{1, 12, false, oracle::kAppleToken}}));

  oracle::Token token = list.at(0);
  token.ssml = "X";
  token.hasSsml = true;
  list.replace(0, token);
  EXPECT_EQ(stringOf(list), "aXb");
  EXPECT_TRUE(list.offsets().records() ==
              (std::vector<oracle::Record>{{1, 1, false, oracle::kSsmlToken}}));
}

TEST(OracleTokenList, RejectsAnIndexEqualToTheSizeAndAppendsOnePast) {
  oracle::TokenList list = listOf("[[a]] [[b]]");
  EXPECT_THROW(list.at(2), oracle::Failure);
  EXPECT_EQ(errorOfInsertAt(list, 2, 11), Error::IndexOutOfRange);
  EXPECT_EQ(errorOfInsertAt(list, 4, 11), Error::IndexOutOfRange);
  EXPECT_EQ(list.size(), 2);
  EXPECT_EQ(errorOfInsertAt(list, 3, 11), Error::None);
  EXPECT_EQ(list.at(2).start, 11);
}

TEST(OracleTokenList, MovesATooEarlyIndexForward) {
  oracle::TokenList list = listOf("[[a]] [[b]] [[c]]");
  EXPECT_EQ(errorOfInsertAt(list, 0, 11), Error::None);
  EXPECT_EQ(list.at(2).start, 11);
}

TEST(OracleTokenList, RejectsAPositionAfterALaterToken) {
  oracle::TokenList list = listOf("[[a]] [[b]] [[c]]");
  EXPECT_EQ(errorOfInsertAt(list, 2, 0), Error::IndexOutOfRange);
}

TEST(OracleConverter, WritesThePrefixOfTheSettings) {
  oracle::Settings settings;
  settings.pitchBase = settings.pitchAssumedBase = 43;
  EXPECT_EQ(oracle::settingsPrefix(settings), "[[volm -0]]");
  settings.speakPhones = settings.spellOut = settings.sayDigits = true;
  settings.volume = 50;
  settings.wpm = 200;
  settings.pitchAssumedBase = 53;
  EXPECT_EQ(oracle::settingsPrefix(settings),
            "[[inpt PHON]][[char LTRL]][[nmbr LTRL]][[volm -0.5]][[rate +20]][[pbas -0.0025]]");
  settings.wpm = 179.5;
  settings.pitchBase = 54;
  EXPECT_EQ(oracle::settingsPrefix(settings),
            "[[inpt PHON]][[char LTRL]][[nmbr LTRL]][[volm -0.5]][[rate -0.5]][[pbas +0.0025]]");
}

TEST(OracleConverter, RecordsTheClosingResetOfAnEmptyText) {
  const oracle::Result result = oracle::convert("", std::nullopt, Output::PlainText);
  EXPECT_TRUE(result.records == (std::vector<oracle::Record>{{0, 10, true, oracle::kAppleToken}}));
}

TEST(OracleConverter, MapsPositionsAfterTuneDataToTheCallersText) {
  oracle::OffsetMap map =
      oracle::offsetsOf("a [[inpt TUNE]]x{D 120}[[inpt TEXT]]bcd", std::nullopt, Output::Ssml);
  // "a bcd": "c" is position 3, and 37 in the caller's text.
  EXPECT_EQ(3 - map.offset(3), 37U);
}

TEST(OraclePhones, JoinTheirPhonesWithBlanks) {
  const oracle::Phones phones = oracle::convertPhones("xx1hEH2lOWyy", 2, 9);
  EXPECT_EQ(phones.error, Error::None);
  EXPECT_EQ(phones.phones, "h eh1 l ow0");
}

TEST(OraclePhones, AreEmptyForAnEmptyRange) {
  EXPECT_EQ(oracle::convertPhones("xx", 1, 0).phones, "");
  EXPECT_EQ(oracle::convertPhones("xx", 1, 0).error, Error::None);
}

TEST(OraclePhones, FailAtAndAfterTheEndOfTheText) {
  EXPECT_EQ(oracle::convertPhones("b", 0, 1).error, Error::BadPhoneSequence);
  EXPECT_EQ(oracle::convertPhones("b", 2, 3).error, Error::OutOfRange);
}

// Every region repeats the phones of those before it: n regions of m bytes give n (n + 1) / 2 × m
// bytes.
std::string regionsOfPhones(int regions, int phones) {
  return repeated("[[inpt PHON]]" + repeated("b", phones) + "[[inpt TEXT]]", regions);
}

TEST(OraclePhones, MayFillSixteenMebibytes) {
  oracle::TokenList list = listOf(regionsOfPhones(10, 4000) + "[[rset 0]]");
  EXPECT_NO_THROW(oracle::convertPhoneTags(list));
}

TEST(OraclePhones, FailBeyondSixteenMebibytes) {
  constexpr int kRegions = 92;  // × 4,000 phones of two bytes each: 34 million bytes
  const oracle::Result result = ssml(regionsOfPhones(kRegions, 4000));
  EXPECT_EQ(result.error, Error::BadPhoneSequence);
}

TEST(OracleOrigins, OfCopiedBytesAreTheirOwnPositions) {
  const oracle::Result result = ssml("ab[[cmnt x]]cd");
  EXPECT_EQ(result.converted, "abcd");
  EXPECT_EQ(result.origins, (std::vector<std::size_t>{0, 1, 12, 13}));
}

TEST(OracleOrigins, OfMarkupAreThoseOfTheNextCopiedByte) {
  const oracle::Result result = ssml("a[[slnc 1]]b");
  EXPECT_EQ(result.converted, "a<break time='1ms'/>b");
  std::vector<std::size_t> expected(21, 11);
  expected[0] = 0;
  EXPECT_EQ(result.origins, expected);
}

TEST(OracleOrigins, OfMarkupAfterTheLastByteAreTheEndOfTheText) {
  const oracle::Result result = ssml("[[sync 1]]");
  EXPECT_EQ(result.converted, "<mark name='65536'/>");
  EXPECT_EQ(result.origins, std::vector<std::size_t>(20, 10));
}

TEST(OracleOrigins, DoNotCountThePrefix) {
  const oracle::Result result = oracle::convert("ab", oracle::Settings{}, Output::PlainText);
  EXPECT_EQ(result.origins, (std::vector<std::size_t>{0, 1}));
}

TEST(OracleOrigins, OfTheRestOfThePrefixAreTheStartOfTheText) {
  oracle::Settings settings;
  settings.speakPhones = true;
  const oracle::Result result = oracle::convert("b", settings, Output::Ssml);
  const std::size_t left = result.converted.find("[[volm -0]]");
  ASSERT_NE(left, std::string::npos);
  EXPECT_EQ(result.origins[left], 0U);
  EXPECT_EQ(result.origins.back(), 1U);
}

// Random texts of fragments of commands. Each run of the test uses one seed, printed on failure;
// the properties hold for every text.
std::string randomText(std::mt19937& random) {
  static const std::vector<std::string> pieces = {"[[",
                                                  "]]",
                                                  ";",
                                                  "[",
                                                  "]",
                                                  " ",
                                                  "a",
                                                  "word ",
                                                  "rate 200",
                                                  "rate +5",
                                                  "volm 0.5",
                                                  "pbas 50",
                                                  "pmod 3",
                                                  "inpt PHON",
                                                  "inpt TUNE",
                                                  "inpt TEXT",
                                                  "char LTRL",
                                                  "char NORM",
                                                  "nmbr LTRL",
                                                  "emph +",
                                                  "emph -",
                                                  "slnc 5",
                                                  "sync 7",
                                                  "ctxt WSKP",
                                                  "ctxt TSKP",
                                                  "ctxt WORD",
                                                  "ctxt NORM",
                                                  "rset 0",
                                                  "cmnt x",
                                                  "1AE",
                                                  "b",
                                                  "[[emph +]]",
                                                  "[[inpt PHON]]",
                                                  "[[rset 0]]",
                                                  "[[ctxt TSKP]]"};
  std::string text;
  const std::size_t count = random() % 24;
  for (std::size_t i = 0; i < count; ++i) text += pieces[random() % pieces.size()];
  return text;
}

TEST(OracleConverter, TerminatesOnEveryTextWithOriginsInOrder) {
  constexpr unsigned kSeed = 20260;
  std::mt19937 random(kSeed);
  for (int i = 0; i < 2000; ++i) {
    const std::string text = randomText(random);
    SCOPED_TRACE("seed " + std::to_string(kSeed) + ": " + text);
    const oracle::Result result = ssml(text);
    ASSERT_EQ(result.origins.size(), result.converted.size());
    for (std::size_t k = 0; k < result.origins.size(); ++k) {
      ASSERT_LE(result.origins[k], text.size());
      ASSERT_GE(result.origins[k], k == 0 ? 0 : result.origins[k - 1]);
    }
    if (result.error != Error::None) {
      EXPECT_TRUE(result.converted.empty());
    }
  }
}

TEST(OracleOrigins, PointToTheSameByteWhenNothingIsInserted) {
  constexpr unsigned kSeed = 20261;
  std::mt19937 random(kSeed);
  for (int i = 0; i < 2000; ++i) {
    const std::string text = randomText(random);
    SCOPED_TRACE("seed " + std::to_string(kSeed) + ": " + text);
    const oracle::Result result = oracle::convert(text, std::nullopt, Output::PlainText);
    ASSERT_EQ(result.error, Error::None);
    for (std::size_t k = 0; k < result.converted.size(); ++k) {
      ASSERT_LT(result.origins[k], text.size());
      ASSERT_EQ(result.converted[k], text[result.origins[k]]);
    }
  }
}

TEST(OracleConverter, TerminatesOnPathologicalTexts) {
  for (const std::string piece :
       {"[[", "]]", "[[]]", "[[ ;", "[[;;;", "[[rate 200]]", "[[rate +1]]x ", "[[emph +]]w ",
        "[[inpt PHON]]", "[[inpt PHON]]b", "[[inpt TUNE]]x", "[[ctxt WSKP]]", "[[ctxt TSKP]]a",
        "[[rset 0]]", "[[char LTRL]][[nmbr LTRL]]a", "[[rate 1;", "[["}) {
    SCOPED_TRACE(piece);
    const oracle::Result result = ssml(repeated(piece, 40));
    EXPECT_EQ(result.origins.size(), result.converted.size());
  }
}

TEST(OracleMap, AddsToItsListsWhenBuiltASecondTime) {
  oracle::OffsetMap map;
  map.insert(4, 2, oracle::kAppleToken, false);
  map.insert(6, 3, oracle::kSsmlToken, false);
  map.buildFinalLists();
  EXPECT_TRUE(map.ssmlRanges() == (std::vector<oracle::Record>{{4, 3, false, oracle::kSsmlToken}}));
  map.buildFinalLists();
  EXPECT_EQ(map.appleRanges().size(), 2U);
  EXPECT_EQ(map.ssmlRanges()[0].amount, 6);
}

}  // namespace
