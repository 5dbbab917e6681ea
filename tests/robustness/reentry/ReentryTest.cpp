// SPDX-License-Identifier: Apache-2.0
//
// Calls every entry point inside every callback, on every kind of channel. Each cell of the table
// runs in a separate process with a limit of five seconds.

#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Scene.h"

namespace reentry {
namespace {

constexpr unsigned int kSeconds = 5;
constexpr const char* kCellOption = "--cell";

constexpr std::array kCallbacks = {"TextDone", "SpeechDone", "Sync", "Error", "Phoneme", "Word"};
constexpr std::array kEntryPoints = {"Open",  "Close",    "Status",         "Stop",
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

// Plays the cell of that row and column in this process, and prints its faults.
int playHere(const char* row, const char* target) {
  alarm(kSeconds);
  const auto which = static_cast<Target>(std::atoi(target));
  std::cout << Scene(kTable[std::atoi(row)], which).play() << std::flush;
  return 0;
}

// Plays the cell in a child process; returns the faults of the cell or of the child. The child
// executes this program again instead of only forking, since sanitizers do not support a forked
// process with threads.
std::string playApart(int row, Target target) {
  std::string program = "/proc/self/exe";
  std::string option = kCellOption;
  std::string number = std::to_string(row);
  std::string column = std::to_string(static_cast<int>(target));
  std::array<char*, 5> arguments = {program.data(), option.data(), number.data(), column.data(),
                                    nullptr};
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return "cannot create a pipe";
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  pid_t child = 0;
  const int failed =
      posix_spawn(&child, program.c_str(), &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  if (failed != 0) return "cannot start a process";
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
         kEntryPoints[static_cast<std::size_t>(row.entry)];
}

class Reentry : public testing::TestWithParam<int> {};

TEST_P(Reentry, ReturnsWhatTheTableSays) {
  for (const Target target : {Target::Same, Target::Another, Target::Closed, Target::Unknown}) {
    EXPECT_EQ(playApart(GetParam(), target), "") << kTargets[static_cast<std::size_t>(target)];
  }
}

INSTANTIATE_TEST_SUITE_P(Inside, Reentry, testing::Range(0, static_cast<int>(std::size(kTable))),
                         [](const auto& row) { return nameOf(kTable[row.param]); });

// The table has a row for every callback with every entry point, in the order of both enumerations.
TEST(ReentryTable, IsComplete) {
  std::size_t index = 0;
  for (const Row& row : kTable) {
    EXPECT_EQ(static_cast<std::size_t>(row.callback), index / kEntryPoints.size());
    EXPECT_EQ(static_cast<std::size_t>(row.entry), index % kEntryPoints.size());
    ++index;
  }
}

}  // namespace

int run(int argc, char** argv) {
  if (argc == 4 && std::strcmp(argv[1], kCellOption) == 0) return playHere(argv[2], argv[3]);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}

}  // namespace reentry

int main(int argc, char** argv) {
  return reentry::run(argc, argv);
}
