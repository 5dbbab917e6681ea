// SPDX-License-Identifier: Apache-2.0
//
// Loading a synthesizer: which files are found, and the messages about files that cannot be loaded.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "SpeechSynthesis/bundles/SynthesizerPlugIn.h"
#include "SpeechSynthesis/bundles/Synthesizers.h"

namespace {

namespace fs = std::filesystem;
using platform::PlugInError;
using platform::SynthesizerPlugIn;
using testing::AllOf;
using testing::HasSubstr;

const fs::path kComplete = fs::path(COMPLETE_SYNTHESIZER_DIR) / "KavrelSpeech.so";
const fs::path kIncomplete = fs::path(INCOMPLETE_SYNTHESIZER_DIR) / "KavrelSpeech.so";

// The reason why `file` cannot be loaded.
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

TEST(SynthesizerPlugIn, NamesAMissingFile) {
  EXPECT_THAT(problemOf("/nowhere/KavrelSpeech.so"),
              AllOf(HasSubstr("/nowhere/KavrelSpeech.so"), HasSubstr("does not exist")));
}

TEST(SynthesizerPlugIn, NamesAMissingEntryPoint) {
  EXPECT_THAT(problemOf(kIncomplete),
              AllOf(HasSubstr(kIncomplete.native()), HasSubstr("no entry point SEUseVoice")));
}

TEST(SynthesizerPlugIn, ReportsTheSystemsMessageForAFileThatIsNotALibrary) {
  std::string file = (fs::temp_directory_path() / "libraryXXXXXX").native();
  ASSERT_NE(mkstemp(file.data()), -1);
  std::ofstream(file) << "not a library";
  EXPECT_THAT(problemOf(file), AllOf(HasSubstr(file), HasSubstr("cannot be loaded: ")));
  fs::remove(file);
}

// Search folders of one test, without the default ones.
class SynthesizersTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = (fs::temp_directory_path() / "synthesizersXXXXXX").native();
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    m_folder = name;
    setenv("XDG_DATA_HOME", (m_folder / "data").c_str(), 1);
  }
  void TearDown() override {
    fs::remove_all(m_folder);
    unsetenv("SPEECH_SYNTHESIZER_PATH");
    unsetenv("XDG_DATA_HOME");
  }

  // Opens a channel; returns the result and what was written to standard error.
  OSErr open(OSType creator, std::string& said) {
    testing::internal::CaptureStderr();
    platform::OpenedChannel opened;
    const OSErr result = m_synthesizers.open(creator, opened);
    said = testing::internal::GetCapturedStderr();
    if (result == noErr) opened.plugIn->call().closeSpeechChannel(opened.identifier);
    return result;
  }

  fs::path m_folder;
  platform::Synthesizers m_synthesizers;
  std::string m_said;
};

constexpr OSType kOurs = 0x4B56524C;
constexpr OSType kOther = 0x4F544852;

TEST_F(SynthesizersTest, AreSelectedByTheCreatorOfTheVoice) {
  setenv("SPEECH_SYNTHESIZER_PATH", OTHER_SYNTHESIZER_DIR ":" COMPLETE_SYNTHESIZER_DIR, 1);
  EXPECT_EQ(open(kOurs, m_said), noErr);
  EXPECT_EQ(open(kOther, m_said), noErr);
  EXPECT_EQ(open(kOurs, m_said), noErr);
  EXPECT_EQ(m_said, "");
}

TEST_F(SynthesizersTest, AreSkippedWithOneLineEachWhenBroken) {
  std::ofstream(m_folder / "a-text.so") << "not a library";
  fs::create_directory(m_folder / "b-folder.so");
  fs::copy_file(kIncomplete, m_folder / "c-incomplete.so");
  fs::copy_file(kComplete, m_folder / "d-whole.so");
  setenv("SPEECH_SYNTHESIZER_PATH", m_folder.c_str(), 1);
  EXPECT_EQ(open(kOurs, m_said), noErr);
  EXPECT_THAT(m_said, AllOf(HasSubstr("a-text.so cannot be loaded"), HasSubstr("b-folder.so"),
                            HasSubstr("c-incomplete.so has no entry point SEUseVoice")));
  EXPECT_EQ(std::count(m_said.begin(), m_said.end(), '\n'), 3);
  EXPECT_EQ(open(kOurs, m_said), noErr);
  EXPECT_EQ(m_said, "");
}

TEST_F(SynthesizersTest, AreFoundInTheUsersFolder) {
  fs::create_directories(m_folder / "data/speechmanager/Synthesizers");
  fs::copy_file(kComplete, m_folder / "data/speechmanager/Synthesizers/One.so");
  EXPECT_EQ(open(kOurs, m_said), noErr);
  EXPECT_EQ(m_said, "");
}

TEST_F(SynthesizersTest, NameTheFoldersWhenNoneIsFoundAndTryAgainTheNextTime) {
  setenv("SPEECH_SYNTHESIZER_PATH", "/nowhere:/nothing", 1);
  EXPECT_EQ(open(kOther, m_said), noSynthFound);
  EXPECT_THAT(m_said, HasSubstr("voices of \"OTHR\" in /nowhere, /nothing, "));
  setenv("SPEECH_SYNTHESIZER_PATH", OTHER_SYNTHESIZER_DIR, 1);
  EXPECT_EQ(open(kOther, m_said), noErr);
}

}  // namespace
