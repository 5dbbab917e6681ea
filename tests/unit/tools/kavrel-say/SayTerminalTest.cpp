// SPDX-License-Identifier: Apache-2.0
//
// kavrel-say on a terminal: the screen while it speaks, and the terminal afterwards.
#include <clocale>
#include <csignal>
#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Screen.h"
#include "TerminalProgram.h"
#include "programs/Program.h"

namespace {

using program::Folder;
using program::Result;
using program::Screen;
using program::TerminalProgram;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

// A silence that is longer than any test.
const std::string kLongSilence = "[[slnc 600000]]";

// The same locale as in the program.
class Locale : public testing::Environment {
 public:
  void SetUp() override { ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr); }
};
[[maybe_unused]] const testing::Environment* const kLocale =
    testing::AddGlobalTestEnvironment(new Locale);

class SayOnATerminal : public testing::Test {
 protected:
  Folder m_folder;
  std::string m_sound = m_folder.file("speech.aiff");
};

void expectTerminalAsBefore(const TerminalProgram& program) {
  EXPECT_TRUE(program.screen().isCursorShown());
  EXPECT_FALSE(program.screen().hasAttribute());
  EXPECT_TRUE(program.echoes());
  EXPECT_EQ(program.screen().unknown(), "");
  EXPECT_EQ(program.screen().cursorColumn(), 0U);
}

auto marks(const std::string& word) {
  return [word](const Screen& screen) { return screen.marked() == word; };
}

// ---- The text

TEST_F(SayOnATerminal, ShowsTheWholeTextAndTheWordBeingSpoken) {
  TerminalProgram say({}, {"-i", "one two " + kLongSilence + " three"});
  ASSERT_TRUE(say.readUntil(marks("two")));
  EXPECT_THAT(say.screen().rows(), ElementsAre("one two " + kLongSilence + " three"));
  EXPECT_FALSE(say.screen().isCursorShown());
  EXPECT_FALSE(say.echoes());
  say.sendSignal(SIGINT);
  EXPECT_EQ(say.finish().signal, SIGINT);
  expectTerminalAsBefore(say);
}

TEST_F(SayOnATerminal, MarksEveryWordInTurnAndEndsWithThePlainText) {
  TerminalProgram say({}, {"-i", "-o", m_sound, "Tea or caf\u00E9?"});
  for (const char* const word : {"Tea", "or", "caf\u00E9"}) {
    EXPECT_TRUE(say.readUntil(marks(word))) << word;
  }
  EXPECT_EQ(say.finish().status, 0);
  EXPECT_THAT(say.screen().rows(), ElementsAre("Tea or caf\u00E9?"));
  EXPECT_EQ(say.screen().marked(), "");
  EXPECT_EQ(say.screen().cursorRow(), 1U);
  expectTerminalAsBefore(say);
}

TEST_F(SayOnATerminal, WrapsBetweenWords) {
  TerminalProgram say({.columns = 12}, {"-i", "-o", m_sound, "the quick brown fox\njumps high-up"});
  EXPECT_EQ(say.finish().status, 0);
  EXPECT_THAT(say.screen().rows(), ElementsAre("the quick", "brown fox", "jumps high-", "up"));
  expectTerminalAsBefore(say);
}

TEST_F(SayOnATerminal, CountsCellsNotBytes) {
  // Nine cells: two for each ideograph, none for the accent.
  TerminalProgram say({.columns = 9},
                      {"-i", "-o", m_sound, "\u65E5\u672C\u8A9E na\u0308 we\U0001F600ll"});
  EXPECT_EQ(say.finish().status, 0);
  EXPECT_THAT(say.screen().rows(), ElementsAre("\u65E5\u672C\u8A9E na\u0308", "we\U0001F600ll"));
}

TEST_F(SayOnATerminal, BreaksAWordThatIsWiderThanTheScreen) {
  TerminalProgram say({.columns = 5, .rows = 10}, {"-i", "a incomprehensible " + kLongSilence});
  EXPECT_TRUE(say.readUntil(marks("incom prehe nsibl e")));
  EXPECT_THAT(say.screen().rows(), ElementsAre("a", "incom", "prehe", "nsibl", "e", "[[sln"));
}

TEST_F(SayOnATerminal, ScrollsTheTextThroughASmallScreen) {
  std::string text;
  for (int i = 1; i <= 30; ++i) text += "row " + std::to_string(i) + " is here\n";
  TerminalProgram say({.columns = 20, .rows = 6}, {"-i", "-o", m_sound, text});
  EXPECT_TRUE(say.readUntil([](const Screen& screen) {
    return screen.marked() == "14" && screen.visibleRows().size() >= 3;
  }));
  // Later rows are shown, too.
  EXPECT_EQ(say.screen().rows().size(), 16U);
  EXPECT_EQ(say.finish().status, 0);
  const auto rows = say.screen().rows();
  ASSERT_EQ(rows.size(), 30U);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(rows[i], "row " + std::to_string(i + 1) + " is here");
  }
  expectTerminalAsBefore(say);
}

