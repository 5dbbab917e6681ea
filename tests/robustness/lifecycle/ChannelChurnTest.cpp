// SPDX-License-Identifier: Apache-2.0
//
// Channels are opened, used and closed very often: threads and records do not accumulate, and
// memory does not grow.

#include <atomic>
#include <cstdio>
#include <random>

#include "channels/ChannelTest.h"
#include "workloads/HeapMeter.h"

namespace channels {
namespace {

using scripted::engine;
using scripted::Op;
using scripted::Script;
using scripted::When;
using workloads::HeapMeter;

constexpr long kMostGrowth = 1'000'000;
// The engine's own records of kept objects are dropped after so many channels.
constexpr int kBatch = 1'000;

class Churn : public ChannelTest {
 protected:
  Churn() { engine().recordCalls(false); }

  // Opens and closes idle channels; prints how much memory has grown.
  void openAndClose(int times) {
    const HeapMeter meter;
    for (int i = 1; i <= times; ++i) {
      SpeechChannelIdentifier id = 0;
      ASSERT_EQ(SEOpenSpeechChannel(&id), noErr);
      ASSERT_EQ(SECloseSpeechChannel(id), noErr);
      if (i % kBatch == 0) engine().forgetKept();
    }
    std::printf("%d opens and closes, growth %td bytes\n", times, meter.growth());
    EXPECT_GT(meter.peak(), 0u) << "the meter counts nothing";
    EXPECT_LT(meter.growth(), kMostGrowth);
    EXPECT_EQ(freed(), times);
    EXPECT_EQ(engine().live().parameterSets, times);
    EXPECT_EQ(engine().live().ports, 0);
  }

  // Stops after a random number of events: before the first one, between two, after END, or when
  // the channel is idle again. The seed is printed.
  void speakAndStop(int times) {
    const unsigned int seed = std::random_device()();
    std::printf("seed %u\n", seed);
    std::mt19937 random(seed);
    engine().everyJob(Script().word(22, 5).phoneme("ae", 22).word(22, 5).phoneme("ae", 23).end(),
                      When::OnEngineThread);
    const SpeechChannelIdentifier id = openBare();
    set(id, soRefCon, &m_counts);
    set(id, soSpeechDoneCallBack, asPointer(Counts::done));
    set(id, soWordCallBack, asPointer(Counts::word));
    set(id, soPhonemeCallBack, asPointer(Counts::phoneme));
    for (int job = 1; job <= times; ++job) {
      m_counts.events = 0;
      ASSERT_EQ(speak(id, "Hello"), noErr);
      const int moment = static_cast<int>(random() % 6);
      // A job that has ended sends no more events, so do not wait for them.
      while (m_counts.events < moment && m_counts.signals < job) std::this_thread::yield();
      ASSERT_EQ(SEStopSpeechAt(id, random() % 3), noErr);
      m_counts.waitFor(job);
    }
    settle();
    EXPECT_EQ(m_counts.signals, times);
    EXPECT_EQ(status(id), STATUS_IDLE);
    EXPECT_EQ(close(id), noErr);
    EXPECT_EQ(freed(), 1);
    EXPECT_EQ(engine().live().parameterSets, 1 + times);
    EXPECT_EQ(engine().live().ports, 1);
  }

  // Sets a new voice and a new output file before every job; every third job is spoken to the
  // device.
  void changeBeforeEveryJob(int times) {
    engine().everyJob(Script().end(), When::OnEngineThread);
    const SpeechChannelIdentifier id = openBare();
    set(id, soRefCon, &m_counts);
    set(id, soSpeechDoneCallBack, asPointer(Counts::done));
    for (int job = 1; job <= times; ++job) {
      const std::string number = std::to_string(job);
      setVoice(id, ("/v/" + number).c_str());
      const bool toFile = job % 3 != 0;
      setFile(id, toFile ? "/tmp/" + number + ".aiff" : "");
      ASSERT_EQ(speak(id, "Hello"), noErr);
      m_counts.waitFor(job);
      const scripted::Port port = engine().port(engine().ports());
      ASSERT_EQ(port.voice(), "/v/" + number);
      if (toFile) {
        ASSERT_EQ(port.parameters()["audio/output-file"], "/tmp/" + number + ".aiff");
      } else {
        ASSERT_EQ(port.parameters().count("audio/output-file"), 0u);
      }
    }
    settle();
    EXPECT_EQ(close(id), noErr);
    EXPECT_EQ(m_counts.signals, times);
    EXPECT_EQ(engine().count(Op::SetVoice), times);
    EXPECT_EQ(engine().ports(), times);
    // Only the port of the last job, if it was spoken to the device.
    EXPECT_EQ(engine().live().ports, times % 3 == 0 ? 1 : 0);
  }

 private:
  struct Counts {
    std::atomic<int> events = 0;
    std::atomic<int> signals = 0;

    static void done(SpeechChannel /*channel*/, SRefCon refCon) {
      auto& self = *static_cast<Counts*>(refCon);
      ++self.signals;
      self.signals.notify_all();
    }
    static void word(SpeechChannel /*channel*/, SRefCon refCon, unsigned long, UInt16) {
      ++static_cast<Counts*>(refCon)->events;
    }
    static void phoneme(SpeechChannel /*channel*/, SRefCon refCon, SInt16) {
      ++static_cast<Counts*>(refCon)->events;
    }
    void waitFor(int jobs) const {
      for (int now = signals; now < jobs; now = signals) signals.wait(now);
    }
  };

  Counts m_counts;
};

TEST_F(Churn, OpensAndClosesHoldNoMemory) {
  openAndClose(10'000);
}

TEST_F(Churn, StopsAtRandomMomentsEndEveryJobOnce) {
  speakAndStop(3'000);
}

TEST_F(Churn, VoiceAndFileMayChangeBeforeEveryJob) {
  changeBeforeEveryJob(1'000);
}

using FullChurn = Churn;

TEST_F(FullChurn, AHundredThousandOpensAndClosesHoldNoMemory) {
  openAndClose(100'000);
}

TEST_F(FullChurn, AHundredThousandStopsAtRandomMomentsEndEveryJobOnce) {
  speakAndStop(100'000);
}

TEST_F(FullChurn, VoiceAndFileMayChangeBeforeEachOfTenThousandJobs) {
  changeBeforeEveryJob(10'000);
}

}  // namespace
}  // namespace channels
