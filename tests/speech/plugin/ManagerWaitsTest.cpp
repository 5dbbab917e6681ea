// SPDX-License-Identifier: Apache-2.0
//
// The Manager with the real plug-in and the real engine: calls that must not wait for speech, text
// that is spoken as it comes, and files that cannot be written. A call that waits for a silence of
// ten minutes, or a text that is requested to its end first, exceeds the time limit of the test.
#include <csignal>
#include <cstdio>
#include <string>

#include <gmock/gmock.h>
#include <sys/resource.h>

#include "ManagerClient.h"

namespace {

using speech::ManagerClient;
using speech::soundIn;
using speech::TemporaryFolder;
using testing::ElementsAre;

// ---- After a stop or pause at a boundary

// A client that is in the middle of a long silence.
class InASilence : public testing::Test {
 protected:
  void SetUp() override {
    const Fixed rate = Long2Fix(600);
    ASSERT_EQ(SetSpeechRate(m_client.channel(), rate), noErr);
    ASSERT_EQ(m_client.speak("One [[slnc 600000]] two. Three."), noErr);
    ASSERT_TRUE(m_client.waitForWords(1));
    m_channel = m_client.channel();
  }
  // Every getter, and settings.
  void useSettings() const {
    Fixed value = 0;
    EXPECT_EQ(GetSpeechRate(m_channel, &value), noErr);
    EXPECT_EQ(GetSpeechPitch(m_channel, &value), noErr);
    EXPECT_EQ(SetSpeechPitch(m_channel, value), noErr);
    SpeechVersionInfo version{};
    EXPECT_EQ(GetSpeechInfo(m_channel, soSynthType, &version), noErr);
    OSType mode = 0;
    EXPECT_EQ(GetSpeechInfo(m_channel, soInputMode, &mode), noErr);
    EXPECT_EQ(SetSpeechInfo(m_channel, soInputMode, &mode), noErr);
    EXPECT_EQ(SpeechBusy(), 1);
  }

