// SPDX-License-Identifier: Apache-2.0
//
// What can be tested only once per process: the state after loading, the first channel, the opening
// of the engine. Every test runs in its own process.

#include <cstdio>

#include <sys/wait.h>
#include <unistd.h>

#include "SpeechMgrUtils.h"
#include "channels/ChannelTest.h"

namespace channels {
namespace {

using scripted::engine;
using scripted::Op;
using testing::ElementsAre;

// Runs `body` in a child of this process, which has not used the plug-in, and fails the test if the
// child fails, crashes or takes longer than ten seconds.
void runInFreshProcess(const std::function<void()>& body) {
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    alarm(10);
    body();
    // Print failed expectations, but run no destructor of the parent's objects.
    std::fflush(nullptr);
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

SpeechChannelIdentifier opened() {
  SpeechChannelIdentifier id = -7;
  EXPECT_EQ(SEOpenSpeechChannel(&id), noErr);
  return id;
}

TEST(FirstLoad, LoadingBuildsTheConstantsAndEmptyMapsOnly) {
  runInFreshProcess([] {
    EXPECT_EQ(kAssumedMalePitch, 43);
    EXPECT_EQ(kAssumedFemalePitch, 53);
    EXPECT_TRUE(gBrevoldPhones.empty());
    EXPECT_TRUE(gApplePhoneCodes.empty());
    EXPECT_TRUE(gEscapeStrings.empty());
    EXPECT_TRUE(engine().calls().empty());
    EXPECT_EQ(find_channel(1), nullptr);
  });
}

TEST(FirstLoad, ChannelsAreNumberedFromOne) {
  runInFreshProcess([] {
    EXPECT_EQ(SEOpenSpeechChannel(nullptr), paramErr);
    EXPECT_EQ(opened(), 1);
    EXPECT_EQ(opened(), 2);
    EXPECT_EQ(SECloseSpeechChannel(1), noErr);
    EXPECT_EQ(opened(), 3);
  });
}

TEST(FirstLoad, TheFirstOpenBuildsTheTables) {
  runInFreshProcess([] {
    opened();
    EXPECT_EQ(gBrevoldPhones.size(), 56u);
    EXPECT_EQ(gApplePhoneCodes.size(), 38u);
    EXPECT_EQ(gEscapeStrings.size(), 4u);
    opened();
    EXPECT_EQ(gApplePhoneCodes.size(), 38u);
  });
}

TEST(FirstLoad, OnlyTheFirstChannelOpensTheEngine) {
  runInFreshProcess([] {
    const Diagnosing on(0x800, 9);
    opened();
    EXPECT_THAT(engine().messages(),
                ElementsAre("Open Channel ID: 1\n", "New Speech Channel Requested.\n",
                            "Opening Kavrel Engine.\n", "New Speech Channel Created. ID: 1.\n"));
    EXPECT_THAT(engine().calls(),
                ElementsAre("kavrel_params_new(null) = parameters",
                            "kavrel_val_string(\"preload\") = value",
                            "kavrel_params_set_val(\"voice/cache-policy\", preload) = 0",
                            "kavrel_engine_open({voice/cache-policy: preload}) = engine"));
    engine().forgetCalls();
    engine().forgetDiagnostics();
    opened();
    EXPECT_THAT(engine().calls(), ElementsAre("kavrel_params_new(null) = parameters"));
    EXPECT_THAT(engine().messages(),
                ElementsAre("Open Channel ID: 2\n", "New Speech Channel Requested.\n",
                            "New Speech Channel Created. ID: 2.\n"));
    EXPECT_EQ(engine().live().parameterSets, 2);
  });
}

TEST(FirstLoad, TheLineAboutTheEngineIsGatedLikeTheOthers) {
  for (const int level : {3, 4}) {
    runInFreshProcess([level] {
      const Diagnosing on(0x800, level);
      opened();
      const std::vector<scripted::Diagnostic> lines = engine().diagnostics();
      ASSERT_EQ(lines.size(), level > 3 ? 4u : 0u);
      if (lines.empty()) return;
      EXPECT_EQ(lines[2].text, "Opening Kavrel Engine.\n");
      EXPECT_EQ(lines[2].file, "SpeechChannel");
      EXPECT_EQ(lines[2].area, 0x800u);
      EXPECT_THAT(lines[2].calls, ElementsAre("timestamp", "ffl", "context", "errmsg"));
    });
  }
}

TEST(FirstLoad, TheEngineOutlivesTheLastChannel) {
  runInFreshProcess([] {
    SECloseSpeechChannel(opened());
    SECloseSpeechChannel(opened());
    EXPECT_EQ(engine().count(Op::EngineOpen), 1);
  });
}

TEST(FirstLoad, AnEngineThatCannotBeOpenedIsTriedAgainByTheNextChannel) {
  runInFreshProcess([] {
    engine().fail(Op::EngineOpen, 1);
    const SpeechChannelIdentifier first = opened();
    char text[] = "Hello";
    EXPECT_EQ(SESpeakBuffer(first, text, 5, 0), synthNotReady);
    EXPECT_THAT(engine().calls(Op::PortOpen),
                ElementsAre("kavrel_port_open(null, {events/immediate: 0}) = null"));
    opened();
    EXPECT_EQ(engine().count(Op::EngineOpen), 2);
    EXPECT_EQ(SESpeakBuffer(first, text, 5, 0), noErr);
  });
}

TEST(FirstLoad, TwoFirstChannelsOnTwoThreadsOpenTheEngineOnce) {
  runInFreshProcess([] {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back([] { opened(); });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(engine().count(Op::EngineOpen), 1);
  });
}

TEST(FirstLoad, EveryEntryPointRejectsChannelsBeforeTheFirstIsOpen) {
  runInFreshProcess([] {
    SpeechStatusInfo info{};
    char text[] = "Hello";
    EXPECT_EQ(SECloseSpeechChannel(1), noSynthFound);
    EXPECT_EQ(SESpeechStatus(1, &info), noSynthFound);
    EXPECT_EQ(SEStopSpeechAt(1, 0), noSynthFound);
    EXPECT_EQ(SEPauseSpeechAt(1, 0), noSynthFound);
    EXPECT_EQ(SEContinueSpeech(1), noSynthFound);
    EXPECT_EQ(SETextToPhonemes(1, text, 5, nullptr, nullptr), noSynthFound);
    EXPECT_EQ(SEUseDictionary(1, text, 5), noSynthFound);
    EXPECT_EQ(SESpeakBuffer(1, text, 5, 0), noSynthFound);
    EXPECT_EQ(SEGetSpeechInfo(1, soRate, text), noSynthFound);
    EXPECT_EQ(SESetSpeechInfo(1, soRate, text), noSynthFound);
    EXPECT_EQ(SEUseVoice(1, nullptr, nullptr), noSynthFound);
    EXPECT_TRUE(gBrevoldPhones.empty());
  });
}

}  // namespace
}  // namespace channels
