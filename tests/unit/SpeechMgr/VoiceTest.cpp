// SPDX-License-Identifier: Apache-2.0
//
// SEUseVoice and the helpers that convert bundles to paths.

#include <filesystem>

#include <unistd.h>

#include "SpeechMgrUtils.h"
#include "channels/ChannelTest.h"

namespace channels {
namespace {

using scripted::engine;
using scripted::Op;
using testing::ElementsAre;

CFURLRef urlOf(const std::string& path) {
  return CFURLCreateFromFileSystemRepresentation(nullptr,
                                                 reinterpret_cast<const UInt8*>(path.data()),
                                                 static_cast<CFIndex>(path.size()), true);
}

// A bundle whose folder exists for the lifetime of the object.
class Bundle {
 public:
  explicit Bundle(const std::string& name)
      : m_path(std::filesystem::temp_directory_path() /
               ("kavrel-voices-" + std::to_string(getpid()) + "-" + name)) {
    std::filesystem::create_directories(m_path);
    const CFURLRef url = urlOf(m_path.string());
    m_bundle = CFBundleCreate(nullptr, url);
    CFRelease(url);
  }
  ~Bundle() {
    CFRelease(m_bundle);
    std::filesystem::remove_all(m_path);
  }
  Bundle(const Bundle&) = delete;
  Bundle& operator=(const Bundle&) = delete;

  CFBundleRef get() const { return m_bundle; }
  std::string path() const { return m_path.string(); }

 private:
  std::filesystem::path m_path;
  CFBundleRef m_bundle;
};

class UseVoice : public ChannelTest {
 protected:
  static std::string directory(SpeechChannelIdentifier id) {
    return read(
        id, [](const speech_channel& c) { return std::string(c.voxdir ? c.voxdir : "(none)"); });
  }

  static long pitchBase(SpeechChannelIdentifier id) {
    return read(id, [](const speech_channel& c) { return c.environment.pitchBase; });
  }

  VoiceSpec m_man{code("BRVD"), 1};
  VoiceSpec m_woman{code("BRVD"), 2};

  void SetUp() override { voices().genders = {{1, kMale}, {2, kFemale}}; }
};

TEST_F(UseVoice, RecordsTheVoiceAndTheFolderOfItsBundle) {
  const SpeechChannelIdentifier id = open();
  const Bundle bundle("Ava");
  EXPECT_EQ(SEUseVoice(id, &m_woman, bundle.get()), noErr);
  EXPECT_EQ(directory(id), bundle.path());
  const VoiceSpec voice = read(id, [](const speech_channel& c) { return *c.voice; });
  EXPECT_EQ(OSType{voice.creator}, code("BRVD"));
  EXPECT_EQ(OSType{voice.id}, 2u);
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.voice_changed; }), 1);
}

TEST_F(UseVoice, IsRecordedBeforeThePitchIsDerived) {
  const SpeechChannelIdentifier id = open();
  const Bundle bundle("Ava");
  OSType recorded = 0;
  std::string folder;
  voices().onAsked = [&] {
    const speech_channel* const channel = find_channel(id);
    recorded = channel->voice != nullptr ? OSType{channel->voice->id} : 0;
    folder = channel->voxdir != nullptr ? channel->voxdir : "(none)";
  };
  EXPECT_EQ(SEUseVoice(id, &m_woman, bundle.get()), noErr);
  EXPECT_EQ(voices().asked.size(), 1u);
  EXPECT_EQ(recorded, 2u);
  EXPECT_EQ(folder, bundle.path());
}

TEST_F(UseVoice, TheNextJobLoadsIt) {
  const SpeechChannelIdentifier id = open();
  const Bundle bundle("Ava");
  ASSERT_EQ(SEUseVoice(id, &m_woman, bundle.get()), noErr);
  EXPECT_EQ(engine().count(Op::SetVoice), 0);
  ASSERT_EQ(speak(id, "Hello"), noErr);
  EXPECT_EQ(engine().port(1).voice(), bundle.path());
}

