// SPDX-License-Identifier: Apache-2.0
//
// The collection of texts in tests/speech/texts, spoken by the Manager with the real plug-in and
// engine: each is heard, its words are reported where they are, and its sync marks have their
// values.
#include <ApplicationServices/ApplicationServices.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "speakers/ChannelSpeaker.h"

namespace {

using Syncs = std::vector<std::uint32_t>;

// What a client learns of one text.
struct Heard {
  std::vector<speech::Word> words;
  Syncs syncs;
  std::vector<long> errors;  // positions
  bool isDone = false;
};

// Speaks into a file and records what the callbacks report.
class Client {
 public:
  explicit Client(const std::filesystem::path& file) {
    EXPECT_EQ(NewSpeechChannel(nullptr, &m_channel), noErr);
    SetSpeechInfo(m_channel, soRefCon, this);
    install(soWordCallBack, onWord);
    install(soSyncCallBack, onSync);
    install(soErrorCallBack, onError);
    install(soSpeechDoneCallBack, onDone);
    const std::string path = file.string();
    CFURLRef url = CFURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()),
        false);
    EXPECT_EQ(SetSpeechInfo(m_channel, soOutputToFileWithCFURL, url), noErr);
    CFRelease(url);
  }
  ~Client() { DisposeSpeechChannel(m_channel); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  Heard speak(const std::string& text) {
    EXPECT_EQ(SpeakBuffer(m_channel, text.data(), text.size(), 0), noErr);
    std::unique_lock held(m_lock);
    m_changed.wait_for(held, std::chrono::minutes(1), [this] { return m_heard.isDone; });
    return m_heard;
  }

 private:
  template <typename Function>
  void install(OSType selector, Function* function) {
    EXPECT_EQ(SetSpeechInfo(m_channel, selector, reinterpret_cast<const void*>(function)), noErr);
  }
  template <typename Work>
  static void note(SRefCon self, Work work) {
    auto& client = *static_cast<Client*>(self);
    const std::lock_guard held(client.m_lock);
    work(client.m_heard);
    client.m_changed.notify_all();
  }
  static void onWord(SpeechChannel, SRefCon self, unsigned long position, UInt16 length) {
    note(self, [=](Heard& heard) { heard.words.push_back({position, length}); });
  }
  static void onSync(SpeechChannel, SRefCon self, OSType message) {
    note(self, [=](Heard& heard) { heard.syncs.push_back(message); });
  }
  static void onError(SpeechChannel, SRefCon self, OSErr error, long position) {
    EXPECT_EQ(error, badInputText);
    note(self, [=](Heard& heard) { heard.errors.push_back(position); });
  }
  static void onDone(SpeechChannel, SRefCon self) {
    note(self, [](Heard& heard) { heard.isDone = true; });
  }

  SpeechChannel m_channel = nullptr;
  std::mutex m_lock;
  std::condition_variable m_changed;
  Heard m_heard;
};

bool isWordByte(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0;
}

// The first letters and digits of the word: punctuation around it may belong to it or not.
std::string bareWord(const std::string& text, const speech::Word& word) {
  const std::string slice = text.substr(word.position, word.length);
  const auto first = std::ranges::find_if(slice, isWordByte);
  return {first, std::find_if_not(first, slice.end(), isWordByte)};
}

TEST(SpokenTexts, AreHeardWithTheirWordsMarksAndProblems) {
  std::ifstream file(KAVREL_TEXTS);
  const auto texts = nlohmann::json::parse(file);
  ASSERT_GE(texts.size(), 60U);
  const speech::TemporaryFolder folder;
  for (const auto& entry : texts) {
    const auto text = entry.at("text").get<std::string>();
    SCOPED_TRACE(text);
    const std::filesystem::path sound = folder / "text.aiff";
    const Heard heard = Client(sound).speak(text);
    EXPECT_TRUE(heard.isDone);
    EXPECT_EQ(heard.syncs, entry.value("syncs", Syncs()));
    EXPECT_EQ(heard.errors.size(), entry.value("reports", 0U));
    EXPECT_GT(speech::soundIn(sound).loudness(), 0);

    std::istringstream expected(entry.at("heard").get<std::string>());
    auto next = heard.words.begin();
    for (std::string word; expected >> word; ++next) {
      next = std::find_if(next, heard.words.end(),
                          [&](const speech::Word& at) { return bareWord(text, at) == word; });
      ASSERT_NE(next, heard.words.end()) << word;
    }
    unsigned long last = 0;
    for (const speech::Word& word : heard.words) {
      EXPECT_GE(word.position, last);
      EXPECT_LE(word.position + word.length, text.size());
      last = word.position;
    }
  }
}

}  // namespace