TEST_F(SayOnATerminal, IsCorrectOnEveryNarrowScreen) {
  for (const std::size_t columns : {1U, 2U, 3U, 7U}) {
    for (const std::size_t rows : {1U, 2U, 3U}) {
      TerminalProgram say({.columns = columns, .rows = rows},
                          {"-i", "--progress", "-o", m_sound, "\u65E5 ab\tc\n\nde"});
      EXPECT_EQ(say.finish().status, 0) << columns << " by " << rows;
      expectTerminalAsBefore(say);
    }
  }
}

TEST_F(SayOnATerminal, LaysOutTheTextAgainWhenTheScreenChanges) {
  TerminalProgram say({.columns = 40}, {"-i", "one two three four five " + kLongSilence});
  ASSERT_TRUE(say.readUntil(marks("five")));
  const auto hasRows = [](const std::vector<std::string>& rows) {
    return [rows](const Screen& screen) { return screen.visibleRows() == rows; };
  };
  say.resize(11, 24);
  EXPECT_TRUE(say.readUntil(hasRows({"one two", "three four", "five [[slnc", "600000]]"})));
  EXPECT_EQ(say.screen().marked(), "five");
  // Rows that have been spoken are not redrawn.
  say.resize(60, 24);
  EXPECT_TRUE(say.readUntil(hasRows({"one two", "three four", "five " + kLongSilence})));
  EXPECT_EQ(say.screen().marked(), "five");
  say.sendSignal(SIGTERM);
  EXPECT_EQ(say.finish().signal, SIGTERM);
  expectTerminalAsBefore(say);
}

TEST_F(SayOnATerminal, ShowsNoControlSequencesOfTheText) {
  TerminalProgram say({}, {"-i", "-o", m_sound, "a\033[2Jb \x07 c\u0085 d\u202Ee \xFF."});
  EXPECT_EQ(say.finish().status, 0);
  EXPECT_THAT(say.screen().rows(), ElementsAre("a\uFFFD[2Jb \uFFFD c\uFFFD d\uFFFDe \uFFFD."));
  EXPECT_THAT(say.written(), Not(HasSubstr("\033[2J")));
  expectTerminalAsBefore(say);
}

TEST_F(SayOnATerminal, MarksTheWordInTheRequestedStyle) {
  const struct {
    const char* name;
    const char* sequence;
  } cases[] = {{"smul", "\033[4m"},
               {"green", "\033[32m"},
               {"red/white", "\033[31;47m"},
               {"/blue", "\033[44m"},
               {"setaf 208", "\033[38;5;208m"}};
  for (const auto& [name, sequence] : cases) {
    TerminalProgram say({}, {std::string("--interactive=") + name, "-o", m_sound, "hello"});
    EXPECT_EQ(say.finish().status, 0) << name;
    EXPECT_THAT(say.written(), HasSubstr(sequence + std::string("hello\033[0m")));
  }
}

// ---- The bar

TEST_F(SayOnATerminal, ShowsABarThatEndsFull) {
  TerminalProgram say({}, {"--progress", "-o", m_sound, "one two three four five six"});
  EXPECT_TRUE(say.readUntil([](const Screen& screen) {
    return !screen.rows().empty() && screen.rows()[0].find("##---") != std::string::npos;
  }));
  EXPECT_EQ(say.finish().status, 0);
  EXPECT_THAT(say.screen().rows(), ElementsAre(MatchesRegex("\\[#+\\] 100%  0:0[0-9] in all")));
  expectTerminalAsBefore(say);
}

TEST_F(SayOnATerminal, ShowsTheTimeLeft) {
  TerminalProgram say({}, {"--progress", "one, two, three, four, five, six, seven, eight, nine"});
  EXPECT_TRUE(say.readUntil([](const Screen& screen) {
    return !screen.rows().empty() && screen.rows()[0].find("% ") != std::string::npos &&
           screen.rows()[0].find(" left") != std::string::npos;
  }));
}

TEST_F(SayOnATerminal, ShortensTheBarToTheScreen) {
  TerminalProgram narrow({.columns = 9}, {"--progress", "-o", m_sound, "hello there"});
  EXPECT_EQ(narrow.finish().status, 0);
  EXPECT_THAT(narrow.screen().rows(), ElementsAre("100%"));
}

TEST_F(SayOnATerminal, ShowsTheBarBelowTheText) {
  TerminalProgram say({}, {"-i", "--progress", "one two " + kLongSilence + " three"});
  ASSERT_TRUE(say.readUntil(marks("two")));
  EXPECT_THAT(say.screen().rows(), ElementsAre("one two " + kLongSilence + " three",
                                               MatchesRegex("\\[#+-+\\]  1[0-9]%.*")));
}

