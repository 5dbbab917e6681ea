// SPDX-License-Identifier: Apache-2.0
#include "speakers/ChannelSpeaker.h"

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <numeric>
#include <stdexcept>

#include <gtest/gtest.h>
#include <sndfile.h>

#include "KavrelSpeechEngine.h"

namespace speech {

namespace fs = std::filesystem;

namespace {

constexpr auto kPatience = std::chrono::minutes(1);

Speaker& speakerOf(SRefCon refCon) {
  return *static_cast<Speaker*>(refCon);
}

template <typename Callback>
void* pointerOf(Callback callback) {
  return reinterpret_cast<void*>(callback);
}

CFURLRef urlOf(const fs::path& path, bool isDirectory) {
  const std::string bytes = path.string();
  return CFURLCreateFromFileSystemRepresentation(nullptr,
                                                 reinterpret_cast<const UInt8*>(bytes.data()),
                                                 static_cast<CFIndex>(bytes.size()), isDirectory);
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
  std::string name = (fs::temp_directory_path() / "speech-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
  m_path = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(m_path, ignored);
}

Speaker::Speaker() {
  m_open = SEOpenSpeechChannel(&m_id) == noErr;
  EXPECT_TRUE(m_open);
  SESetSpeechInfo(m_id, soRefCon, this);
  SESetSpeechInfo(m_id, soSpeechDoneCallBack, pointerOf(speechDone));
  SESetSpeechInfo(m_id, soWordCallBack, pointerOf(word));
  SESetSpeechInfo(m_id, soPhonemeCallBack, pointerOf(phoneme));
  SESetSpeechInfo(m_id, soSyncCallBack, pointerOf(sync));
}

Speaker::~Speaker() {
  if (m_open) close();
}

long Speaker::close() {
  m_open = false;
  return SECloseSpeechChannel(m_id);
}

void Speaker::useVoice(const std::string& name) {
  CFURLRef url = urlOf(fs::path(KAVREL_VOICES_DIR) / (name + ".SpeechVoice"), true);
  CFBundleRef bundle = CFBundleCreate(nullptr, url);
  VoiceSpec voice{0x4B56524C, 0};
  EXPECT_EQ(SEUseVoice(m_id, &voice, bundle), noErr);
  CFRelease(bundle);
  CFRelease(url);
}

void Speaker::setRate(int rate) {
  Fixed value = Long2Fix(rate);
  EXPECT_EQ(SESetSpeechInfo(m_id, soRate, &value), noErr);
}

void Speaker::writeTo(const fs::path& file) {
  CFURLRef url = urlOf(file, false);
  EXPECT_EQ(SESetSpeechInfo(m_id, soOutputToFileWithCFURL,
                            const_cast<void*>(static_cast<const void*>(url))),
            noErr);
  CFRelease(url);
}

void Speaker::reportTruePositions() {
  SESetSpeechInfo(m_id, kCallerPositions, this);
}

long Speaker::speak(std::string_view text, const std::vector<std::string>& more) {
  m_more = more;
  m_nextPiece = 0;
  SESetSpeechInfo(m_id, soTextDoneCallBack, more.empty() ? nullptr : pointerOf(textDone));
  return SESpeakBuffer(m_id, const_cast<char*>(text.data()), static_cast<long>(text.size()), 0);
}

bool Speaker::waitForDone(std::size_t count) {
  std::unique_lock held(m_lock);
  return m_changed.wait_for(held, kPatience, [&] { return m_done >= count; });
}

bool Speaker::waitForWords(std::size_t count) {
  std::unique_lock held(m_lock);
  return m_changed.wait_for(held, kPatience, [&] { return m_words.size() >= count; });
}

std::size_t Speaker::doneCount() const {
  const std::lock_guard held(m_lock);
  return m_done;
}

std::vector<Word> Speaker::words() const {
  const std::lock_guard held(m_lock);
  return m_words;
}

std::vector<int> Speaker::phonemes() const {
  const std::lock_guard held(m_lock);
  return m_phonemes;
}

std::vector<int> Speaker::syncs() const {
  const std::lock_guard held(m_lock);
  return m_syncs;
}

void Speaker::textDone(SpeechChannel, SRefCon refCon, const void** next, unsigned long* bytes,
                       SInt32*) {
  Speaker& self = speakerOf(refCon);
  *next = nullptr;
  if (self.m_nextPiece == self.m_more.size()) return;
  const std::string& piece = self.m_more[self.m_nextPiece++];
  *next = piece.c_str();
  *bytes = piece.size();
}

void Speaker::speechDone(SpeechChannel, SRefCon refCon) {
  Speaker& self = speakerOf(refCon);
  // The test's action runs first, so that it is complete when waitForDone() returns.
  if (self.onDone) self.onDone();
  const std::lock_guard held(self.m_lock);
  ++self.m_done;
  self.m_changed.notify_all();
}

void Speaker::word(SpeechChannel, SRefCon refCon, unsigned long position, UInt16 length) {
  Speaker& self = speakerOf(refCon);
  const Word word{position, length};
  {
    const std::lock_guard held(self.m_lock);
    self.m_words.push_back(word);
    self.m_changed.notify_all();
  }
  if (self.onWord) self.onWord(word);
}

void Speaker::phoneme(SpeechChannel, SRefCon refCon, SInt16 code) {
  Speaker& self = speakerOf(refCon);
  const std::lock_guard held(self.m_lock);
  self.m_phonemes.push_back(code);
}

void Speaker::sync(SpeechChannel, SRefCon refCon, OSType number) {
  Speaker& self = speakerOf(refCon);
  const std::lock_guard held(self.m_lock);
  self.m_syncs.push_back(static_cast<int>(number));
}

double Sound::loudness() const {
  if (samples.empty()) return 0;
  const double sum = std::accumulate(samples.begin(), samples.end(), 0.0, [](double all, short s) {
    return all + static_cast<double>(s) * s;
  });
  return std::sqrt(sum / static_cast<double>(samples.size()));
}

Sound soundIn(const fs::path& file) {
  SF_INFO info{};
  SNDFILE* opened = sf_open(file.c_str(), SFM_READ, &info);
  if (opened == nullptr) throw std::runtime_error("cannot read " + file.string());
  EXPECT_EQ(info.format & SF_FORMAT_TYPEMASK, SF_FORMAT_AIFF);
  EXPECT_EQ(info.channels, 1);
  Sound sound;
  sound.sampleRate = info.samplerate;
  sound.samples.resize(static_cast<std::size_t>(info.frames));
  EXPECT_EQ(sf_readf_short(opened, sound.samples.data(), info.frames), info.frames);
  sf_close(opened);
  return sound;
}

}  // namespace speech
