// SPDX-License-Identifier: Apache-2.0
//
// The token stream of the engine library.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cst.h"

namespace {

using Words = std::vector<std::string>;

struct Sets {
  const char* blanks = nullptr;
  const char* symbols = nullptr;
  const char* before = nullptr;
  const char* after = nullptr;
};

Words read(const char* string, const Sets& sets) {
  Words words;
  cst_tokenstream* stream =
      ts_open_string(string, sets.blanks, sets.symbols, sets.before, sets.after);
  while (ts_eof(stream) == 0) words.emplace_back(ts_get(stream));
  EXPECT_STREQ(ts_get(stream), "") << "at the end";
  EXPECT_EQ(ts_eof(stream), 1);
  ts_close(stream);
  return words;
}

}  // namespace

TEST(TokenStream, SeparatesWordsAtBlanks) {
  const std::pair<const char*, Words> rows[] = {
      {"one two", {"one", "two"}},
      {"  one\t\ttwo\r\nthree\n", {"one", "two", "three"}},
      {"", {}},
      {" \t\r\n ", {}},
      {"one", {"one"}},
      {"one\vtwo", {"one\vtwo"}},
      {"\xE9t\xE9 \xFF", {"\xE9t\xE9", "\xFF"}},
  };
  for (const auto& [string, words] : rows) EXPECT_EQ(read(string, {}), words) << string;
}

TEST(TokenStream, UsesTheSetsItIsGiven) {
  EXPECT_EQ(read("a,b c", {.blanks = ","}), (Words{"a", "b c"}));
  EXPECT_EQ(read("a+b", {.symbols = "+"}), (Words{"a", "+", "b"}));
  EXPECT_EQ(read("(a) (b", {.before = "("}), (Words{"a)", "b"}));
  EXPECT_EQ(read("(a) b)", {.after = ")"}), (Words{"(a", "b"}));
  EXPECT_EQ(read("\xE4x\xE4", {.before = "\xE4", .after = "\xE4"}), (Words{"x"}));
}

TEST(TokenStream, SplitsCommands) {
  const Sets sets{.symbols = "+-", .before = "[];", .after = "[];"};
  const std::pair<const char*, Words> rows[] = {
      {"[[rate 200]]", {"rate", "200"}},
      {"[[rate +10]]", {"rate", "+", "10"}},
      {"[[pbas -5]]", {"pbas", "-", "5"}},
      {"[[emph +]]", {"emph", "+", ""}},
      {"; pbas 50]]", {"", "pbas", "50"}},
      {"[[sync 0x1A2B]]", {"sync", "0x1A2B"}},
      {"[[ slnc 5000 ]]", {"", "slnc", "5000", ""}},
      {"[[volm --0.5]]", {"volm", "-", "-", "0.5"}},
      {"[[]]", {""}},
      {"a]b", {"a]b"}},
      {"+-", {"+", "-"}},
  };
  for (const auto& [string, words] : rows) EXPECT_EQ(read(string, sets), words) << string;
}

TEST(TokenStream, KeepsASymbolThatIsPunctuationToo) {
  EXPECT_EQ(read("a;b", {.symbols = ";", .before = ";", .after = ";"}), (Words{"a", ";", "b"}));
}

TEST(TokenStream, ReturnsWordsOfEveryLength) {
  for (const size_t length : {1u, 62u, 63u, 64u, 65u, 127u, 128u, 129u, 1000u, 100000u}) {
    const std::string word(length, 'w');
    const std::string twice(2 * length, 'w');
    std::string text = word;
    text.append(" x ").append(twice);
    EXPECT_EQ(read(text.c_str(), {}), (Words{word, "x", twice}));
  }
}

TEST(TokenStream, ReturnsNoWordAtTheEndWhenOnlyBlanksAreLeft) {
  cst_tokenstream* stream = ts_open_string("one  ", nullptr, nullptr, nullptr, nullptr);
  EXPECT_EQ(ts_eof(stream), 0);
  EXPECT_STREQ(ts_get(stream), "one");
  EXPECT_EQ(ts_eof(stream), 1);
  ts_close(stream);
}

TEST(TokenStream, TreatsNullAsEmpty) {
  EXPECT_EQ(read(nullptr, {}), Words{});
  EXPECT_EQ(ts_eof(nullptr), 1);
  EXPECT_STREQ(ts_get(nullptr), "");
  ts_close(nullptr);
}
