// SPDX-License-Identifier: Apache-2.0
#include "ManagerFixture.h"

#include <chrono>
#include <cstdlib>

#include <dlfcn.h>

namespace manager {
namespace {

// Sets the Manager's search paths before its first use.
class SearchFolders : public testing::Environment {
 public:
  void SetUp() override {
    ASSERT_EQ(setenv("SPEECH_VOICE_PATH", VOICES_DIR ":" FOREIGN_VOICES_DIR, 1), 0);
    ASSERT_EQ(setenv("SPEECH_SYNTHESIZER_PATH", COMPLETE_SYNTHESIZER_DIR, 1), 0);
    ASSERT_EQ(setenv("XDG_DATA_HOME", "/nowhere", 1), 0);
  }
};
[[maybe_unused]] const testing::Environment* const kSearchFolders =
    testing::AddGlobalTestEnvironment(new SearchFolders);

Reports& reportsOf(SRefCon refCon) {
  return *static_cast<Reports*>(refCon);
}

}  // namespace

fake::FakeSynthesizer& synthesizer() {
  static fake::FakeSynthesizer* const found = [] {
    void* const library = dlopen(COMPLETE_SYNTHESIZER_DIR "/KavrelSpeech.so", RTLD_NOW);
    const auto accessor = reinterpret_cast<fake::Accessor>(dlsym(library, fake::kAccessorName));
    return accessor();
  }();
  return *found;
}

void Reports::add(SpeechChannel channel, const std::string& line) {
  if (inside) inside(line);
  const std::lock_guard held(m_lock);
  m_lines.push_back((channel == expected ? "" : "(wrong channel) ") + line);
  m_threads.push_back(std::this_thread::get_id());
  m_changed.notify_all();
}

std::vector<std::string> Reports::lines() const {
  const std::lock_guard held(m_lock);
  return m_lines;
}

bool Reports::wait(std::size_t count) {
  std::unique_lock held(m_lock);
  return m_changed.wait_for(held, std::chrono::seconds(30),
                            [&] { return m_lines.size() >= count; });
}

std::vector<std::thread::id> Reports::threads() const {
  const std::lock_guard held(m_lock);
  return m_threads;
}

void onDone(SpeechChannel channel, SRefCon refCon) {
  reportsOf(refCon).add(channel, "done");
}
void onSync(SpeechChannel channel, SRefCon refCon, OSType message) {
  reportsOf(refCon).add(channel, "sync " + std::to_string(message));
}
void onPhoneme(SpeechChannel channel, SRefCon refCon, SInt16 opcode) {
  reportsOf(refCon).add(channel, "phoneme " + std::to_string(opcode));
}
void onWord(SpeechChannel channel, SRefCon refCon, unsigned long position, UInt16 length) {
  reportsOf(refCon).add(channel, "word " + std::to_string(position) + "+" + std::to_string(length));
}
void onError(SpeechChannel channel, SRefCon refCon, OSErr error, long position) {
  reportsOf(refCon).add(channel,
                        "error " + std::to_string(error) + " at " + std::to_string(position));
}

void Manager::SetUp() {
  synthesizer().reset();
  ASSERT_EQ(NewSpeechChannel(nullptr, &m_channel), noErr);
  ASSERT_EQ(synthesizer().channels().size(), 1U);
  m_identifier = synthesizer().channels().begin()->first;
  m_reports.expected = m_channel;
  ASSERT_EQ(SetSpeechInfo(m_channel, soRefCon, &m_reports), noErr);
}

void Manager::TearDown() {
  synthesizer().reset();
  if (m_channel != nullptr) {
    EXPECT_EQ(DisposeSpeechChannel(m_channel), noErr);
  }
  // After a stop at a boundary the Manager closes the synthesizer's channel when it can.
  while (!synthesizer().channels().empty()) std::this_thread::yield();
  synthesizer().join();
}

void Manager::installAll() {
  install(soSpeechDoneCallBack, onDone);
  install(soSyncCallBack, onSync);
  install(soPhonemeCallBack, onPhoneme);
  install(soWordCallBack, onWord);
  install(soErrorCallBack, onError);
}

std::string Manager::status() const {
  SpeechStatusInfo info = {9, 9, 9, 9};
  EXPECT_EQ(GetSpeechInfo(m_channel, soStatus, &info), noErr);
  const std::string state = info.outputBusy == 1 ? "busy" : "";
  return state + (info.outputPaused == 1 ? "paused" : "") +
         (info.outputBusy + info.outputPaused == 0 ? "idle" : "") + ", " +
         std::to_string(info.inputBytesLeft) + " left";
}

void Manager::letCallbacksPass() {
  synthesizer().join();
  Reports last;
  SpeechChannel channel = nullptr;
  ASSERT_EQ(NewSpeechChannel(nullptr, &channel), noErr);
  last.expected = channel;
  const SpeechChannelIdentifier identifier = synthesizer().channels().rbegin()->first;
  ASSERT_EQ(SetSpeechInfo(channel, soRefCon, &last), noErr);
  ASSERT_EQ(SetSpeechInfo(channel, soSpeechDoneCallBack, reinterpret_cast<const void*>(onDone)),
            noErr);
  ASSERT_EQ(SpeakText(channel, "last", 4), noErr);
  synthesizer().finish(identifier);
  EXPECT_TRUE(last.wait(1));
  EXPECT_EQ(DisposeSpeechChannel(channel), noErr);
}

}  // namespace manager
