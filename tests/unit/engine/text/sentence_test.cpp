// SPDX-License-Identifier: Apache-2.0
//
// Sentences: where they end, their items, and the positions of both.
#include "text/sentence.h"

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace kavrel {
namespace {

std::vector<Sentence> read(std::string_view text) {
  SentenceReader reader(text);
  std::vector<Sentence> sentences;
  Sentence sentence;
  while (reader.next(sentence)) sentences.push_back(sentence);
  EXPECT_FALSE(reader.next(sentence));
  return sentences;
}

std::vector<Item> items(std::string_view text) {
  std::vector<Item> all;
  for (const Sentence& sentence : read(text)) {
    all.insert(all.end(), sentence.items.begin(), sentence.items.end());
  }
  return all;
}

// One string per sentence: words unchanged, "(…)" around punctuation that is spoken, "<name>" for
// marks, "*milliseconds" for breaks, "/phones/" for phones.
std::vector<std::string> outline(std::string_view text) {
  std::vector<std::string> sentences;
  for (const Sentence& sentence : read(text)) {
    std::string line;
    for (const Item& item : sentence.items) {
      if (!line.empty()) line += ' ';
      switch (item.kind) {
        case Item::Kind::Word:
          line += item.reported ? item.name : '(' + item.name + ')';
          break;
        case Item::Kind::Mark:
          line += '<' + item.name + '>';
          break;
        case Item::Kind::Break:
          line += '*' + std::to_string(item.milliseconds);
          break;
        case Item::Kind::Phones:
          line += '/';
          for (const Phone& phone : item.phones) line += phone.name;
          line += '/' + item.name;
          break;
      }
    }
    sentences.push_back(line);
  }
  return sentences;
}

using Lines = std::vector<std::string>;
struct Row {
  const char* text;
  Lines sentences;
};

void expectOutlines(std::initializer_list<Row> rows) {
  for (const Row& row : rows) EXPECT_EQ(outline(row.text), row.sentences) << row.text;
}

// The part of the text that the item covers.
std::string_view textOf(const Item& item, std::string_view text) {
  return text.substr(item.start, item.length);
}

std::string_view textOf(const Sentence& sentence, std::string_view text) {
  return text.substr(sentence.start, sentence.length);
}

TEST(Sentences, AreNoneWithoutItems) {
  for (const char* text : {"", " ", "\n\n\n", "<b></b>", "<prosody rate='1'>", "<!-- x -->",
                           "<phoneme ph=''>gone</phoneme>", "&#32;&#9;"}) {
    EXPECT_TRUE(read(text).empty()) << text;
  }
}

TEST(Sentences, EndAtStops) {
  expectOutlines({
      {"One two. Three!", {"One two", "Three"}},
      {"One? Two\x85 Three", {"One", "Two Three"}},
      {"One... Two", {"One", "Two"}},
      {"One&#8230; Two", {"One", "Two"}},
      {"No stop", {"No stop"}},
      {"a: b; c, d", {"a b c d"}},
      {"Pi is 3.14 at example.com now.", {"Pi is 3.14 at example.com now"}},
      {"One.\nTwo", {"One", "Two"}},
      {"One.Two", {"One.Two"}},
      {"One . Two", {"One (.)", "Two"}},
      {"\"One.\" Two", {"One", "Two"}},
      {"(One.) [Two!] {Three?} Four", {"One", "Two", "Three", "Four"}},
  });
}

TEST(Sentences, ContinueAfterAbbreviations) {
  expectOutlines({
      {"Mr. Smith met Dr. Jones. Then", {"Mr Smith met Dr Jones", "Then"}},
      {"J. S. Bach wrote. Then", {"J S Bach wrote", "Then"}},
      {"So do I. Then", {"So do I", "Then"}},
      {"Fruit, e.g. Apples", {"Fruit e.g Apples"}},
      {"Cats vs. Dogs", {"Cats vs Dogs"}},
      {"St. Mary", {"St Mary"}},
      {"Cats etc. are", {"Cats etc are"}},
      {"Cats etc. Dogs are", {"Cats etc", "Dogs are"}},
      {"Cats etc., dogs", {"Cats etc dogs"}},
      {"at 5 p.m. today", {"at 5 p.m today"}},
      {"at 5 p.m. Then", {"at 5 p.m", "Then"}},
      {"Jan. 5 was", {"Jan 5 was"}},
      {"No. 5 is", {"No 5 is"}},
      {"No. Five is", {"No", "Five is"}},
      {"etc.", {"etc"}},
  });
}

TEST(Sentences, EndAtEmptyLines) {
  expectOutlines({
      {"Title\n\nText", {"Title", "Text"}},
      {"Title\n \t\nText", {"Title", "Text"}},
      {"Title\r\n\r\nText", {"Title", "Text"}},
      {"Title\r\rText", {"Title", "Text"}},
      {"One\nline\r\nmore\rend", {"One line more end"}},
      {"Title\n<b>\nText", {"Title", "Text"}},
      {"\n\nText\n\n\n\n", {"Text"}},
      {"Mr.\n\nSmith", {"Mr", "Smith"}},
      {"<mark name='1'/>\n\nText", {"<1> Text"}},
  });
}

TEST(Sentences, EndAcrossTags) {
  expectOutlines({
      {"One.</b> Two", {"One", "Two"}},
      {"One.<b>Two", {"One", "Two"}},
      {"<b>One.</b><b>Two.</b>", {"One", "Two"}},
      {"One.<b/>com", {"One.com"}},
      {"3.<b/>14", {"3.14"}},
      {"\"One.<b/>\" Two", {"One", "Two"}},
      {"\"One<b/>.\" Two", {"One", "Two"}},
      {"etc.<b/> are", {"etc are"}},
      {"etc.<b/>\" Are", {"etc", "Are"}},
      {"One.<!-- x -->Two", {"One", "Two"}},
  });
}

TEST(Sentences, HavePositions) {
  const std::string text = "  \"One two.\"  <b>Three</b>!  ";
  const auto sentences = read(text);
  ASSERT_EQ(sentences.size(), 2u);
  EXPECT_EQ(textOf(sentences[0], text), "\"One two.\"");
  EXPECT_EQ(textOf(sentences[1], text), "Three</b>!");
  for (const Sentence& sentence : sentences) EXPECT_TRUE(sentence.begins && sentence.ends);
}

TEST(Words, HaveTheRangeOfTheirTokenWithoutPunctuation) {
  const std::string text = "(hello), C++ - &quot;AT&amp;T&quot; &#67;afe\xE9!";
  const auto all = items(text);
  ASSERT_EQ(all.size(), 5u);
  EXPECT_EQ(textOf(all[0], text), "hello");
  EXPECT_EQ(all[0].text, L"(hello),");
  EXPECT_EQ(textOf(all[1], text), "C++");
  EXPECT_EQ(textOf(all[2], text), "-");
  EXPECT_FALSE(all[2].reported);
  EXPECT_EQ(textOf(all[3], text), "AT&amp;T");
  EXPECT_EQ(all[3].name, "AT&T");
  EXPECT_EQ(all[3].text, L"\"AT&T\"");
  EXPECT_EQ(textOf(all[4], text), "&#67;afe\xE9");
  EXPECT_EQ(all[4].name, "Cafe\xE9");
  EXPECT_EQ(all[4].text, L"Cafe\u00E9!");
}

TEST(Words, AreUnicode) {
  const auto all = items("\xA4\xA6\xA8\xB4\xB8\xBC\xBD\xBE\xFF");
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0].text, L"\u20AC\u0160\u0161\u017D\u017E\u0152\u0153\u0178\u00FF");
}

