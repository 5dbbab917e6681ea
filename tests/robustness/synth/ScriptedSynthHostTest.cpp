// SPDX-License-Identifier: Apache-2.0
//
// Jobs of a host on the C interface, with a synthesiser that breaks the protocol or is missing, and
// the engine's own time limits: each job ends with END, after ERROR if nothing can be spoken.
#include <algorithm>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Disturber.h"

namespace {

using namespace hosts;

constexpr int kWords = 6;

// A host speaks a sentence with that word, on the scripted synthesiser.
void expectAllWords(const std::string& word, std::chrono::seconds limit) {
  const HostFolder folder(HostFolder::Synthesiser::Scripted);
  const std::string audio = folder.file("audio");
  const Clock::time_point begin = Clock::now();
  const program::Result result =
      folder.run({"file=" + audio, "text=One two. Three " + word + " four. Five.", "speak"});
  EXPECT_LT(Clock::now() - begin, limit) << word;
  EXPECT_EQ(result.status, 0) << word << ' ' << result.err;
  EXPECT_EQ(static_cast<int>(linesOf(result.out, "32").size()), kWords) << word;
  EXPECT_TRUE(linesOf(result.out, "2").empty()) << word;
  EXPECT_EQ(linesOf(result.out, "1024").size(), 1u) << word;
  EXPECT_GT(program::secondsIn(audio), 0.02) << word;
  EXPECT_TRUE(folder.processesEnd()) << word;
}

// Returns the message of the job's ERROR; the job has nothing else between START and END.
std::string errorWith(const HostFolder& folder, std::chrono::seconds limit) {
  const Clock::time_point begin = Clock::now();
  const program::Result result = folder.run({"file=" + folder.file("audio"), "speak"});
  EXPECT_LT(Clock::now() - begin, limit);
  EXPECT_EQ(result.status, 0) << result.err;
  const std::vector<std::string> lines = linesOf(result.out);
  EXPECT_EQ(lines.size(), 3u) << result.out;
  const std::vector<std::string> errors = linesOf(result.out, "2");
  return errors.size() == 1 && lines.size() == 3 ? errors[0] : "no ERROR";
}

// Replaces the synthesiser of `folder` by a shell script.
void useScript(const HostFolder& folder, const std::string& commands) {
  folder.write("libexec/kavrel/kavrel-synth", "#!/bin/sh\n" + commands + "\n");
  std::filesystem::permissions(folder.synthesiser(), std::filesystem::perms(0755));
}

}  // namespace

TEST(ScriptedSynthHost, HasAllWordsIfAWordBreaksTheProtocol) {
  for (const std::string word : {"CRASH", "TERM", "HALF", "GARBAGE", "COUNTS", "QUIT", "CALL"}) {
    expectAllWords(word, std::chrono::seconds(20));
  }
}

// Three times the limit of 5 seconds: the call, its repetition, and the word alone.
TEST(ScriptedSynthHost, HasAllWordsIfAWordBlocks) {
  std::vector<std::jthread> threads;
  for (const std::string word : {"STOP", "SPIN", "NOEND"}) {
    threads.emplace_back([word] { expectAllWords(word, std::chrono::seconds(40)); });
  }
}

TEST(ScriptedSynthHost, FailsWithAMessageIfTheSynthesiserIsMissing) {
  const HostFolder folder(HostFolder::Synthesiser::None);
  const std::string error = errorWith(folder, std::chrono::seconds(10));
  EXPECT_NE(error.find("cannot start "), std::string::npos) << error;
  EXPECT_NE(error.find("kavrel-synth: No such file or directory"), std::string::npos) << error;
}

TEST(ScriptedSynthHost, FailsWithAMessageIfTheSynthesiserCannotRun) {
  const HostFolder folder;
  for (const std::string commands : {"exit 127", "kill -9 $$", "kill -SEGV $$", "echo x >&0"}) {
    useScript(folder, commands);
    const std::string error = errorWith(folder, std::chrono::seconds(10));
    EXPECT_NE(error.find("kavrel-synth ended before it was ready"), std::string::npos) << error;
  }
}

// It never is ready: one limit of 5 seconds for all attempts.
TEST(ScriptedSynthHost, FailsWithAMessageIfTheSynthesiserIsNeverReady) {
  const HostFolder folder;
  useScript(folder, "exec 5<&0; sleep 15 & exit 0");
  const std::string error = errorWith(folder, std::chrono::seconds(9));
  EXPECT_NE(error.find("was not ready in time"), std::string::npos) << error;
}
