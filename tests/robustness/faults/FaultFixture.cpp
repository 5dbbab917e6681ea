// SPDX-License-Identifier: Apache-2.0
#include "FaultFixture.h"

namespace faults {

using channels::asPointer;
using channels::Client;
using channels::code;
using channels::eventually;
using scripted::engine;

FaultTest::FaultTest() {
  faulty::restorePlatform();
}

FaultTest::~FaultTest() {
  faulty::restorePlatform();
}

scripted::Port FaultTest::lastPort() {
  return engine().port(engine().ports());
}

bool FaultTest::becomesIdle(SpeechChannelIdentifier id) {
  return eventually([&] { return status(id) == STATUS_IDLE; });
}

namespace {

void expectOneOf(long result, const std::vector<long>& allowed, const char* call) {
  EXPECT_THAT(allowed, testing::Contains(result)) << call;
}

// Speaks a text; returns whether a job has been started. Out of memory during the conversion may be
// thrown from SESpeakBuffer; no other entry point throws.
bool startJob(SpeechChannelIdentifier id) {
  std::string text =
      "a [[rate 200]] b [[sync 3; volm 0.5]]c [[cmnt " + std::string(200, 'x') + "]]";
  try {
    const long result = SESpeakBuffer(id, text.data(), static_cast<long>(text.size()), 0);
    expectOneOf(result, {noErr, synthNotReady}, "SESpeakBuffer");
    return result == noErr;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

void speakAndStop(SpeechChannelIdentifier id) {
  const bool speaking = startJob(id);
  const auto port = [] { return engine().port(engine().ports()); };
  if (speaking) port().word(0, 1).phoneme("ae", 0).bookmark("1");
  expectOneOf(SEPauseSpeechAt(id, kImmediate), {noErr, -1}, "SEPauseSpeechAt");
  expectOneOf(SEContinueSpeech(id), {noErr, -1}, "SEContinueSpeech");
  expectOneOf(SEStopSpeechAt(id, kEndOfWord), {noErr, -1}, "SEStopSpeechAt");
  // If the engine refused the stop, the job is still running.
  if (speaking) port().end();
}

}  // namespace

// Does not use the fixture's open(), since opening may fail and the channel is closed here.
void FaultTest::useAChannel() {
  Client& client = channels::newClient();
  SpeechChannelIdentifier id = 0;
  expectOneOf(SEOpenSpeechChannel(&id), {noErr}, "SEOpenSpeechChannel");
  set(id, soRefCon, &client);
  set(id, soSpeechDoneCallBack, asPointer(Client::done));
  set(id, soWordCallBack, asPointer(Client::word));
  set(id, soPhonemeCallBack, asPointer(Client::phoneme));
  set(id, soSyncCallBack, asPointer(Client::sync));
  const CFURLRef folder = CFURLCreateFromFileSystemRepresentation(
      nullptr, reinterpret_cast<const UInt8*>("/tmp"), 4, true);
  const CFBundleRef bundle = CFBundleCreate(nullptr, folder);
  VoiceSpec voice{code("BRVD"), 1};
  expectOneOf(SEUseVoice(id, &voice, bundle), {noErr}, "SEUseVoice");
  speakAndStop(id);
  EXPECT_TRUE(becomesIdle(id));
  expectOneOf(set(id, soOutputToFileWithCFURL, const_cast<void*>(static_cast<const void*>(folder))),
              {noErr, paramErr}, "SESetSpeechInfo");
  speakAndStop(id);
  EXPECT_TRUE(becomesIdle(id));
  closeAndWait(id);
  CFRelease(bundle);
  CFRelease(folder);
}

void FaultTest::expectAFreshChannelSpeaks() {
  Client& own = channels::newClient();
  SpeechChannelIdentifier id = 0;
  ASSERT_EQ(SEOpenSpeechChannel(&id), noErr);
  set(id, soRefCon, &own);
  set(id, soSpeechDoneCallBack, asPointer(Client::done));
  set(id, soWordCallBack, asPointer(Client::word));
  ASSERT_EQ(speak(id, "Hello"), noErr);
  lastPort().word(0, 5).end();
  ASSERT_TRUE(own.waitForDone());
  EXPECT_EQ(own.count("word 0 5"), 1);
  closeAndWait(id);
}

void FaultTest::closeAndWait(SpeechChannelIdentifier id) {
  const int freed = engine().count(scripted::Op::MutexDestroy);
  EXPECT_EQ(SECloseSpeechChannel(id), noErr);
  EXPECT_TRUE(eventually([&] { return engine().count(scripted::Op::MutexDestroy) > freed; }))
      << "the channel's record is not freed";
}

void FaultTest::expectNothingIsLeft(long blocksBefore) {
  EXPECT_TRUE(eventually([] { return engine().heldLocks() == 0; })) << "a lock is held";
  EXPECT_TRUE(eventually([&] { return engine().live().blocks == blocksBefore; }))
      << "memory is not released: " << engine().live().blocks - blocksBefore << " blocks";
}

}  // namespace faults