TEST(Words, AreSeparatedByAllBlanks) {
  using namespace std::string_literals;
  EXPECT_EQ(outline("a\0b\x01"
                    "c\x7F"
                    "d\x80"
                    "e\x9F"
                    "f\xA0g&#8195;h&#0;i"s),
            Lines{"a b c d e f g h i"});
}

TEST(Words, ContinueAfterTags) {
  expectOutlines({
      {"a<b>c</b>d e", {"acd e"}},
      {"<b>a</b>b <b>c </b>d", {"ab c d"}},
      {"a<!-- -->b", {"ab"}},
      {"a<![CDATA[b &amp; c]]>d", {"ab &amp cd"}},
      {"a<prosody rate='300'>b</prosody>c", {"abc"}},
      {"fo</emphasis>x", {"fox"}},
      {"AT<b>&amp;</b>T", {"AT&T"}},
  });
}

TEST(Words, EndAtBreaksAndPhonemes) {
  expectOutlines({
      {"a<break time='5ms'/>b", {"a *5 b"}},
      {"a<phoneme ph='b'>c</phoneme>d", {"a /b/c d"}},
  });
}

TEST(Words, HaveTheRangeOfTheirTokenWithTheTagsInside) {
  const std::string text = "a (fo</emphasis>x), b";
  const auto all = items(text);
  ASSERT_EQ(all.size(), 3u);
  EXPECT_EQ(textOf(all[1], text), "fo</emphasis>x");
  EXPECT_EQ(all[1].name, "fox");
  EXPECT_EQ(all[1].text, L"(fox),");
}

