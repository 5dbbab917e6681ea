// SPDX-License-Identifier: Apache-2.0
//
// Many voices at once: channels on several threads, each with its own file, reused again and again.
// Every text is done exactly once, on one thread for all of them. The files are in the folder of
// the file named by the argument.
#include <ApplicationServices/ApplicationServices.h>

#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kThreads = 4;
constexpr int kChannelsOfAThread = 4;
constexpr int kTexts = 6;

void check(OSErr result, const char* what) {
  if (result == noErr) return;
  std::fprintf(stderr, "%s: %d\n", what, result);
  std::exit(1);
}

std::mutex g_threadsLock;
std::set<std::thread::id> g_callbackThreads;

class Talker {
 public:
  explicit Talker(std::string file) : m_file(std::move(file)) {
    check(NewSpeechChannel(nullptr, &m_channel), "new channel");
    check(SetSpeechInfo(m_channel, soRefCon, this), "refcon");
    check(SetSpeechInfo(m_channel, soSpeechDoneCallBack, reinterpret_cast<void*>(onDone)), "done");
    CFURLRef url = CFURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<const UInt8*>(m_file.data()), static_cast<CFIndex>(m_file.size()),
        false);
    check(SetSpeechInfo(m_channel, soOutputToFileWithCFURL, url), "file");
    CFRelease(url);
  }
  ~Talker() {
    check(DisposeSpeechChannel(m_channel), "dispose");
    std::remove(m_file.c_str());
  }
  Talker(const Talker&) = delete;
  Talker& operator=(const Talker&) = delete;

  void speak() { check(SpeakText(m_channel, "one two", 7), "speak"); }
  int waitForEnds(int count) {
    std::unique_lock held(m_lock);
    m_changed.wait(held, [&] { return m_done >= count; });
    return m_done;
  }

 private:
  static void onDone(SpeechChannel channel, SRefCon self) {
    auto& talker = *static_cast<Talker*>(self);
    if (channel != talker.m_channel) std::abort();
    {
      const std::lock_guard held(g_threadsLock);
      g_callbackThreads.insert(std::this_thread::get_id());
    }
    const std::lock_guard held(talker.m_lock);
    ++talker.m_done;
    talker.m_changed.notify_all();
  }

  const std::string m_file;
  SpeechChannel m_channel = nullptr;
  std::mutex m_lock;
  std::condition_variable m_changed;
  int m_done = 0;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const std::string file = argv[1];
  std::atomic<int> done = 0;
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      std::vector<std::unique_ptr<Talker>> talkers;
      talkers.reserve(kChannelsOfAThread);
      for (int i = 0; i < kChannelsOfAThread; ++i) {
        talkers.push_back(
            std::make_unique<Talker>(file + std::to_string(thread) + std::to_string(i)));
      }
      for (int text = 1; text <= kTexts; ++text) {
        for (const auto& talker : talkers) talker->speak();
        for (const auto& talker : talkers) talker->waitForEnds(text);
      }
      for (const auto& talker : talkers) done += talker->waitForEnds(kTexts);
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::printf("%d texts done on %zu thread, %d busy\n", done.load(), g_callbackThreads.size(),
              SpeechBusy());
  return 0;
}
