// SPDX-License-Identifier: Apache-2.0
//
// The pool of synthesiser processes, and calls that end or block them.
#include "synth/synth_pool.h"

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "synth/synth_program.h"
#include "synth/synthesiser.h"
#include "synth/voice.h"
#include "synth/word_pieces.h"

namespace {

using kavrel::SynthAudio;
using kavrel::Synthesiser;
using kavrel::SynthPool;
using kavrel::SynthProcess;
using Result = SynthPool::Result;
using std::chrono::milliseconds;

SynthProcess::Limits shortLimits() {
  SynthProcess::Limits limits;
  limits.start = milliseconds(3000);
  limits.silence = milliseconds(500);
  return limits;
}

kavrel::synth_protocol::Speak call(std::string text) {
  return {180, 50, 50, 0, std::move(text)};
}

// A file that does not exist, for "ONCE:FILE".
std::string freshFile() {
  static std::atomic<int> count{0};
  const std::filesystem::path path =
      std::filesystem::temp_directory_path() /
      ("kavrel-synth-once-" + std::to_string(::getpid()) + "-" + std::to_string(++count));
  std::filesystem::remove(path);
  return path.string();
}

class SynthPoolTest : public testing::Test {
 protected:
  Result speak(const std::string& text, int repeats = 1) {
    return m_pool.speak("any", call(text), repeats, {}, m_speech, m_why);
  }

  SynthPool m_pool{KAVREL_SCRIPTED_SYNTH, shortLimits()};
  SynthProcess::Speech m_speech;
  std::string m_why;
};

// A synthesiser on the scripted program.
class ScriptedSynthesiser : public testing::Test {
 protected:
  SynthPool m_pool{KAVREL_SCRIPTED_SYNTH, shortLimits()};
  Synthesiser m_synthesiser{m_pool};
};

std::vector<std::pair<int, std::uint64_t>> marksOf(const SynthAudio& audio) {
  std::vector<std::pair<int, std::uint64_t>> marks;
  for (const SynthAudio::Event& event : audio.events()) {
    if (event.mark > 0) marks.emplace_back(event.mark, event.sample);
  }
  return marks;
}

// A text with a mark before each of `words`.
std::wstring marked(const std::vector<std::wstring>& words) {
  std::wstring text;
  for (std::size_t i = 0; i < words.size(); ++i) {
    text += L"\x01" + std::to_wstring(i + 1) + L"M " + words[i] + L" ";
  }
  return text;
}

}  // namespace

TEST_F(SynthPoolTest, SpeaksAndRepeatsWhatWasKilled) {
  EXPECT_EQ(speak("one two"), Result::Done);
  EXPECT_EQ(m_speech.samples.size(), 200u);
  EXPECT_EQ(speak("one TERM ONCE:" + freshFile(), 0), Result::Done);
  EXPECT_EQ(m_speech.samples.size(), 200u);
}

TEST_F(SynthPoolTest, RepeatsWhatIsKilledManyTimesInAShortTime) {
  const std::string file = freshFile();
  EXPECT_EQ(speak("one TERM TWENTY:" + file, 0), Result::Done) << m_why;
  EXPECT_EQ(m_speech.samples.size(), 200u);
  EXPECT_EQ(std::filesystem::file_size(file), 20u);
  std::filesystem::remove(file);
}

TEST_F(SynthPoolTest, RepeatsACallThatFailedOnceInAnyWay) {
  for (const std::string fault :
       {"CRASH", "SPIN", "STOP", "HALF", "GARBAGE", "COUNTS", "NOEND", "CALL", "QUIT"}) {
    EXPECT_EQ(speak(fault + " ONCE:" + freshFile()), Result::Done) << fault << ' ' << m_why;
    EXPECT_EQ(m_speech.samples.size(), 100u) << fault;
    EXPECT_EQ(m_speech.events.size(), 1u) << fault;
  }
}

TEST_F(SynthPoolTest, GivesUpACallThatFailsAgainAndAgain) {
  for (const std::string fault : {"CRASH", "STOP", "HALF", "GARBAGE", "COUNTS", "TERM"}) {
    EXPECT_EQ(speak(fault), Result::Unspeakable) << fault;
    EXPECT_FALSE(m_why.empty());
  }
  EXPECT_EQ(speak("one"), Result::Done);
}

