// SPDX-License-Identifier: Apache-2.0
//
// The adaptation of texts, one table for each kind of thing that is adapted: what a synthesizer
// gets, and what is reported at which position.
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "SpeechSynthesis/texts/TextAdapter.h"
#include "base/text/MacRoman.h"
#include "base/text/Utf8.h"

namespace {

using platform::AdaptedText;
using platform::adaptText;
using platform::TextProblem;
using platform::TextSettings;
using testing::ElementsAre;
using testing::IsEmpty;
using Cause = platform::TextProblem::Cause;

// The problems as text: "unknown 5".
std::vector<std::string> problemsOf(const AdaptedText& adapted) {
  std::vector<std::string> lines;
  for (const TextProblem& problem : adapted.problems) {
    const char* const names[] = {"unknown ", "argument ", "unclosed ", "phoneme ", "many "};
    lines.push_back(names[static_cast<int>(problem.cause)] + std::to_string(problem.position));
  }
  return lines;
}

std::string textOf(const std::string& given, const AdaptedText& adapted) {
  return adapted.isChanged ? adapted.text.text() : given;
}

struct Row {
  const char* given;
  const char* becomes;
  std::vector<std::string> problems = {};
};

void check(const std::vector<Row>& rows, const TextSettings& settings = {}) {
  for (const Row& row : rows) {
    SCOPED_TRACE(row.given);
    const AdaptedText result = adaptText(row.given, settings);
    EXPECT_EQ(textOf(row.given, result), row.becomes);
    EXPECT_EQ(problemsOf(result), row.problems);
    EXPECT_EQ(result.isChanged, row.given != std::string(row.becomes));
  }
}

// ---- Unchanged

TEST(TextAdapter, LeavesTextsThatSynthesizersUnderstandUnchanged) {
  for (const char* const text : {"",
                                 "plain text",
                                 "a [single] bracket; and ]] more",
                                 "[[rate 200]]a[[rate +20]]b",
                                 "[[ slnc 5000 ]]",
                                 "[[pbas + 17]]",
                                 "[[rate 165;volm +0.5]] a",
                                 "[[volm 0.5 ; pmod 3]]x",
                                 "[[char LTRL]]abc[[char NORM]]",
                                 "[[nmbr LTRL]]42[[nmbr NORM]]",
                                 "[[rset 0]]a",
                                 "[[rset]]",
                                 "[[cmnt a comment: 1 = 2 # ? !]]x",
                                 "[[emph -]]x",
                                 "[[vers 1]][[xtnd a b]]x",
                                 "[[inpt PHON]]hEHl1OW %[[inpt TEXT]] you",
                                 "[[inpt PHON]]hEHl1OW",
                                 "[[inpt TUNE]]AA {D 100; P 100:0}[[inpt TEXT]] la",
                                 "[[inpt TEXT]]x",
                                 "[[slnc 1.5e3]]x",
                                 "[[sync 1]]x[[sync 2]]y"}) {
    SCOPED_TRACE(text);
    const AdaptedText result = adaptText(text, {});
    EXPECT_FALSE(result.isChanged) << result.text.text();
    EXPECT_TRUE(result.text.empty());
    EXPECT_THAT(result.problems, IsEmpty());
  }
}

// ---- Sync marks

TEST(TextAdapter, NumbersSyncMarksAndKeepsTheirValues) {
  const AdaptedText result = adaptText(
      "a[[sync 7]]b[[sync 0x41]]c[[sync $FFFFFFFF]]d[[sync 'four']]e[[sync 7]]f[[sync -1]]", {});
  EXPECT_EQ(result.text.text(),
            "a[[sync 1]]b[[sync 2]]c[[sync 3]]d[[sync 4]]e[[sync 5]]f[[sync 6]]");
  EXPECT_THAT(result.syncValues, ElementsAre(7, 0x41, 0xFFFFFFFFU, 0x666F7572U, 7, 0xFFFFFFFFU));
  EXPECT_THAT(result.problems, IsEmpty());
}

TEST(TextAdapter, ReadsSyncValuesInEveryNotation) {
  const struct {
    const char* written;
    std::uint32_t value;
  } kRows[] = {{"0", 0},
               {"4294967295", 0xFFFFFFFFU},
               {"-2147483648", 0x80000000U},
               {"010", 10},
               {"+5", 5},
               {"0XfF", 255},
               {"$a1", 0xA1},
               {"0x000000A1", 0xA1},
               {"'a;b]'", 0x613B625D},
               {"\"mark\"", 0x6D61726B},
               {"mark", 0x6D61726B},
               {"\xD4mark\xD5", 0x6D61726B},
               {"'a b '", 0x61206220},
               {"1234", 1234}};
  for (const auto& [written, value] : kRows) {
    for (const std::string& text :
         {"[[sync " + std::string(written) + "]]", "[[ SYNC  " + std::string(written) + " ]]",
          "[[rate 200; sync " + std::string(written) + "; volm 1]]"}) {
      SCOPED_TRACE(text);
      const AdaptedText result = adaptText(text, {});
      EXPECT_THAT(result.syncValues, ElementsAre(value));
      EXPECT_THAT(result.problems, IsEmpty());
    }
  }
}

TEST(TextAdapter, LeavesOutSyncMarksWithoutAValue) {
  check({{"a[[sync]]b", "ab", {"argument 1"}},
         {"a[[sync 12x]]b", "ab", {"argument 1"}},
         {"[[sync 4294967296]]", "", {"argument 0"}},
         {"[[sync 0x123456789]]", "", {"argument 0"}},
         {"[[sync -2147483649]]", "", {"argument 0"}},
         {"[[sync 'five5']]", "", {"argument 0"}}});
}

TEST(TextAdapter, BeginsAgainAtOneAfterTheHighestSyncNumber) {
  EXPECT_EQ(platform::syncNumber(0), 1U);
  EXPECT_EQ(platform::syncNumber(65534), 65535U);
  EXPECT_EQ(platform::syncNumber(65535), 1U);
  std::string text;
  for (int i = 0; i < 65537; ++i) text += "[[sync 9]]";
  const AdaptedText result = adaptText(text, {});
  EXPECT_EQ(result.syncValues.size(), 65537U);
  EXPECT_TRUE(result.text.text().ends_with("[[sync 65535]][[sync 1]][[sync 2]]"));
}

// ---- Phonemes

TEST(TextAdapter, AdaptsPhonemes) {
  check({{"[[inpt PHON]]hEH, lOW.[[inpt TEXT]]", "[[inpt PHON]]hEH% lOW%[[inpt TEXT]]"},
         {"[[inpt PHON]]d?!;:", "[[inpt PHON]]d%"},
         {"[[inpt PHON]]d. , @d", "[[inpt PHON]]d  @d"},
         {"[[inpt PHON]]d. .", "[[inpt PHON]]d %"},
         {"[[inpt PHON]]d'xxQd[[inpt TEXT]]a", "[[inpt PHON]]dd[[inpt TEXT]]a", {"phoneme 14"}},
         {"[[inpt PHON]]AxAE", "[[inpt PHON]]AE", {"phoneme 13"}},
         {"[[inpt PHON]]d<d>d", "[[inpt PHON]]ddd"},
         {"[[inpt PHON]]1AA2~_+=/\\d", "[[inpt PHON]]1AA2~_+=/\\d"},
         {"[[inpt PHON]]dE[[inpt TEXT]]a", "[[inpt PHON]]d[[inpt TEXT]]a", {"phoneme 14"}}});
}

TEST(TextAdapter, LeavesOutUnknownCommandsAndCommentsAmongPhonemes) {
  check({{"[[inpt PHON]]d[[frob]]d[[cmnt x]]d[[inpt TEXT]]x",
          "[[inpt PHON]]ddd[[inpt TEXT]]x",
          {"unknown 14"}},
         {"[[inpt PHON]]d[[inpt PHON]]d[[inpt TEXT]]x", "[[inpt PHON]]dd[[inpt TEXT]]x"},
         {"[[inpt PHON; rate 100]]d[[inpt TEXT]]x", "[[rate 100]][[inpt PHON]]d[[inpt TEXT]]x"},
         {"[[inpt PHON]] [[inpt TEXT]]x", " x"}});
}

// A synthesizer refuses a text for too many of them.
TEST(TextAdapter, LeavesOutPhonemesAboveTheLimit) {
  std::string given;
  for (int i = 0; i < 3000; ++i) given += "[[inpt PHON]]hEHl1OW[[inpt TEXT]]x ";
  const AdaptedText result = adaptText(given, {});
  ASSERT_FALSE(result.problems.empty());
  EXPECT_EQ(result.problems.front().cause, Cause::TooManyPhonemes);
  EXPECT_LT(result.problems.size(), 2500U);
  EXPECT_TRUE(result.text.text().starts_with("[[inpt PHON]]hEHl1OW[[inpt TEXT]]x "));
  EXPECT_TRUE(result.text.text().ends_with("x x x "));
}

TEST(TextAdapter, EndsPhonemesAtAnInputCommandWithBrokenBrackets) {
  check({{"[[inpt PHON]]d[inpt TEXT]]x", "[[inpt PHON]]d[[inpt TEXT]]x", {"unclosed 14"}},
         {"[[inpt PHON]]d[inpt TEXT]x", "[[inpt PHON]]d[[inpt TEXT]]x", {"unclosed 14"}},
         {"[[inpt PHON]]d[[inpt TEXT]x", "[[inpt PHON]]d[[inpt TEXT]]x", {"unclosed 14"}},
         {"[[inpt PHON]]d[[[inpt TEXT]]x", "[[inpt PHON]]d[[inpt TEXT]]x"},
         {"say [inpt TEXT]]x", "say [inpt TEXT]]x"}});
}

TEST(TextAdapter, ReadsTheWholeTextAsPhonemesIfTheChannelDoes) {
  TextSettings settings;
  settings.startsInPhonemes = true;
  check({{"hEH. ", "hEH% "}, {"d![[inpt TEXT]]Hi.", "d%[[inpt TEXT]]Hi."}}, settings);
}

// ---- Unclosed commands

TEST(TextAdapter, SpeaksBracketsThatOpenNoCommand) {
  check({{"a [[ b", "a [ [ b", {"unclosed 2"}},
         {"a [[frob b. [[rate 200]]c", "a [ [frob b. [[rate 200]]c", {"unclosed 2"}},
         {"a [[rate of change", "a [ [rate of change", {"unclosed 2"}},
         {"a[[", "a[ [", {"unclosed 1"}},
         {"[[[", "[ [ [", {"unclosed 0"}}});
}

TEST(TextAdapter, ClosesKnownCommandsAtTheEndOfTheLine) {
  check({{"[[rate 200 quickly\nHello", "[[rate 200]]\nHello", {"unclosed 0"}},
         {"[[rate 200\r\nHello", "[[rate 200]]\r\nHello", {"unclosed 0"}},
         {"[[rate 200", "[[rate 200]]", {"unclosed 0"}},
         {"[[rate 200] Hello", "[[rate 200]] Hello", {"unclosed 0"}},
         {"[[rate 200[[volm 1]] Hello", "[[rate 200]][[volm 1]] Hello", {"unclosed 0"}},
         {"[[rate 200; volm 1\nx", "[[rate 200]][[volm 1]]\nx", {"unclosed 0"}},
         {"[[cmnt never mind\nx", "\nx", {"unclosed 0"}}});
}

TEST(TextAdapter, LetsACommentHoldBracketsOnItsLine) {
  check({{"[[cmnt see [[x]] y", " y"},
         {"[[cmnt see\n[[rate 9]] y", "\n[[rate 9]] y", {"unclosed 0"}}});
}

// ---- Delimiters

TEST(TextAdapter, HonoursDelimitersOfTheText) {
  check({{"[[dlim (( ))]]((rate 200))a [[rate 9]]", "[[rate 200]]a [ [rate 9]]"},
         {"[[dlim $ $]]a $rate 200$ b$sync 5$", "a [[rate 200]] b[[sync 1]]"},
         {"[[dlim << >>]]<<inpt phon>>d<<inpt text>>a", "[[inpt PHON]]d[[inpt TEXT]]a"},
         {"[[dlim {{ }}]]a{{dlim [[ ]]}}[[rate 9]]", "a[[rate 9]]"},
         {"[[dlim {{ }}]]a{{dlim}}[[rate 9]]", "a[[rate 9]]"},
         {"[[dlim [[ ]]]]a[[rate 9]]", "a[[rate 9]]"},
         {"[[dlim $ $]][$volm 1$[", "[[[volm 1]]["},
         {"[[dlim $ $]][$frob$[", "[ [", {"unknown 13"}},
         {"[[dlim (((( )]]a", "a", {"argument 0"}},
         {"[[dlim (]]a", "a", {"argument 0"}}});
}

TEST(TextAdapter, HonoursDelimitersOfTheChannel) {
  TextSettings settings;
  settings.openDelimiter = "{";
  settings.closeDelimiter = "}";
  check({{"{rate 200}a [[rate 9]]", "[[rate 200]]a [ [rate 9]]"}}, settings);
  settings.openDelimiter = "";
  settings.closeDelimiter = "";
  check({{"a [[rate 9]]", "a [ [rate 9]]"}, {"a {rate 9}", "a {rate 9}"}}, settings);
}

// ---- Unknown commands, arguments, spelling

TEST(TextAdapter, LeavesOutUnknownCommandsAndInvalidArguments) {
  check({{"a[[slcn 1000]]b", "ab", {"unknown 1"}},
         {"[[rate x]]b", "b", {"argument 0"}},
         {"[[rate]]b", "b", {"argument 0"}},
         {"[[volm loud; rate 200; frob]]b", "[[rate 200]]b", {"argument 0", "unknown 23"}},
         {"[[slnc]]b", "b", {"argument 0"}},
         {"[[slnc -5]]b", "b", {"argument 0"}},
         {"[[emph]]b", "b", {"argument 0"}},
         {"[[char loud]]b", "b", {"argument 0"}},
         {"[[ctxt]]b", "b", {"argument 0"}},
         {"[[pbas +-5]]b", "b", {"argument 0"}},
         {"[[]]b", "b", {"unknown 0"}}});
}

TEST(TextAdapter, WritesCommandsInTheirExactForm) {
  check({{"[[RATE 200]]", "[[rate 200]]"},
         {"[[Volm +.5]]", "[[volm +.5]]"},
         {"[[char ltrl]]", "[[char LTRL]]"},
         {"[[nmbr Ltrl]]", "[[nmbr LTRL]]"},
         {"[[rate200]]", "[[rate 200]]"},
         {"[[slnc500]]", "[[slnc 500]]"},
         {"[[slnc +500ms]]", "[[slnc 500]]"},
         {"[[rate 200wpm]]", "[[rate 200]]"},
         {"[[volm 5e-1]]", "[[volm 0.500000]]"},
         {"[[inptPHON]]d[[inpttext]]x", "[[inpt PHON]]d[[inpt TEXT]]x"},
         {"[[ctxtTSKP]]a[[ctxtNORM]]b", "b"}});
}

TEST(TextAdapter, KeepsCommentsFromBeingCommands) {
  check({{"[[cmnt one; two; http://x.y/?a&rate=3]]b", "b"},
         {"[[cmnt slower; rate 80]]b", "[[cmnt slower; rate 80]]b"},
         {"[[cmnt slower; RATE 80]]b", "[[rate 80]]b"},
         {"[[cmnt a < b]]c", "c"}});
}

// ---- Emphasis

TEST(TextAdapter, EmphasizesTheNextWord) {
  check(
      {{"Do it [[emph +]] now.", "Do it [[emph +]] now.[[cmnt]]  "},
       {"[[emph +]]now", "[[emph +]]now[[cmnt]]  "},
       {"[[emph +]] really good [[emph -]]day", "[[emph +]] really[[cmnt]] good [[emph -]]day"},
       {"[[emph +; rate 165;volm +0.5]]Go on", "[[rate 165]][[volm +0.5]][[emph +]]Go[[cmnt]] on"},
       {"[[emph +]][[rate 9]] \"so\" it", "[[rate 9]] \"[[emph +]]so\"[[cmnt]] it"},
       {"a [[emph +]]", "a "},
       {"[[emph +]][[emph -]]a", "[[emph -]]a"}});
}

// ---- Skipped context

TEST(TextAdapter, LeavesOutSkippedContext) {
  check({{"a[[ctxt TSKP]]b[[ctxt TEXT]]c", "ac"},
         {"a[[ctxt WSKP]]b[[ctxt WORD]]c", "ac"},
         {"a[[ctxt TSKP]]b[[ctxt NORM]]c", "ac"},
         {"a[[ctxt TSKP]]b[[rset 0]]c", "a[[rset 0]]c"},
         {"a[[ctxt TSKP]]b[[rate 200]]b[[sync 5]][[ctxt TEXT]]c", "a[[rate 200]][[sync 1]]c"},
         {"a[[ctxt TSKP]]b[[ctxt WSKP]]b[[ctxt WORD]]b[[ctxt TEXT]]c", "ac"},
         {"a[[ctxt WSKP]]b[[ctxt TEXT]]b[[ctxt WORD]]c", "ac"},
         {"a[[ctxt TSKP]]b", "a"},
         {"a[[ctxt WORD]]b[[ctxt TEXT]]c", "abc"}});
}

// ---- Tune data

TEST(TextAdapter, MovesCommandsOutOfTuneData) {
  check({{"[[inpt TUNE; rate 80]]AA {D 9}[[inpt TEXT]]x",
          "[[rate 80]][[inpt TUNE]]AA {D 9}[[inpt TEXT]]x"},
         {"[[inpt TUNE]]AA[[cmnt x]]b[[inpt TEXT]]x", "[[inpt TUNE]]AAb[[inpt TEXT]]x"},
         {"[[inpt TUNE]]AA[[sync 5]]b[[inpt TEXT]]x",
          "[[inpt TUNE]]AA[[inpt TEXT]][[sync 1]][[inpt TUNE]]b[[inpt TEXT]]x"},
         {"[[inpt TUNE]]AA[[inpt PHON]]d[[inpt TEXT]]x",
          "[[inpt TUNE]]AA[[inpt TEXT]][[inpt PHON]]d[[inpt TEXT]]x"},
         {"[[inpt TUNE]]AA[inpt TEXT]]x", "[[inpt TUNE]]AA[[inpt TEXT]]x", {"unclosed 15"}}});
}

// ---- Reset

TEST(TextAdapter, CountsFromTheInitialValueAfterAReset) {
  TextSettings settings;
  settings.pitchBase = 43;
  settings.pitchRange = 4.5;
  check({{"[[rset 0]][[rate +20]]a[[rate +5]]", "[[rset 0]][[rate 180]][[rate +20]]a[[rate +5]]"},
         {"[[rset]][[volm -.5]]", "[[rset]][[volm 1]][[volm -.5]]"},
         {"[[rset 0]][[pbas +2; pmod -1]]",
          "[[rset 0]][[pbas 43]][[pbas +2]][[pmod 4.5]][[pmod -1]]"},
         {"[[rset 0]][[rate 200]][[rate +20]]", "[[rset 0]][[rate 200]][[rate +20]]"}},
        settings);
}

// ---- Positions

TEST(TextAdapter, ReturnsTheStateAtTheEnd) {
  const auto stateAfter = [](const std::string& text, const TextSettings& settings = {}) {
    return adaptText(text, settings).stateAtEnd;
  };
  EXPECT_EQ(stateAfter("plain"), "");
  EXPECT_EQ(stateAfter("[[slnc 5]][[sync 3]][[cmnt rate 5]][[frob]]x"), "");
  EXPECT_EQ(stateAfter("[[rate 200]]a[[RATE 90]]b"), "[[rate 90]]");
  EXPECT_EQ(stateAfter("[[rate 200; rate +20]]a[[rate -5.5]]b"), "[[rate 200; rate +14.5]]");
  EXPECT_EQ(stateAfter("[[rate +20]]a[[rate -20]]"), "");
  EXPECT_EQ(stateAfter("[[volm +0.25]]a[[volm +.25]]"), "[[volm +0.5]]");
  EXPECT_EQ(stateAfter("[[volm -1e300]]"), "[[volm -100000]]");
  EXPECT_EQ(stateAfter("[[pbas 50]][[pmod 3]][[char LTRL; nmbr ltrl]]"),
            "[[char LTRL; nmbr LTRL; pbas 50; pmod 3]]");
  EXPECT_EQ(stateAfter("[[rate 90]]a[[rset 0]]b[[rate +10]]"), "[[rset 0; rate +10]]");
  EXPECT_EQ(stateAfter("[[inpt PHON]]hEH"), "[[inpt PHON]]");
  EXPECT_EQ(stateAfter("[[inpt TUNE]]~"), "[[inpt TUNE]]");
  EXPECT_EQ(stateAfter("[[inpt PHON]]hEH[[inpt TEXT]]"), "");
  EXPECT_EQ(stateAfter("[[inpt PHON]]hEH[[rset]]"), "[[rset 0]]");
  EXPECT_EQ(stateAfter("[[ctxt WSKP]]a[[ctxt TSKP]]"), "[[ctxt TSKP; ctxt WSKP]]");
  EXPECT_EQ(stateAfter("a [[emph +]] "), "[[emph +]]");
  EXPECT_EQ(stateAfter("a [[emph +]] b"), "");
  EXPECT_EQ(stateAfter("[[dlim << >>]]<<rate 90>>"), "[[rate 90; dlim << >> ]]");
  EXPECT_EQ(stateAfter("[[dlim << >>]]<<dlim>>"), "[[dlim  ]]");
  EXPECT_EQ(stateAfter("[[dlim << ]>]]"), "[[dlim << ]> ]]");

  TextSettings settings;
  settings.startsInPhonemes = true;
  EXPECT_EQ(stateAfter("hEH", settings), "");
  EXPECT_EQ(stateAfter("hEH[[inpt TEXT]]", settings), "[[inpt TEXT]]");
  EXPECT_EQ(stateAfter("hEH[[rset]]a[[inpt PHON]]", settings), "[[rset 0; inpt PHON]]");
  settings.openDelimiter = "<<";
  settings.closeDelimiter = ">>";
  EXPECT_EQ(stateAfter("hEH<<rate 90>>", settings), "<<rate 90>>");
  EXPECT_EQ(stateAfter("hEH<<dlim {{ }}>>{{dlim << ]]}}", settings), "");  // cannot be written
}

TEST(TextAdapter, KnowsWhereEachWordCameFrom) {
  const std::string given =
      "one [[frob]]two [[sync 0x9]]three [[ctxt TSKP]]x[[ctxt NORM]]four [[emph +]]five [[ six";
  const AdaptedText result = adaptText(given, {});
  for (const char* const word : {"one", "two", "three", "four", "five", "six"}) {
    const std::size_t at = result.text.text().find(word);
    ASSERT_NE(at, std::string::npos) << result.text.text();
    EXPECT_EQ(result.text.originOf(at), given.find(word)) << word;
  }
  EXPECT_EQ(result.text.originOf(result.text.size()), given.size());
}

TEST(TextAdapter, ListsWhatItReplaces) {
  const std::string given = "a[[frob]]b[[sync 0x9]] [[emph +]] c [[inpt PHON]]d.[[inpt TEXT]][[";
  const AdaptedText result = adaptText(given, {});
  std::vector<std::string> lines;
  for (const platform::TextReplacement& part : platform::replacementsOf(given, result)) {
    lines.push_back(given.substr(part.position, part.length) + " > " + std::string(part.text));
  }
  EXPECT_THAT(lines, ElementsAre("[[frob]] > ", "[[sync 0x9]] > [[sync 1]]", " > [[cmnt]]", ". > %",
                                 " >  "));
}

// ---- Time

TEST(TextAdapter, TakesLinearTimeForHostileTexts) {
  constexpr std::size_t kSize = 1 << 18;
  for (const char* const piece :
       {"[[", "[[ ", "]]", "[[ ;", "[[cmnt ", "[[rate 200", "[[rate 200]]", "[[emph +]]w ", "[",
        "[inpt ", "[[dlim ", "[[sync '", "[[inpt PHON]].", "[[ctxt TSKP]]x", "[[rset]][[rate +1]]",
        "[[a\n", "[[cmnt [[dlim [[ "}) {
    SCOPED_TRACE(piece);
    std::string text;
    while (text.size() < kSize) text += piece;
    adaptText(text, {});
    adaptText(text + "]]", {});
    adaptText(text + "\n]]", {});
    adaptText("[[inpt PHON]]" + text, {});
    adaptText("[[dlim $ $]]" + text + "$", {});
  }
}

// ---- UTF-8

platform::AdaptedText adaptUtf8(const std::string& text) {
  TextSettings settings;
  settings.charset = platform::Charset::Utf8;
  return adaptText(text, settings);
}

// Second bytes that are white space or the logo in 8-bit encodings: 85, A0; first byte F0.
TEST(AdaptedUtf8, TakesNoByteOfACharacterForABlankOrTheLogo) {
  EXPECT_FALSE(adaptUtf8("х[[rate 200]]à\u3000[[rate 90]]\U0001F600").isChanged);
  EXPECT_FALSE(adaptUtf8("[[cmnt \U0001F600]]a").isChanged);
  EXPECT_EQ(adaptUtf8("[[cmnt \uF8FF]]a").text.text(), "a");
  EXPECT_EQ(adaptUtf8("[[emph +]]слово.х дом").text.text(), "[[emph +]]слово.х[[cmnt]] дом");
}

std::string utf8Of(const std::string& macRoman) {
  std::string utf8;
  for (const char byte : macRoman) {
    utf8 += base::toUtf8(base::fromMacRoman(static_cast<unsigned char>(byte)));
  }
  return utf8;
}

// Blanks that pad emphasis at the end of the text depend on its length in bytes.
std::string withoutPadding(std::string text) {
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

// The same text in both charsets becomes the same text.
TEST(AdaptedUtf8, IsTheSameTextAsInMacRoman) {
  const std::vector<std::string> parts = {"\x8E",
                                          "caf\x8E ",
                                          "\xC7",
                                          "\xC8",
                                          "\xF0",
                                          "\xCA",
                                          " ",
                                          ". ",
                                          "[[",
                                          "]]",
                                          "[",
                                          "[[rate 200]]",
                                          "[[RATE 90]]",
                                          "[[emph +]]",
                                          "[[sync '\x8E;a\xC7']]",
                                          "[[sync \xD4"
                                          "four\xD5]]",
                                          "[[sync \x8E"
                                          "abc]]",
                                          "[[dlim \xC7\xC7 \xC8\xC8]]",
                                          "\xC7\xC7rate 90\xC8\xC8",
                                          "[[dlim]]",
                                          "[[inpt PHON]]",
                                          "AA\x8E",
                                          "[[inpt TEXT]]",
                                          "[[cmnt \xF0]]",
                                          "[[cmnt \x8E]]",
                                          "[[ctxt TSKP]]",
                                          "[[ctxt NORM]]",
                                          "[[rset 0]]",
                                          "\r\n"};
  std::mt19937 random(7);
  for (int round = 0; round < 20000; ++round) {
    std::string text;
    for (auto count = random() % 8; count > 0; --count) text += parts[random() % parts.size()];
    const AdaptedText inMacRoman = adaptText(text, {});
    const AdaptedText inUtf8 = adaptUtf8(utf8Of(text));
    const std::string expected = inMacRoman.isChanged ? inMacRoman.text.text() : text;
    const std::string found = inUtf8.isChanged ? inUtf8.text.text() : utf8Of(text);
    ASSERT_EQ(withoutPadding(found), withoutPadding(utf8Of(expected))) << utf8Of(text);
    ASSERT_EQ(inUtf8.syncValues, inMacRoman.syncValues) << utf8Of(text);
    ASSERT_EQ(inUtf8.problems.size(), inMacRoman.problems.size()) << utf8Of(text);
    for (std::size_t i = 0; i < inUtf8.problems.size(); ++i) {
      ASSERT_EQ(inUtf8.problems[i].position,
                utf8Of(text.substr(0, inMacRoman.problems[i].position)).size());
    }
  }
}

TEST(AdaptedUtf8, ReadsSyncValuesOfFourCharacters) {
  const AdaptedText result =
      adaptUtf8("[[sync 'é;é«']][[sync “four”]][[sync ab¢d]][[sync 'жabc']][[sync 'abé']]");
  EXPECT_THAT(result.syncValues, testing::ElementsAre(0x8E3B8EC7U, 0x666F7572U, 0x6162A264U));
  EXPECT_EQ(result.problems.size(), 2U);
}

TEST(AdaptedUtf8, MeasuresDelimitersInCharacters) {
  EXPECT_EQ(adaptUtf8("[[dlim «« »»]]a««rate 90»»б").text.text(), "a[[rate 90]]б");
  EXPECT_EQ(adaptUtf8("[[dlim 「 」]]a「rate 90」б").text.text(), "a[[rate 90]]б");
  EXPECT_EQ(adaptUtf8("[[dlim ««« »»»]]a").problems.size(), 1U);
}

}  // namespace
