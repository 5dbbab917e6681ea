// SPDX-License-Identifier: Apache-2.0
//
// Loading a synthesizer: what is found, and what is said when it is not.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "SpeechSynthesis/SynthesizerPlugIn.h"

namespace {

namespace fs = std::filesystem;
using platform::PlugInError;
using platform::SynthesizerPlugIn;
using testing::AllOf;
using testing::HasSubstr;

const fs::path kComplete = fs::path(COMPLETE_SYNTHESIZER_DIR) / "KavrelSpeech.so";
const fs::path kIncomplete = fs::path(INCOMPLETE_SYNTHESIZER_DIR) / "KavrelSpeech.so";

// Why `file` cannot be loaded.
std::string problemOf(const fs::path& file) {
  try {
    const SynthesizerPlugIn plugIn(file);
  } catch (const PlugInError& problem) {
    return problem.what();
  }
  return "(loads)";
}

TEST(SynthesizerPlugIn, FindsAllTwelveEntryPoints) {
  const SynthesizerPlugIn plugIn(kComplete);
  SpeechChannelIdentifier channel = 0;
  ASSERT_EQ(plugIn.call().openSpeechChannel(&channel), noErr);
  EXPECT_EQ(plugIn.call().textToPhonemes(channel, nullptr, 0, nullptr, nullptr), noErr);
  EXPECT_EQ(plugIn.call().useDictionary(channel, nullptr, 0), noErr);
  EXPECT_EQ(plugIn.call().closeSpeechChannel(channel), noErr);
}

TEST(SynthesizerPlugIn, NamesAFileThatIsMissing) {
  EXPECT_THAT(problemOf("/nowhere/KavrelSpeech.so"),
              AllOf(HasSubstr("/nowhere/KavrelSpeech.so"), HasSubstr("does not exist")));
}

TEST(SynthesizerPlugIn, NamesAnEntryPointThatIsMissing) {
  EXPECT_THAT(problemOf(kIncomplete),
              AllOf(HasSubstr(kIncomplete.native()), HasSubstr("no entry point SEUseVoice")));
}

TEST(SynthesizerPlugIn, PassesOnWhatTheSystemSaysOfAFileThatIsNoLibrary) {
  std::string file = (fs::temp_directory_path() / "libraryXXXXXX").native();
  ASSERT_NE(mkstemp(file.data()), -1);
  std::ofstream(file) << "not a library";
  EXPECT_THAT(problemOf(file), AllOf(HasSubstr(file), HasSubstr("cannot be loaded: ")));
  fs::remove(file);
}

TEST(SynthesizerPlugIn, IsLookedForInTheFoldersOfTheVariableFirst) {
  const std::string folders = "/nowhere:" COMPLETE_SYNTHESIZER_DIR ":" INCOMPLETE_SYNTHESIZER_DIR;
  ASSERT_EQ(setenv("SPEECH_SYNTHESIZER_PATH", folders.c_str(), 1), 0);
  EXPECT_EQ(SynthesizerPlugIn::locate(), kComplete);
  ASSERT_EQ(unsetenv("SPEECH_SYNTHESIZER_PATH"), 0);
}

TEST(SynthesizerPlugIn, NamesTheFoldersWhenThereIsNoneAndTriesAgainTheNextTime) {
  ASSERT_EQ(setenv("SPEECH_SYNTHESIZER_PATH", "/nowhere:/nothing", 1), 0);
  testing::internal::CaptureStderr();
  const SynthesizerPlugIn* const none = SynthesizerPlugIn::shared();
  const std::string said = testing::internal::GetCapturedStderr();
  ASSERT_EQ(setenv("SPEECH_SYNTHESIZER_PATH", COMPLETE_SYNTHESIZER_DIR, 1), 0);
  const SynthesizerPlugIn* const found = SynthesizerPlugIn::shared();
  ASSERT_EQ(unsetenv("SPEECH_SYNTHESIZER_PATH"), 0);

  EXPECT_EQ(none, nullptr);
  EXPECT_THAT(said, HasSubstr("KavrelSpeech.so is in none of /nowhere, /nothing, "));
  EXPECT_NE(found, nullptr);
  EXPECT_EQ(SynthesizerPlugIn::shared(), found);
}

}  // namespace