TEST(Words, AreSpokenInTheWayOfMostOfTheirLetters) {
  const auto styleOf = [](const char* text) { return items(text).at(0).style; };
  EXPECT_EQ(styleOf("a<prosody rate='300'>bcd</prosody>e").rate, 300);
  EXPECT_EQ(styleOf("abc<prosody rate='300'>d e</prosody>").rate, Style::kUnset);
  EXPECT_EQ(styleOf("<prosody pitch='90Hz'>ab</prosody><prosody pitch='80Hz'>cd</prosody>").pitch,
            90);
  EXPECT_TRUE(styleOf("abso<emphasis strength='strong'>l</emphasis>utely").emphasis);
  EXPECT_EQ(items("abc<prosody rate='300'>d e</prosody>").at(1).style.rate, 300);
}

TEST(Words, ThatAreSpeltInPartAreReportedOnce) {
  const std::string text = "id-<say-as type='spell-out'>abc</say-as>, x";
  const auto all = items(text);
  ASSERT_EQ(all.size(), 4u);
  EXPECT_EQ(all[0].text, L"id-");
  EXPECT_FALSE(all[0].style.spellOut);
  EXPECT_TRUE(all[0].reported);
  EXPECT_EQ(textOf(all[0], text), "id-<say-as type='spell-out'>abc");
  EXPECT_EQ(all[1].text, L"abc");
  EXPECT_TRUE(all[1].style.spellOut);
  EXPECT_FALSE(all[1].reported);
  EXPECT_EQ(textOf(all[1], text), textOf(all[0], text));
  EXPECT_EQ(all[2].text, L",");
  EXPECT_FALSE(all[2].reported);
}

TEST(Words, AreReportedWithThePartWhereTheyBegin) {
  const auto all = items("(<say-as interpret-as='digits'>42</say-as>)");
  ASSERT_EQ(all.size(), 3u);
  EXPECT_FALSE(all[0].reported);
  EXPECT_TRUE(all[1].reported);
  EXPECT_FALSE(all[2].reported);
  EXPECT_EQ(all[1].name, "42");
}

TEST(Words, AreSplitWhenTheyAreTooLong) {
  const std::string text = std::string(SentenceReader::kMaxTokenBytes, 'a') + "bc";
  const auto all = items(text + " d");
  ASSERT_EQ(all.size(), 3u);
  EXPECT_EQ(all[0].length, SentenceReader::kMaxTokenBytes);
  EXPECT_EQ(textOf(all[1], text), "bc");
  EXPECT_EQ(items(std::string(SentenceReader::kMaxTokenBytes, 'a')).size(), 1u);
}

