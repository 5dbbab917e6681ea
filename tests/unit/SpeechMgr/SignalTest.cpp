// SPDX-License-Identifier: Apache-2.0
//
// The signals of a channel's condition variable. This program's own pthread functions count them,
// so that no test depends on when a waiting thread wakes up.

#include <mutex>

#include <dlfcn.h>
#include <pthread.h>

#include "channels/ChannelTest.h"

namespace {

// What happens to one condition variable, in order.
class Watch {
 public:
  void start(const pthread_cond_t* condition) {
    const std::lock_guard held(m_lock);
    m_condition = condition;
    m_events.clear();
  }
  void note(const char* event) {
    const std::lock_guard held(m_lock);
    m_events.emplace_back(event);
  }
  void noteCall(const pthread_cond_t* condition, const char* event) {
    const std::lock_guard held(m_lock);
    if (condition == m_condition) m_events.emplace_back(event);
  }
  std::vector<std::string> events() {
    const std::lock_guard held(m_lock);
    return m_events;
  }

 private:
  std::mutex m_lock;
  const pthread_cond_t* m_condition = nullptr;
  std::vector<std::string> m_events;
};

// Never destroyed: other threads use condition variables until the process exits.
Watch& watch() {
  static Watch& theWatch = *new Watch;
  return theWatch;
}

using ConditionCall = int (*)(pthread_cond_t*);

ConditionCall nextDefinition(const char* name) {
  return reinterpret_cast<ConditionCall>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {

// The sanitizer's wrappers, in a build with a sanitizer.
__attribute__((weak)) int __interceptor_pthread_cond_signal(pthread_cond_t*);
__attribute__((weak)) int __interceptor_pthread_cond_broadcast(pthread_cond_t*);

int pthread_cond_signal(pthread_cond_t* condition) {
  static const ConditionCall call = &__interceptor_pthread_cond_signal != nullptr
                                        ? &__interceptor_pthread_cond_signal
                                        : nextDefinition("pthread_cond_signal");
  watch().noteCall(condition, "signal");
  return call(condition);
}

int pthread_cond_broadcast(pthread_cond_t* condition) {
  static const ConditionCall call = &__interceptor_pthread_cond_broadcast != nullptr
                                        ? &__interceptor_pthread_cond_broadcast
                                        : nextDefinition("pthread_cond_broadcast");
  watch().noteCall(condition, "broadcast");
  return call(condition);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

namespace channels {
namespace {

using scripted::engine;
using testing::ElementsAre;

class Signals : public ChannelTest {
 protected:
  SpeechChannelIdentifier openWatched() {
    const SpeechChannelIdentifier id = open();
    client().onDone = [](auto) { watch().note("speech-done"); };
    watch().start(&find_channel(id)->speech_finished);
    return id;
  }
  ~Signals() override { watch().start(nullptr); }
};

TEST_F(Signals, OfAnEndedJobIsOneAfterTheCallback) {
  const SpeechChannelIdentifier id = openWatched();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().port(1).end();
  ASSERT_TRUE(client().waitForDone());
  settle();
  EXPECT_THAT(watch().events(), ElementsAre("speech-done", "signal"));
}

TEST_F(Signals, OfAStoppedJobIsOneAfterTheCallback) {
  const SpeechChannelIdentifier id = openWatched();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  ASSERT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  ASSERT_TRUE(client().waitForDone());
  settle();
  EXPECT_THAT(watch().events(), ElementsAre("speech-done", "signal"));
}

TEST_F(Signals, OfAChannelWithoutACallbackIsOneToo) {
  const SpeechChannelIdentifier id = openWatched();
  set(id, soSpeechDoneCallBack, nullptr);
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().port(1).end();
  settle();
  EXPECT_THAT(watch().events(), ElementsAre("signal"));
}

TEST_F(Signals, OfSeveralJobsAreOneEach) {
  const SpeechChannelIdentifier id = openWatched();
  for (int job = 1; job <= 3; ++job) {
    ASSERT_EQ(speak(id, "Hello"), noErr);
    engine().port(1).end();
    ASSERT_TRUE(client().waitForDone(job));
    settle();
  }
  EXPECT_THAT(watch().events(), ElementsAre("speech-done", "signal", "speech-done", "signal",
                                            "speech-done", "signal"));
}

}  // namespace
}  // namespace channels
