// SPDX-License-Identifier: Apache-2.0
//
// The range of a word in its token, and which tokens end a sentence.
#include "text/words.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace kavrel {
namespace {

std::vector<Letter> letters(std::u32string_view text) {
  std::vector<Letter> token;
  for (const char32_t character : text) token.push_back({character, token.size(), 1});
  return token;
}

std::u32string word(std::u32string_view text) {
  const std::vector<Letter> token = letters(text);
  std::u32string found;
  for (const Letter& letter : wordOf(token)) found += letter.character;
  return found;
}

Stop stop(std::u32string_view text) {
  return stopOf(letters(text));
}

TEST(WordOf, OmitsSurroundingPunctuation) {
  const std::pair<const char32_t*, const char32_t*> rows[] = {
      {U"hello", U"hello"},
      {U"(hello),", U"hello"},
      {U"\"What?!\"", U"What"},
      {U"[[x]]", U"x"},
      {U"don't", U"don't"},
      {U"'tis", U"tis"},
      {U"dogs'", U"dogs"},
      {U"well-known", U"well-known"},
      {U"--dash--", U"dash"},
      {U"*bold*", U"bold"},
      {U"e.g.", U"e.g"},
      {U"example.com.", U"example.com"},
      {U"\u201Cquoted\u201D\u2026", U"quoted"},
      {U"\u00ABmot\u00BB", U"mot"},
      {U"\u00BFqu\u00E9?", U"qu\u00E9"},
      {U"and/or/", U"and/or"},
  };
  for (const auto& [token, expected] : rows) EXPECT_EQ(word(token), expected);
}

TEST(WordOf, KeepsWhatIsSpoken) {
  for (const char32_t* token :
       {U"C++",     U"C#",   U"50%",   U"#1",    U"@home", U"a@b.c", U"$5",   U"\u00A35",
        U"5\u20AC", U"&",    U"%",     U"+",     U"=",     U"@",     U"AT&T", U"1+1=2",
        U"<",       U"3.14", U"1,000", U"12:30", U"-5",    U"-$5",   U".5",   U"-.5"}) {
    EXPECT_EQ(word(token), token);
  }
  EXPECT_EQ(word(U"(C++),"), U"C++");
  EXPECT_EQ(word(U"(-5)."), U"-5");
  EXPECT_EQ(word(U"-five-"), U"five");
}

TEST(WordOf, IsEmptyForPunctuation) {
  for (const char32_t* token : {U".", U"...", U"-", U"\u2014", U"?!", U"()", U"\"", U"\u2026"}) {
    EXPECT_EQ(word(token), U"");
  }
}

TEST(StopOf, EndsSentences) {
  for (const char32_t* token : {U"end.", U"end!", U"end?", U"end\u2026", U"end...", U"end?!",
                                U"end.)", U"end.\"", U"end!\u201D", U"end.')", U".", U"...", U"?",
                                U"(end.)", U"2.", U"pretty.", U"I.", U"x.", U"end.\u00BB"}) {
    EXPECT_EQ(stop(token), Stop::Full);
  }
}

TEST(StopOf, DoesNotEndSentencesElsewhere) {
  for (const char32_t* token : {U"end", U"end,", U"end:", U"end;", U"3.14", U"example.com", U".5",
                                U"", U"\"", U")", U".x", U"end.,"}) {
    EXPECT_EQ(stop(token), Stop::None);
  }
}

TEST(StopOf, RecognisesTitlesAndInitials) {
  for (const char32_t* token : {U"Mr.", U"Mrs.", U"Ms.", U"Dr.", U"St.", U"Prof.", U"vs.", U"e.g.",
                                U"i.e.", U"J.", U"(Mr.", U"(e.g.", U"\u00C9.", U"MR."}) {
    EXPECT_EQ(stop(token), Stop::None);
  }
}

TEST(StopOf, DependsOnTheNextTokenForSomeStops) {
  for (const char32_t* token : {U"etc.", U"etc.)", U"Inc.", U"Jr.", U"a.m.", U"U.S.", U"Jan."}) {
    EXPECT_EQ(stop(token), Stop::UnlessLowerCase);
  }
  for (const char32_t* token : {U"No.", U"pp.", U"Fig.", U"vol."}) {
    EXPECT_EQ(stop(token), Stop::UnlessDigit);
  }
}

TEST(Characters, AreBlankWhenTheyAreControlCharacters) {
  for (char32_t c = 0; c <= 0x20; ++c) EXPECT_TRUE(isBlank(c));
  for (char32_t c = 0x7F; c <= 0xA0; ++c) EXPECT_TRUE(isBlank(c));
  for (const char32_t c : {0x2003u, 0x2028u, 0x3000u, 0xFFFDu}) EXPECT_TRUE(isBlank(c));
  for (const char32_t c : {0x21u, 0x7Eu, 0xA1u, 0xFFu, 0x20ACu, 0x2019u, 0x200Cu, 0xFEFFu})
    EXPECT_FALSE(isBlank(c));
}

}  // namespace
}  // namespace kavrel