TEST(Styles, HoldForTheWordsInside) {
  const auto all = items(
      "a <prosody rate='100'>b <prosody volume='0'>c</prosody> d</prosody> e "
      "<say-as type='spell-out'>f</say-as> <say-as interpret-as='digits'>7</say-as> "
      "<emphasis strength='strong'>g</emphasis> h");
  ASSERT_EQ(all.size(), 9u);
  EXPECT_EQ(all[0].style, Style());
  EXPECT_EQ(all[1].style.rate, 100);
  EXPECT_EQ(all[2].style.rate, 100);
  EXPECT_EQ(all[2].style.volume, 0);
  EXPECT_EQ(all[3].style, all[1].style);
  EXPECT_EQ(all[4].style, Style());
  EXPECT_TRUE(all[5].style.spellOut);
  EXPECT_TRUE(all[6].style.digits);
  EXPECT_TRUE(all[7].style.emphasis);
  EXPECT_EQ(all[8].style, Style());
}

TEST(Styles, ContinueInTheNextSentence) {
  const auto all = items("<prosody rate='100'>One. Two.</prosody> Three.");
  ASSERT_EQ(all.size(), 3u);
  EXPECT_EQ(all[1].style.rate, 100);
  EXPECT_EQ(all[2].style.rate, Style::kUnset);
}

TEST(Marks, AreReportedOnceInOrder) {
  expectOutlines({
      {"<mark name='1'/>", {"<1>"}},
      {"<mark name='1'/><mark name='2'/>a", {"<1> <2> a"}},
      {"a <mark name='1'/> b", {"a <1> b"}},
      {"a. <mark name='1'/> B", {"a", "<1> B"}},
      {"a.<mark name='1'/> B", {"a <1>", "B"}},
      {"a.<mark name='1'/>B", {"a <1>", "B"}},
      {"a. <mark name='1'/>", {"a", "<1>"}},
      {"a.<mark name='1'/>", {"a <1>"}},
      {"a<mark name='1'></mark>b<mark name='2'>c</mark>", {"abc <1> <2>"}},
      {"etc. <mark name='1'/> Then", {"etc <1>", "Then"}},
      {"<mark/>a", {"<> a"}},
      {"<mark name=7/><mark name=\"8\"/>", {"<7> <8>"}},
      {"<mark name='&lt;&#65;'/>", {"<<A>"}},
      {"<prosody rate='1'><mark name='1'/></prosody>", {"<1>"}},
  });
}

TEST(Marks, HaveTheRangeOfTheirTag) {
  const std::string text = "a <mark  name='65536' /> b";
  const auto all = items(text);
  ASSERT_EQ(all.size(), 3u);
  EXPECT_EQ(textOf(all[1], text), "<mark  name='65536' />");
  EXPECT_EQ(all[1].name, "65536");
}

TEST(Marks, InsideAWordBelongToTheWord) {
  const auto all = items("(a<mark name='1'/>b<mark name='2'/>c<mark name='3'/> d");
  ASSERT_EQ(all.size(), 5u);
  EXPECT_EQ(all[0].name, "abc");
  EXPECT_DOUBLE_EQ(all[1].share, 0.5);
  EXPECT_DOUBLE_EQ(all[2].share, 0.75);
  EXPECT_DOUBLE_EQ(all[3].share, 1);
}

TEST(Marks, BeforeAWordPrecedeItEvenAfterAQuote) {
  expectOutlines({{"\"<mark name='1'/>Hello<mark name='2'/>,\" x", {"<1> Hello <2> x"}}});
}

