// SPDX-License-Identifier: Apache-2.0
//
// The real plug-in beside other synthesizers: one of the tests' own that works, and some that do
// not. A process has one set of search folders, so all tests of this program share them.
#include <ApplicationServices/ApplicationServices.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr OSType kOurs = 0x4B56524C;
constexpr VoiceSpec kCorin = {kOurs, 101};
constexpr VoiceSpec kBeep = {0x42454550, 1};
constexpr VoiceSpec kGarbage = {0x47415242, 2};
constexpr VoiceSpec kThrown = {0x54485257, 3};
constexpr VoiceSpec kAbsent = {0x41425354, 4};

// The broken ones first, so that they are tried before any other.
class SearchFolders : public testing::Environment {
 public:
  void SetUp() override {
    ASSERT_EQ(setenv("SPEECH_VOICE_PATH", BEEP_VOICES_DIR ":" BROKEN_VOICES_DIR ":" VOICES_DIR, 1),
              0);
    ASSERT_EQ(
        setenv("SPEECH_SYNTHESIZER_PATH",
               THROWING_SYNTHESIZER_DIR ":" DEPENDENT_SYNTHESIZER_DIR ":" INCOMPLETE_SYNTHESIZER_DIR
                                        ":" GARBAGE_SYNTHESIZER_DIR ":" BEEP_SYNTHESIZER_DIR,
               1),
        0);
  }
};
[[maybe_unused]] const testing::Environment* const kSearchFolders =
    testing::AddGlobalTestEnvironment(new SearchFolders);

// A channel of the Manager and what it has reported.
class Client {
 public:
  explicit Client(VoiceSpec voice) {
    EXPECT_EQ(NewSpeechChannel(&voice, &m_channel), noErr);
    SetSpeechInfo(m_channel, soRefCon, this);
    install(soWordCallBack, onWord);
    install(soSpeechDoneCallBack, onDone);
    install(soPhonemeCallBack, onPhoneme);
    install(soSyncCallBack, onSync);
    install(soErrorCallBack, onError);
  }
  ~Client() { EXPECT_EQ(DisposeSpeechChannel(m_channel), noErr); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  SpeechChannel channel() const { return m_channel; }
  OSErr speak(const std::string& text) { return SpeakText(m_channel, text.data(), text.size()); }

  bool waitForWords(std::size_t count) {
    return wait([&] { return m_words.size() >= count; });
  }
  bool waitForEnds(int count) {
    return wait([&] { return m_ends >= count; });
  }
  int ends() {
    const std::lock_guard held(m_lock);
    return m_ends;
  }
  // The words as "position+length".
  std::vector<std::string> words() {
    const std::lock_guard held(m_lock);
    return m_words;
  }
  std::set<std::thread::id> threads() {
    const std::lock_guard held(m_lock);
    return m_threads;
  }

 private:
  template <typename Function>
  void install(OSType selector, Function* function) {
    EXPECT_EQ(SetSpeechInfo(m_channel, selector, reinterpret_cast<const void*>(function)), noErr);
  }
  template <typename Condition>
  bool wait(Condition condition) {
    std::unique_lock held(m_lock);
    return m_changed.wait_for(held, std::chrono::minutes(1), condition);
  }
  template <typename Note>
  static void add(SpeechChannel channel, SRefCon refCon, Note note) {
    Client& self = *static_cast<Client*>(refCon);
    EXPECT_EQ(channel, self.m_channel);
    const std::lock_guard held(self.m_lock);
    note(self);
    self.m_threads.insert(std::this_thread::get_id());
    self.m_changed.notify_all();
  }
  static void onWord(SpeechChannel channel, SRefCon refCon, unsigned long position, UInt16 length) {
    add(channel, refCon, [&](Client& self) {
      self.m_words.push_back(std::to_string(position) + "+" + std::to_string(length));
    });
  }
  static void onDone(SpeechChannel channel, SRefCon refCon) {
    add(channel, refCon, [](Client& self) { ++self.m_ends; });
  }
  static void onPhoneme(SpeechChannel channel, SRefCon refCon, SInt16 /*opcode*/) {
    add(channel, refCon, [](Client&) {});
  }
  static void onSync(SpeechChannel channel, SRefCon refCon, OSType /*message*/) {
    add(channel, refCon, [](Client&) {});
  }
  static void onError(SpeechChannel channel, SRefCon refCon, OSErr /*error*/, long /*position*/) {
    add(channel, refCon, [](Client&) {});
  }

  SpeechChannel m_channel = nullptr;
  std::mutex m_lock;
  std::condition_variable m_changed;
  std::vector<std::string> m_words;
  std::set<std::thread::id> m_threads;
  int m_ends = 0;
};

// The first test: what is tried is reported once in a process.
TEST(ASynthesizer, ThatIsBrokenIsOneLineAndTheOthersSpeak) {
  testing::internal::CaptureStderr();
  { const Client ours(kCorin); }
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_THAT(said,
              AllOf(HasSubstr("The synthesizer " THROWING_SYNTHESIZER_DIR
                              "/KavrelSpeech.so cannot open a channel: broken on purpose.\n"),
                    HasSubstr(DEPENDENT_SYNTHESIZER_DIR "/KavrelSpeech.so cannot be loaded: "),
                    HasSubstr(INCOMPLETE_SYNTHESIZER_DIR "/KavrelSpeech.so has no entry point ")));
  EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 3) << said;
  testing::internal::CaptureStderr();
  {
    Client ours(kCorin);
    ASSERT_EQ(ours.speak("One."), noErr);
    EXPECT_TRUE(ours.waitForEnds(1));
    Client beeps(kBeep);
    ASSERT_EQ(beeps.speak("One."), noErr);
    EXPECT_TRUE(beeps.waitForEnds(1));
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ASynthesizer, ThatThrowsMayBeTheRightOne) {
  for (VoiceSpec voice : {kThrown, kAbsent}) {
    testing::internal::CaptureStderr();
    SpeechChannel channel = nullptr;
    EXPECT_EQ(NewSpeechChannel(&voice, &channel), synthOpenFailed);
    EXPECT_EQ(channel, nullptr);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("cannot open a channel"));
  }
}

