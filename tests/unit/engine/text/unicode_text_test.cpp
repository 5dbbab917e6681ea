// SPDX-License-Identifier: Apache-2.0
//
// Texts in UTF-8: characters, words and their positions, sentence ends in other scripts, and the
// form in which words are spoken.
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/text/Utf8.h"
#include "text/encoding.h"
#include "text/sentence.h"

namespace kavrel {
namespace {

using Strings = std::vector<std::string>;

std::vector<Sentence> read(std::string_view text, std::string_view language = "en-us") {
  SentenceReader reader(text, Encoding::Utf8, language);
  std::vector<Sentence> sentences;
  Sentence sentence;
  while (reader.next(sentence)) sentences.push_back(sentence);
  return sentences;
}

std::vector<Item> items(std::string_view text, std::string_view language = "en-us") {
  std::vector<Item> all;
  for (const Sentence& sentence : read(text, language)) {
    all.insert(all.end(), sentence.items.begin(), sentence.items.end());
  }
  return all;
}

// The words of a text, and that the bytes of each are its own.
Strings words(std::string_view text, std::string_view language = "en-us") {
  Strings words;
  for (const Item& item : items(text, language)) {
    if (!item.reported) continue;
    EXPECT_EQ(text.substr(item.start, item.length), item.name) << text;
    words.push_back(item.name);
  }
  return words;
}

Strings sentences(std::string_view text, std::string_view language = "en-us") {
  Strings all;
  for (const Sentence& sentence : read(text, language)) {
    all.emplace_back(text.substr(sentence.start, sentence.length));
  }
  return all;
}

// What the synthesiser is given of a text of one token.
std::string spoken(std::string_view token, std::string_view language = "en-us") {
  std::string text;
  for (const Item& item : items(token, language)) {
    for (const wchar_t character : item.text)
      base::appendUtf8(text, static_cast<char32_t>(character));
  }
  return text;
}

struct Row {
  const char* language;
  const char* text;
  Strings parts;
};

// ---- Characters

TEST(EncodedText, HasANameForEachEncoding) {
  EXPECT_EQ(encodingNamed(nullptr), Encoding::Latin9);
  EXPECT_EQ(encodingNamed("iso-8859-15"), Encoding::Latin9);
  EXPECT_EQ(encodingNamed("utf-8"), Encoding::Utf8);
  EXPECT_EQ(encodingNamed("UTF-8"), std::nullopt);
  EXPECT_EQ(encodingNamed(""), std::nullopt);
}

TEST(EncodedText, SeparatesWordsAtBytesThatAreNoCharacter) {
  for (const std::string broken :
       {"\xC3", "\xE2\x82", "\xF8", "\xC0\x80", "\xED\xA0\x80", "\x80"}) {
    const std::string text = "one" + broken + "two " + broken + " caf\xC3\xA9" + broken;
    EXPECT_EQ(words(text), (Strings{"one", "two", "café"})) << testing::PrintToString(broken);
  }
}

TEST(EncodedText, HasTheBytesOfEntitiesAndTags) {
  const std::string text = "é<mark name='ü &#x416;'/>ж &#x44F;&#66368;. <b>ñ</b>o";
  const std::vector<Item> all = items(text);
  ASSERT_EQ(all.size(), 4u);
  EXPECT_EQ(all[0].name, "éж");
  EXPECT_EQ(text.substr(all[0].start, all[0].length), "é<mark name='ü &#x416;'/>ж");
  EXPECT_EQ(all[1].name, "ü Ж");
  EXPECT_EQ(all[1].share, 0.5);
  EXPECT_EQ(all[2].name, "я\U00010340");
  EXPECT_EQ(all[3].name, "ño");
}

TEST(EncodedText, HasAsciiNamesInTags) {
  EXPECT_EQ(words("a <é> b"), (Strings{"a", "<é>", "b"}));
}

// ---- Words

TEST(UnicodeWords, AreTheRunsBetweenBlanks) {
  const std::vector<Row> rows = {
      {"ru", "Дети читают, «сегодня» — книгу.", {"Дети", "читают", "сегодня", "книгу"}},
      {"el", "Τα παιδιά διαβάζουν;", {"Τα", "παιδιά", "διαβάζουν"}},
      {"gd", "an-diugh it-tfal 'n", {"an-diugh", "it-tfal", "n"}},
      {"ar", "يقرأ الأطفال، اليوم؟", {"يقرأ", "الأطفال", "اليوم"}},
      {"sd", "هو ۾ آهي۔", {"هو", "۾", "آهي"}},
      {"hi", "बच्चे आज स्कूल में पढ़ते हैं।", {"बच्चे", "आज", "स्कूल", "में", "पढ़ते", "हैं"}},
      {"ko", "아이들은 오늘 책을 읽는다.", {"아이들은", "오늘", "책을", "읽는다"}},
      {"am", "ልጆቹ ዛሬ፣ ያነባሉ።", {"ልጆቹ", "ዛሬ", "ያነባሉ"}},
      {"en",
       "100٪ 5% ５％ \U0001F600 x\u00A0y\u3000z",
       {"100٪", "5%", "５％", "\U0001F600", "x", "y", "z"}}};
  for (const Row& row : rows) EXPECT_EQ(words(row.text, row.language), row.parts) << row.text;
}

TEST(UnicodeWords, KeepCharactersWithoutWidth) {
  EXPECT_EQ(words("می\u200Cخواهم \u200Fنه\u200F", "fa"), (Strings{"می\u200Cخواهم", "نه"}));
  EXPECT_EQ(words("so\u00ADft \u200B \uFEFF \u00AD end"), (Strings{"so\u00ADft", "end"}));
  // A family is several characters with joiners.
  EXPECT_EQ(words("\U0001F468\u200D\U0001F469\u200D\U0001F467 ok").size(), 2u);
}

TEST(UnicodeWords, AreFoundInScriptsWithoutBlanks) {
  EXPECT_EQ(words("我用iPhone看2026年的书。", "cmn-latn-pinyin"),
            (Strings{"我", "用", "iPhone", "看", "2026", "年", "的", "书"}));
  EXPECT_EQ(words("《书》看（中）e-mail", "cmn-latn-pinyin"),
            (Strings{"书", "看", "中", "e-mail"}));
  EXPECT_EQ(words("e-mail-address naïve-e"), (Strings{"e-mail-address", "naïve-e"}));
}

TEST(UnicodeWords, HaveTheirMarksAndSettingsIfATokenIsCut) {
  const std::string text =
      "我<mark name='1'/>用<prosody rate='300'>看</prosody><mark name='2'/>。<mark name='3'/>书";
  std::string outline;
  for (const Item& item : items(text, "cmn-latn-pinyin")) {
    outline += item.name + (item.style.rate == 300 ? "! " : " ");
  }
  EXPECT_EQ(outline, "我 1 用 看! 2 3 书 ");
}

TEST(UnicodeWords, LoseNothingOfALongTextWithoutBlanks) {
  std::string text;
  for (int i = 0; i < 10000; ++i) text += "书";
  std::size_t end = 0;
  std::string joined;
  for (const Item& item : items(text, "cmn-latn-pinyin")) {
    EXPECT_EQ(item.start, end);
    end = item.start + item.length;
    joined += item.name;
  }
  EXPECT_TRUE(joined == text);
}

// ---- Sentences

TEST(UnicodeSentences, EndAtTheStopsOfTheirScript) {
  const std::vector<Row> rows = {
      {"cmn-latn-pinyin", "你好。今天！「是？」3年", {"你好。", "今天！", "「是？」", "3年"}},
      {"ar", "نعم؟ لا.", {"نعم؟", "لا."}},
      {"ur", "ہاں۔ نہیں۔", {"ہاں۔", "نہیں۔"}},
      {"hi", "हाँ। नहीं॥ ठीक", {"हाँ।", "नहीं॥", "ठीक"}},
      {"am", "አዎ። አይ፧ እሺ", {"አዎ።", "አይ፧", "እሺ"}},
      {"hy", "Այո։ Ինչո՞ւ ոչ։", {"Այո։", "Ինչո՞ւ ոչ։"}},
      {"el", "Τι; Ναι.", {"Τι;", "Ναι."}},
      {"en-us", "One; two.", {"One; two."}},
      {"ru", "Да. нет", {"Да.", "нет"}},
      {"de", "„Ja.“ Nein.", {"„Ja.“", "Nein."}}};
  for (const Row& row : rows) EXPECT_EQ(sentences(row.text, row.language), row.parts) << row.text;
}

TEST(UnicodeSentences, GoOnAfterAnOrdinal) {
  EXPECT_EQ(sentences("Am 3. Mai kam er.", "de"), (Strings{"Am 3. Mai kam er."}));
  EXPECT_EQ(sentences("Es war 2019. Dann kam er.", "de").size(), 2u);
  EXPECT_EQ(sentences("It was 3. Then he came.", "en-us").size(), 2u);
}

TEST(UnicodeSentences, GoOnAfterAnAbbreviationOfTheirLanguage) {
  const std::vector<Row> rows = {
      {"de", "Das z. B. Anna u. a. mag. Gut.", {"Das z. B. Anna u. a. mag.", "Gut."}},
      {"de-AT", "Mit Hrn. usw. Ende.", {"Mit Hrn.", "usw.", "Ende."}},
      {"fr", "Mme. Rue. Va.", {"Mme. Rue.", "Va."}},
      {"es", "La Sra. Paz. Sí.", {"La Sra. Paz.", "Sí."}},
      {"ru", "Это т.е. Анна и т.д. Да.", {"Это т.е. Анна и т.д.", "Да."}},
      {"ru", "На ул. Мира. См. стр. 5.", {"На ул. Мира.", "См. стр. 5."}},
      {"el", "Ο κ. Νίκος. Ναι.", {"Ο κ. Νίκος.", "Ναι."}},
      {"it", "Il mar. Poi. Sig. Rossi.", {"Il mar.", "Poi.", "Sig. Rossi."}},
      {"eo", "D-ro. Dr. Zo. Ek etc. kaj.", {"D-ro.", "Dr. Zo.", "Ek etc. kaj."}}};
  for (const Row& row : rows) EXPECT_EQ(sentences(row.text, row.language), row.parts) << row.text;
}

TEST(UnicodeSentences, IncludeAQuoteAfterABlankInFrench) {
  const std::vector<Row> rows = {
      {"fr", "« Oui ! » Non.", {"« Oui ! »", "Non."}},
      {"fr-fr", "« Oui. » « Non ? » Ah ! Oh", {"« Oui. »", "« Non ? »", "Ah !", "Oh"}},
      {"fr", "Oui ! <mark name='1'/>Non.", {"Oui !", "Non."}},
      {"fr", "Oui ! <break/> » Non.", {"Oui !", "» Non."}},
      {"de", "Ja! » Nein.", {"Ja!", "» Nein."}}};
  for (const Row& row : rows) EXPECT_EQ(sentences(row.text, row.language), row.parts) << row.text;
}

// ---- The form that is spoken

TEST(SpokenForm, IsComposed) {
  const std::vector<std::pair<const char*, const char*>> rows = {
      {"e\u0301te\u0301", "été"}, {"Viê\u0323t", "Việt"}, {"\u1112\u1161\u11AB", "한"}};
  for (const auto& [text, form] : rows) EXPECT_EQ(spoken(text), form);
}

TEST(SpokenForm, HasAsciiDigits) {
  const std::vector<std::pair<const char*, const char*>> rows = {
      {"٣٤", "34"},    {"۳", "3"}, {"३", "3"},  {"３：４", "3:4"}, {"፫", "3"},
      {"፳፻", "20100"}, {"①", "1"}, {"⑳", "20"}, {"½²", "½²"}};
  for (const auto& [text, form] : rows) EXPECT_EQ(spoken(text), form);
}

TEST(SpokenForm, LacksWhatHasNoSound) {
  EXPECT_EQ(spoken("محـــمد"), "محمد");
  EXPECT_EQ(spoken("so\u00ADft\u200F\uFEFF\uFE0F"), "soft");
  EXPECT_EQ(spoken("est\u2011ce"), "est-ce");
  EXPECT_EQ(spoken("\u200B"), "");
}

TEST(SpokenForm, DependsOnTheLanguage) {
  EXPECT_EQ(spoken("м\u02BCята", "uk"), "м'ята");
  EXPECT_EQ(spoken("м\u02BCята", "ru"), "м\u02BCята");
  EXPECT_EQ(spoken("क्\u200Dष", "hi"), "क्ष");
  EXPECT_EQ(spoken("می\u200Cخواهم", "fa"), "می\u200Cخواهم");
  EXPECT_EQ(spoken("a\u200Db", "fa"), "a\u200Db");
}

}  // namespace
}  // namespace kavrel
