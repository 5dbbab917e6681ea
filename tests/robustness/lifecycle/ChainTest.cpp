// SPDX-License-Identifier: Apache-2.0
//
// Chains of jobs, each started inside the speech-done of the one before: stack depth and number of
// threads do not grow with the length of the chain.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

#include <pthread.h>

#include "channels/ChannelTest.h"

namespace channels {
namespace {

using scripted::engine;
using scripted::Script;
using scripted::When;

// The depth of the caller in its thread's stack, in bytes.
std::size_t stackDepth() {
  pthread_attr_t attributes;
  pthread_getattr_np(pthread_self(), &attributes);
  void* lowest = nullptr;
  std::size_t size = 0;
  pthread_attr_getstack(&attributes, &lowest, &size);
  pthread_attr_destroy(&attributes);
  const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  return reinterpret_cast<std::uintptr_t>(lowest) + size - here;
}

class Chain : public ChannelTest {
 protected:
  // Speaks `jobs` jobs; every job after the first is started in the speech-done of the one before.
  void speakChain(int jobs, When when) {
    engine().everyJob(Script().word(22, 5).end(), when);
    engine().recordCalls(false);
    const SpeechChannelIdentifier id = open();
    set(id, soWordCallBack, nullptr);
    client().onDone = [&](auto channel) {
      const int job = ++m_jobs;
      m_deepest = std::max(m_deepest.load(), stackDepth());
      if (job % 64 == 0) m_mostThreads = std::max(m_mostThreads.load(), threadCount());
      if (job < jobs && speak(channel, "again") != noErr) ++m_refused;
    };
    ASSERT_EQ(speak(id, "Hello"), noErr);
    // No limit here, since the machine may be slow; the test as a whole has one.
    while (m_jobs < jobs && m_refused == 0)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    settle();
    EXPECT_EQ(m_refused, 0);
    EXPECT_EQ(client().count("done"), jobs);
    EXPECT_LT(m_deepest, 64u * 1024);
    // The threads of the test and the port, and the finishing and signalling threads of two jobs,
    // with a margin.
    EXPECT_LE(m_mostThreads, m_threadsAtStart + 8);
  }

  const int m_threadsAtStart = threadCount();
  std::atomic<int> m_jobs = 0;
  std::atomic<int> m_refused = 0;
  std::atomic<std::size_t> m_deepest = 0;
  std::atomic<int> m_mostThreads = 0;
};

TEST_F(Chain, OfJobsNeedsNoMoreStackAndThreadsThanOne) {
  speakChain(2'000, When::OnEngineThread);
}

// END is sent inside SESpeakBuffer, which is called inside speech-done.
TEST_F(Chain, OfJobsThatEndBeforeSpeakReturnsDoesNotNest) {
  speakChain(1'000, When::InsideSpeak);
}

using FullChain = Chain;

TEST_F(FullChain, OfTenThousandJobsNeedsNoMoreStackAndThreadsThanOne) {
  speakChain(10'000, When::OnEngineThread);
}

}  // namespace
}  // namespace channels