TEST(TwoSynthesizers, HaveTheirVoicesInOneList) {
  SInt16 count = 0;
  ASSERT_EQ(CountVoices(&count), noErr);
  std::vector<OSType> creators;
  for (SInt16 index = 1; index <= count; ++index) {
    VoiceSpec spec{};
    ASSERT_EQ(GetIndVoice(index, &spec), noErr);
    creators.push_back(spec.creator);
  }
  EXPECT_EQ(std::ranges::count(creators, OSType{kBeep.creator}), 1);
  EXPECT_GT(std::ranges::count(creators, kOurs), 10);

  VoiceSpec made{};
  ASSERT_EQ(MakeVoiceSpec(kBeep.creator, kBeep.id, &made), noErr);
  VoiceDescription about{};
  ASSERT_EQ(GetVoiceDescription(&made, &about, sizeof about), noErr);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(about.name) + 1, about.name[0]), "Beep");
  EXPECT_EQ(OSType{about.voice.creator}, OSType{kBeep.creator});
  EXPECT_EQ(OSType{about.voice.id}, OSType{kBeep.id});
  ASSERT_EQ(GetVoiceDescription(&kCorin, &about, sizeof about), noErr);
  EXPECT_EQ(OSType{about.voice.creator}, kOurs);
  // A number of the one with the creator of the other.
  ASSERT_EQ(MakeVoiceSpec(kBeep.creator, kCorin.id, &made), noErr);
  EXPECT_EQ(GetVoiceDescription(&made, &about, sizeof about), voiceNotFound);
}

