// SPDX-License-Identifier: Apache-2.0
//
// ManagerClient: a client of the Manager with the real plug-in: a channel and what it reports.
//
// Threads: one thread at a time may use an object; callbacks may run meanwhile.
#pragma once

#include <ApplicationServices/ApplicationServices.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "speakers/ChannelSpeaker.h"

namespace speech {

// A channel of the Manager and the events that it reports.
class ManagerClient {
 public:
  ManagerClient() {
    EXPECT_EQ(NewSpeechChannel(nullptr, &m_channel), noErr);
    SetSpeechInfo(m_channel, soRefCon, this);
    install(soWordCallBack, onWord);
    install(soErrorCallBack, onError);
    install(soSpeechDoneCallBack, onDone);
  }
  ~ManagerClient() { DisposeSpeechChannel(m_channel); }
  ManagerClient(const ManagerClient&) = delete;
  ManagerClient& operator=(const ManagerClient&) = delete;

  SpeechChannel channel() const { return m_channel; }

  // Returns the result of setting the output file.
  OSErr setFile(const std::filesystem::path& file) {
    const std::string path = file.string();
    CFURLRef url = CFURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()),
        false);
    const OSErr result = SetSpeechInfo(m_channel, soOutputToFileWithCFURL, url);
    CFRelease(url);
    return result;
  }
  void writeTo(const std::filesystem::path& file) { EXPECT_EQ(setFile(file), noErr); }
  OSErr speak(const std::string& text, SInt32 flags = 0) {
    return SpeakBuffer(m_channel, text.data(), text.size(), flags);
  }
  bool waitForWords(std::size_t count) {
    return wait([&] { return m_words.size() >= count; });
  }
  bool waitForEnds(int count) {
    return wait([&] { return m_done >= count; });
  }
  std::vector<Word> words() {
    const std::lock_guard held(m_lock);
    return m_words;
  }
  std::vector<OSErr> errors() {
    const std::lock_guard held(m_lock);
    return m_errors;
  }
  SpeechStatusInfo status() const {
    SpeechStatusInfo info{};
    EXPECT_EQ(GetSpeechInfo(m_channel, soStatus, &info), noErr);
    return info;
  }

  template <typename Function>
  void install(OSType selector, Function* function) {
    EXPECT_EQ(SetSpeechInfo(m_channel, selector, reinterpret_cast<const void*>(function)), noErr);
  }

 private:
  template <typename Condition>
  bool wait(Condition condition) {
    std::unique_lock held(m_lock);
    return m_changed.wait_for(held, std::chrono::minutes(1), condition);
  }
  static void onWord(SpeechChannel, SRefCon self, unsigned long position, UInt16 length) {
    auto& client = *static_cast<ManagerClient*>(self);
    const std::lock_guard held(client.m_lock);
    client.m_words.push_back({position, length});
    client.m_changed.notify_all();
  }
  static void onError(SpeechChannel, SRefCon self, OSErr error, long /*position*/) {
    auto& client = *static_cast<ManagerClient*>(self);
    const std::lock_guard held(client.m_lock);
    client.m_errors.push_back(error);
  }
  static void onDone(SpeechChannel, SRefCon self) {
    auto& client = *static_cast<ManagerClient*>(self);
    const std::lock_guard held(client.m_lock);
    ++client.m_done;
    client.m_changed.notify_all();
  }

  SpeechChannel m_channel = nullptr;
  std::mutex m_lock;
  std::condition_variable m_changed;
  std::vector<Word> m_words;
  std::vector<OSErr> m_errors;
  int m_done = 0;
};

}  // namespace speech
