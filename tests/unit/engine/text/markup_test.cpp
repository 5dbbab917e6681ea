// SPDX-License-Identifier: Apache-2.0
//
// The markup scanner: what is a tag and what is text; no input loses a byte or takes more than
// linear time.
#include "text/markup.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace kavrel {
namespace {

// Text unchanged, "{name}" for a start tag, "{name/}" for an empty element, "{/name}" for an end
// tag, "{}" for other markup. Also checks that the events cover every byte once.
std::string scan(std::string_view text) {
  MarkupScanner scanner(text);
  std::string seen;
  std::size_t at = 0;
  for (MarkupEvent event = scanner.next(); event.kind != MarkupEvent::Kind::End;
       event = scanner.next()) {
    EXPECT_EQ(event.start, at);
    EXPECT_GT(event.end, event.start);
    at = event.end;
    switch (event.kind) {
      case MarkupEvent::Kind::Character:
        append(seen, event.character, Encoding::Latin9);
        break;
      case MarkupEvent::Kind::StartTag:
        seen += '{' + std::string(event.name) + (event.empty ? "/}" : "}");
        break;
      case MarkupEvent::Kind::EndTag:
        seen += "{/" + std::string(event.name) + '}';
        break;
      default:
        seen += "{}";
    }
  }
  EXPECT_EQ(at, text.size());
  EXPECT_EQ(scanner.next().kind, MarkupEvent::Kind::End);
  return seen;
}

// Checks that the events cover every byte once, cheaply enough for long texts.
void walk(std::string_view text) {
  MarkupScanner scanner(text);
  std::size_t covered = 0;
  bool gapless = true;
  for (MarkupEvent event = scanner.next(); event.kind != MarkupEvent::Kind::End;
       event = scanner.next()) {
    gapless = gapless && event.start == covered && event.end > covered;
    covered = event.end;
  }
  EXPECT_TRUE(gapless && covered == text.size());
}

std::optional<std::string> attribute(std::string_view tag, std::string_view name) {
  MarkupScanner scanner(tag);
  const MarkupEvent event = scanner.next();
  EXPECT_EQ(event.kind, MarkupEvent::Kind::StartTag) << tag;
  EXPECT_EQ(event.end, tag.size()) << tag;
  return event.attribute(name);
}

std::string repeated(std::string_view piece, std::size_t bytes = 1 << 20) {
  std::string text;
  while (text.size() < bytes) text += piece;
  return text;
}

struct Row {
  const char* text;
  const char* seen;
};

void expectSeen(std::initializer_list<Row> rows) {
  for (const Row& row : rows) EXPECT_EQ(scan(row.text), row.seen) << row.text;
}

TEST(MarkupScanner, RecognisesTags) {
  expectSeen({
      {"", ""},
      {"plain", "plain"},
      {"a<b>c</b>d", "a{b}c{/b}d"},
      {"<mark name='1'/>", "{mark/}"},
      {"<mark name='1' />", "{mark/}"},
      {"<say-as type=\"x\" interpret-as='y'>", "{say-as}"},
      {"<a\n\tb = 'c'\r\n>", "{a}"},
      {"</a >", "{/a}"},
      {"<a:b.c-d_9>", "{a:b.c-d_9}"},
      {"<a b=c/>", "{a/}"},
      {"<a b=c/d>", "{a}"},
      {"<a b=>", "{a}"},
      {"<a b='>'>", "{a}"},
      {"<a b='/>'/>", "{a/}"},
      {"<a/><b/>", "{a/}{b/}"},
  });
}

TEST(MarkupScanner, TreatsInvalidTagsAsText) {
  expectSeen({
      {"a < b", "a < b"},
      {"a <b", "a <b"},
      {"<", "<"},
      {"<>", "<>"},
      {"</>", "</>"},
      {"</", "</"},
      {"</ a>", "</ a>"},
      {"<1>", "<1>"},
      {"<<a>", "<{a}"},
      {"<a", "<a"},
      {"<a b='c'", "<a b='c'"},
      {"<a b='c", "<a b='c"},
      {"<a b<c>", "<a b{c}"},
      {"<a b='<'>", "<a b='<'>"},
      {"if x<y and z>w", "if x<y and z>w"},
      {"x <b c> d", "x <b c> d"},
      {"<a / >", "<a / >"},
      {"</a b='c'>", "</a b='c'>"},
      {"a > b", "a > b"},
  });
}

TEST(MarkupScanner, SkipsCommentsInstructionsAndDocumentTypes) {
  expectSeen({
      {"a<!-- b <c> -- > -->d", "a{}d"},
      {"<!---->x", "{}x"},
      {"<?xml version='1.0'?>x", "{}x"},
      {"<!DOCTYPE speak>x", "{}x"},
      {"<!DOCTYPE speak [<!ENTITY a 'b'>]>x", "{}x"},
      {"a<![CDATA[b <c> &amp; ]] ]>]]>d", "a{}b <c> &amp; ]] ]>{}d"},
      {"<![CDATA[]]>", "{}{}"},
      {"<![CDATA[a]]><![CDATA[b]]>", "{}a{}{}b{}"},
  });
}

TEST(MarkupScanner, KeepsUnclosedMarkup) {
  expectSeen({
      {"a<!-- b", "a<!-- b"},
      {"<!-->", "<!-->"},
      {"<!-- <b>x", "<!-- {b}x"},
      {"<?xml <b>", "<?xml {b}"},
      {"<? b ?>", "<? b ?>"},
      {"<!DOCTYPE a", "<!DOCTYPE a"},
      {"<!DOCTYPE a [b", "<!DOCTYPE a [b"},
      {"<!DOCTYPE <b>", "<!DOCTYPE {b}"},
      {"<![CDATA[a<b>", "<![CDATA[a{b}"},
      {"<!", "<!"},
      {"<![CDATA", "<![CDATA"},
      {"]]>", "]]>"},
  });
}

TEST(MarkupScanner, ResolvesEntities) {
  expectSeen({
      {"&lt;&gt;&amp;&quot;&apos;", "<>&\"'"},
      {"&lt;a&gt;", "<a>"},
      {"&#65;&#x42;&#X43;&#x20AC;&#8364;&#xe9;", "ABC\xA4\xA4\xE9"},
      {"&amp;lt;", "&lt;"},
      {"&#00000000000000000000065;", "A"},
  });
}

TEST(MarkupScanner, TreatsUnknownEntitiesAsText) {
  for (const char* text : {"&",
                           "&&",
                           "&;",
                           "&lt",
                           "&lt ;",
                           "&nbsp;",
                           "&LT;",
                           "&#;",
                           "&#x;",
                           "&#-5;",
                           "&#+5;",
                           "&#6 5;",
                           "&#xD800;",
                           "&#x110000;",
                           "&#99999999999999999999;",
                           "&#x1p4;",
                           "&l",
                           "R&D; x",
                           "&#000000000000000000000000000000065;",
                           "&&&&&lt"}) {
    EXPECT_EQ(scan(text), text);
  }
}

TEST(MarkupScanner, CountsAllBytesOfEntities) {
  MarkupScanner scanner("a&amp;b");
  scanner.next();
  const MarkupEvent event = scanner.next();
  EXPECT_EQ(event.character, U'&');
  EXPECT_EQ(event.start, 1u);
  EXPECT_EQ(event.end, 6u);
}

TEST(MarkupScanner, ReadsAttributesInEveryForm) {
  EXPECT_EQ(attribute("<a b='1' c=\"2\" d=3>", "b"), "1");
  EXPECT_EQ(attribute("<a b='1' c=\"2\" d=3>", "c"), "2");
  EXPECT_EQ(attribute("<a b='1' c=\"2\" d=3>", "d"), "3");
  EXPECT_EQ(attribute("<a b='1'>", "a"), std::nullopt);
  EXPECT_EQ(attribute("<a b='1' b='2'>", "b"), "1");
  EXPECT_EQ(attribute("<a xb='1' b='2'>", "b"), "2");
  EXPECT_EQ(attribute("<a b=''>", "b"), "");
  EXPECT_EQ(attribute("<a b=>", "b"), "");
  EXPECT_EQ(attribute("<a b=3/>", "b"), "3");
  EXPECT_EQ(attribute("<a b='x y' c='d'>", "b"), "x y");
  EXPECT_EQ(attribute("<a b = 'x'>", "b"), "x");
  EXPECT_EQ(attribute("<a b='c=\"d\"'>", "b"), "c=\"d\"");
  EXPECT_EQ(attribute("<a b='&lt;&#65;&quot;&unknown;'>", "b"), "<A\"&unknown;");
  EXPECT_EQ(attribute("<a b='\xE9\xA4'>", "b"), "\xE9\xA4");
}

TEST(MarkupScanner, KeepsStrayQuotesInsideTheValue) {
  EXPECT_EQ(attribute("<break time='5'00ms'/>", "time"), "5'00ms");
  EXPECT_EQ(attribute("<break time=''ms'/>", "time"), "'ms");
  EXPECT_EQ(attribute("<break time='\"ms'/>", "time"), "\"ms");
  EXPECT_EQ(attribute("<break time='='x=\"ms'/>", "time"), "='x=\"ms");
  EXPECT_EQ(attribute("<break time='5'/6ms'/>", "time"), "5'/6ms");
  EXPECT_EQ(attribute("<break time='500ms/>", "time"), "'500ms");
  EXPECT_EQ(attribute("<break time=500ms'/>", "time"), "500ms'");
}

TEST(MarkupScanner, ConvertsBytesToUnicode) {
  const std::pair<unsigned char, char32_t> special[] = {
      {0xA4, 0x20AC}, {0xA6, 0x160}, {0xA8, 0x161}, {0xB4, 0x17D},
      {0xB8, 0x17E},  {0xBC, 0x152}, {0xBD, 0x153}, {0xBE, 0x178}};
  for (const auto& [byte, character] : special) {
    const std::string text(1, static_cast<char>(byte));
    EXPECT_EQ(MarkupScanner(text).next().character, character);
  }
  // Every other byte, and back.
  for (unsigned value = 1; value < 256; ++value) {
    const std::string text(1, static_cast<char>(value));
    const char32_t character = MarkupScanner(text).next().character;
    const bool isSpecial = std::any_of(std::begin(special), std::end(special),
                                       [=](const auto& row) { return row.first == value; });
    if (!isSpecial) {
      EXPECT_EQ(character, value);
    }
    std::string back;
    append(back, character, Encoding::Latin9);
    EXPECT_EQ(back, text);
  }
  for (const char32_t none : {0xA4u, 0xBEu, 0x100u, 0x10FFFFu}) {
    std::string form;
    append(form, none, Encoding::Latin9);
    EXPECT_EQ(form, "?");
  }
}

TEST(MarkupScanner, ConvertsCharactersWithoutAByteToTheirPlainForm) {
  EXPECT_EQ(scan("&#8217;&#8220;&#8212;&#8230;&#9731;&#0;"), "'\"-...??");
}

// A scanner that searches repeatedly for an end that does not exist takes quadratic time for these,
// and exceeds the time limit of the test.
TEST(MarkupScanner, ReadsHostileTextsInLinearTime) {
  for (const char* piece :
       {"<",    "<a",  "<a ",  "<a b='",  "<a b=\"",   "<a b='c\"",   "<a b='<a b=\"",
        "</",   "</a", "<!--", "<!-- --", "<![CDATA[", "<?x",         "<!a",
        "<!a[", "&",   "&#",   "&#0",     "&lt",       "'",           "a=' ",
        "]]>",  "<a>", "</a>", "<a/>",    "<!-- -->",  "<![CDATA[]]>"}) {
    walk(repeated(piece));
    walk("<a " + repeated(piece));
    walk("<a b='" + repeated(piece) + "'>");
  }
  walk("<a" + repeated(" b='c\" d=\"e'f"));
  walk("<a" + repeated(" b='c"));
  walk("<" + repeated("a"));
  walk("<a" + repeated(" "));
  walk("<a" + repeated(" b='c'") + ">");
}

}  // namespace
}  // namespace kavrel
