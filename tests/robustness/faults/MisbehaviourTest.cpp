// SPDX-License-Identifier: Apache-2.0
//
// Channels on an engine that breaks its rules: END is sent twice, early, late or never; events are
// sent on two threads or after the end; events have invalid positions, names or texts.
#include "FaultFixture.h"

namespace faulty {

// How GoogleTest prints the parameter.
static void PrintTo(const Misbehaviour& engine, std::ostream* out) {
  *out << engine.name;
}

}  // namespace faulty

namespace faults {
namespace {

using channels::Client;
using scripted::engine;
using scripted::OnStop;
using scripted::Port;

class Misbehaving : public FaultTest, public testing::WithParamInterface<faulty::Misbehaviour> {
 protected:
  Misbehaving() { m_violationsExpected = true; }
};

TEST_P(Misbehaving, TheChannelSignalsEachJobOnceAndStillSpeaks) {
  const faulty::Misbehaviour& engines = GetParam();
  constexpr int kJobs = 5;
  Client& own = channels::newClient();
  const SpeechChannelIdentifier id = open(own);
  for (int job = 1; job <= kJobs; ++job) {
    SCOPED_TRACE(testing::Message() << "job " << job);
    engines.before();
    ASSERT_EQ(speak(id, "Some [[emph +]]words to [[sync 1]]speak"), noErr);
    engines.during(lastPort());
    if (!engines.ends) {
      EXPECT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
    }
    ASSERT_TRUE(own.waitForDone(job));
    engines.after(lastPort());
    ASSERT_TRUE(becomesIdle(id));
  }
  engine().onStop(OnStop::EndsAtOnce);
  EXPECT_EQ(close(id), noErr);
  EXPECT_EQ(own.count("done"), kJobs);
  expectAFreshChannelSpeaks();
}

TEST_P(Misbehaving, AChannelMayBeClosedMeanwhile) {
  const faulty::Misbehaviour& engines = GetParam();
  Client& own = channels::newClient();
  const SpeechChannelIdentifier id = open(own);
  engines.before();
  ASSERT_EQ(speak(id, "Some words"), noErr);
  const Port port = lastPort();
  engines.during(port);
  EXPECT_EQ(close(id), noErr);
  // If the job was over before, its speech-done may be called while the channel is being closed.
  ASSERT_TRUE(own.waitForDone());
  // Events after the close must not reach the client.
  engines.after(port);
  const std::size_t heard = own.events().size();
  for (const scripted::Event& event : faulty::oddEvents(10)) Port(port).play(event);
  EXPECT_EQ(own.events().size(), heard);
  EXPECT_EQ(own.count("done"), 1);
  expectAFreshChannelSpeaks();
}

std::string testName(const testing::TestParamInfo<faulty::Misbehaviour>& info) {
  std::string name;
  for (const char c : info.param.name) name += c == ' ' ? '_' : c;
  return name;
}

INSTANTIATE_TEST_SUITE_P(Every, Misbehaving, testing::ValuesIn(faulty::misbehaviours()), testName);

class OddEvents : public FaultTest {};

// Word lengths keep their low 16 bits; positions are the results of the offset arithmetic.
TEST_F(OddEvents, ReachTheClientUnchangedExceptForTheirRange) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  lastPort().word(0, 65'535).word(0, 65'536).word(0, 70'000);
  lastPort().bookmark("").bookmark("7x").bookmark("-1").bookmark("12345678901234567890");
  lastPort().phoneme("no-such-phone", 0);
  EXPECT_THAT(client().texts(),
              testing::ElementsAre("word 0 65535", "word 0 0", "word 0 4464", "sync 0", "sync 7",
                                   "sync -1", "sync 2147483647", "phoneme 0"));
}

// With exact positions every reported range is inside the caller's buffer.
TEST_F(OddEvents, StayInsideTheCallersBufferIfPositionsAreExact) {
  const std::string text = "OS X & [[emph +]]more [[cmnt no]] <b>";
  const SpeechChannelIdentifier id = open();
  set(id, kCallerPositions, &client());
  ASSERT_EQ(speak(id, text), noErr);
  for (const scripted::Event& event :
       faulty::oddEvents(static_cast<int>(lastPort().text().size()))) {
    lastPort().play(event);
  }
  for (const std::string& line : client().texts()) {
    unsigned long position = 0;
    unsigned long length = 0;
    if (std::sscanf(line.c_str(), "word %lu %lu", &position, &length) != 2) continue;
    EXPECT_LE(position, text.size()) << line;
    EXPECT_LE(position + length, text.size()) << line;
  }
}

}  // namespace
}  // namespace faults