TEST_F(UseVoice, TheFirstVoiceSetsThePitchAndTheSecondKeepsIt) {
  const SpeechChannelIdentifier id = open();
  const Bundle bundle("Any");
  ASSERT_EQ(SEUseVoice(id, &m_man, bundle.get()), noErr);
  EXPECT_EQ(pitchBase(id), 43);
  ASSERT_EQ(SEUseVoice(id, &m_woman, bundle.get()), noErr);
  EXPECT_EQ(pitchBase(id), 43);
  set(id, soReset, nullptr);
  EXPECT_EQ(pitchBase(id), 53);
}

TEST_F(UseVoice, APitchThatTheClientSetSurvives) {
  const SpeechChannelIdentifier id = open();
  const Bundle bundle("Any");
  Fixed pitch = Long2Fix(60);
  set(id, soPitchBase, &pitch);
  ASSERT_EQ(SEUseVoice(id, &m_man, bundle.get()), noErr);
  EXPECT_EQ(pitchBase(id), 60);
}

TEST_F(UseVoice, ASecondVoiceReplacesAndReleasesTheFirst) {
  const SpeechChannelIdentifier id = open();
  const Bundle one("One");
  const Bundle two("Two");
  ASSERT_EQ(SEUseVoice(id, &m_man, one.get()), noErr);
  EXPECT_EQ(engine().live().blocks, 2);
  ASSERT_EQ(SEUseVoice(id, &m_woman, two.get()), noErr);
  EXPECT_EQ(engine().live().blocks, 2);
  EXPECT_EQ(directory(id), two.path());
  close(id);
  EXPECT_EQ(engine().live().blocks, 0);
}

TEST_F(UseVoice, ReleasesWhatItTakesFromTheBundle) {
  const SpeechChannelIdentifier id = open();
  const Bundle bundle("Ava");
  const CFIndex count = CFGetRetainCount(bundle.get());
  const CFURLRef url = CFBundleCopyBundleURL(bundle.get());
  const CFIndex urlCount = CFGetRetainCount(url);
  ASSERT_EQ(SEUseVoice(id, &m_man, bundle.get()), noErr);
  EXPECT_EQ(CFGetRetainCount(bundle.get()), count);
  EXPECT_EQ(CFGetRetainCount(url), urlCount);
  CFRelease(url);
}

TEST_F(UseVoice, AnUnknownChannelIsReportedWithoutTheGate) {
  const SpeechChannelIdentifier gone = open();
  close(gone);
  EXPECT_EQ(SEUseVoice(gone, &m_man, nullptr), noSynthFound);
  ASSERT_EQ(engine().diagnostics().size(), 1u);
  EXPECT_EQ(engine().messages()[0],
            "SEUseVoice: no channel found for " + std::to_string(gone) + '\n');
  EXPECT_THAT(engine().diagnostics()[0].calls, ElementsAre("errmsg"));
}

TEST_F(UseVoice, ANullVoiceSelectsTheDefaultVoice) {
  const SpeechChannelIdentifier id = open();
  const Bundle bundle("Ava");
  voices().genders[0] = kMale;
  EXPECT_EQ(SEUseVoice(id, nullptr, bundle.get()), noErr);
  EXPECT_EQ(directory(id), bundle.path());
  EXPECT_EQ(pitchBase(id), 43);
}

TEST_F(UseVoice, ABundleWithoutAPathGivesAVoiceWithoutAFolder) {
  const SpeechChannelIdentifier id = open();
  EXPECT_EQ(SEUseVoice(id, &m_man, nullptr), noErr);
  EXPECT_EQ(directory(id), "(none)");
  EXPECT_EQ(pitchBase(id), 43);
  EXPECT_EQ(engine().heldLocks(), 0);
}

TEST_F(UseVoice, TheSecondVoiceMayBeWithoutAFolder) {
  const SpeechChannelIdentifier id = open();
  const Bundle bundle("Ava");
  ASSERT_EQ(SEUseVoice(id, &m_man, bundle.get()), noErr);
  ASSERT_EQ(SEUseVoice(id, &m_woman, nullptr), noErr);
  EXPECT_EQ(directory(id), "(none)");
}

// ---- The helpers

