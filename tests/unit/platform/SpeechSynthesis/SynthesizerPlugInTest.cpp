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
#include <link.h>
#include <sys/stat.h>

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
  // Only root can replace the Manager.
  platform::Synthesizers m_synthesizers{"/"};
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

// A library that others can write is not loaded, as its code would run.
TEST_F(SynthesizersTest, AreSkippedWithOneLineEachWhenOthersCanChangeThem) {
  fs::copy_file(kComplete, m_folder / "a-open.so");
  fs::permissions(m_folder / "a-open.so", fs::perms(0646));
  fs::copy_file(kComplete, m_folder / "b-whole.so");
  setenv("SPEECH_SYNTHESIZER_PATH", m_folder.c_str(), 1);
  EXPECT_EQ(open(kOurs, m_said), noErr);
  const std::string file = (m_folder / "a-open.so").native();
  EXPECT_EQ(m_said,
            "The synthesizer " + file + " is not loaded: everybody can write to " + file + ".\n");
  EXPECT_EQ(open(kOther, m_said), noSynthFound);
  EXPECT_EQ(std::count(m_said.begin(), m_said.end(), '\n'), 1) << m_said;
}

TEST_F(SynthesizersTest, AreSkippedWithOneLineWhenOthersCanChangeTheirFolder) {
  const fs::path openFolder = m_folder / "open";
  fs::create_directory(openFolder);
  fs::permissions(openFolder, fs::perms(01777));
  setenv("SPEECH_SYNTHESIZER_PATH", (openFolder.native() + ":" COMPLETE_SYNTHESIZER_DIR).c_str(),
         1);
  // An empty folder is not worth a line.
  EXPECT_EQ(open(kOther, m_said), noSynthFound);
  EXPECT_THAT(m_said, testing::Not(HasSubstr("everybody")));
  fs::copy_file(kComplete, openFolder / "a.so");
  fs::copy_file(kComplete, openFolder / "b.so");
  EXPECT_EQ(open(kOther, m_said), noSynthFound);
  EXPECT_THAT(m_said,
              HasSubstr("The synthesizers in " + openFolder.native() +
                        " are not loaded: everybody can write to " + openFolder.native() + ".\n"));
  // Reported once.
  EXPECT_EQ(open(kOther, m_said), noSynthFound);
  EXPECT_THAT(m_said, testing::Not(HasSubstr("everybody")));
  EXPECT_EQ(open(kOurs, m_said), noErr);
  EXPECT_EQ(m_said, "");
}

// The end of what the system loads of a library; other parts may follow.
std::uintmax_t endOfSegments(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  ElfW(Ehdr) header{};
  stream.read(reinterpret_cast<char*>(&header), sizeof header);
  stream.seekg(static_cast<std::streamoff>(header.e_phoff));
  std::uintmax_t end = 0;
  for (unsigned count = 0; count < header.e_phnum; ++count) {
    ElfW(Phdr) segment{};
    stream.read(reinterpret_cast<char*>(&segment), sizeof segment);
    if (segment.p_type == PT_LOAD) end = std::max(end, segment.p_offset + segment.p_filesz);
  }
  return end;
}

// The system would map bytes after the end of the file, and reading them ends a process.
TEST_F(SynthesizersTest, AreNotLoadedWhenTruncatedAtAnySize) {
  const fs::path file = m_folder / "cut.so";
  fs::copy_file(kComplete, file);
  const std::uintmax_t end = endOfSegments(file);
  ASSERT_GT(end, 4096U);
  constexpr std::uintmax_t kStep = 64;
  for (std::uintmax_t size = end - 1; size > sizeof(ElfW(Ehdr)); size -= std::min(size, kStep)) {
    fs::resize_file(file, size);
    ASSERT_THAT(problemOf(file), HasSubstr("cut.so cannot be loaded: the file is truncated"));
  }
  fs::resize_file(file, sizeof(ElfW(Ehdr)) - 1);
  EXPECT_THAT(problemOf(file), HasSubstr("cut.so cannot be loaded: "));
}

TEST_F(SynthesizersTest, AreSkippedWithOneLineEachWhenDamaged) {
  fs::copy_file(kComplete, m_folder / "a-cut.so");
  fs::resize_file(m_folder / "a-cut.so", 1000);
  std::ofstream(m_folder / "b-empty.so").close();
  fs::create_symlink("nothing.so", m_folder / "c-dangling.so");
  fs::copy_file(DEPENDENT_SYNTHESIZER_DIR "/KavrelSpeech.so", m_folder / "d-lost.so");
  ASSERT_EQ(mkfifo((m_folder / "e-pipe.so").c_str(), 0644), 0);
  setenv("SPEECH_SYNTHESIZER_PATH", (m_folder.native() + ":" COMPLETE_SYNTHESIZER_DIR).c_str(), 1);
  EXPECT_EQ(open(kOurs, m_said), noErr);
  EXPECT_THAT(m_said, AllOf(HasSubstr("a-cut.so cannot be loaded: the file is truncated."),
                            HasSubstr("b-empty.so cannot be loaded"),
                            HasSubstr("c-dangling.so is not loaded: "),
                            HasSubstr("d-lost.so cannot be loaded: libneeded.so"),
                            HasSubstr("e-pipe.so cannot be loaded: it is not a regular file.")));
  EXPECT_EQ(std::count(m_said.begin(), m_said.end(), '\n'), 5) << m_said;
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