TEST_F(SynthPoolTest, FailsIfNoProcessStarts) {
  for (const std::string voice : {"bad-ready", "exit", "give-up", "kill"}) {
    EXPECT_EQ(m_pool.prepare(voice, {}, m_why), Result::Failed) << voice;
    EXPECT_NE(m_why.find("before it was ready"), std::string::npos) << m_why;
  }
  EXPECT_EQ(m_pool.prepare("no-language", {}, m_why), Result::NoVoice);
  SynthPool nothing("/nowhere/kavrel-synth");
  EXPECT_EQ(nothing.prepare("any", {}, m_why), Result::Failed);
  EXPECT_NE(m_why.find("cannot start /nowhere/kavrel-synth"), std::string::npos) << m_why;
}

TEST_F(SynthPoolTest, RepeatsStartsThatAreEndedFromOutside) {
  const std::string file = freshFile();
  EXPECT_EQ(m_pool.prepare("kill:" + file, {}, m_why), Result::Done) << m_why;
  EXPECT_EQ(std::filesystem::file_size(file), 4u);
  std::filesystem::remove(file);
}

TEST_F(SynthPoolTest, RepeatsAStartThatIsStopped) {
  const std::string file = freshFile();
  EXPECT_EQ(m_pool.prepare("stop:" + file, {}, m_why), Result::Done) << m_why;
  EXPECT_TRUE(std::filesystem::remove(file));
}

TEST_F(SynthPoolTest, HasOneTimeLimitForAllAttemptsToStart) {
  SynthProcess::Limits limits;
  limits.start = milliseconds(1000);
  SynthPool pool(KAVREL_SCRIPTED_SYNTH, limits);
  const auto begin = base::Clock::now();
  EXPECT_EQ(pool.prepare("no-ready", {}, m_why), Result::Failed);
  EXPECT_NE(m_why.find("was not ready in time"), std::string::npos) << m_why;
  EXPECT_LT(base::Clock::now() - begin, milliseconds(1900));
}

TEST_F(SynthPoolTest, LetsWaitingCallsBeCancelled) {
  std::atomic<bool> cancel{false};
  std::vector<std::jthread> busy;
  std::vector<SynthProcess::Speech> speeches(8);
  for (auto& speech : speeches) {
    busy.emplace_back([&] {
      std::string why;
      EXPECT_EQ(m_pool.speak(
                    "any", call("SLOW"), 1, [&] { return cancel.load(); }, speech, why),
                Result::Cancelled);
    });
  }
  std::this_thread::sleep_for(milliseconds(50));
  const auto begin = base::Clock::now();
  cancel = true;
  busy.clear();
  EXPECT_LT(base::Clock::now() - begin, milliseconds(1500));
}

TEST_F(SynthPoolTest, ServesManyThreadsInParallel) {
  std::vector<std::jthread> threads;
  std::atomic<int> done{0};
  for (int thread = 0; thread < 8; ++thread) {
    threads.emplace_back([&, thread] {
      SynthProcess::Speech speech;
      std::string why;
      for (int round = 0; round < 25; ++round) {
        const std::string voice = thread % 2 == 0 ? "any" : "other";
        if (m_pool.speak(voice, call("one two three"), 1, {}, speech, why) == Result::Done &&
            speech.samples.size() == 300) {
          ++done;
        }
      }
    });
  }
  threads.clear();
  EXPECT_EQ(done, 200);
}

TEST(SynthPoolFork, GivesTheChildOfAForkItsOwnProcesses) {
  SynthPool& pool = SynthPool::shared();
  std::string why;
  ASSERT_EQ(pool.prepare("en-us", {}, why), Result::Done) << why;
  const pid_t child = ::fork();
  if (child == 0) {
    SynthProcess::Speech speech;
    const bool good = pool.speak("en-us", call("one"), 1, {}, speech, why) == Result::Done;
    ::_exit(good ? 0 : 1);
  }
  int status = 1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  SynthProcess::Speech speech;
  EXPECT_EQ(pool.speak("en-us", call("one"), 1, {}, speech, why), Result::Done) << why;
}