class Paths : public ChannelTest {
 protected:
  static CFStringRef stringOf(const std::string& text, CFStringEncoding encoding) {
    return CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(text.data()),
                                   static_cast<CFIndex>(text.size()), encoding, false);
  }
  // A string in Mac OS Roman that has `length` bytes in UTF-8. It has a character that is not
  // ASCII, and so must be converted.
  static CFStringRef convertedString(std::size_t length) {
    return stringOf('\x8E' + std::string(length - 2, 'x'), kCFStringEncodingMacRoman);
  }
};

TEST_F(Paths, AURLIsConvertedToItsPath) {
  const CFURLRef url = urlOf("/voices/Ava and Bob.SpeechVoice");
  char* path = get_url_path(url);
  EXPECT_STREQ(path, "/voices/Ava and Bob.SpeechVoice");
  EXPECT_EQ(engine().live().blocks, 1);
  cst_free(path);
  CFRelease(url);
}

TEST_F(Paths, ARelativeURLIsConvertedToAnAbsolutePath) {
  const CFURLRef url = urlOf("Ava");
  char* path = get_url_path(url);
  EXPECT_EQ(path, std::filesystem::current_path().string() + "/Ava");
  cst_free(path);
  CFRelease(url);
}

TEST_F(Paths, AStringInItsOwnEncodingIsCopied) {
  const CFStringRef string = stringOf("Hello", kCFStringEncodingUTF8);
  char* copy = get_c_string(string, kCFStringEncodingUTF8);
  EXPECT_STREQ(copy, "Hello");
  EXPECT_EQ(engine().live().blocks, 1);
  cst_free(copy);
  CFRelease(string);
}

// A string in another encoding is converted into a buffer that is doubled until the string fits.
TEST_F(Paths, AStringOfAnotherEncodingIsConvertedUpTo65535Bytes) {
  for (const std::size_t length : {2u, 255u, 256u, 257u, 511u, 512u, 5000u, 65535u}) {
    SCOPED_TRACE(length);
    const std::string text = "\u00E9" + std::string(length - 2, 'x');
    const CFStringRef string = convertedString(length);
    char* copy = get_c_string(string, kCFStringEncodingUTF8);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy, text);
    cst_free(copy);
    CFRelease(string);
  }
  EXPECT_EQ(engine().live().blocks, 0);
}

TEST_F(Paths, ALongerStringIsRejectedWithTheSizeThatWasNotTried) {
  const CFStringRef string = convertedString(65536);
  engine().recordServices(true);
  EXPECT_EQ(get_c_string(string, kCFStringEncodingUTF8), nullptr);
  EXPECT_THAT(engine().messages(), ElementsAre("CFStringGetCString still failing at 131072\n"));
  EXPECT_THAT(engine().diagnostics()[0].calls, ElementsAre("errmsg"));
  EXPECT_EQ(engine().live().blocks, 0);
  EXPECT_THAT(
      engine().calls(Op::Alloc),
      ElementsAre("cst_safe_alloc(256)", "cst_safe_realloc(512)", "cst_safe_realloc(1024)",
                  "cst_safe_realloc(2048)", "cst_safe_realloc(4096)", "cst_safe_realloc(8192)",
                  "cst_safe_realloc(16384)", "cst_safe_realloc(32768)", "cst_safe_realloc(65536)"));
  CFRelease(string);
}

TEST_F(Paths, AStringThatTheEncodingCannotRepresentIsRejected) {
  const CFStringRef string = stringOf("\xC4", kCFStringEncodingMacRoman);
  EXPECT_EQ(get_c_string(string, kCFStringEncodingASCII), nullptr);
  EXPECT_EQ(engine().live().blocks, 0);
  CFRelease(string);
}

TEST_F(Paths, OutOfMemoryReturnsNoString) {
  const CFStringRef string = convertedString(1000);
  for (int k = 1; k <= 3; ++k) {
    engine().fail(Op::Alloc, k);
    char* copy = get_c_string(string, kCFStringEncodingUTF8);
    EXPECT_EQ(copy, nullptr) << k;
    if (copy != nullptr) cst_free(copy);
  }
  CFRelease(string);
}

}  // namespace
}  // namespace channels
