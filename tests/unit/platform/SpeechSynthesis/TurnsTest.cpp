// SPDX-License-Identifier: Apache-2.0
#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "SpeechSynthesis/channel/Turns.h"

namespace {

using platform::Turns;
using testing::ElementsAre;

class TurnsTest : public testing::Test {
 protected:
  // Queues work that blocks until the promise is kept.
  void queueWaiting() {
    m_turns->queue(m_turns, [this] {
      m_waits.set_value();
      m_released.get_future().wait();
      m_done.emplace_back("waiting");
    });
    m_waits.get_future().wait();
  }
  auto note(const std::string& name) {
    return [this, name] { m_done.push_back(name); };
  }

  std::shared_ptr<Turns> m_turns = std::make_shared<Turns>();
  std::promise<void> m_waits;
  std::promise<void> m_released;
  std::vector<std::string> m_done;  // in order
};

TEST_F(TurnsTest, RunWorkOnTheCallersThreadWhenNothingIsQueued) {
  std::thread::id here;
  EXPECT_TRUE(m_turns->doOrQueue(m_turns, [&] { here = std::this_thread::get_id(); }));
  EXPECT_EQ(here, std::this_thread::get_id());
}

TEST_F(TurnsTest, QueueWorkAfterBlockedWork) {
  queueWaiting();
  EXPECT_FALSE(m_turns->doOrQueue(m_turns, note("one")));
  EXPECT_FALSE(m_turns->doOrQueue(m_turns, note("two")));
  m_released.set_value();
  m_turns->doNow(note("three"));
  EXPECT_THAT(m_done, ElementsAre("waiting", "one", "two", "three"));
}

TEST_F(TurnsTest, RunWorkOnTheCallersThreadOnceTheQueueIsEmpty) {
  queueWaiting();
  m_turns->noLongerWaits();
  std::jthread releasing([this] { m_released.set_value(); });
  EXPECT_TRUE(m_turns->doOrQueue(m_turns, note("one")));
  EXPECT_THAT(m_done, ElementsAre("waiting", "one"));
}

TEST_F(TurnsTest, DiscardWorkThatHasNotBegun) {
  queueWaiting();
  EXPECT_FALSE(m_turns->doOrQueue(m_turns, note("one")));
  m_turns->forgetQueued();
  EXPECT_FALSE(m_turns->doOrQueue(m_turns, note("two")));
  m_released.set_value();
  m_turns->doNow([] {});
  EXPECT_THAT(m_done, ElementsAre("waiting", "two"));
}

TEST_F(TurnsTest, ContinueAfterAnException) {
  EXPECT_THROW(m_turns->doNow([] { throw std::runtime_error("now"); }), std::runtime_error);
  queueWaiting();
  EXPECT_FALSE(m_turns->doOrQueue(m_turns, [] { throw std::runtime_error("queued"); }));
  m_released.set_value();
  m_turns->doNow(note("after"));
  EXPECT_THAT(m_done, ElementsAre("waiting", "after"));
}

TEST_F(TurnsTest, RunOneAtATime) {
  int running = 0;
  int most = 0;
  std::vector<std::jthread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int turn = 0; turn < 200; ++turn) {
        m_turns->doOrQueue(m_turns, [&] {
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