  ManagerClient m_client;
  SpeechChannel m_channel = nullptr;
};

TEST_F(InASilence, AStopFollowsAStopAtTheEndOfTheSentence) {
  ASSERT_EQ(StopSpeechAt(m_channel, kEndOfSentence), noErr);
  useSettings();
  ASSERT_EQ(StopSpeech(m_channel), noErr);
  EXPECT_TRUE(m_client.waitForEnds(1));
  EXPECT_EQ(SpeechBusy(), 0);
}

TEST_F(InASilence, NewTextFollowsAStopAtTheEndOfTheSentence) {
  ASSERT_EQ(StopSpeechAt(m_channel, kEndOfSentence), noErr);
  ASSERT_EQ(m_client.speak("Four."), noErr);
  EXPECT_TRUE(m_client.waitForEnds(2));
}

TEST_F(InASilence, AnotherVoiceFollowsAPauseAtTheEndOfTheSentence) {
  ASSERT_EQ(PauseSpeechAt(m_channel, kEndOfSentence), noErr);
  useSettings();
  VoiceSpec voice{};
  ASSERT_EQ(GetIndVoice(1, &voice), noErr);
  EXPECT_EQ(SetSpeechInfo(m_channel, soCurrentVoice, &voice), noErr);
  ASSERT_EQ(ContinueSpeech(m_channel), noErr);
  ASSERT_EQ(StopSpeechAt(m_channel, kImmediate), noErr);
  EXPECT_TRUE(m_client.waitForEnds(1));
}

TEST_F(InASilence, TheChannelIsDisposedAfterAStopAtTheEndOfTheSentence) {
  ASSERT_EQ(StopSpeechAt(m_channel, kEndOfSentence), noErr);
}

// ---- Text that is spoken as it comes

// A client that always has another page.
struct Pages {
  ManagerClient client;  // first: its callbacks get its address as that of the whole
  int requested = 0;
};

void nextPage(SpeechChannel /*channel*/, SRefCon refCon, const void** nextBuf,
              unsigned long* byteLen, SInt32* /*controlFlags*/) {
  static const std::string page =
      "This is a page of a book that has no end, and whoever reads it aloud has to turn it. It "
      "tells of a reader who reads a book aloud, on and on, because the last page is never found. ";
  ++static_cast<Pages*>(refCon)->requested;
  *nextBuf = page.data();
  *byteLen = page.size();
}

TEST(ManagerPages, AnEndlessTextIsHeardAndCanBeStopped) {
  Pages pages;
  ManagerClient& client = pages.client;
  ASSERT_EQ(static_cast<void*>(&pages), static_cast<void*>(&client));
  ASSERT_EQ(SetSpeechRate(client.channel(), Long2Fix(600)), noErr);
  client.install(soTextDoneCallBack, nextPage);
  ASSERT_EQ(client.speak("The first page. "), noErr);
  ASSERT_TRUE(client.waitForWords(100));
  ASSERT_EQ(StopSpeech(client.channel()), noErr);
  ASSERT_TRUE(client.waitForEnds(1));
  // Pages that were heard, and a few in advance.
  EXPECT_LT(pages.requested, 12);
}

TEST(ManagerPages, AreSpokenOneAfterTheOtherWithTheSettingsOfTheirCommands) {
  ManagerClient client;
  const std::string first(
      "This is the first page. It has some sentences, so that it is spoken before the second one "
      "is "
      "known, and the second one is asked for when this one is nearly over, a little before its "
      "end. [[rate 600]]");
  static const std::string pages[] = {"Here is the second page. ", "And the third. "};
  client.install(
      soTextDoneCallBack,
      +[](SpeechChannel channel, SRefCon, const void** nextBuf, unsigned long* byteLen, SInt32*) {
        static int next = 0;
        if (next == 2) {
          SetSpeechInfo(channel, soTextDoneCallBack, nullptr);
          return;
        }
        *nextBuf = pages[next].data();
        *byteLen = pages[next].size();
        ++next;
      });
  ASSERT_EQ(SetSpeechRate(client.channel(), Long2Fix(500)), noErr);
  ASSERT_EQ(client.speak(first), noErr);
  ASSERT_TRUE(client.waitForEnds(1));
  std::vector<std::string> spoken;
  const std::vector<speech::Word> words = client.words();
  for (std::size_t i = words.size() - 8; i < words.size(); ++i) {
    const std::string& page = i + 3 < words.size() ? pages[0] : pages[1];
    spoken.push_back(page.substr(words[i].position, words[i].length));
  }
  EXPECT_THAT(spoken, ElementsAre("Here", "is", "the", "second", "page", "And", "the", "third"));
}

// ---- Settings

TEST(ManagerSettings, ReadBackAsTheyWereSet) {
  const ManagerClient client;
  SpeechChannel const channel = client.channel();
  const struct {
    OSType selector;
    CFStringRef property;
    double value;
  } settings[] = {{soRate, kSpeechRateProperty, 180.5},
                  {soPitchBase, kSpeechPitchBaseProperty, 45.5},
                  {soVolume, kSpeechVolumeProperty, 0.37},
                  {soPitchMod, kSpeechPitchModProperty, 2.5}};
  for (const auto& setting : settings) {
    Fixed initial = 0;
    ASSERT_EQ(GetSpeechInfo(channel, setting.selector, &initial), noErr);
    const Fixed fixed = X2Fix(setting.value);
    ASSERT_EQ(SetSpeechInfo(channel, setting.selector, &fixed), noErr);
    Fixed read = 0;
    ASSERT_EQ(GetSpeechInfo(channel, setting.selector, &read), noErr);
    EXPECT_EQ(read, fixed);
    CFNumberRef const number = CFNumberCreate(nullptr, kCFNumberDoubleType, &setting.value);
    ASSERT_EQ(SetSpeechProperty(channel, setting.property, number), noErr);
    CFTypeRef object = nullptr;
    ASSERT_EQ(CopySpeechProperty(channel, setting.property, &object), noErr);
    EXPECT_TRUE(CFEqual(object, number));
    CFRelease(object);
    CFRelease(number);
    ASSERT_EQ(SetSpeechInfo(channel, soReset, nullptr), noErr);
    ASSERT_EQ(GetSpeechInfo(channel, setting.selector, &read), noErr);
    EXPECT_EQ(read, initial);
  }
}

// ---- Files that cannot be written

class UnwritableFiles : public testing::Test {
 protected:
  TemporaryFolder m_folder;
  ManagerClient m_client;
};

TEST_F(UnwritableFiles, AreRejectedWhenTheyAreSet) {
  EXPECT_EQ(m_client.setFile(m_folder / "missing" / "file.aiff"), fnfErr);
  EXPECT_EQ(m_client.setFile(m_folder / "."), permErr);
  // The output has not changed.
  EXPECT_EQ(m_client.speak("One."), noErr);
  EXPECT_TRUE(m_client.waitForEnds(1));
}

TEST_F(UnwritableFiles, AreReportedByTheSpeechIfTheyAreFoundThen) {
  std::filesystem::create_directory(m_folder / "later");
  ASSERT_EQ(m_client.setFile(m_folder / "later" / "file.aiff"), noErr);
  std::filesystem::remove(m_folder / "later");
  EXPECT_EQ(m_client.speak("One."), fnfErr);
  EXPECT_EQ(SpeechBusy(), 0);
}

TEST_F(UnwritableFiles, AreReportedByTheErrorCallbackDuringSpeech) {
  m_client.writeTo(m_folder / "large.aiff");
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const rlimit small = {20'000, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  EXPECT_EQ(m_client.speak("This is more speech than the file may have, and so it is cut."), noErr);
  EXPECT_TRUE(m_client.waitForEnds(1));
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
  EXPECT_THAT(m_client.errors(), ElementsAre(ioErr));
  SpeechErrorInfo errors{};
  ASSERT_EQ(GetSpeechInfo(m_client.channel(), soErrors, &errors), noErr);
  EXPECT_EQ(errors.count, 1);
  EXPECT_EQ(errors.newest, ioErr);
}

}  // namespace
