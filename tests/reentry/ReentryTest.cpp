// SPDX-License-Identifier: Apache-2.0
//
// Every entry point inside every callback, on every kind of channel: each cell of the table in a
// process of its own that has five seconds.

#include <array>
#include <csignal>
#include <string>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Scene.h"

namespace reentry {
namespace {

constexpr unsigned int kSeconds = 5;

constexpr std::array kCallbacks = {"TextDone", "SpeechDone", "Sync", "Error", "Phoneme", "Word"};
constexpr std::array kEntries = {"Open",  "Close",    "Status",         "Stop",
                                 "Pause", "Continue", "TextToPhonemes", "UseDictionary",
                                 "Speak", "GetInfo",  "SetInfo",        "UseVoice"};
constexpr std::array kTargets = {"the same channel", "another channel", "a closed channel",
                                 "an unknown channel"};

std::string readToTheEnd(int file) {
  std::string text;
  std::array<char, 512> piece{};
  for (ssize_t got = 0; (got = read(file, piece.data(), piece.size())) > 0;) {
    text.append(piece.data(), static_cast<std::size_t>(got));
  }
  return text;
}

// Plays the cell in a child; what was wrong with it, or with the child.
std::string playApart(const Row& row, Target target) {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) return "there is no pipe";
  const pid_t child = fork();
  if (child < 0) return "there is no process";
  if (child == 0) {
    alarm(kSeconds);
    const std::string faults = Scene(row, target).play();
    const ssize_t written = write(ends[1], faults.data(), faults.size());
    _exit(written == static_cast<ssize_t>(faults.size()) ? 0 : 1);
  }
  close(ends[1]);
  std::string faults = readToTheEnd(ends[0]);
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFSIGNALED(status)) {
    const bool late = WTERMSIG(status) == SIGALRM;
    faults += late ? "hangs" : "ends by signal " + std::to_string(WTERMSIG(status));
  } else if (WEXITSTATUS(status) != 0) {
    faults += "ends with status " + std::to_string(WEXITSTATUS(status));
  }
  return faults;
}

std::string nameOf(const Row& row) {
  return std::string(kCallbacks[static_cast<std::size_t>(row.callback)]) + "Calls" +
         kEntries[static_cast<std::size_t>(row.entry)];
}

class Reentry : public testing::TestWithParam<Row> {};

TEST_P(Reentry, AnswersAsTheTableSays) {
  for (const Target target : {Target::Same, Target::Another, Target::Closed, Target::Unknown}) {
    EXPECT_EQ(playApart(GetParam(), target), "") << kTargets[static_cast<std::size_t>(target)];
  }
}

INSTANTIATE_TEST_SUITE_P(Inside, Reentry, testing::ValuesIn(kTable),
                         [](const auto& row) { return nameOf(row.param); });

// The table has every callback with every entry point, in the order of both.
TEST(ReentryTable, IsWhole) {
  std::size_t index = 0;
  for (const Row& row : kTable) {
    EXPECT_EQ(static_cast<std::size_t>(row.callback), index / kEntries.size());
    EXPECT_EQ(static_cast<std::size_t>(row.entry), index % kEntries.size());
    ++index;
  }
}

}  // namespace

// For messages.
void PrintTo(const Row& row, std::ostream* stream) {
  *stream << nameOf(row);
}

}  // namespace reentry