TEST(TwoSynthesizers, HaveIncompatibleVoices) {
  Client ours(kCorin);
  Client beeps(kBeep);
  EXPECT_EQ(SetSpeechInfo(ours.channel(), soCurrentVoice, &kBeep), incompatibleVoice);
  EXPECT_EQ(SetSpeechInfo(beeps.channel(), soCurrentVoice, &kCorin), incompatibleVoice);
  EXPECT_EQ(SetSpeechInfo(ours.channel(), soCurrentVoice, &kCorin), noErr);
  EXPECT_EQ(SetSpeechInfo(beeps.channel(), soCurrentVoice, &kBeep), noErr);
  VoiceSpec current{};
  ASSERT_EQ(GetSpeechInfo(beeps.channel(), soCurrentVoice, &current), noErr);
  EXPECT_EQ(OSType{current.creator}, OSType{kBeep.creator});
  SpeechVersionInfo version{};
  ASSERT_EQ(GetSpeechInfo(beeps.channel(), soSynthType, &version), noErr);
  EXPECT_EQ(OSType{version.synthSubType}, OSType{kBeep.creator});
  ASSERT_EQ(GetSpeechInfo(ours.channel(), soSynthType, &version), noErr);
  EXPECT_EQ(OSType{version.synthSubType}, kOurs);
}

TEST(TwoSynthesizers, SpeakAtTheSameTime) {
  Client ours(kCorin);
  Client beeps(kBeep);
  ASSERT_EQ(ours.speak("one two three"), noErr);
  std::string text = "a bc def";
  for (int word = 0; word < 20'000; ++word) text += " x";
  ASSERT_EQ(beeps.speak(text), noErr);
  ASSERT_TRUE(ours.waitForWords(1));
  ASSERT_TRUE(beeps.waitForWords(3));
  EXPECT_EQ(SpeechBusy(), 2);
  ASSERT_TRUE(ours.waitForEnds(1));
  EXPECT_THAT(ours.words(), ElementsAre("0+3", "4+3", "8+5"));
  EXPECT_EQ(SpeechBusy(), 1);
  EXPECT_EQ(PauseSpeechAt(beeps.channel(), kImmediate), noErr);
  EXPECT_EQ(ContinueSpeech(beeps.channel()), noErr);
  EXPECT_EQ(beeps.ends(), 0);
  EXPECT_EQ(StopSpeech(beeps.channel()), noErr);
  ASSERT_TRUE(beeps.waitForEnds(1));
  EXPECT_EQ(ours.ends(), 1);
  EXPECT_EQ(beeps.ends(), 1);
  EXPECT_EQ(beeps.words()[0], "0+1");
  EXPECT_EQ(beeps.words()[1], "2+2");
  EXPECT_EQ(beeps.words()[2], "5+3");
  EXPECT_EQ(ours.threads(), beeps.threads());
}

// A text is accepted if and only if the result is noErr; then its speech-done comes once.
TEST(ASynthesizer, ThatReturnsGarbageDoesNotReachTheClient) {
  Client garbage(kGarbage);
  Client beeps(kBeep);
  ASSERT_EQ(beeps.speak("one two three four five six seven eight nine ten"), noErr);
  for (int round = 1; round <= 3; ++round) {
    EXPECT_NE(garbage.speak("Hello"), noErr);
    ASSERT_EQ(garbage.speak("Hello"), noErr);
    ASSERT_TRUE(garbage.waitForEnds(round));
    SpeechStatusInfo status{};
    EXPECT_EQ(GetSpeechInfo(garbage.channel(), soStatus, &status), noErr);
    EXPECT_EQ(status.outputBusy + status.outputPaused, 0);
    EXPECT_EQ(garbage.ends(), round);
  }
  for (const std::string& word : garbage.words()) EXPECT_EQ(word, "5+0");
  EXPECT_EQ(StopSpeech(garbage.channel()), noErr);
  EXPECT_EQ(PauseSpeechAt(garbage.channel(), kImmediate), noErr);
  EXPECT_EQ(ContinueSpeech(garbage.channel()), noErr);
  EXPECT_NE(UseDictionary(garbage.channel(), nullptr), noErr);
  ASSERT_TRUE(beeps.waitForEnds(1));
  EXPECT_EQ(beeps.words().size(), 10U);
}

}  // namespace