TEST(Marks, ThatAreTooManyForAWordEndIt) {
  std::string text = "a";
  for (int i = 0; i < 1000; ++i) text += "<mark name='1'/>";
  const auto all = items(text + "b");
  EXPECT_EQ(all.size(), 1002u);
  EXPECT_EQ(all.back().name, "b");
}

TEST(Marks, AfterTheLastSentenceBeginNoSentence) {
  const std::string text = "One. <mark name='1'/><break time='1s'/> ";
  const auto sentences = read(text);
  ASSERT_EQ(sentences.size(), 2u);
  EXPECT_TRUE(sentences[0].begins && sentences[0].ends);
  EXPECT_FALSE(sentences[1].begins);
  EXPECT_FALSE(sentences[1].ends);
  EXPECT_EQ(textOf(sentences[1], text), "<mark name='1'/><break time='1s'/>");
}

TEST(Breaks, HaveTheirTime) {
  expectOutlines({
      {"a <break time='500ms'/> b", {"a *500 b"}},
      {"a<break time='1.5s'/>b", {"a *1500 b"}},
      {"a <break time='1.5e3ms'/> b", {"a *1500 b"}},
      {"<break/>a<break time='soon'/>", {"*0 a *0"}},
      {"<break time='1e9s'/>", {"*600000"}},
      {"a. <break time='5ms'/>B", {"a", "*5 B"}},
  });
}

TEST(Phonemes, HaveTheRangeOfTheirContent) {
  const std::string text = "say <phoneme ph='d ae1 t'> that &amp; this </phoneme> now";
  const auto all = items(text);
  ASSERT_EQ(all.size(), 3u);
  EXPECT_EQ(all[1].kind, Item::Kind::Phones);
  EXPECT_EQ(all[1].phones, (std::vector<Phone>{{"d", -1}, {"ae", 1}, {"t", -1}}));
  EXPECT_EQ(textOf(all[1], text), "that &amp; this");
  EXPECT_EQ(all[1].name, "that & this");
  EXPECT_TRUE(all[1].reported);
}

TEST(Phonemes, AreSpokenInsteadOfTheirContent) {
  expectOutlines({
      {"a <phoneme ph='b'>c. D</phoneme> e", {"a /b/c. D e"}},
      {"a <phoneme ph=''>c</phoneme> e", {"a e"}},
      {"a <phoneme>c</phoneme> e", {"a e"}},
      {"a <phoneme ph='qq'>c</phoneme> e", {"a e"}},
      {"a <phoneme ph='b qq d'>c</phoneme> e", {"a /bd/c e"}},
      {"a <phoneme ph='b'/> e", {"a /b/ e"}},
      {"a <phoneme ph='b'></phoneme> e", {"a /b/ e"}},
      {"a <phoneme ph='b'>c", {"a /b/c"}},
      {"a <phoneme ph='b'>c<b>d</b></phoneme> e", {"a /b/cd e"}},
      {"a <phoneme ph='b'>c<phoneme ph='d'>x</phoneme>y</phoneme>e", {"a /b/cxy e"}},
      {"<prosody rate='1'><phoneme ph='b'>c</prosody>d", {"/b/c d"}},
      {"a <phoneme ph='b'>c</phoneme>. D", {"a /b/c (.)", "D"}},
      {"At.<phoneme ph='b'>c</phoneme>", {"At", "/b/c"}},
      {"One\n\n<phoneme ph='b'>c\n\nd</phoneme>", {"One", "/b/c  d"}},
  });
}

TEST(Phonemes, KeepTheMarksAndBreaksInside) {
  expectOutlines({
      {"<phoneme ph='b'>c<mark name='1'/>d<break time='5ms'/></phoneme>e", {"/b/cd <1> *5 e"}},
      {"<phoneme ph=''>c<mark name='1'/>d</phoneme>e", {"<1> e"}},
  });
}

TEST(Phonemes, HaveTheStyleAroundThem) {
  const auto all = items("<prosody rate='9'><phoneme ph='b'>c</phoneme>d</prosody>");
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all[0].style.rate, 9);
  EXPECT_EQ(all[1].style.rate, 9);
}

