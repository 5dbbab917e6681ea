// SPDX-License-Identifier: Apache-2.0
//
// kavrel-ssml --explain: the table of commands.
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "RunSsml.h"

namespace {

using ssmlprogram::jsonOf;
using ssmlprogram::outputOf;
using ssmlprogram::ssml;
using ssmlprogram::Strings;
using testing::ElementsAre;
using testing::HasSubstr;

const auto kName = [](const auto& info) { return std::string(info.param.name); };

Strings resultsOf(const std::string& text, const Strings& arguments = {"--explain"}) {
  Strings results;
  const nlohmann::json json = jsonOf(arguments, text);
  for (const auto& command : json.at("commands")) results.push_back(command.at("result"));
  return results;
}

TEST(Explain, WritesATable) {
  EXPECT_EQ(outputOf({"--explain"}, "Hi [[rate 200]]you\n[[sync 3]]there"),
            "BYTE  LINE  COMMAND       KIND  RESULT\n"
            "3     1:4   [[rate 200]]  rate  <prosody rate='200'> up to the end of the text\n"
            "19    2:1   [[sync 3]]    sync  <mark name='196608'/>\n"
            "\n"
            "BYTE  LINE  TEXT        ADAPTED     NOTE\n"
            "19    2:1   [[sync 3]]  [[sync 1]]  the callback gets 3 (0x3)\n");
}

TEST(Explain, WritesOnlyTheHeadingWithoutCommands) {
  EXPECT_EQ(outputOf({"--explain"}, "Hi"), "BYTE  LINE  COMMAND  KIND  RESULT\n");
}

TEST(Explain, WritesOneLineForACommandOverSeveralLines) {
  const std::string table = outputOf({"--explain"}, "a [[cmnt one\ntwo]] b");
  EXPECT_THAT(table, HasSubstr("[[cmnt one two]]"));
}

TEST(Explain, ShowsWhereSettingsEnd) {
  EXPECT_THAT(resultsOf("[[rate 200]]a [[volm 0.5]]b [[rate +20]]c [[rset 0]]d"),
              ElementsAre("<prosody rate='200'> up to [[rate +20]] at byte 28",
                          "<prosody volume='50'> up to [[rset 0]] at byte 42",
                          "<prosody rate='220'> up to [[rset 0]] at byte 42",
                          "ends all settings and modes"));
}

TEST(Explain, ShowsPitchAndRange) {
  EXPECT_THAT(resultsOf("[[pbas 60]]a[[pmod 60]]b"),
              ElementsAre("<prosody pitch='261.625Hz'> up to the end of the text",
                          "<prosody range='261.625Hz'> up to the end of the text"));
}

TEST(Explain, ShowsWhereModesEnd) {
  EXPECT_THAT(
      resultsOf("[[char LTRL]]a[[char NORM]]b[[nmbr LTRL]]1[[nmbr NORM]]2"),
      ElementsAre("<say-as type='spell-out'> up to [[char NORM]] at byte 14", "ends spelling",
                  "<say-as interpret-as='digits'> up to [[nmbr NORM]] at byte 42", "ends digits"));
}

TEST(Explain, ShowsCommandsThatEndNothing) {
  EXPECT_THAT(resultsOf("[[char NORM]][[nmbr NORM]][[inpt TEXT]][[ctxt NORM]]"),
              ElementsAre("dropped: no spelling to end", "dropped: no digits to end",
                          "dropped: no phonemes to end", "dropped: no effect"));
}

TEST(Explain, ShowsWhereEmphasisEnds) {
  EXPECT_THAT(resultsOf("a [[emph +]]big [[emph -]]dog")[0],
              "<emphasis strength='strong'> up to byte 28");
}

TEST(Explain, ShowsBreaksAndMarks) {
  EXPECT_THAT(resultsOf("[[slnc 500]]a[[sync 7]]b"),
              ElementsAre("<break time='500ms'/>", "<mark name='458752'/>"));
}

TEST(Explain, ShowsPhonemes) {
  EXPECT_THAT(resultsOf("[[inpt PHON]]hEH[[slnc 5]]h[[inpt TEXT]] b"),
              ElementsAre("<phoneme ph='h eh0h'> up to [[inpt TEXT]] at byte 27",
                          "<break time='5ms'/> inside the phoneme input of [[inpt PHON]] at byte 0",
                          "ends phonemes"));
}

TEST(Explain, ShowsWhatIsDroppedWithItsText) {
  EXPECT_THAT(resultsOf("a [[inpt TUNE]]x[[inpt TEXT]]b [[ctxt WSKP]]c [[rate 5]]d[[ctxt WORD]]e"),
              ElementsAre("dropped, with its data, up to [[inpt TEXT]] at byte 16",
                          "dropped: no phonemes to end",
                          "dropped, with the text after it, up to [[ctxt WORD]] at byte 57",
                          "dropped: inside the skipped text of [[ctxt WSKP]] at byte 31",
                          "ends the skipped text"));
}

TEST(Explain, ShowsTuneDataThatStays) {
  EXPECT_THAT(resultsOf("[[inpt TUNE]]x[[rate 5]]y")[0],
              "dropped: its data stays as text, because [[rate 5]] at byte 14 follows");
}

TEST(Explain, ShowsCommandsWithoutEffect) {
  EXPECT_THAT(resultsOf("[[cmnt hi]]a[[dlim (( ))]]b[[vers 1]]c[[xtnd x]]d[[emph -]]e"),
              ElementsAre("dropped: a comment", "dropped: the delimiters cannot be changed",
                          "dropped: no effect", "dropped: no effect",
                          "dropped: emphasis always ends with its word"));
}

TEST(Explain, SeparatesCommandsInOneBracket) {
  const nlohmann::json commands = jsonOf({"--explain"}, "[[rate 200; volm 0.5]]a").at("commands");
  ASSERT_EQ(commands.size(), 2u);
  EXPECT_EQ(commands[0].at("text"), "[[rate 200");
  EXPECT_EQ(commands[1].at("text"), "; volm 0.5]]");
  EXPECT_EQ(commands[1].at("position"), 10);
}

TEST(Explain, ShowsTheCallersBytes) {
  const nlohmann::json commands =
      jsonOf({"--explain"}, "\u201Ca\u201D & b [[cmnt \u2026 < x]]c").at("commands");
  ASSERT_EQ(commands.size(), 2u);
  EXPECT_EQ(commands[0].at("position"), 12);
  EXPECT_EQ(commands[0].at("column"), 9);
}

TEST(Explain, ShowsACommandThatIsNeverClosed) {
  const nlohmann::json json = jsonOf({"--explain"}, "see [[ 3 of");
  ASSERT_EQ(json.at("commands").size(), 1u);
  EXPECT_EQ(json.at("commands")[0].at("text"), "[[ 3 of");
  EXPECT_THAT(json.at("commands")[0].at("result"),
              "dropped: unknown; not closed, so it extends to the end of the text");
}

TEST(Explain, ShowsThatPlainTextHasNoTraceOfCommands) {
  EXPECT_THAT(resultsOf("[[rate 90]]a[[RATE 90]]b", {"--explain", "--plain"}),
              ElementsAre("removed", "dropped: wrong case, must be rate"));
}

TEST(Explain, IncludesTheSettings) {
  EXPECT_THAT(resultsOf("[[rate +20]]a", {"--explain", "--rate", "200"}),
              ElementsAre("<prosody rate='220'> up to the end of the text"));
}

TEST(Explain, WorksForTextsThatCannotBeConverted) {
  const program::Result result = ssml({"--explain"}, "[[inpt PHON]]q[[inpt TEXT]] [[slnc 5]]");
  EXPECT_EQ(result.status, ssmlprogram::kFailure);
  EXPECT_THAT(result.out, HasSubstr("dropped: cannot be converted"));
  EXPECT_THAT(result.out, HasSubstr("<break time='5ms'/>"));
}

// ---- What the Manager adapts

Strings adaptationsOf(const std::string& text, const Strings& arguments = {"--explain"}) {
  Strings lines;
  const nlohmann::json json = jsonOf(arguments, text);
  for (const auto& part : json.at("adaptations")) {
    std::string line = std::to_string(part.at("position").get<int>()) + ": ";
    line += part.at("text").get<std::string>() + " > " + part.at("becomes").get<std::string>();
    lines.push_back(line + " (" + part.at("note").get<std::string>() + ")");
  }
  return lines;
}

TEST(ExplainAdaptations, ListsWhatTheManagerChanges) {
  EXPECT_THAT(
      adaptationsOf("\u00E9 [[RATE 200]]a[[frob]]b[[sync 'four']]c [[emph +]]d e"),
      ElementsAre("3: [[RATE 200]] > [[rate 200]] ()", "16: [[frob]] >  (unknown embedded command)",
                  "25: [[sync 'four']] > [[sync 1]] (the callback gets 1718580594 "
                  "(0x666F7572))",
                  "53:  > [[cmnt]] ()"));
}

TEST(ExplainAdaptations, ListsPhonemesAndBrackets) {
  EXPECT_THAT(adaptationsOf("[[inpt PHON]]d.dqd[[inpt TEXT]] [[rate x]] [["),
              ElementsAre("14: . > % ()", "16: q >  (unknown phoneme symbol)",
                          "32: [[rate x]] >  (missing or invalid argument of an embedded command)",
                          "44:  >   (embedded command that is not closed)"));
}

TEST(ExplainAdaptations, AreEmptyForExactTexts) {
  EXPECT_THAT(adaptationsOf("[[rate 200]]a [[inpt PHON]]hEH[[inpt TEXT]] b"), testing::IsEmpty());
}

TEST(ExplainAdaptations, FollowTheSettings) {
  EXPECT_THAT(adaptationsOf("d.", {"--explain", "--phonemes"}), ElementsAre("1: . > % ()"));
}

TEST(Adapt, ConvertsTheTextAsTheManagerAdaptsIt) {
  const std::string text = "a [[RATE 200]]b[[sync 0x41]]c[[inpt PHON]]d.[[inpt TEXT]] [[ e";
  EXPECT_EQ(ssml({}, text).status, ssmlprogram::kFailure);
  EXPECT_EQ(outputOf({"--adapt"}, text),
            "a <prosody rate='200'>b</prosody><prosody rate='200'><mark name='65536'/>c</prosody>"
            "<phoneme ph='d pau'><prosody rate='200'>d%</prosody></phoneme>"
            "<prosody rate='200'> [ [ e</prosody>\n");
}

TEST(Adapt, KeepsPositionsInTheFile) {
  const nlohmann::json json = jsonOf({"--adapt"}, "\u00E9[[frob]]b [[sync 0x41]]c");
  const std::string converted = json.at("converted");
  const auto& positions = json.at("caller_positions");
  EXPECT_EQ(positions.at(converted.find('b')), 10);
  EXPECT_EQ(positions.at(converted.rfind('c')), 25);
}

TEST(Adapt, ExplainsTheCommandsOfTheAdaptedText) {
  EXPECT_THAT(resultsOf("[[RATE 200]]a[[frob]]b", {"--adapt", "--explain"}),
              ElementsAre("<prosody rate='200'> up to the end of the text"));
}

struct Slip {
  const char* name;
  const char* command;
  const char* result;
};

class ExplainSlips : public testing::TestWithParam<Slip> {};

TEST_P(ExplainSlips, ShowsWhyACommandIsNotRecognised) {
  EXPECT_THAT(resultsOf(std::string("a ") + GetParam().command + " b"),
              ElementsAre(std::string("dropped: ") + GetParam().result));
}

INSTANTIATE_TEST_SUITE_P(
    Commands, ExplainSlips,
    testing::Values(Slip{"TwoLettersSwapped", "[[slcn 1000]]", "misspelt, probably slnc"},
                    Slip{"OneLetterWrong", "[[rats 200]]", "misspelt, probably rate"},
                    Slip{"OneLetterTooMany", "[[volmm 1]]", "misspelt, probably volm"},
                    Slip{"TheWholeWord", "[[silence 100]]", "misspelt, probably slnc"},
                    Slip{"LargeLetters", "[[RATE 200]]", "wrong case, must be rate"},
                    Slip{"SomeLargeLetters", "[[Slnc 200]]", "wrong case, must be slnc"},
                    Slip{"LargeAndMisspelt", "[[SLCN 200]]", "misspelt, probably slnc"},
                    Slip{"SmallArgument", "[[char ltrl]]", "argument must be LTRL, not ltrl"},
                    Slip{"MisspeltArgument", "[[inpt PHNO]]", "argument must be PHON, not PHNO"},
                    Slip{"OtherArgument", "[[nmbr yes]]", "argument must be LTRL or NORM, not yes"},
                    Slip{"NoArgument", "[[emph]]", "argument missing, must be + or -"},
                    Slip{"NoCommand", "[[]]", "no command between the brackets"},
                    Slip{"NoSuchCommand", "[[note 3]]", "unknown"},
                    Slip{"ALongWord", "[[extraordinarily long]]", "unknown"}),
    kName);

}  // namespace
