// SPDX-License-Identifier: Apache-2.0
//
// kavrel-ssml, run as a user runs it: options, encodings, positions, errors.
#include <fstream>
#include <string>
#include <utility>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "RunSsml.h"
#include "conversions/ReferenceVectors.h"

namespace {

using program::Folder;
using program::Result;
using ssmlprogram::jsonOf;
using ssmlprogram::kFailure;
using ssmlprogram::kUsage;
using ssmlprogram::outputOf;
using ssmlprogram::ssml;
using ssmlprogram::Strings;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;
using Json = nlohmann::json;
using Positions = std::vector<std::size_t>;

const auto kName = [](const auto& info) { return std::string(info.param.name); };
const auto kFileName = [](const auto& info) { return info.index == 0 ? "Usual" : "Odd"; };

// Matches one line that begins with the program's name.
testing::Matcher<std::string> complaint(const std::string& about) {
  return AllOf(MatchesRegex("kavrel-ssml: [^\n]*\n"), HasSubstr(about));
}

Positions positionsOf(const Json& json) {
  return json.at("caller_positions").get<Positions>();
}

// ---- Text in, SSML out

TEST(Ssml, WritesTheTextForTheEngine) {
  EXPECT_EQ(outputOf({}, "Hello [[rate 200]]w&rld"),
            "Hello <prosody rate='200'>w&amp;rld</prosody>\n");
}

TEST(Ssml, EndsItsOutputWithOneLineFeed) {
  EXPECT_EQ(outputOf({}, "hello"), "hello\n");
  EXPECT_EQ(outputOf({}, "hello\n"), "hello\n");
}

TEST(Ssml, WritesALineFeedForAnEmptyText) {
  EXPECT_EQ(outputOf({}, ""), "\n");
}

TEST(Ssml, ReadsTheNamedFile) {
  const Folder folder;
  const std::string file = folder.write("text.txt", "[[volm 0.5]]soft");
  EXPECT_EQ(outputOf({file}, "not this"), "<prosody volume='50'>soft</prosody>\n");
}

TEST(Ssml, ReadsStandardInputForADash) {
  EXPECT_EQ(outputOf({"-"}, "this"), "this\n");
}

TEST(Ssml, RemovesCommandsWithPlain) {
  EXPECT_EQ(outputOf({"--plain"}, "one [[rate 200]]two [[slnc 5]]& three"),
            "one two &amp; three\n");
}

TEST(Ssml, WritesUtf8) {
  EXPECT_EQ(outputOf({}, "na\u00EFve \u20AC 5"), "na\u00EFve \u20AC 5\n");
}

TEST(Ssml, WritesCharactersOfAnyScript) {
  const std::string text = "\u201Chi\u201D \u0142 мир 世界 \U0001F600";
  EXPECT_EQ(outputOf({}, text), text + "\n");
}

TEST(Ssml, ConvertsMacRomanAsTheManagerDoes) {
  EXPECT_EQ(outputOf({"--from", "macroman"}, "\xD2hi\xD3 \xF0"), "\"hi\" Apple\n");
}

// ---- Settings

TEST(Ssml, WritesNoPrefixWithoutSettings) {
  EXPECT_EQ(outputOf({}, "hello"), "hello\n");
  EXPECT_EQ(outputOf({"--no-settings"}, "hello"), "hello\n");
}

TEST(Ssml, SetsTheRate) {
  EXPECT_THAT(outputOf({"--rate", "200"}, "hi"), HasSubstr("<prosody rate='200'>"));
}

TEST(Ssml, SetsTheVolume) {
  EXPECT_THAT(outputOf({"--volume", "50"}, "hi"), HasSubstr("<prosody volume='50'>hi</prosody>"));
}

TEST(Ssml, SetsThePitchRelativeToTheVoices) {
  EXPECT_THAT(outputOf({"--pitch-base", "60", "--voice-pitch", "50"}, "hi"),
              HasSubstr("<prosody pitch='261.663Hz'>"));
  EXPECT_EQ(outputOf({"--pitch-base", "50", "--voice-pitch", "50"}, "hi").find("pitch"),
            std::string::npos);
}

TEST(Ssml, ReadsTheWholeTextAsPhonemes) {
  EXPECT_THAT(outputOf({"--phonemes"}, "hEH"), HasSubstr("<phoneme ph='h eh0'>"));
}

TEST(Ssml, SpellsTheWholeText) {
  EXPECT_THAT(outputOf({"--spell"}, "abc"), HasSubstr("<say-as type='spell-out'>abc</say-as>"));
}

TEST(Ssml, SaysNumbersDigitByDigit) {
  EXPECT_THAT(outputOf({"--digits"}, "42"), HasSubstr("<say-as interpret-as='digits'>42</say-as>"));
}

// ---- JSON

TEST(SsmlJson, HoldsTextErrorAndPositions) {
  const Json json = jsonOf({}, "a&b");
  EXPECT_EQ(json.at("converted"), "a&amp;b");
  EXPECT_TRUE(json.at("error").is_null());
  EXPECT_THAT(positionsOf(json), ElementsAre(0, 1, 1, 1, 1, 1, 2));
}

TEST(SsmlJson, MapsMarkupToTheTextAfterIt) {
  const Json json = jsonOf({}, "a[[slnc 5]]b");
  ASSERT_EQ(json.at("converted"), "a<break time='5ms'/>b");
  Positions expected{0};
  expected.insert(expected.end(), std::string("<break time='5ms'/>b").size(), 11);
  EXPECT_EQ(positionsOf(json), expected);
}

TEST(SsmlJson, MapsMarkupAtTheEndToTheEndOfTheText) {
  EXPECT_EQ(positionsOf(jsonOf({}, "a[[slnc 5]]")).back(), 11u);
}

TEST(SsmlJson, MapsEveryByteOfACharacterToTheSamePosition) {
  const Json json = jsonOf({}, "x\u00E9y");
  EXPECT_EQ(json.at("converted"), "x\u00E9y");
  EXPECT_THAT(positionsOf(json), ElementsAre(0, 1, 1, 3));
}

TEST(SsmlJson, MapsAPlainFormToItsCharacter) {
  const Json json = jsonOf({"--from", "macroman"}, "x\xC9y");
  EXPECT_EQ(json.at("converted"), "x...y");
  EXPECT_THAT(positionsOf(json), ElementsAre(0, 1, 1, 1, 2));
}

TEST(SsmlJson, MapsSettingsToTheStartOfTheText) {
  const Positions positions = positionsOf(jsonOf({"--rate", "200"}, "ab"));
  EXPECT_EQ(positions.front(), 0u);
  EXPECT_EQ(positions.back(), 2u);
}

TEST(SsmlJson, ListsCommandsOnRequest) {
  const Json commands = jsonOf({"--explain"}, "a\nb [[rate 200]]c").at("commands");
  ASSERT_EQ(commands.size(), 1u);
  EXPECT_EQ(commands[0].at("position"), 4);
  EXPECT_EQ(commands[0].at("length"), 12);
  EXPECT_EQ(commands[0].at("line"), 2);
  EXPECT_EQ(commands[0].at("column"), 3);
  EXPECT_EQ(commands[0].at("text"), "[[rate 200]]");
  EXPECT_EQ(commands[0].at("kind"), "rate");
  EXPECT_EQ(commands[0].at("result"), "<prosody rate='200'> up to the end of the text");
}

TEST(SsmlJson, HoldsTheErrorAndItsPosition) {
  const Result result = ssml({"--json"}, "one\ntwo [[inpt PHON]]hEHq");
  EXPECT_EQ(result.status, kFailure);
  const Json json = Json::parse(result.out);
  EXPECT_TRUE(json.at("converted").is_null());
  EXPECT_EQ(json.at("error"), "BAD_PHONE_SEQUENCE");
  EXPECT_EQ(json.at("caller_positions"), Json::array());
  EXPECT_EQ(json.at("position"), 24);
  EXPECT_EQ(json.at("line"), 2);
  EXPECT_EQ(json.at("column"), 21);
}

// ---- The reference conversions

Strings flagsFor(const Json& env) {
  Strings flags;
  const auto add = [&](const char* flag, const std::string& value) {
    flags.emplace_back(flag);
    flags.push_back(value);
  };
  add("--rate", env.at("wpm").dump());
  add("--volume", env.at("volume").dump());
  add("--pitch-base", env.at("pitchBase").dump());
  add("--voice-pitch", env.at("pitchAssumedBase").dump());
  if (env.at("speakPhones").get<bool>()) flags.emplace_back("--phonemes");
  if (env.at("spellOut").get<bool>()) flags.emplace_back("--spell");
  if (env.at("sayDigits").get<bool>()) flags.emplace_back("--digits");
  return flags;
}

// Whether the program supports these settings: it prepares every text and has no pitch range.
bool canBeAsked(const Json& row) {
  const std::string text = reference::bytesOf(row.at("text"));
  const bool prepared = row.at("preprocess").get<bool>() || oracle::prepare(text) == text;
  return prepared && text.find('\0') == std::string::npos &&
         (row.at("env").is_null() || row.at("env").at("pitchRange") == 0);
}

class SsmlVectors : public testing::TestWithParam<std::pair<const char*, int>> {};

TEST_P(SsmlVectors, EqualTheReferenceConversions) {
  std::ifstream file(std::string(KAVREL_VECTORS_DIR) + "/" + GetParam().first);
  int asked = 0;
  for (std::string line; std::getline(file, line);) {
    const Json row = Json::parse(line);
    if (!canBeAsked(row)) continue;
    ++asked;
    SCOPED_TRACE(line.substr(0, 200));
    Strings flags = row.at("env").is_null() ? Strings{"--no-settings"} : flagsFor(row.at("env"));
    if (row.at("output") == "plain") flags.emplace_back("--plain");
    flags.insert(flags.end(), {"--from", "macroman"});
    const Json given = jsonOf(flags, reference::bytesOf(row.at("text")));
    EXPECT_EQ(given.at("error"), row.at("expected").at("error"));
    if (row.at("expected").at("error").is_null()) {
      // Both sides use characters up to U+00FF, except the eight that ISO 8859-15 replaces, which
      // the texts do not contain.
      EXPECT_EQ(given.at("converted"), row.at("expected").at("converted"));
      EXPECT_EQ(positionsOf(given).size(), given.at("converted").get<std::string>().size());
    }
  }
  EXPECT_GE(asked, GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Texts, SsmlVectors,
                         testing::Values(std::pair("conversion.jsonl", 150),
                                         std::pair("conversion-odd.jsonl", 60)),
                         kFileName);

// ---- Encodings

TEST(SsmlEncodings, AcceptsMacRoman) {
  const Json json = jsonOf({"--from", "macroman"}, "caf\x8E \xF0 x");
  EXPECT_EQ(json.at("converted"), "caf\u00E9 Apple x");
  EXPECT_THAT(positionsOf(json), ElementsAre(0, 1, 2, 3, 3, 4, 5, 5, 5, 5, 5, 6, 7));
}

TEST(SsmlEncodings, AcceptsLatin9) {
  const Json json = jsonOf({"--from", "latin9"}, "caf\xE9 \xA4 x");
  EXPECT_EQ(json.at("converted"), "caf\u00E9 \u20AC x");
  EXPECT_THAT(positionsOf(json), ElementsAre(0, 1, 2, 3, 3, 4, 5, 5, 5, 6, 7));
}

TEST(SsmlEncodings, DoesNotReadLatin9AsTheLogo) {
  EXPECT_EQ(jsonOf({"--from", "latin9"}, "\xF0").at("converted").get<std::string>().find("Apple"),
            std::string::npos);
}

TEST(SsmlEncodings, AcceptsUtf8ByDefaultAndByName) {
  EXPECT_EQ(outputOf({"--from", "utf-8"}, "\u00E9"), "\u00E9\n");
}

TEST(SsmlEncodings, ReplacesInvalidUtf8) {
  EXPECT_EQ(outputOf({}, "a\xFF z"), "a  z\n");
}

TEST(SsmlEncodings, ReadsANulAsABlank) {
  const std::string text("a\0b", 3);
  EXPECT_EQ(outputOf({}, text), "a b\n");
  EXPECT_EQ(outputOf({"--from", "macroman"}, text), "a b\n");
  EXPECT_EQ(outputOf({"--from", "latin9"}, text), "a b\n");
}

TEST(SsmlEncodings, RejectsOtherEncodings) {
  const Result result = ssml({"--from", "utf-16"}, "x");
  EXPECT_EQ(result.status, kUsage);
  EXPECT_THAT(result.err, complaint("--from"));
}

// ---- Errors

struct BadText {
  const char* name;
  const char* text;
  const char* complaint;
};

class SsmlErrors : public testing::TestWithParam<BadText> {};

TEST_P(SsmlErrors, ReportTheErrorAndItsPosition) {
  const Result result = ssml({}, GetParam().text);
  EXPECT_EQ(result.status, kFailure);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, std::string("kavrel-ssml: standard input:") + GetParam().complaint + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    Texts, SsmlErrors,
    testing::Values(
        BadText{"ForAPhone", "a [[inpt PHON]]hEHqOW",
                "1:19: unknown phone symbol \"q\" in the phoneme input started by "
                "\"[[inpt PHON]]\" at byte 2 (byte 18)"},
        BadText{"ForAPhoneAfterOtherRegions", "[[inpt PHON]]h[[inpt TEXT]]\n[[inpt PHON]]x",
                "2:14: unknown phone symbol \"x\" in the phoneme input started by "
                "\"[[inpt PHON]]\" at byte 28 (byte 41)"},
        BadText{"ForAPhoneAfterWideCharacters", "\u00E9\r\n\u00E9[[inpt PHON]]\u00E9",
                "2:15: unknown phone symbol \"\u00E9\" in the phoneme input started by "
                "\"[[inpt PHON]]\" at byte 6 (byte 19)"},
        BadText{"ForAnEscapedCharacter", "[[inpt PHON]]h<",
                "1:15: unknown phone symbol \"<\" in the phoneme input started by "
                "\"[[inpt PHON]]\" at byte 0 (byte 14)"},
        BadText{"ForAnUnknownCommandAmongPhones", "[[inpt PHON]]h[[slcn 5]]h",
                "1:15: unknown command \"[[slcn 5]]\", read as phone symbols, in the phoneme input "
                "started by \"[[inpt PHON]]\" at byte 0 (byte 14)"},
        BadText{
            "ForPhonemeInputThatNeverEnds", "[[inpt PHON]]h [[x",
            "1:1: the phoneme input started by \"[[inpt PHON]]\" at byte 0 does not end, because "
            "a \"[[\" after it is not closed (byte 0)"},
        BadText{"ForACommandNeverClosed", "x [[rate 5",
                "1:3: the command \"[[rate 5\" is not closed (byte 2)"},
        BadText{"ForEmphasisOfNothing", "[[emph +]]hello a[[inpt TEXT]]",
                "1:18: cannot convert the command \"[[inpt TEXT]]\" at this position, because no "
                "text follows to end the emphasis of \"[[emph +]]\" at byte 0 (byte 17)"}),
    kName);

TEST(SsmlErrorPositions, NameTheFile) {
  const Folder folder;
  const std::string file = folder.write("notes.txt", "[[inpt PHON]]q");
  EXPECT_THAT(ssml({file}).err, complaint(file + ":1:14: "));
}

TEST(SsmlErrorPositions, CountOldMacLines) {
  EXPECT_THAT(ssml({"--from", "macroman"}, "a\rb\r[[inpt PHON]]q").err,
              complaint("standard input:3:14: "));
}

TEST(SsmlErrorPositions, ReportPhonemesBySetting) {
  EXPECT_THAT(ssml({"--phonemes"}, "q").err, complaint("the phoneme input started by --phonemes"));
}

// ---- Usage

TEST(SsmlUsage, PrintsItsOptions) {
  const std::string help = outputOf({"--help"}, "");
  for (const char* option : {"--plain", "--no-settings", "--rate", "--volume", "--pitch-base",
                             "--voice-pitch", "--phonemes", "--spell", "--digits", "--from",
                             "--json", "--explain", "--document", "--lang"}) {
    EXPECT_THAT(help, HasSubstr(option));
  }
}

TEST(SsmlUsage, RejectsUnknownArguments) {
  for (const Strings& arguments :
       {Strings{"--nonsense"}, Strings{"--rate"}, Strings{"--rate", "fast"},
        Strings{"--volume", "nan"}, Strings{"--pitch-base", "x"}, Strings{"a", "b"},
        Strings{"--lang", "en-US"}, Strings{"--document", "--lang", "\"><x"}}) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    const Result result = ssml(arguments, "x");
    EXPECT_EQ(result.status, kUsage);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, complaint("--help"));
  }
}

TEST(SsmlUsage, RejectsNoSettingsTogetherWithSettings) {
  const Result result = ssml({"--no-settings", "--spell"}, "x");
  EXPECT_EQ(result.status, kUsage);
  EXPECT_THAT(result.err, complaint("--spell"));
}

TEST(SsmlUsage, FailsForAMissingFile) {
  const Result result = ssml({"/nowhere/text.txt"});
  EXPECT_EQ(result.status, kFailure);
  EXPECT_THAT(result.err, complaint("/nowhere/text.txt"));
}

TEST(SsmlUsage, FailsWhenItCannotWrite) {
  program::Running running(KAVREL_SSML, {}, "hello", open("/dev/full", O_WRONLY | O_CLOEXEC));
  const Result result = running.finish();
  EXPECT_EQ(result.status, kFailure);
  EXPECT_THAT(result.err, complaint("standard output"));
}

}  // namespace
