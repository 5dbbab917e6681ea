// SPDX-License-Identifier: Apache-2.0
#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "SpeechSynthesis/channel/CallQueue.h"

namespace {

using platform::CallQueue;
using testing::ElementsAre;

class CallQueueTest : public testing::Test {
 protected:
  // Queues a call that waits until m_released is set.
  void queueWaiting() {
    m_calls->queue(m_calls, [this] {
      m_waits.set_value();
      m_released.get_future().wait();
      m_done.emplace_back("waiting");
    });
    m_waits.get_future().wait();
  }
  auto note(const std::string& name) {
    return [this, name] { m_done.push_back(name); };
  }

  std::shared_ptr<CallQueue> m_calls = std::make_shared<CallQueue>();
  std::promise<void> m_waits;
  std::promise<void> m_released;
  std::vector<std::string> m_done;  // in the order in which the calls ran
};

TEST_F(CallQueueTest, RunsACallOnTheCallersThreadWhenNothingIsQueued) {
  std::thread::id here;
  EXPECT_TRUE(m_calls->runOrQueue(m_calls, [&] { here = std::this_thread::get_id(); }));
  EXPECT_EQ(here, std::this_thread::get_id());
}

TEST_F(CallQueueTest, QueuesACallAfterOneThatWaits) {
  queueWaiting();
  EXPECT_FALSE(m_calls->runOrQueue(m_calls, note("one")));
  EXPECT_FALSE(m_calls->runOrQueue(m_calls, note("two")));
  m_released.set_value();
  m_calls->runNow(note("three"));
  EXPECT_THAT(m_done, ElementsAre("waiting", "one", "two", "three"));
}

TEST_F(CallQueueTest, RunsACallOnTheCallersThreadOnceNothingWaits) {
  queueWaiting();
  m_calls->markWaitOver();
  std::jthread releasing([this] { m_released.set_value(); });
  EXPECT_TRUE(m_calls->runOrQueue(m_calls, note("one")));
  EXPECT_THAT(m_done, ElementsAre("waiting", "one"));
}

TEST_F(CallQueueTest, DropsCallsThatHaveNotStarted) {
  queueWaiting();
  EXPECT_FALSE(m_calls->runOrQueue(m_calls, note("one")));
  m_calls->dropQueued();
  EXPECT_FALSE(m_calls->runOrQueue(m_calls, note("two")));
  m_released.set_value();
  m_calls->runNow([] {});
  EXPECT_THAT(m_done, ElementsAre("waiting", "two"));
}

TEST_F(CallQueueTest, ContinuesAfterAnException) {
  EXPECT_THROW(m_calls->runNow([] { throw std::runtime_error("now"); }), std::runtime_error);
  queueWaiting();
  EXPECT_FALSE(m_calls->runOrQueue(m_calls, [] { throw std::runtime_error("queued"); }));
  m_released.set_value();
  m_calls->runNow(note("after"));
  EXPECT_THAT(m_done, ElementsAre("waiting", "after"));
}

TEST_F(CallQueueTest, RunsOneCallAtATime) {
  int running = 0;
  int most = 0;
  std::vector<std::jthread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int call = 0; call < 200; ++call) {
        m_calls->runOrQueue(m_calls, [&] {
          most = std::max(most, ++running);
          --running;
        });
      }
    });
  }
  threads.clear();
  EXPECT_EQ(most, 1);
}

}  // namespace
