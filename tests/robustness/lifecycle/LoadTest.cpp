// SPDX-License-Identifier: Apache-2.0
//
// Many channels at once, used by many threads: every job is signalled once, with its channel idle,
// and all threads exit.

#include <atomic>
#include <barrier>
#include <chrono>
#include <deque>

#include "channels/ChannelTest.h"

namespace channels {
namespace {

using scripted::engine;
using scripted::Script;
using scripted::When;
using Clock = std::chrono::steady_clock;

// A channel and its client, which only counts.
struct Speaker {
  SpeechChannelIdentifier id = 0;
  std::atomic<int> signals = 0;
  std::atomic<int> notIdle = 0;

  static void done(SpeechChannel channel, SRefCon refCon) {
    auto& self = *static_cast<Speaker*>(refCon);
    SpeechStatusInfo status{};
    const auto id = static_cast<SpeechChannelIdentifier>(reinterpret_cast<std::intptr_t>(channel));
    if (SESpeechStatus(id, &status) != noErr || status.outputBusy || status.outputPaused) {
      ++self.notIdle;
    }
    ++self.signals;
    self.signals.notify_all();
  }

  void waitFor(int jobs) const {
    for (int now = signals; now < jobs; now = signals) signals.wait(now);
  }
};

class Load : public ChannelTest {
 protected:
  Load() { engine().recordCalls(false); }

  void openSpeakers(int number) {
    for (int i = 0; i < number; ++i) {
      Speaker& speaker = m_speakers.emplace_back();
      speaker.id = openBare();
      set(speaker.id, soRefCon, &speaker);
      set(speaker.id, soSpeechDoneCallBack, asPointer(Speaker::done));
    }
  }

  // Opens `channels` channels that speak `jobs` jobs each; every thread uses an equal share of
  // them.
  void speakAll(int channels, int jobs, int threads) {
    engine().everyJob(Script().word(22, 5).phoneme("ae", 22).end(), When::OnEngineThread);
    openSpeakers(channels);
    std::vector<std::thread> clients;
    for (int thread = 0; thread < threads; ++thread) {
      clients.emplace_back([&, thread] {
        for (int job = 1; job <= jobs; ++job) {
          for (int i = thread; i < channels; i += threads) {
            EXPECT_EQ(speak(m_speakers[static_cast<std::size_t>(i)].id, "Hello"), noErr);
          }
          for (int i = thread; i < channels; i += threads) {
            m_speakers[static_cast<std::size_t>(i)].waitFor(job);
          }
        }
      });
    }
    for (std::thread& client : clients) client.join();
    const auto end = Clock::now();
    settle();
    m_afterwards = Clock::now() - end;
    int signals = 0;
    for (const Speaker& speaker : m_speakers) {
      EXPECT_EQ(speaker.signals, jobs);
      EXPECT_EQ(speaker.notIdle, 0);
      signals += speaker.signals;
    }
    std::printf("%d speech-done, no thread left after %.3f s\n", signals, m_afterwards.count());
  }

  std::deque<Speaker> m_speakers;
  std::chrono::duration<double> m_afterwards{};
};

TEST_F(Load, SixteenChannelsOnEightThreadsAreSignalledOnceAJob) {
  speakAll(16, 50, 8);
}

TEST_F(Load, SixtyFourJobsThatEndAtOnceAreSignalledOnceEach) {
  openSpeakers(64);
  for (const Speaker& speaker : m_speakers) ASSERT_EQ(speak(speaker.id, "Hello"), noErr);
  std::barrier together(64);
  std::vector<std::thread> engines;
  for (int port = 1; port <= 64; ++port) {
    engines.emplace_back([&, port] {
      together.arrive_and_wait();
      engine().port(port).end();
    });
  }
  for (std::thread& thread : engines) thread.join();
  for (const Speaker& speaker : m_speakers) speaker.waitFor(1);
  settle();
  for (const Speaker& speaker : m_speakers) EXPECT_EQ(speaker.signals, 1);
}

TEST_F(Load, AThousandOpenChannelsSpeakSideBySide) {
  openSpeakers(1000);
  for (const Speaker& speaker : m_speakers) ASSERT_EQ(speak(speaker.id, "Hello"), noErr);
  for (int port = 1; port <= 1000; ++port) {
    engine().port(port).end();
    // One after the other: each end needs two threads, which are too many for all channels at once.
    m_speakers[static_cast<std::size_t>(port - 1)].waitFor(1);
  }
  settle();
  for (const Speaker& speaker : m_speakers) {
    EXPECT_EQ(speaker.signals, 1);
    EXPECT_EQ(close(speaker.id), noErr);
  }
  EXPECT_EQ(freed(), 1000);
  EXPECT_EQ(engine().live().ports, 1000);
}

using Full = Load;

TEST_F(Full, SixtyFourChannelsOnEightThreadsAreSignalledOnceAJob) {
  speakAll(64, 200, 8);
  EXPECT_LT(m_afterwards, std::chrono::seconds(1));
}

}  // namespace
}  // namespace channels