TEST_F(SayOnATerminal, KeepsTheBarOutOfStandardOutput) {
  const std::string out = m_folder.file("out");
  TerminalProgram say({.standardOutput = out}, {"--progress", "--events", "-o", m_sound, "hello"});
  EXPECT_EQ(say.finish().status, 0);
  EXPECT_THAT(say.screen().rows(), ElementsAre(HasSubstr("100%")));
  EXPECT_THAT(program::contentsOf(out), StartsWith("{\"event\""));
}

// ---- Ending

class SayEnded : public SayOnATerminal, public testing::WithParamInterface<int> {};

TEST_P(SayEnded, BySignalRestoresTheTerminal) {
  TerminalProgram say({}, {"-i", "--progress", "hello " + kLongSilence});
  ASSERT_TRUE(say.readUntil(marks("hello")));
  EXPECT_FALSE(say.echoes());
  say.sendSignal(GetParam());
  EXPECT_EQ(say.finish().signal, GetParam());
  EXPECT_TRUE(say.screen().isCursorShown());
  EXPECT_FALSE(say.screen().hasAttribute());
  EXPECT_TRUE(say.echoes());
}

INSTANTIATE_TEST_SUITE_P(Signals, SayEnded,
                         testing::Values(SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGABRT, SIGSEGV));

TEST_F(SayOnATerminal, EndsWithTheInterruptKey) {
  TerminalProgram say({}, {"-i", "hello " + kLongSilence});
  ASSERT_TRUE(say.readUntil(marks("hello")));
  say.type("\x03");
  EXPECT_EQ(say.finish().signal, SIGINT);
  EXPECT_THAT(say.screen().rows(), ElementsAre("hello " + kLongSilence));
  expectTerminalAsBefore(say);
}

TEST_F(SayOnATerminal, GivesTheTerminalBackWhileItIsHalted) {
  TerminalProgram say({}, {"-i", "hello " + kLongSilence});
  ASSERT_TRUE(say.readUntil(marks("hello")));
  say.type("\x1A");
  ASSERT_TRUE(say.waitUntilHalted());
  EXPECT_TRUE(say.echoes());
  ASSERT_TRUE(say.readUntil([](const Screen& screen) { return screen.isCursorShown(); }));
  say.sendSignal(SIGCONT);
  ASSERT_TRUE(say.readUntil([](const Screen& screen) { return !screen.isCursorShown(); }));
  EXPECT_TRUE(say.readUntil(marks("hello")));
  say.sendSignal(SIGINT);
  EXPECT_EQ(say.finish().signal, SIGINT);
  expectTerminalAsBefore(say);
}

TEST_F(SayOnATerminal, EndsWhenTheTerminalIsClosed) {
  TerminalProgram say({}, {"-i", "hello " + kLongSilence});
  ASSERT_TRUE(say.readUntil(marks("hello")));
  say.hangUp();
  EXPECT_EQ(say.finish().signal, SIGHUP);
}

TEST_F(SayOnATerminal, RestoresTheTerminalWhenTheTextIsRejected) {
  TerminalProgram say({}, {"-i", "--strict", "[[inpt PHON]]qqq[[inpt TEXT]]"});
  EXPECT_EQ(say.finish().status, 1);
  EXPECT_THAT(say.written(), HasSubstr("kavrel-say: cannot speak the text"));
  expectTerminalAsBefore(say);
}

// ---- Typed lines

TEST_F(SayOnATerminal, SpeaksWhatIsTypedLineByLine) {
  const std::string out = m_folder.file("out");
  TerminalProgram say({.standardOutput = out}, {"--events", "-r", "900"});
  const auto wordsWritten = [&] {
    return program::valuesOf<int>(program::eventsOf(program::contentsOf(out)), "word", "position");
  };
  say.type("caf\u00E9 one\n");
  say.type("two\n");
  say.type("\x04");
  EXPECT_EQ(say.finish().status, 0);
  // Positions count from the start of all typed lines.
  EXPECT_THAT(wordsWritten(), ElementsAre(0, 6, 10));
}

TEST_F(SayOnATerminal, SpeaksALineBeforeTheNextIsTyped) {
  TerminalProgram lines({}, {"-i", "-r", "900"});
  lines.type("first\n");
  EXPECT_TRUE(lines.readUntil(marks("first")));
  lines.type("second\n");
  EXPECT_TRUE(lines.readUntil(marks("second")));
  lines.type("\x04");
  EXPECT_EQ(lines.finish().status, 0);
  expectTerminalAsBefore(lines);
}

TEST_F(SayOnATerminal, RefusesToWriteAudioToIt) {
  TerminalProgram say({}, {"-o", "-", "hello"});
  EXPECT_EQ(say.finish().status, 1);
  EXPECT_THAT(say.written(), HasSubstr("cannot write audio to a terminal"));
}

}  // namespace
