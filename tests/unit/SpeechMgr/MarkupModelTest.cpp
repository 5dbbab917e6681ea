// SPDX-License-Identifier: Apache-2.0
//
// Unit tests of the markup model: tokens, token list, offset map, position map, numbers, errors.
#include <clocale>
#include <limits>
#include <random>
#include <sstream>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "AppleMarkupConverter.h"
#include "AppleSynthesisError.h"
#include "Numbers.h"
#include "PositionMap.h"
#include "SpeechMgrUtils.h"
#include "TokenList.h"

namespace {

using testing::ElementsAre;

// Runs `action` and returns what it writes to standard output.
template <typename Action>
std::string outputOf(Action action) {
  testing::internal::CaptureStdout();
  action();
  std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

template <typename Action>
void expectIndexError(Action action) {
  try {
    action();
    ADD_FAILURE() << "no exception was thrown";
  } catch (const AppleSynthesisError& error) {
    EXPECT_EQ(error.getErrorType(), INDEX_OUT_OF_RANGE);
  }
}

// ---- AppleMarkupToken

AppleMarkupToken tokenOf(const std::string& command) {
  AppleMarkupToken token;
  token.setTokenString(command);
  return token;
}

TEST(AppleMarkupToken, IsEmptyAndUnknownAtFirst) {
  const AppleMarkupToken token;
  EXPECT_EQ(token.getTokenString(), "");
  EXPECT_EQ(token.getTokenStringSize(), 0);
  EXPECT_EQ(token.getTokenType(), AppleMarkupToken::UNKNOWN);
  EXPECT_EQ(token.getTokenArg(0), "");
}

TEST(AppleMarkupToken, ThrowsARangeErrorForTheWordOfACommandWithoutWords) {
  const AppleMarkupToken token = tokenOf("[[;]]");
  EXPECT_EQ(token.getTokenType(), AppleMarkupToken::UNKNOWN);
  try {
    token.getTokenClass();
    ADD_FAILURE() << "no exception was thrown";
  } catch (const std::out_of_range& error) {
    EXPECT_STREQ(error.what(), "vector::_M_range_check");
  }
}

TEST(AppleMarkupToken, ReturnsNoArgumentOutOfRange) {
  const AppleMarkupToken token = tokenOf("[[rate -20]]");
  EXPECT_EQ(token.getTokenArg(1), "20");
  EXPECT_EQ(token.getTokenArg(2), "");
  EXPECT_EQ(token.getTokenArg(5), "");
  EXPECT_EQ(token.getTokenArg(-2), "");
  EXPECT_EQ(token.getTokenArg(std::numeric_limits<int>::max() - 1), "");
}

TEST(AppleMarkupToken, KeepsNothingOfThePreviousCommand) {
  AppleMarkupToken token = tokenOf("[[rate 200]]");
  token.setTokenStringSize(99);
  token.setTokenString("[[emph]]");
  EXPECT_EQ(token.getTokenType(), AppleMarkupToken::UNKNOWN);
  EXPECT_EQ(token.getTokenArg(0), "");
  EXPECT_EQ(token.getTokenStringSize(), 8);
}

TEST(AppleMarkupToken, CountsAsACommentOnceItIsIgnored) {
  AppleMarkupToken token = tokenOf("[[rate 200]]");
  token.setTokenAsIgnoredText();
  EXPECT_EQ(token.getTokenType(), AppleMarkupToken::COMMENT_TAG);
  EXPECT_EQ(outputOf([&] { token.print(); }),
            "Apple Token: \"[[rate 200]]\" (comment-tag (ignored)) size: 12\n");
}

TEST(AppleMarkupToken, PrintsALabelForEveryKind) {
  const std::vector<std::pair<std::string, std::string>> labels = {
      {"[[char LTRL]]", "char-literal-tag"},
      {"[[char NORM]]", "char-normal-tag"},
      {"[[cmnt]]", "comment-tag (ignored)"},
      {"[[dlim]]", "delimeter-tag (ignored)"},
      {"[[emph +]]", "emphasis-positive-tag"},
      {"[[emph -]]", "emphasis-negative-tag"},
      {"[[inpt PHON]]", "phoneme-tag"},
      {"[[inpt TUNE]]", "undefined tag (ignored)"},
      {"[[inpt TEXT]]", "text-tag"},
      {"[[nmbr LTRL]]", "number-spellout-tag"},
      {"[[nmbr NORM]]", "number-text-tag"},
      {"[[pbas]]", "prosody-pitch-change-tag"},
      {"[[pmod]]", "prosody-pitch-range-change-tag"},
      {"[[rate]]", "prosody-rate-change-tag"},
      {"[[rset]]", "reset-tag"},
      {"[[slnc]]", "silence-tag"},
      {"[[sync]]", "synchronize-tag"},
      {"[[vers]]", "version-tag"},
      {"[[volm]]", "volume-tag"},
      {"[[xtnd]]", "extension-tag (ignored)"},
      {"[[ctxt WORD]]", "undefined tag (ignored)"},
      {"[[ctxt WSKP]]", "undefined tag (ignored)"},
      {"[[ctxt TEXT]]", "undefined tag (ignored)"},
      {"[[ctxt TSKP]]", "undefined tag (ignored)"},
      {"[[ctxt NORM]]", "undefined tag (ignored)"},
      {"[[frob]]", "unknown tag (ignored)"}};
  for (const auto& [command, label] : labels) {
    const AppleMarkupToken token = tokenOf(command);
    EXPECT_EQ(outputOf([&] { token.print(); }), "Apple Token: \"" + command + "\" (" + label +
                                                    ") size: " + std::to_string(command.size()) +
                                                    "\n");
  }
}

TEST(AppleMarkupToken, ConvertsOnlyLettersToLowerCase) {
  EXPECT_EQ(tolower(std::string("PhOn-1\xC9")), "phon-1\xC9");
  EXPECT_EQ(tolower(std::string()), "");
}

// ---- SSMLMarkupToken, SpeechMarkupToken

TEST(SSMLMarkupToken, IsSetEvenToNothing) {
  SSMLMarkupToken token;
  EXPECT_FALSE(token.isInitialized());
  token.setTokenString("");
  EXPECT_TRUE(token.isInitialized());
  EXPECT_EQ(token.getTokenString(), "");
  EXPECT_EQ(outputOf([&] { token.print(); }), "SSML Token: \"\" \n");
}

TEST(SpeechMarkupToken, HasNoPositionCommandOrMarkupAtFirst) {
  const SpeechMarkupToken token;
  EXPECT_EQ(token.getStartPos(), -1);
  EXPECT_EQ(token.getAppleMarkupToken().getTokenType(), AppleMarkupToken::UNKNOWN);
  EXPECT_FALSE(token.getSSMLMarkupToken().isInitialized());
}

TEST(SpeechMarkupToken, IsNotChangedByChangingACopy) {
  SpeechMarkupToken token;
  AppleMarkupToken command = tokenOf("[[rate 200]]");
  token.initAppleMarkupToken(command);
  SpeechMarkupToken copy = token;
  AppleMarkupToken other = tokenOf("[[pbas 50]]");
  SSMLMarkupToken markup;
  markup.setTokenString("X");
  copy.initAppleMarkupToken(other);
  copy.initSSMLMarkupToken(markup);
  EXPECT_EQ(token.getAppleMarkupToken().getTokenType(), AppleMarkupToken::RATE_TAG);
  EXPECT_FALSE(token.getSSMLMarkupToken().isInitialized());
}

TEST(SpeechMarkupToken, PrintsItsPositionAndBothHalves) {
  SpeechMarkupToken token;
  token.setStartPos(7);
  EXPECT_EQ(outputOf([&] { token.print(); }),
            "Start Position: 7\nApple Token: \"\" (unknown tag (ignored)) size: 0\n"
            "SSML Token: \"\" \n\n");
}

// ---- TokenList

struct Range {
  int start;
  int size;
  bool operator==(const Range&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Range& range) {
  return out << range.start << "+" << range.size;
}

TokenList listOf(const std::string& text) {
  TokenList list;
  list.create(text, OffsetMap());
  return list;
}

std::vector<Range> rangesOf(const TokenList& list) {
  std::vector<Range> ranges;
  for (int i = 0; i < list.size(); ++i) {
    const SpeechMarkupToken token = list.getTokenAt(static_cast<unsigned int>(i));
    ranges.push_back({token.getStartPos(), token.getAppleMarkupToken().getTokenStringSize()});
  }
  return ranges;
}

SpeechMarkupToken insertion(int start, const std::string& text) {
  SSMLMarkupToken markup;
  markup.setTokenString(text);
  SpeechMarkupToken token;
  token.initSSMLMarkupToken(markup);
  token.setStartPos(static_cast<unsigned int>(start));
  return token;
}

void setMarkup(TokenList& list, unsigned int index, const std::string& text) {
  SpeechMarkupToken token = list.getTokenAt(index);
  SSMLMarkupToken markup;
  markup.setTokenString(text);
  token.initSSMLMarkupToken(markup);
  list.replaceTokenAt(index, token);
}

TEST(TokenList, OfATextWithoutCommandsIsEmptyAndChangesNothing) {
  OffsetMap earlier;
  earlier.insert(0, 40, OffsetMap::APPLE_TOKEN, true);
  TokenList list;
  list.create("plain ]] text; with ; [ brackets", earlier);
  EXPECT_EQ(list.size(), 0);
  EXPECT_EQ(list.getConvertedString(), "plain ]] text; with ; [ brackets");
  EXPECT_EQ(list.getOffsets().records(), earlier.records());
}

TEST(TokenList, RemovesACommandAndRecordsIt) {
  const TokenList list = listOf("a[[rate 200]]b");
  EXPECT_THAT(rangesOf(list), ElementsAre(Range{1, 12}));
  EXPECT_EQ(list.getConvertedString(), "ab");
  EXPECT_THAT(list.getOffsets().records(),
              ElementsAre(OffsetMap::Offset{1, 12, false, OffsetMap::APPLE_TOKEN}));
}

TEST(TokenList, ReplacesACommandWithMarkupAndRecordsTheMarkup) {
  TokenList list = listOf("a[[rate 200]]b");
  setMarkup(list, 0, "X");
  EXPECT_EQ(list.getConvertedString(), "aXb");
  EXPECT_THAT(list.getOffsets().records(),
              ElementsAre(OffsetMap::Offset{1, 1, false, OffsetMap::SSML_TOKEN}));
}

TEST(TokenList, CutsSeveralCommandsAtTheirSemicolons) {
  const TokenList list = listOf("[[rate 200; pbas 50]]");
  EXPECT_THAT(rangesOf(list), ElementsAre(Range{0, 10}, Range{10, 11}));
  EXPECT_EQ(list.getTokenAt(0).getAppleMarkupToken().getTokenString(), "[[rate 200");
  EXPECT_EQ(list.getTokenAt(1).getAppleMarkupToken().getTokenString(), "; pbas 50]]");
  EXPECT_EQ(list.getTokenAt(1).getAppleMarkupToken().getTokenArg(0), "50");
}

TEST(TokenList, FindsEveryCommand) {
  EXPECT_THAT(rangesOf(listOf("[[a]] [[b]]")), ElementsAre(Range{0, 5}, Range{6, 5}));
}

TEST(TokenList, GivesTheRestOfTheTextToACommandThatIsNeverClosed) {
  EXPECT_THAT(rangesOf(listOf("[[rate 200")), ElementsAre(Range{0, 10}));
  EXPECT_THAT(rangesOf(listOf("x[[rate 200")), ElementsAre(Range{1, 10}));
  EXPECT_THAT(rangesOf(listOf("xyz[[a;b [[c")), ElementsAre(Range{3, 3}, Range{6, 6}));
  EXPECT_EQ(listOf("xyz[[a;b [[c").getConvertedString(), "xyz");
}

TEST(TokenList, IsResetByEveryText) {
  TokenList list = listOf("[[a]][[b]]");
  char text[] = "x[[c]]";
  list.create(text);
  EXPECT_THAT(rangesOf(list), ElementsAre(Range{1, 5}));
  EXPECT_EQ(list.getBaseString(), "x[[c]]");
}

TEST(TokenList, KeepsItsTextAndEarlierRecordsWhenItIsCleared) {
  OffsetMap earlier;
  earlier.insert(0, 40, OffsetMap::APPLE_TOKEN, true);
  TokenList list;
  list.create("x[[c]]", earlier);
  list.clear();
  EXPECT_EQ(list.size(), 0);
  EXPECT_EQ(list.getBaseString(), "x[[c]]");
  EXPECT_EQ(list.getConvertedString(), "x[[c]]");
  EXPECT_EQ(list.getOffsets().records(), earlier.records());
}

TEST(TokenList, RemovesOneEntry) {
  TokenList list = listOf("a[[b]]c[[d]]e[[f]]");
  list.removeTokenAt(1);
  EXPECT_THAT(rangesOf(list), ElementsAre(Range{1, 5}, Range{13, 5}));
  EXPECT_EQ(list.getConvertedString(), "ac[[d]]e");
  list.removeTokenAt(1);
  list.removeTokenAt(0);
  EXPECT_EQ(list.size(), 0);
  EXPECT_EQ(list.getConvertedString(), "a[[b]]c[[d]]e[[f]]");
}

TEST(TokenList, RejectsAnIndexThatIsNotAnEntrys) {
  TokenList list = listOf("[[a]][[b]]");
  expectIndexError([&] { list.getTokenAt(2); });
  expectIndexError([&] { list.replaceTokenAt(2, insertion(0, "X")); });
  expectIndexError([&] { list.removeTokenAt(2); });
  expectIndexError([&] { list.getTokenAt(0xFFFFFFFFu); });
  EXPECT_EQ(list.size(), 2);
}

TEST(TokenList, AppendsAtOnePastItsSizeButNotAtItsSize) {
  TokenList list = listOf("[[a]][[b]]");
  expectIndexError([&] { list.insertTokenAt(2, insertion(10, "X")); });
  EXPECT_EQ(list.size(), 2);
  list.insertTokenAt(3, insertion(10, "X"));
  EXPECT_EQ(list.getConvertedString(), "X");
}

TEST(TokenList, MovesAnEntryAfterThoseThatStartEarlier) {
  TokenList list = listOf("[[a]][[b]][[c]]");
  list.insertTokenAt(0, insertion(10, "X"));
  EXPECT_THAT(rangesOf(list), ElementsAre(Range{0, 5}, Range{5, 5}, Range{10, 0}, Range{10, 5}));
}

TEST(TokenList, RejectsAnEntryThatStartsBeforeItsPredecessor) {
  TokenList list = listOf("[[a]][[b]]");
  expectIndexError([&] { list.insertTokenAt(1, SpeechMarkupToken()); });
  expectIndexError([&] { list.insertTokenAt(1, insertion(-5, "X")); });
  EXPECT_EQ(list.size(), 2);
}

TEST(TokenList, KeepsListOrderForEntriesAtTheSamePosition) {
  TokenList list = listOf("a[[b]]c");
  setMarkup(list, 0, "B");
  list.insertTokenAt(0, insertion(1, "<"));
  EXPECT_EQ(list.getConvertedString(), "a<Bc");
}

TEST(TokenList, ThrowsARangeErrorWhenAnEntryStartsAfterTheText) {
  TokenList list = listOf("a[[b]]");
  list.insertTokenAt(2, insertion(7, "X"));
  EXPECT_THROW(list.getConvertedString(), std::out_of_range);
  EXPECT_THROW(list.getPositions(), std::out_of_range);
}

TEST(TokenList, LetsACommandCoverMarkupAfterIt) {
  TokenList list = listOf("[[a]]xy[[b]]z");
  list.insertTokenAt(1, insertion(7, "123"));
  SpeechMarkupToken tune = list.getTokenAt(0);
  AppleMarkupToken command = tune.getAppleMarkupToken();
  command.setTokenStringSize(9);  // "[[a]]xy" and "12"
  tune.initAppleMarkupToken(command);
  list.replaceTokenAt(0, tune);
  EXPECT_EQ(list.getConvertedString(), "3z");
}

TEST(TokenList, MapsEachByteToItsOrigin) {
  TokenList list = listOf("ab[[rate 200]]cd");
  list.insertTokenAt(0, insertion(2, "<>"));
  const PositionMap positions = list.getPositions();
  std::vector<std::uint32_t> origins;
  for (std::uint32_t p = 0; p < positions.length(); ++p) origins.push_back(positions.origin(p));
  EXPECT_EQ(list.getConvertedString(), "ab<>cd");
  EXPECT_THAT(origins, ElementsAre(0, 1, 14, 14, 14, 15));
}

TEST(TokenList, PrintsItsEntries) {
  TokenList list = listOf("x[[rate 200]]");
  EXPECT_EQ(outputOf([&] { list.print(); }),
            "There are 1 entries in the list\n"
            "Apple Token: \"[[rate 200]]\" (prosody-rate-change-tag) size: 12\n"
            "SSML Token: \"\" \n");
}

// ---- OffsetMap

TEST(OffsetMap, IsEmptyAfterClean) {
  OffsetMap map;
  map.insert(2, 12, OffsetMap::APPLE_TOKEN, false);
  map.offset(5);
  map.clean();
  EXPECT_TRUE(map.records().empty());
  EXPECT_TRUE(map.appleRangeList().empty());
  EXPECT_TRUE(map.ssmlRangeList().empty());
  EXPECT_FALSE(map.listsAreBuilt());
}

TEST(OffsetMap, MapsEveryPositionToItselfWhenItIsEmpty) {
  OffsetMap map;
  for (const unsigned int position : {0u, 1u, 1000u, 0xFFFFFFFFu}) {
    EXPECT_EQ(map.offset(position), 0u);
  }
}

// 3 is not a value of the enumeration, but its type can hold it.
TEST(OffsetMap, KeepsRecordsOfUnknownTypes) {
  for (const int number : {2, 3}) {
    const auto type = static_cast<OffsetMap::TokenType>(number);
    OffsetMap map;
    map.insert(5, 1, OffsetMap::APPLE_TOKEN, false);
    map.insert(8, 2, type, false);
    map.insert(30, 10, OffsetMap::APPLE_TOKEN, true);
    // At the position of a record of its type, it is inserted before that record.
    map.insert(8, 3, type, false);
    // Before a later record of its type: one index earlier.
    map.insert(6, 4, type, false);
    std::vector<int> amounts;
    for (const OffsetMap::Offset& record : map.records()) amounts.push_back(record.amount);
    EXPECT_THAT(amounts, ElementsAre(4, 1, 3, 2, 10)) << number;
    EXPECT_EQ(map.offset(3), 0u);
    for (int i = 0; i < 100; ++i) {
      map.insert(static_cast<unsigned int>(100 + i), 1, type, false);
    }
    EXPECT_EQ(map.records().size(), 105u);
    EXPECT_EQ(map.appleRangeList().size(), 2u);
  }
}

TEST(OffsetMap, ReturnsTheSameInAnyOrderOfQueries) {
  OffsetMap map;
  for (unsigned int i = 0; i < 50; ++i) {
    map.insert(100 * i, 30, OffsetMap::SSML_TOKEN, false);
    map.insert(100 * i + 10, 12, OffsetMap::APPLE_TOKEN, i % 3 == 0);
  }
  OffsetMap fresh = map;
  std::mt19937 random(7);
  for (int i = 0; i < 500; ++i) {
    const auto position = static_cast<unsigned int>(random() % 7000);
    OffsetMap cold = fresh;
    EXPECT_EQ(map.offset(position), cold.offset(position));
  }
}

TEST(OffsetMap, PrintsListsAndRecords) {
  OffsetMap map;
  map.insert(2, 12, OffsetMap::APPLE_TOKEN, false);
  map.insert(1, 5, OffsetMap::SSML_TOKEN, false);
  map.insert(16, 10, OffsetMap::APPLE_TOKEN, true);
  map.insert(20, 1, OffsetMap::UNKNOWN_TOKEN, false);
  testing::internal::CaptureStderr();
  EXPECT_EQ(outputOf([&] { map.print(); }),
            "APPLE:\n\t0 POS: 2  AMOUNT: 12  INSERTED: NO\n\t1 POS: 16  AMOUNT: 10  INSERTED: YES\n"
            "SSML:\n\t0 POS: 2  AMOUNT: 5 \n\t1 POS: 0  AMOUNT: 0 \n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "0 OFFSETS: position: 2 amount: 12 inserted: NO type: APPLE_TOKEN\n"
            "1 OFFSETS: position: 1 amount: 5 inserted: NO type: SSML_TOKEN\n"
            "2 OFFSETS: position: 16 amount: 10 inserted: YES type: APPLE_TOKEN\n"
            "3 OFFSETS: position: 20 amount: 1 inserted: NO type: UNKNOWN\n");
}

// ---- Converter

TEST(Converter, ConvertsOnceAndReturnsNewCopiesOfItsMap) {
  AppleMarkupConverter converter("a[[rate 200]]b", AppleMarkupConverter::SSML);
  EXPECT_EQ(converter.getOutputFormat(), AppleMarkupConverter::SSML);
  const std::string once = converter.getConvertedText();
  EXPECT_EQ(converter.getConvertedText(), once);
  const std::unique_ptr<OffsetMap> first(converter.getOffsets());
  const std::unique_ptr<OffsetMap> second(converter.getOffsets());
  EXPECT_NE(first.get(), second.get());
  EXPECT_EQ(first->records(), second->records());
}

TEST(Converter, IsEmptyPlainTextWithoutSettingsByDefault) {
  AppleMarkupConverter converter;
  EXPECT_EQ(converter.getOutputFormat(), AppleMarkupConverter::PLAINTEXT);
  // No settings and no text: the only record is that of the reset, at 0.
  const std::unique_ptr<OffsetMap> offsets(converter.getOffsets());
  EXPECT_THAT(offsets->records(),
              ElementsAre(OffsetMap::Offset{0, 10, true, OffsetMap::APPLE_TOKEN}));
  EXPECT_EQ(converter.getConvertedText(), "");
  // The settings are those of a new channel.
  EXPECT_EQ(AppleMarkupConverter().defaultsInitStr(), "[[volm -0]]");
}

// convert() always converts. The second conversion begins with the records of the first.
TEST(Converter, ConvertsAgainOnRequest) {
  AppleMarkupConverter converter("a[[rate 200]]b", AppleMarkupConverter::PLAINTEXT);
  converter.convert();
  EXPECT_EQ(converter.getConvertedText(), "ab");
  const std::unique_ptr<OffsetMap> once(converter.getOffsets());
  EXPECT_THAT(once->records(),
              ElementsAre(OffsetMap::Offset{1, 12, false, OffsetMap::APPLE_TOKEN},
                          OffsetMap::Offset{14, 10, true, OffsetMap::APPLE_TOKEN}));
  converter.convert();
  EXPECT_EQ(converter.getConvertedText(), "ab");
  const std::unique_ptr<OffsetMap> twice(converter.getOffsets());
  EXPECT_THAT(twice->records(),
              ElementsAre(OffsetMap::Offset{1, 12, false, OffsetMap::APPLE_TOKEN},
                          OffsetMap::Offset{1, 12, false, OffsetMap::APPLE_TOKEN},
                          OffsetMap::Offset{14, 10, true, OffsetMap::APPLE_TOKEN}));
}

std::string prefixOf(double volume, double wpm, long pitchBase = 0, int pitchAssumedBase = 0) {
  SpeechMgrEnv settings;
  settings.volume = volume;
  settings.wpm = wpm;
  settings.pitchBase = pitchBase;
  settings.pitchAssumedBase = pitchAssumedBase;
  return AppleMarkupConverter("", AppleMarkupConverter::SSML, settings).defaultsInitStr();
}

TEST(Converter, WritesTheSettingsAsCommands) {
  EXPECT_EQ(prefixOf(100, 180), "[[volm -0]]");
  EXPECT_EQ(prefixOf(50, 200), "[[volm -0.5]][[rate +20]]");
  EXPECT_EQ(prefixOf(100, 179.5), "[[volm -0]][[rate -0.5]]");
  EXPECT_EQ(prefixOf(1, 180), "[[volm -0.99]]");
  EXPECT_EQ(prefixOf(100, 180, 44, 43), "[[volm -0]][[pbas +0.0025]]");
  EXPECT_EQ(prefixOf(100, 180, 143, 43), "[[volm -0]][[pbas +0.0025]]");
  EXPECT_EQ(prefixOf(100, 180, 42, 43), "[[volm -0]][[pbas -0.0025]]");
  SpeechMgrEnv modes;
  modes.speakPhones = modes.spellOut = modes.sayDigits = true;
  EXPECT_EQ(AppleMarkupConverter("", AppleMarkupConverter::SSML, modes).defaultsInitStr(),
            "[[inpt PHON]][[char LTRL]][[nmbr LTRL]][[volm -0]]");
}

TEST(Converter, MapsPositionsAfterTuneDataToTheCallersText) {
  AppleMarkupConverter converter("a [[inpt TUNE]]x{D 120}[[inpt TEXT]]bcd",
                                 AppleMarkupConverter::SSML);
  EXPECT_EQ(converter.getConvertedText(), "a bcd");
  const std::unique_ptr<OffsetMap> offsets(converter.getOffsets());
  EXPECT_EQ(3 - offsets->offset(3), 37u);  // "c"
  EXPECT_EQ(4 - offsets->offset(4), 38u);  // "d"
}

// Adds a symbol to the phone table for the lifetime of the object.
class AddedPhone {
 public:
  AddedPhone(const std::string& symbol, const BrevoldPhone& phone) : m_symbol(symbol) {
    BuildPhoneTranslationTables();
    gBrevoldPhones[symbol] = phone;
  }
  ~AddedPhone() { gBrevoldPhones.erase(m_symbol); }
  AddedPhone(const AddedPhone&) = delete;
  AddedPhone& operator=(const AddedPhone&) = delete;

 private:
  std::string m_symbol;
};

TEST(Converter, TakesTheShortestPhoneAtAPosition) {
  const std::string text = "AEd";
  AppleMarkupConverter converter;
  BuildPhoneTranslationTables();
  EXPECT_EQ(converter.convertPhones(text, 0, 2), "ae0 d");
  const AddedPhone a("A", {"a", false});
  const AddedPhone e("E", {"e", true});
  EXPECT_EQ(converter.convertPhones(text, 0, 2), "a e0 d");
}

TEST(Converter, TakesTheShortestPhoneOfTwoOrMoreBytes) {
  const AddedPhone longer("AEd", {"long", false});
  AppleMarkupConverter converter;
  EXPECT_EQ(converter.convertPhones("AEd", 0, 2), "ae0 d");
}

TEST(Converter, RecordsOneResetForAnEmptyPlainText) {
  AppleMarkupConverter converter("", AppleMarkupConverter::PLAINTEXT);
  EXPECT_EQ(converter.getConvertedText(), "");
  const std::unique_ptr<OffsetMap> offsets(converter.getOffsets());
  EXPECT_THAT(offsets->records(),
              ElementsAre(OffsetMap::Offset{0, 10, true, OffsetMap::APPLE_TOKEN}));
}

TEST(Converter, FailsAgainAfterAFailure) {
  AppleMarkupConverter converter("[[inpt PHON]]Q", AppleMarkupConverter::SSML);
  EXPECT_THROW(converter.getConvertedText(), AppleSynthesisError);
  EXPECT_THROW(converter.getOffsets(), AppleSynthesisError);
}

TEST(Converter, TurnsNoteNumbersIntoHertz) {
  EXPECT_DOUBLE_EQ(AppleMarkupConverter::midiToHz(60), 261.625);
  EXPECT_EQ(numberText(AppleMarkupConverter::midiToHz(50)), "146.832");
  EXPECT_DOUBLE_EQ(AppleMarkupConverter::convertVolumeUnits(0.5), 50.0);
  EXPECT_DOUBLE_EQ(AppleMarkupConverter::convertRateUnits(200), 200.0);
}

TEST(Converter, FindsTheEndOfTheFirstWordAfterARunOfCommands) {
  const AppleMarkupConverter converter;
  const TokenList list = listOf("[[emph +]][[rate 1]] two words [[rset 0]]");
  unsigned int textPos = 0;
  int tokenIndex = -1;
  converter.endOfFirstWordAfter(list, 0, &textPos, &tokenIndex);
  EXPECT_EQ(list.getBaseString().substr(0, textPos), "[[emph +]][[rate 1]] two");
  EXPECT_EQ(tokenIndex, 2);
}

TEST(Converter, TakesTheLastByteOfAWordBeforeACommandForTheNext) {
  const AppleMarkupConverter converter;
  const TokenList list = listOf("[[emph +]]word[[rset 0]]");
  unsigned int textPos = 0;
  int tokenIndex = -1;
  converter.endOfFirstWordAfter(list, 0, &textPos, &tokenIndex);
  EXPECT_EQ(list.getBaseString().substr(0, textPos), "[[emph +]]wor");
  EXPECT_EQ(tokenIndex, 1);
}

TEST(Converter, ReturnsIndexZeroWhenNoCommandFollows) {
  const AppleMarkupConverter converter;
  const TokenList list = listOf("[[frob]]x[[rate 1]]y[[frob]]");
  EXPECT_EQ(converter.nextAppleToken(list, 0), 1);
  EXPECT_EQ(converter.nextAppleToken(list, 2), 0);
  EXPECT_TRUE(converter.appleTokenMatches(list, 1, AppleMarkupToken::RATE_TAG));
}

// ---- Phone tables

TEST(PhoneTables, AreTheSameAfterASecondBuild) {
  BuildPhoneTranslationTables();
  const auto phones = gBrevoldPhones;
  const auto codes = gApplePhoneCodes;
  const auto escapes = gEscapeStrings;
  BuildPhoneTranslationTables();
  EXPECT_EQ(gBrevoldPhones, phones);
  EXPECT_EQ(gApplePhoneCodes, codes);
  EXPECT_EQ(gEscapeStrings, escapes);
}

// FirstLoadTest.cpp has the sizes of the maps.
TEST(PhoneTables, GiveMarksNoPhoneAndSomePhonesNoCode) {
  BuildPhoneTranslationTables();
  for (const char* const mark : {"1", "2", "~", "_", "+", "/", "\\", ">", "<", " ", "\t"}) {
    ASSERT_TRUE(gBrevoldPhones.contains(mark)) << mark;
    EXPECT_EQ(gBrevoldPhones[mark].phone, "") << mark;
    EXPECT_FALSE(gBrevoldPhones[mark].isVowel) << mark;
  }
  EXPECT_EQ(gBrevoldPhones["="].phone, ".");
  for (const char* const phone : {"zh", ".", ""}) {
    EXPECT_FALSE(gApplePhoneCodes.contains(phone)) << phone;
  }
}

// ---- PositionMap

TEST(PositionMap, MapsCopiedReplacedAndInsertedBytes) {
  PositionMap map;
  map.addCopied(2, 0);          // "ab"
  map.addReplacement(5, 2, 3);  // "&amp;"
  map.addReplacement(3, 3, 3);  // "<b>"
  map.addCopied(1, 3);          // "d"
  EXPECT_EQ(map.length(), 11u);
  EXPECT_EQ(map.origin(1), 1u);
  EXPECT_EQ(map.origin(4), 2u);
  EXPECT_EQ(map.originEnd(4), 3u);
  EXPECT_EQ(map.origin(8), 3u);
  EXPECT_EQ(map.originEnd(8), 3u);
  EXPECT_EQ(map.origin(10), 3u);
  EXPECT_EQ(map.originEnd(10), 4u);
  EXPECT_EQ(map.origin(11), 4u);
  EXPECT_EQ(map.origin(0xFFFFFFFFu), 4u);
}

TEST(PositionMap, ReturnsZeroWhenItIsEmpty) {
  const PositionMap map;
  EXPECT_EQ(map.origin(5), 0u);
  EXPECT_EQ(map.originEnd(5), 0u);
}

TEST(PositionMap, ComposesTwoSteps) {
  PositionMap first;  // "a&b" to "a&amp;b"
  first.addCopied(1, 0);
  first.addReplacement(5, 1, 2);
  first.addCopied(1, 2);
  PositionMap second;  // "a&amp;b" to "<x>&amp;b"
  second.addReplacement(3, 1, 1);
  second.addCopied(6, 1);
  const PositionMap both = second.composeAfter(first);
  std::vector<std::uint32_t> origins;
  for (std::uint32_t p = 0; p < both.length(); ++p) origins.push_back(both.origin(p));
  EXPECT_THAT(origins, ElementsAre(1, 1, 1, 1, 1, 1, 1, 1, 2));
  EXPECT_EQ(both.originEnd(0), 1u);
  EXPECT_EQ(both.originEnd(5), 2u);
  EXPECT_EQ(both.originEnd(8), 3u);
}

// ---- Numbers

double readFromStream(const std::string& text) {
  std::istringstream in(text);
  in.imbue(std::locale::classic());
  double value = 0;
  in >> value;
  return value;
}

TEST(Numbers, ReadAsATextStreamReadsThem) {
  for (const std::string text : {"",
                                 "0",
                                 "200",
                                 "200wpm",
                                 "1.5e3",
                                 "1e400",
                                 "-1e400",
                                 "1e",
                                 "1e+",
                                 ".5",
                                 "5.",
                                 ".",
                                 "-",
                                 "+",
                                 "--5",
                                 "nan",
                                 "inf",
                                 "0x1A",
                                 "1,5",
                                 "1e308",
                                 "1e309",
                                 "00012",
                                 "-0.25",
                                 "1.2.3",
                                 "1e5e",
                                 "\v2",
                                 " \f-7.5x",
                                 "\v",
                                 "0.00000000000000000000000000000000000001",
                                 "123456789012345678901234567890"}) {
    EXPECT_EQ(readNumber(text), readFromStream(text)) << text;
  }
  const std::string manyDigits(100000, '9');
  EXPECT_EQ(readNumber(manyDigits), readFromStream(manyDigits));
  EXPECT_EQ(readNumber("0." + std::string(1000, '0') + "1"), 0.0);
}

TEST(Numbers, ReadAsATextStreamReadsRandomOnes) {
  std::mt19937 random(3);
  const std::string alphabet = "0123456789.eE+-";
  for (int i = 0; i < 20000; ++i) {
    std::string text;
    for (std::size_t n = random() % 9; n > 0; --n) text += alphabet[random() % alphabet.size()];
    EXPECT_EQ(readNumber(text), readFromStream(text)) << text;
  }
}

TEST(Numbers, WriteAsATextStreamWritesThem) {
  std::mt19937_64 random(5);
  for (int i = 0; i < 20000; ++i) {
    const double value = static_cast<double>(static_cast<std::int64_t>(random())) *
                         std::pow(10.0, static_cast<double>(random() % 40) - 30.0);
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out << value;
    EXPECT_EQ(numberText(value), out.str());
  }
  EXPECT_EQ(numberText(std::numeric_limits<double>::infinity()), "inf");
  EXPECT_EQ(numberText(0.99), "0.99");
  EXPECT_EQ(numberText(-30), "-30");
}

TEST(Numbers, ReadIntegersAsATextStreamReadsThem) {
  for (const std::string text :
       {"", "0", "1", "007", "12x", "0x10", "x", "2147483647", "2147483648", "99999999999999999999",
        "-5", "-2147483648", "-2147483649", "\v5", "\f", "+3"}) {
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    std::int32_t value = 0;
    in >> value;
    EXPECT_EQ(readInteger(text), value) << text;
  }
}

TEST(Numbers, DoNotDependOnTheLocale) {
  // The decimal point must stay a point whether or not the machine has this locale.
  std::setlocale(LC_ALL, "de_DE.UTF-8");
  EXPECT_EQ(numberText(0.5), "0.5");
  EXPECT_EQ(readNumber("0.5"), 0.5);
  std::setlocale(LC_ALL, "C");
}

// ---- AppleSynthesisError

TEST(AppleSynthesisError, HasOneOfThreeTexts) {
  EXPECT_EQ(AppleSynthesisError(INDEX_OUT_OF_RANGE).getErrorString(),
            "Error:  Index out of range\n");
  EXPECT_EQ(AppleSynthesisError(BAD_PHONE_SEQUENCE).getErrorString(),
            "Error: Bad phoneme sequence encountered\n");
  for (const auto type : {OBJECT_NOT_INITIALIZED, TAG_NOT_HANDLED, UNKNOWN_ERROR}) {
    EXPECT_EQ(AppleSynthesisError(type).getErrorString(), "Error:  An unknown error occurred\n");
  }
}

TEST(AppleSynthesisError, KeepsItsKindInACopyAndPrintsItsText) {
  try {
    throw AppleSynthesisError(BAD_PHONE_SEQUENCE);
  } catch (const AppleSynthesisError& caught) {
    const AppleSynthesisError copy = caught;
    EXPECT_EQ(copy.getErrorType(), BAD_PHONE_SEQUENCE);
    EXPECT_EQ(outputOf([&] { copy.printError(); }), "Error: Bad phoneme sequence encountered\n");
  }
}

}  // namespace
