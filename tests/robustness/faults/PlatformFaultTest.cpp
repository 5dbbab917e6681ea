// SPDX-License-Identifier: Apache-2.0
//
// Channels on a platform that fails: threads that do not start, a text converter that fails, and
// objects without a path.
#include "FaultFixture.h"

namespace faults {
namespace {

using channels::Client;
using faulty::Service;
using scripted::engine;
using scripted::OnStop;
using scripted::Op;

std::vector<Service> allServices() {
  std::vector<Service> services;
  for (int i = 0; i < static_cast<int>(Service::Count); ++i) {
    services.push_back(static_cast<Service>(i));
  }
  return services;
}

class PlatformFaults : public FaultTest, public testing::WithParamInterface<Service> {};

TEST_P(PlatformFaults, AtAnyCallGiveAllowedResultsAndLeaveAFreshChannelThatSpeaks) {
  const long blocks = engine().live().blocks;
  // If no thread starts, the job is finished on the engine's thread, and a stop may time out there.
  engine().setCallbackPatience(std::chrono::milliseconds(20));
  for (const bool forGood : {false, true}) {
    for (int k = 1;; ++k) {
      SCOPED_TRACE(testing::Message() << "call " << k << (forGood ? ", for good" : ", once"));
      ASSERT_LT(k, 1000);
      faulty::failPlatform(GetParam(), k, forGood);
      useAChannel();
      const int met = faulty::platformFaults(GetParam());
      faulty::restorePlatform();
      expectAFreshChannelSpeaks();
      expectNothingIsLeft(blocks);
      if (met == 0) break;
    }
  }
}

std::string testName(const testing::TestParamInfo<Service>& info) {
  std::string name;
  for (const char* c = faulty::nameOf(info.param); *c != '\0'; ++c) {
    if (std::isalnum(static_cast<unsigned char>(*c)) != 0) name += *c;
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Every, PlatformFaults, testing::ValuesIn(allServices()), testName);

// ---- Threads

class ThreadFaults : public FaultTest {
 protected:
  // Makes the next thread fail to start; with more than one, all later threads.
  static void refuse(int threads) { faulty::failPlatform(Service::ThreadCreate, 1, threads > 1); }
  static int refused() { return faulty::platformFaults(Service::ThreadCreate); }
};

TEST_F(ThreadFaults, OfFinishingLeaveAJobThatIsSignalledOnce) {
  for (int threads = 1; threads <= 2; ++threads) {
    SCOPED_TRACE(threads);
    Client& own = channels::newClient();
    const SpeechChannelIdentifier id = open(own);
    ASSERT_EQ(speak(id, "Hello"), noErr);
    refuse(threads);
    lastPort().end();
    ASSERT_TRUE(own.waitForDone());
    EXPECT_EQ(refused(), threads);
    faulty::restorePlatform();
    EXPECT_EQ(status(id), STATUS_IDLE);
    EXPECT_EQ(speak(id, "Hello"), noErr);
    EXPECT_EQ(own.count("done"), 1);
  }
}

TEST_F(ThreadFaults, OfSignallingLeaveAStopThatSignalsOnce) {
  const SpeechChannelIdentifier id = open();
  engine().onStop(OnStop::EndsSilently);
  ASSERT_EQ(speak(id, "Hello"), noErr);
  refuse(1);
  EXPECT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  ASSERT_TRUE(client().waitForDone());
  EXPECT_EQ(refused(), 1);
  EXPECT_EQ(status(id), STATUS_IDLE);
  EXPECT_EQ(client().count("done"), 1);
}

TEST_F(ThreadFaults, OfSignallingLetTheChannelBeClosedInsideSpeechDone) {
  const SpeechChannelIdentifier id = open();
  client().onDone = [&](auto channel) { EXPECT_EQ(SECloseSpeechChannel(channel), noErr); };
  engine().onStop(OnStop::EndsSilently);
  ASSERT_EQ(speak(id, "Hello"), noErr);
  refuse(1);
  EXPECT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  ASSERT_TRUE(client().waitForDone());
  EXPECT_EQ(find_channel(id), nullptr);
}

TEST_F(ThreadFaults, OfSignallingLeaveACloseThatSignalsOnce) {
  const SpeechChannelIdentifier id = open();
  engine().onStop(OnStop::EndsSilently);
  ASSERT_EQ(speak(id, "Hello"), noErr);
  refuse(1);
  EXPECT_EQ(close(id), noErr);
  EXPECT_EQ(client().count("done"), 1);
}

TEST_F(ThreadFaults, ForGoodStillSignalEachOfAHundredJobsOnce) {
  constexpr int kJobs = 100;
  const SpeechChannelIdentifier id = open();
  engine().recordCalls(false);
  refuse(2);
  for (int job = 1; job <= kJobs; ++job) {
    ASSERT_EQ(speak(id, "Hello"), noErr);
    if (job % 2 == 0) lastPort().end();
    if (job % 2 == 1) {
      engine().onStop(OnStop::EndsSilently);
      EXPECT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
    }
    ASSERT_TRUE(client().waitForDone(job));
    ASSERT_EQ(status(id), STATUS_IDLE);
  }
  EXPECT_EQ(client().count("done"), kJobs);
}

// ---- The text converter

class ConverterFaults : public FaultTest {};

// Rationale: a text that cannot be converted is spoken unchanged, without escapes.
TEST_F(ConverterFaults, LeaveTheTextUnconverted) {
  const std::string text = "caf\x8E & <b>";
  for (const Service service :
       {Service::EncodingOfSystem, Service::ConverterCreate, Service::ConverterConvert,
        Service::ConverterStuck, Service::ConverterFlush, Service::ConverterDispose}) {
    SCOPED_TRACE(faulty::nameOf(service));
    const SpeechChannelIdentifier id = open();
    faulty::failPlatform(service, 1);
    ASSERT_EQ(speak(id, text), noErr);
    EXPECT_EQ(faulty::platformFaults(service), 1);
    EXPECT_THAT(lastPort().text(), testing::HasSubstr(text));
    close(id);
  }
}

// A long text is converted in several buffers; the failure of any of them has the same effect.
TEST_F(ConverterFaults, AtAnyBufferLeaveTheTextUnconverted) {
  const std::string text = "&" + std::string(20'000, 'a');
  for (int k = 1;; ++k) {
    SCOPED_TRACE(k);
    ASSERT_LT(k, 100);
    const SpeechChannelIdentifier id = open();
    faulty::failPlatform(Service::ConverterConvert, k);
    ASSERT_EQ(speak(id, text), noErr);
    const bool met = faulty::platformFaults(Service::ConverterConvert) > 0;
    EXPECT_THAT(lastPort().text(), testing::HasSubstr(met ? "&aaa" : "&amp;aaa"));
    close(id);
    if (!met) {
      EXPECT_GT(k, 4);
      break;
    }
  }
}

// ---- Paths

class PathFaults : public FaultTest {
 protected:
  PathFaults()
      : m_folder(CFURLCreateFromFileSystemRepresentation(
            nullptr, reinterpret_cast<const UInt8*>("/tmp"), 4, true)) {}
  ~PathFaults() override { CFRelease(m_folder); }

  void* asValue() const { return const_cast<void*>(static_cast<const void*>(m_folder)); }

  const CFURLRef m_folder;
};

TEST_F(PathFaults, OfTheOutputFileAreReportedAndOutputToTheDeviceStaysPossible) {
  const SpeechChannelIdentifier id = open();
  faulty::failPlatform(Service::UrlBytes, 1);
  EXPECT_EQ(set(id, soOutputToFileWithCFURL, asValue()), paramErr);
  EXPECT_EQ(set(id, soOutputToFileWithCFURL, nullptr), noErr);
  EXPECT_EQ(speak(id, "Hello"), noErr);
  EXPECT_THAT(lastPort().parameters(), testing::Contains(testing::Key("events/immediate")));
  EXPECT_THAT(lastPort().parameters(),
              testing::Not(testing::Contains(testing::Key("audio/output-file"))));
}

// Rationale: the voice is accepted; only the next job detects that it has no folder.
TEST_F(PathFaults, OfAVoiceMakeJobsFailUntilAnotherVoiceIsSet) {
  const CFBundleRef bundle = CFBundleCreate(nullptr, m_folder);
  VoiceSpec voice{channels::code("BRVD"), 1};
  for (const Service service : {Service::BundleUrl, Service::AbsoluteUrl, Service::UrlPath}) {
    SCOPED_TRACE(faulty::nameOf(service));
    const SpeechChannelIdentifier id = open();
    faulty::failPlatform(service, 1);
    EXPECT_EQ(SEUseVoice(id, &voice, bundle), noErr);
    EXPECT_EQ(speak(id, "Hello"), synthNotReady);
    EXPECT_EQ(status(id), STATUS_IDLE);
    EXPECT_EQ(SEUseVoice(id, &voice, bundle), noErr);
    EXPECT_EQ(speak(id, "Hello"), noErr);
  }
  CFRelease(bundle);
}

}  // namespace
}  // namespace faults