TEST(Phonemes, HaveTheStyleThatTheirContentBeginsWith) {
  const auto all = items(
      "<prosody rate='9'><phoneme ph='b'> <prosody rate='5'>c</prosody>"
      "<prosody rate='6'>d</prosody></phoneme>e</prosody>");
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all[0].style.rate, 5);
  EXPECT_EQ(all[1].style.rate, 9);
}

TEST(Phonemes, WithoutContentReportNoWord) {
  const auto all = items("<phoneme ph='b'/><phoneme ph='d'> </phoneme>");
  ASSERT_EQ(all.size(), 2u);
  for (const Item& item : all) {
    EXPECT_FALSE(item.reported);
    EXPECT_EQ(item.length, 0u);
  }
}

TEST(LongSentences, AreSplit) {
  std::string text;
  while (text.size() < 3 * SentenceReader::kMaxSentenceBytes) text += "word, ";
  text += "end. Next.";
  const auto sentences = read(text);
  ASSERT_GE(sentences.size(), 5u);
  for (std::size_t i = 0; i + 1 < sentences.size(); ++i) {
    EXPECT_LE(sentences[i].length, SentenceReader::kMaxSentenceBytes);
    EXPECT_EQ(sentences[i].begins, i == 0);
    EXPECT_EQ(sentences[i].ends, i + 2 == sentences.size());
    EXPECT_EQ(text[sentences[i].start + sentences[i].length], ' ');
  }
  EXPECT_TRUE(sentences.back().begins && sentences.back().ends);
  EXPECT_EQ(textOf(sentences.back(), text), "Next.");
}

TEST(LongSentences, AreAlsoSplitBeforeAMark) {
  std::string text = "begin ";
  while (text.size() < SentenceReader::kMaxSentenceBytes - 100) text += "<mark name='1'/>";
  const std::size_t first = items(text).size();
  while (text.size() < 2 * SentenceReader::kMaxSentenceBytes) text += "<mark name='1'/>";
  text += " end.";
  const auto sentences = read(text);
  ASSERT_GE(sentences.size(), 2u);
  EXPECT_GE(sentences[0].items.size(), first);
  EXPECT_TRUE(sentences[0].begins);
  EXPECT_FALSE(sentences[0].ends);
  EXPECT_FALSE(sentences.back().begins);
  EXPECT_TRUE(sentences.back().ends);
}

TEST(LongSentences, ShortenTheRangeOfOverlongPhonemes) {
  const std::string text = "<phoneme ph='b'>" + std::string(200000, 'x') + "</phoneme> after.";
  const auto sentences = read(text);
  ASSERT_EQ(sentences.size(), 2u);
  ASSERT_EQ(sentences[0].items.size(), 1u);
  EXPECT_LE(sentences[0].items[0].length, SentenceReader::kMaxSentenceBytes);
  EXPECT_EQ(sentences[0].items[0].name.size(), sentences[0].items[0].length);
  EXPECT_FALSE(sentences[1].begins);
  ASSERT_EQ(sentences[1].items.size(), 1u);
  EXPECT_EQ(sentences[1].items[0].name, "after");
}

TEST(BrokenMarkup, LosesNoWord) {
  expectOutlines({
      {"if x<y then z>w", {"if x<y then z>w"}},
      {"a <b", {"a <b"}},
      {"a <prosody rate='1' b", {"a <prosody rate='1 b"}},
      {"a </> b <> c", {"a </> b <> c"}},
      {"a & b &lt c &foo; d", {"a & b &lt c &foo d"}},
      {"a <!-- b", {"a < b"}},
      {"</prosody></b>a</prosody>", {"a"}},
      {"<mark name='1'>a</b>", {"<1> a"}},
  });
}

}  // namespace
}  // namespace kavrel
