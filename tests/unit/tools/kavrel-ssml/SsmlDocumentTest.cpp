// SPDX-License-Identifier: Apache-2.0
//
// kavrel-ssml --document: the markup of each command; every document is well-formed.
#include <random>
#include <regex>
#include <set>
#include <string>
#include <variant>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "RunSsml.h"
#include "Xml.h"
#include "conversions/ReferenceVectors.h"
#include "document/Document.h"
#include "document/MarkupReader.h"
#include "text/Conversion.h"
#include "text/SourceText.h"

namespace {

using ssmlprogram::bodyOf;
using ssmlprogram::jsonOf;
using ssmlprogram::outputOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

const auto kName = [](const auto& info) { return std::string(info.param.name); };

struct Rewriting {
  const char* name;
  const char* text;
  const char* body;
};

class DocumentBody : public testing::TestWithParam<Rewriting> {};

TEST_P(DocumentBody, IsStandardSsml) {
  EXPECT_EQ(bodyOf(GetParam().text), GetParam().body);
}

INSTANTIATE_TEST_SUITE_P(
    Of, DocumentBody,
    testing::Values(
        Rewriting{"Text", "Tom & Jerry <b>", "Tom &amp; Jerry &lt;b&gt;"},
        Rewriting{"Rate", "a [[rate 90]]b", "a <prosody rate=\"50%\">b</prosody>"},
        Rewriting{"NormalRate", "a [[rate 180]]b", "a b"},
        Rewriting{"NoRate", "[[rate 0]]b", "<prosody rate=\"x-slow\">b</prosody>"},
        Rewriting{"EndlessRate", "[[rate 1e308]]b", "<prosody rate=\"10000%\">b</prosody>"},
        Rewriting{"Volume", "[[volm 0.5]]b", "<prosody volume=\"-6.02dB\">b</prosody>"},
        Rewriting{"LoudVolume", "[[volm 2]]b", "<prosody volume=\"+6.02dB\">b</prosody>"},
        Rewriting{"FullVolume", "[[volm 1]]b", "b"},
        Rewriting{"NoVolume", "[[volm 0]]b", "<prosody volume=\"silent\">b</prosody>"},
        Rewriting{"Pitch", "[[pbas 60]]b", "<prosody pitch=\"261.62Hz\">b</prosody>"},
        Rewriting{"EndlessPitch", "[[pbas 9999]]b", "<prosody pitch=\"100000Hz\">b</prosody>"},
        Rewriting{"PitchRange", "[[pmod 60]]b", "<prosody range=\"261.62Hz\">b</prosody>"},
        Rewriting{"SettingsTogether", "[[rate 90; volm 0.5]]b[[pbas 60]] c",
                  "<prosody volume=\"-6.02dB\" rate=\"50%\">b</prosody> <prosody "
                  "volume=\"-6.02dB\" rate=\"50%\" pitch=\"261.62Hz\">c</prosody>"},
        Rewriting{"SettingsOverOtherCommands", "[[rate 90]]a [[sync 1]]b [[slnc 5]]c",
                  "<prosody rate=\"50%\">a <mark name=\"1\"/>b <break time=\"5ms\"/>c</prosody>"},
        Rewriting{"Spelling", "[[char LTRL]]abc[[char NORM]] d",
                  "<say-as interpret-as=\"characters\">abc</say-as> d"},
        Rewriting{"SpellingRoundABreak", "[[char LTRL]]a[[slnc 5]]b",
                  "<say-as interpret-as=\"characters\">a</say-as><break time=\"5ms\"/><say-as "
                  "interpret-as=\"characters\">b</say-as>"},
        Rewriting{"Digits", "[[nmbr LTRL]]call 555, or 3.14.",
                  "call <say-as interpret-as=\"characters\">555</say-as>, or <say-as "
                  "interpret-as=\"characters\">3.14</say-as>."},
        Rewriting{"Emphasis", "a [[emph +]]big [[emph -]]dog in",
                  "a <emphasis level=\"strong\">big dog</emphasis> in"},
        Rewriting{"EmphasisBeforeACommand", "[[emph +]]a [[emph -]]d\u00E9[[sync 5]] b",
                  "<emphasis level=\"strong\">a d\u00E9</emphasis><mark name=\"5\"/> b"},
        Rewriting{"EmphasisOfAnEscape", "[[emph +]]a [[emph -]]R&[[sync 5]] b",
                  "<emphasis level=\"strong\">a R&amp;</emphasis><mark name=\"5\"/> b"},
        Rewriting{"Silence", "a [[slnc 500]]b", "a <break time=\"500ms\"/>b"},
        Rewriting{"SilenceOfNoLength", "a [[slnc x]]b", "a b"},
        Rewriting{"SilenceOfNegativeLength", "a [[slnc -5]]b", "a b"},
        Rewriting{"SilenceWithQuotes", "a [[slnc 5'/>'6]]b", "a b"},
        Rewriting{"Sync", "a [[sync 7]]b", "a <mark name=\"7\"/>b"},
        Rewriting{"SyncTooLarge", "a [[sync 70000]]b", "a <mark name=\"4464\"/>b"},
        Rewriting{"Phonemes", "a [[inpt PHON]]hEHl1OW[[inpt TEXT]] b",
                  "a <phoneme alphabet=\"ipa\" ph=\"h\u025B\u02C8lo\u028A\">hEHl1OW</phoneme> b"},
        Rewriting{"PhonemesAtARate", "[[rate 90]][[inpt PHON]]hEH[[inpt TEXT]] b",
                  "<prosody rate=\"50%\"><phoneme alphabet=\"ipa\" "
                  "ph=\"h\u025B\">hEH</phoneme> b</prosody>"},
        Rewriting{"NoPhonemes", "a [[inpt PHON]][[inpt TEXT]]b", "a b"},
        Rewriting{"PhonemesOnceOnly",
                  "[[inpt PHON]]hEH[[inpt TEXT]] a [[inpt PHON]]mAE[[inpt TEXT]] b",
                  "<phoneme alphabet=\"ipa\" ph=\"h\u025B\">hEH</phoneme> a <phoneme "
                  "alphabet=\"ipa\" ph=\"m\u00E6\">mAE</phoneme> b"},
        Rewriting{"CommandsAmongPhonemes", "[[inpt PHON]]hEH[[slnc 5]]mAE[[inpt TEXT]] b",
                  "<phoneme alphabet=\"ipa\" ph=\"h\u025Bm\u00E6\">hEHmAE</phoneme><break "
                  "time=\"5ms\"/> b"},
        Rewriting{"DroppedCommands", "a[[cmnt x]] [[slcn 5]]b", "a b"},
        Rewriting{"SettingsOfNothing", "[[rate 90]] [[rset 0]]", " "},
        Rewriting{"Nothing", "", ""}),
    kName);

TEST(Document, HasDeclarationVersionNamespaceAndLanguage) {
  EXPECT_EQ(outputOf({"--document"}, "hi"),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<speak version=\"1.1\" xmlns=\"http://www.w3.org/2001/10/synthesis\" "
            "xml:lang=\"en-US\">hi</speak>\n");
}

TEST(Document, HasTheLanguageOfTheOption) {
  EXPECT_THAT(outputOf({"--document", "--lang", "en-GB"}, "hi"), HasSubstr("xml:lang=\"en-GB\""));
}

TEST(Document, CanBePlain) {
  EXPECT_EQ(bodyOf("a [[rate 90]]b & c", {"--plain"}), "a b &amp; c");
}

TEST(Document, HoldsSettings) {
  EXPECT_EQ(bodyOf("hi", {"--rate", "90", "--volume", "100"}),
            "<prosody rate=\"50%\">hi</prosody>");
}

TEST(Document, HasPositionsForItsBytes) {
  const nlohmann::json json = jsonOf({"--document"}, "a [[rate 90]]\u00E9b");
  const auto text = json.at("converted").get<std::string>();
  const auto positions = json.at("caller_positions").get<std::vector<std::size_t>>();
  ASSERT_EQ(positions.size(), text.size());
  EXPECT_EQ(positions[0], 0u);
  EXPECT_EQ(positions[text.find("<prosody")], 13u);
  EXPECT_EQ(positions[text.find("\u00E9")], 13u);
  EXPECT_EQ(positions[text.find("\u00E9") + 1], 13u);
  EXPECT_EQ(positions[text.find("b</prosody")], 15u);
  EXPECT_EQ(positions.back(), 16u);
}

// ---- Every document

// Checks the elements and attributes that occur against the standard.
void expectStandard(const xml::Document& document) {
  static const std::set<std::pair<std::string, std::string>> kNesting = {
      {"", "speak"},          {"speak", "prosody"},    {"speak", "emphasis"},
      {"speak", "say-as"},    {"speak", "phoneme"},    {"speak", "break"},
      {"speak", "mark"},      {"prosody", "emphasis"}, {"prosody", "say-as"},
      {"prosody", "phoneme"}, {"prosody", "break"},    {"prosody", "mark"},
      {"emphasis", "say-as"}, {"emphasis", "phoneme"}, {"emphasis", "break"},
      {"emphasis", "mark"}};
  static const std::map<std::string, std::regex> kValues = {
      {"volume", std::regex(R"(silent|[+-]\d+(\.\d+)?dB)")},
      {"rate", std::regex(R"(x-slow|\d+(\.\d+)?%)")},
      {"pitch", std::regex(R"(\d+(\.\d+)?Hz)")},
      {"range", std::regex(R"(\d+(\.\d+)?Hz)")},
      {"time", std::regex(R"(\d+(\.\d+)?ms)")},
      {"name", std::regex(R"(\d+)")},
      {"level", std::regex("strong")},
      {"interpret-as", std::regex("characters")},
      {"alphabet", std::regex("ipa")},
      {"ph", std::regex("[^\\d]+")}};
  for (const xml::Element& element : document.elements) {
    EXPECT_TRUE(kNesting.contains({element.parent, element.name}))
        << element.name << " in " << element.parent;
    if (element.name == "speak") continue;
    const bool mayBeEmpty =
        element.name == "break" || element.name == "mark" || element.name == "phoneme";
    EXPECT_TRUE(mayBeEmpty || element.hasPhoneme || !element.contents.empty()) << element.name;
    for (const auto& [name, value] : element.attributes) {
      ASSERT_TRUE(kValues.contains(name)) << name;
      EXPECT_TRUE(std::regex_match(value, kValues.at(name))) << name << '=' << value;
    }
  }
}

// The text of the converter's output without markup and without phoneme elements.
std::string spokenTextOf(const std::string& converted) {
  static const std::map<std::string_view, char> kCharacters = {
      {"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}};
  std::string spoken;
  int phonemes = 0;
  ssml::MarkupReader reader(converted);
  for (auto piece = reader.next(); piece.kind != ssml::MarkupPiece::Kind::End;
       piece = reader.next()) {
    using Kind = ssml::MarkupPiece::Kind;
    if (piece.kind == Kind::Open && piece.name == "phoneme") ++phonemes;
    if (piece.kind == Kind::Close && piece.name == "phoneme") --phonemes;
    if (phonemes > 0) continue;
    if (piece.kind == Kind::Character) spoken += kCharacters.at(piece.escape);
    if (piece.kind == Kind::Text) spoken += converted.substr(piece.start, piece.end - piece.start);
  }
  // As an XML parser normalises line ends.
  spoken = std::regex_replace(spoken, std::regex("\r\n?"), "\n");
  for (char& c : spoken) {
    if (static_cast<unsigned char>(c) < ' ' && c != '\t' && c != '\n') c = ' ';
  }
  return spoken;
}

std::string textOutsidePhonemes(const xml::Document& document) {
  std::string text = document.text;
  const std::vector<xml::Element> phonemes = document.named("phoneme");
  for (auto each = phonemes.rbegin(); each != phonemes.rend(); ++each) {
    text.erase(each->start, each->contents.size());
  }
  return text;
}

ssml::ConversionOptions optionsOf(const reference::Vector& vector) {
  ssml::ConversionOptions options;
  if (vector.output == oracle::Output::PlainText) {
    options.output = AppleMarkupConverter::PLAINTEXT;
  }
  if (!vector.settings) return options;
  SpeechMgrEnv settings;
  settings.speakPhones = vector.settings->speakPhones;
  settings.spellOut = vector.settings->spellOut;
  settings.sayDigits = vector.settings->sayDigits;
  settings.volume = vector.settings->volume;
  settings.wpm = vector.settings->wpm;
  settings.pitchBase = vector.settings->pitchBase;
  settings.pitchAssumedBase = vector.settings->pitchAssumedBase;
  settings.pitchRange = vector.settings->pitchRange;
  options.settings = settings;
  return options;
}

using DocumentVectors = reference::VectorSuite;

TEST_P(DocumentVectors, BecomeStandardDocumentsThatKeepTheText) {
  int documents = 0;
  for (const reference::Vector& vector : vectors()) {
    SCOPED_TRACE(vector.name);
    const ssml::SourceText text(vector.text, ssml::Encoding::MacRoman);
    const auto result = ssml::convert(text, optionsOf(vector));
    if (!std::holds_alternative<base::OriginText>(result)) continue;
    ++documents;
    const auto& converted = std::get<base::OriginText>(result);
    const base::OriginText written =
        ssml::documentOf(converted, "en", static_cast<std::uint32_t>(text.size()));
    const xml::Document document = xml::parse(written.text());
    EXPECT_EQ(document.error, "") << written.text();
    expectStandard(document);
    EXPECT_EQ(textOutsidePhonemes(document), spokenTextOf(converted.text())) << written.text();
    EXPECT_EQ(written.origins().size(), written.text().size());
    for (const auto origin : written.origins()) ASSERT_LE(origin, text.size());
  }
  EXPECT_GT(documents, 150);
}

INSTANTIATE_TEST_SUITE_P(Usual, DocumentVectors, testing::Values(reference::kPlainFile),
                         [](const auto&) { return std::string("Texts"); });
INSTANTIATE_TEST_SUITE_P(Odd, DocumentVectors, testing::Values(reference::kOddFile),
                         [](const auto&) { return std::string("Texts"); });

// Fragments of markup in random order, and characters that XML cannot represent.
TEST(Document, IsWellFormedForAnyMarkup) {
  static const std::string kPieces[] = {"<prosody rate='200'>",
                                        "<prosody volume='0'>",
                                        "</prosody>",
                                        "<say-as type='spell-out'>",
                                        "<say-as interpret-as='digits'>",
                                        "</say-as>",
                                        "<emphasis strength='strong'>",
                                        "</emphasis>",
                                        "<break time='5ms'/>",
                                        "<break time='x'y'/>",
                                        "<mark name='-5'/>",
                                        "<phoneme ph='h eh1'>",
                                        "</phoneme>",
                                        "<phoneme ph=''>",
                                        "word ",
                                        "12",
                                        "&amp;",
                                        "&",
                                        "<",
                                        ">",
                                        "]]>",
                                        "'",
                                        "\"",
                                        "\x01",
                                        "\x7F",
                                        "[[",
                                        "]]",
                                        " ",
                                        "\r",
                                        "&#0;",
                                        "<!--",
                                        "<?x",
                                        "<prosody nan='1'>",
                                        "<prosody rate='nan'>",
                                        "<prosody pitch='1e+99Hz'>"};
  const unsigned seed = 20240229;
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  for (int round = 0; round < 3000; ++round) {
    std::string markup;
    for (auto length = random() % 12; length > 0; --length) {
      const std::string& piece = kPieces[random() % std::size(kPieces)];
      markup += random() % 4 == 0 ? piece.substr(random() % (piece.size() + 1)) : piece;
    }
    base::OriginText converted;
    converted.append(markup, 0);
    const std::string written = ssml::documentOf(converted, "en", 0).text();
    const xml::Document document = xml::parse(written);
    ASSERT_EQ(document.error, "") << markup << '\n' << written;
    ASSERT_NO_FATAL_FAILURE(expectStandard(document)) << markup;
    ASSERT_FALSE(HasFailure()) << markup << '\n' << written;
  }
}

TEST(Document, IsWellFormedForAllBytes) {
  std::string text;
  for (int byte = 0; byte < 256; ++byte) text += static_cast<char>(byte);
  for (const char* encoding : {"utf-8", "macroman", "latin9"}) {
    SCOPED_TRACE(encoding);
    const std::string written = outputOf({"--document", "--from", encoding}, text);
    EXPECT_EQ(xml::parse(written).error, "") << written;
  }
}

}  // namespace