// Threads that wait for their turn in the parent do not exist in the child.
TEST(SynthPoolFork, LetsTheChildWaitForTurnsOfItsOwn) {
  constexpr unsigned kLimit = 30;
  SynthPool& pool = SynthPool::shared();
  const auto speakOnManyThreads = [&pool](const std::atomic<int>& calls, std::atomic<int>& done) {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 12; ++thread) {
      threads.emplace_back([&] {
        SynthProcess::Speech speech;
        std::string why;
        while (done < calls) {
          done += pool.speak("en-us", call("one"), 1, {}, speech, why) == Result::Done ? 1 : 0;
        }
      });
    }
    return threads;
  };
  std::atomic<int> endless{1'000'000};
  std::atomic<int> done{0};
  auto threads = speakOnManyThreads(endless, done);
  while (done < 20) std::this_thread::sleep_for(milliseconds(1));
  const pid_t child = ::fork();
  if (child == 0) {
    ::alarm(kLimit);
    const std::atomic<int> some{50};
    std::atomic<int> doneHere{0};
    for (std::jthread& thread : speakOnManyThreads(some, doneHere)) thread.join();
    ::_exit(0);
  }
  int status = 1;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  endless = 0;
}

TEST_F(ScriptedSynthesiser, SkipsOnlyTheWordThatIsToBlame) {
  for (const std::wstring fault : {L"CRASH", L"HALF", L"GARBAGE", L"NOEND"}) {
    Synthesiser::Input input;
    input.text = marked({L"one", L"two", fault, L"four"});
    SynthAudio audio;
    std::string why;
    ASSERT_TRUE(m_synthesiser.speak(input, kavrel::Voice(), {}, audio, why)) << why;
    EXPECT_EQ(marksOf(audio),
              (std::vector<std::pair<int, std::uint64_t>>{{1, 0}, {2, 100}, {3, 200}, {4, 200}}));
    EXPECT_EQ(audio.samples().size(), 300u);
    EXPECT_EQ(audio.events().size(), 4u + 3u);
  }
}

TEST(Synthesiser, FailsWithAMessageIfNothingStarts) {
  SynthPool pool("/nowhere/kavrel-synth");
  Synthesiser::Input input;
  input.text = L"one ";
  SynthAudio audio;
  std::string why;
  EXPECT_FALSE(Synthesiser(pool).speak(input, kavrel::Voice(), {}, audio, why));
  EXPECT_NE(why.find("/nowhere/kavrel-synth"), std::string::npos) << why;
  EXPECT_TRUE(audio.samples().empty());
}

// Texts with which espeak-ng writes beyond its buffers.
TEST(SynthesiserCall, SurvivesTextsThatEndTheSynthesiser) {
  struct Row {
    const char* language;
    std::wstring word;
  };
  for (const Row& row : {Row{"da", L"'-a"}, Row{"en-us", std::wstring(79, L'\u00E9') + L"as"},
                         Row{"my", L"\u1019\u103C\u1014\u103A\u1019\u102C"}}) {
    kavrel::Voice voice;
    std::string why;
    ASSERT_TRUE(voice.parse(std::string("format = 1\nname = Test\nlanguage = ") + row.language +
                                "\npitch.offset = 19.3\npitch.range = 0.272\npitch.scale = 34.7\n"
                                "pitch.spread = 0.54\npitch.lowest = 68\npitch.highest = 170\n",
                            why))
        << why;
    Synthesiser::Input input;
    input.text = marked({L"one", row.word, L"three"});
    SynthAudio audio;
    ASSERT_TRUE(Synthesiser::shared().speak(input, voice, {}, audio, why)) << why;
    EXPECT_GT(audio.samples().size(), 4000u) << row.language;
  }
}

TEST(WordPieces, CarryTheSettingsThatAreInForce) {
  const std::wstring mark = L"\x01";
  const std::vector<kavrel::WordPiece> pieces =
      kavrel::wordPieces(mark + L"1M one " + mark + L"200S " + mark + L"2M two " + mark + L"90S " +
                         mark + L"3M three ");
  ASSERT_EQ(pieces.size(), 3u);
  EXPECT_EQ(pieces[0].mark, 1);
  EXPECT_EQ(pieces[0].text, mark + L"1M one " + mark + L"200S ");
  EXPECT_EQ(pieces[1].mark, 2);
  EXPECT_EQ(pieces[1].text, mark + L"200S " + mark + L"2M two " + mark + L"90S ");
  EXPECT_EQ(pieces[2].mark, 3);
  EXPECT_EQ(pieces[2].text, mark + L"90S " + mark + L"3M three ");
}

TEST(WordPieces, KeepTextWithoutAMark) {
  const std::vector<kavrel::WordPiece> pieces = kavrel::wordPieces(L"one two ");
  ASSERT_EQ(pieces.size(), 1u);
  EXPECT_EQ(pieces[0].mark, 0);
  EXPECT_EQ(pieces[0].text, L"one two ");
}
