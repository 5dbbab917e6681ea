// SPDX-License-Identifier: Apache-2.0
//
// Channels compared with the model of their state table: random steps on four channels at a time;
// every result is checked with the model. The seed is printed; KAVREL_SEED repeats a run.

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <memory>
#include <random>

#include "channels/ChannelTest.h"
#include "state_model/StateModel.h"

namespace model {
namespace {

using channels::ChannelTest;
using channels::threadCount;
using scripted::engine;
using scripted::Script;
using scripted::When;

unsigned int chosenSeed() {
  const char* given = std::getenv("KAVREL_SEED");
  return given != nullptr ? static_cast<unsigned int>(std::strtoul(given, nullptr, 10))
                          : std::random_device()();
}

// A channel, its model, and the number of its speech-done calls.
struct Subject {
  SpeechChannelIdentifier id = 0;
  int port = 0;             // number of its port; 0: none yet
  bool endsItself = false;  // the last job ends without a stop
  StateModel model;
  std::deque<std::string> history;
  std::atomic<int> signalled = 0;
};

enum class Step { Speak, Pause, Continue, Stop, End, Status, Settle, Close };

class AgainstTheModel : public ChannelTest {
 protected:
  static constexpr int kStepsInARound = 5'000;

  // Runs the steps in rounds; after each one it checks the records, blocks and parameter sets.
  void run(int steps) {
    const unsigned int seed = chosenSeed();
    std::printf("seed %u\n", seed);
    m_random.seed(seed);
    for (int left = steps; left > 0 && !HasFatalFailure(); left -= kStepsInARound) {
      runRound(std::min(left, kStepsInARound));
    }
    std::printf("%d steps, %d jobs, %d channels\n", steps, m_allJobs, m_allOpened);
  }

 private:
  // Rounds keep the counts small: the engine drops its records between them.
  void runRound(int steps) {
    ASSERT_TRUE(engine().reset());
    engine().recordCalls(false);
    m_jobs = m_opened = 0;
    for (auto& subject : m_subjects) openAnother(subject);
    for (int step = 0; step < steps; ++step) {
      std::unique_ptr<Subject>& subject = m_subjects[draw(4)];
      ASSERT_TRUE(takeAStep(subject)) << "step " << step << "\n" << m_wrong;
    }
    for (auto& subject : m_subjects) ASSERT_TRUE(closeIt(*subject)) << m_wrong;
    EXPECT_EQ(freed(), m_opened);
    EXPECT_EQ(engine().live().parameterSets, m_opened + m_jobs);
    EXPECT_EQ(engine().live().blocks, 0);
    EXPECT_THAT(engine().violations(), testing::IsEmpty());
    m_gone.clear();
    m_allJobs += m_jobs;
    m_allOpened += m_opened;
  }

  bool takeAStep(std::unique_ptr<Subject>& subject) {
    Subject& at = *subject;
    switch (static_cast<Step>(m_nextStep(m_random))) {
      case Step::Speak:
        return speakOn(at);
      case Step::Pause: {
        const long result = SEPauseSpeechAt(at.id, draw(4));
        return check(at, at.model.pause(result), "pause", result);
      }
      case Step::Continue: {
        const long result = SEContinueSpeech(at.id);
        return check(at, at.model.unpause(result), "continue", result);
      }
      case Step::Stop: {
        const long result = SEStopSpeechAt(at.id, draw(4));
        return check(at, at.model.stop(result), "stop", result);
      }
      case Step::End:
        // A second END while the engine's thread may still send the first is not in the model.
        if (at.port == 0 || at.endsItself) return true;
        engine().port(at.port).end();
        return check(at, at.model.end(), "END", 0);
      case Step::Status: {
        const channels::Status status = statusInfo(at.id);
        const bool busy = status.outputBusy != 0;
        const bool paused = status.outputPaused != 0;
        return check(at, at.model.status(busy, paused), "status", busy * 10 + paused);
      }
      case Step::Settle:
        return settleAll();
      case Step::Close:
        if (!closeIt(at)) return false;
        openAnother(subject);
        return true;
    }
    return false;
  }

  // Half of the jobs end without a stop, on the engine's thread at any time.
  bool speakOn(Subject& subject) {
    const bool endsItself = draw(2) == 0;
    if (endsItself) {
      engine().everyJob(Script().word(22, 5).end(), When::OnEngineThread);
    } else {
      engine().everyJob(Script(), When::InsideSpeak);
    }
    const long result = speak(subject.id, "Hello");
    if (result == noErr) {
      ++m_jobs;
      subject.endsItself = endsItself;
      if (subject.port == 0) subject.port = engine().ports();
    }
    return check(subject, subject.model.speak(result, endsItself),
                 endsItself ? "speak to the end" : "speak", result);
  }

  bool settleAll() {
    if (!quiet()) return false;
    return std::all_of(m_subjects.begin(), m_subjects.end(), [&](const auto& subject) {
      const int signalled = subject->signalled;
      return check(*subject, subject->model.settled(signalled), "settled, signalled", signalled);
    });
  }

  bool closeIt(Subject& subject) {
    const bool allowed = subject.model.close();
    const long result = SECloseSpeechChannel(subject.id);
    if (!allowed || !quiet() || result != noErr) return check(subject, false, "close", result);
    const int signalled = subject.signalled;
    return check(subject, subject.model.settled(signalled), "closed, signalled", signalled);
  }

  // Records the step and the model's state after it; if not allowed, collects the history.
  bool check(Subject& subject, bool allowed, const char* what, long result) {
    subject.history.push_back(std::string(what) + ' ' + std::to_string(result) + ": " +
                              subject.model.text());
    if (subject.history.size() > 20) subject.history.pop_front();
    if (allowed) return true;
    for (const std::string& line : subject.history) m_wrong += line + '\n';
    return false;
  }

  void openAnother(std::unique_ptr<Subject>& subject) {
    if (subject) m_gone.push_back(std::move(subject));
    subject = std::make_unique<Subject>();
    ASSERT_EQ(SEOpenSpeechChannel(&subject->id), noErr);
    set(subject->id, soRefCon, subject.get());
    set(subject->id, soSpeechDoneCallBack, channels::asPointer(done));
    ++m_opened;
  }

  static void done(SpeechChannel /*channel*/, SRefCon refCon) {
    ++static_cast<Subject*>(refCon)->signalled;
  }

  // Waits up to ten seconds until all threads of the plug-in and the engine have exited; returns
  // whether they have.
  bool quiet() const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (threadCount() > m_threadsAtStart) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    return true;
  }

  unsigned long draw(unsigned long below) { return m_random() % below; }

  const int m_threadsAtStart = threadCount();
  std::mt19937 m_random;
  // Frequencies out of 40 steps, in the order of Step.
  std::discrete_distribution<int> m_nextStep{10, 5, 5, 5, 7, 5, 2, 1};
  std::array<std::unique_ptr<Subject>, 4> m_subjects;
  std::vector<std::unique_ptr<Subject>> m_gone;
  std::string m_wrong;  // the last steps before a violation of the table
  int m_jobs = 0;
  int m_opened = 0;
  int m_allJobs = 0;
  int m_allOpened = 0;
};

TEST_F(AgainstTheModel, RandomStepsReturnWhatTheStateTableSays) {
  run(50'000);
}

class Full : public AgainstTheModel {};

TEST_F(Full, AMillionRandomStepsReturnWhatTheStateTableSays) {
  run(1'000'000);
}

}  // namespace
}  // namespace model
