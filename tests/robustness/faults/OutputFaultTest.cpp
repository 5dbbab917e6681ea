// SPDX-License-Identifier: Apache-2.0
//
// The real engine when its environment fails: files that cannot be written, a full disk, invalid
// voices.
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "KavrelSpeechEngine.h"
#include "speakers/ChannelSpeaker.h"

namespace faults {
namespace {

namespace fs = std::filesystem;

using speech::Speaker;
using speech::TemporaryFolder;

std::string prose(std::size_t bytes) {
  std::string text;
  while (text.size() < bytes) text += "Nobody had lit the lamps, and the three old cranes stood. ";
  return text;
}

class OutputFaults : public testing::Test {
 protected:
  // Speaks to the file, which may fail: the job is either refused, or started and ended.
  void speakInto(const fs::path& file, const std::string& text) {
    m_speaker.writeTo(file);
    const long result = m_speaker.speak(text);
    if (result == noErr) {
      EXPECT_TRUE(m_speaker.waitForDone(++m_done)) << file << ": the job does not end";
    } else {
      EXPECT_EQ(result, synthNotReady) << file;
    }
  }

  void expectSpeaks() {
    m_speaker.writeTo(m_folder / "good.aiff");
    ASSERT_EQ(m_speaker.speak("One two three."), noErr);
    ASSERT_TRUE(m_speaker.waitForDone(++m_done));
    EXPECT_GT(speech::soundIn(m_folder / "good.aiff").seconds(), 0.3);
    EXPECT_EQ(m_speaker.doneCount(), m_done);
  }

  const TemporaryFolder m_folder;
  Speaker m_speaker;
  std::size_t m_done = 0;
};

TEST_F(OutputFaults, OfFilesThatCannotBeWrittenLeaveAChannelThatSpeaks) {
  std::ofstream(m_folder / "file") << "not a folder";
  for (const fs::path& file :
       {m_folder / "missing/sound.aiff", m_folder / "file/sound.aiff", m_folder / "",
        fs::path("/proc/no-such-file.aiff"), m_folder / std::string(300, 'n')}) {
    SCOPED_TRACE(file);
    speakInto(file, "One two three.");
    expectSpeaks();
  }
}

TEST_F(OutputFaults, OfAFullDiskLeaveAChannelThatSpeaks) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "the system has no /dev/full";
  speakInto("/dev/full", prose(5'000));
  expectSpeaks();
}

TEST_F(OutputFaults, OfADiskThatBecomesFullLeaveAChannelThatSpeaks) {
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit small{64 * 1024, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  speakInto(m_folder / "long.aiff", prose(5'000));
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
  std::signal(SIGXFSZ, handler);
  EXPECT_LE(fs::file_size(m_folder / "long.aiff"), 64u * 1024);
  expectSpeaks();
}

class VoiceFaults : public OutputFaults {
 protected:
  // Creates a bundle with that file instead of a voice's data; an empty `file`: without a file.
  fs::path bundle(const std::string& name, const std::string& file, const std::string& contents) {
    const fs::path path = m_folder / (name + ".SpeechVoice");
    fs::create_directory(path);
    std::ofstream(path / "Info.plist") << "<plist";
    if (!file.empty()) std::ofstream(path / file, std::ios::binary) << contents;
    return path;
  }

  void useBundle(const fs::path& path) {
    const std::string bytes = path.string();
    const CFURLRef url = CFURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<const UInt8*>(bytes.data()), static_cast<CFIndex>(bytes.size()),
        static_cast<Boolean>(true));
    const CFBundleRef made = CFBundleCreate(nullptr, url);
    VoiceSpec voice{0x4B56524C, 1};
    EXPECT_EQ(SEUseVoice(m_speaker.id(), &voice, made), noErr);
    if (made != nullptr) CFRelease(made);
    CFRelease(url);
  }
};

// Rationale: an invalid voice is accepted; the next job detects it, and is either refused or spoken
// with the valid part of the voice.
TEST_F(VoiceFaults, OfMalformedBundlesLeaveAChannelThatSpeaks) {
  const std::string noise(100'000, '\xFF');
  for (const fs::path& path :
       {bundle("Empty", "", ""), bundle("Blank", "kavrel.voice", ""),
        bundle("Noise", "kavrel.voice", noise),
        bundle("Nul", "kavrel.voice", std::string(50, '\0')),
        bundle("Nonsense", "kavrel.voice", "rate=1e999\nvoice=../../../../etc/passwd\n=\n"),
        m_folder / "Missing.SpeechVoice"}) {
    SCOPED_TRACE(path);
    useBundle(path);
    speakInto(m_folder / "sound.aiff", "One two three.");
    m_speaker.useVoice("Corin");
    expectSpeaks();
  }
}

}  // namespace
}  // namespace faults
