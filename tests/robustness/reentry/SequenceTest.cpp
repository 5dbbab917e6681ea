// SPDX-License-Identifier: Apache-2.0
//
// All sequences of two and of three entry points inside every callback, generated; the expected
// results come from a model of the state table. A crash or a hang names its sequence on standard
// error.

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <tuple>

#include <gtest/gtest.h>
#include <unistd.h>

#include "Sequence.h"

#if defined(__SANITIZE_ADDRESS__)
extern "C" void __sanitizer_set_death_callback(void (*callback)());
#endif

namespace reentry {
namespace {

constexpr std::array kMoments = {Moment::TextDone, Moment::TextDoneAgain, Moment::SpeechDone,
                                 Moment::Sync,     Moment::Phoneme,       Moment::Word};
constexpr std::array kMomentNames = {"TextDone", "TextDoneAgain", "SpeechDone",
                                     "Sync",     "Phoneme",       "Word"};
constexpr std::array kEntryPoints = {
    EntryPoint::Open,  EntryPoint::Close,    EntryPoint::Status,         EntryPoint::Stop,
    EntryPoint::Pause, EntryPoint::Continue, EntryPoint::TextToPhonemes, EntryPoint::UseDictionary,
    EntryPoint::Speak, EntryPoint::GetInfo,  EntryPoint::SetInfo,        EntryPoint::UseVoice};
constexpr std::array kEntryNames = {"Open",  "Close",    "Status",         "Stop",
                                    "Pause", "Continue", "TextToPhonemes", "UseDictionary",
                                    "Speak", "GetInfo",  "SetInfo",        "UseVoice"};
constexpr std::array kTargets = {Target::Same, Target::Another, Target::Closed, Target::Unknown};

// ---- The sequence that is being played, for messages

std::array<char, 200> g_playing;

void nameTheSequence() {
  const char head[] = "while playing: ";
  static_cast<void>(!write(STDERR_FILENO, head, sizeof head - 1));
  static_cast<void>(!write(STDERR_FILENO, g_playing.data(), std::strlen(g_playing.data())));
  static_cast<void>(!write(STDERR_FILENO, "\n", 1));
}

void onSignal(int signal) {
  nameTheSequence();
  std::signal(signal, SIG_DFL);
  raise(signal);
}

// Sixty seconds for one sequence: the slowest wait inside takes ten.
void play(Moment moment, const std::vector<SequenceCall>& calls) {
  Sequence sequence(moment, calls);
  const std::string text = sequence.text();
  std::fill(g_playing.begin(), g_playing.end(), '\0');
  text.copy(g_playing.data(), g_playing.size() - 1);
  alarm(60);
  EXPECT_EQ(sequence.play(), "") << text;
  alarm(0);
}

// One test per moment and first entry point.
class Sequences : public testing::TestWithParam<std::tuple<Moment, EntryPoint>> {
 protected:
  static void SetUpTestSuite() {
#if defined(__SANITIZE_ADDRESS__)
    __sanitizer_set_death_callback(nameTheSequence);
#else
    std::signal(SIGSEGV, onSignal);
    std::signal(SIGABRT, onSignal);
#endif
    std::signal(SIGALRM, onSignal);
  }

  static Moment moment() {
    return std::get<0>(GetParam());
  }
  static EntryPoint first() {
    return std::get<1>(GetParam());
  }
};

TEST_P(Sequences, OfTwoCallsOnAnyChannelsReturnWhatTheModelAllows) {
  for (const Target one : kTargets) {
    for (const EntryPoint second : kEntryPoints) {
      for (const Target other : kTargets) {
        play(moment(), {{first(), one}, {second, other}});
        if (HasFailure()) return;
      }
    }
  }
}

TEST_P(Sequences, OfThreeCallsOnTheSameChannelReturnWhatTheModelAllows) {
  for (const EntryPoint second : kEntryPoints) {
    for (const EntryPoint third : kEntryPoints) {
      play(moment(), {{first(), Target::Same}, {second, Target::Same}, {third, Target::Same}});
      if (HasFailure()) return;
    }
  }
}

class FullSequences : public Sequences {};

TEST_P(FullSequences, OfThreeCallsOnAnyChannelsReturnWhatTheModelAllows) {
  for (const Target one : kTargets) {
    for (const EntryPoint second : kEntryPoints) {
      for (const Target two : kTargets) {
        for (const EntryPoint third : kEntryPoints) {
          for (const Target three : kTargets) {
            play(moment(), {{first(), one}, {second, two}, {third, three}});
            if (HasFailure()) return;
          }
        }
      }
    }
  }
}

std::string nameOf(const testing::TestParamInfo<std::tuple<Moment, EntryPoint>>& info) {
  return std::string(kMomentNames[static_cast<std::size_t>(std::get<0>(info.param))]) +
         kEntryNames[static_cast<std::size_t>(std::get<1>(info.param))];
}

INSTANTIATE_TEST_SUITE_P(Inside, Sequences,
                         testing::Combine(testing::ValuesIn(kMoments),
                                          testing::ValuesIn(kEntryPoints)),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Inside, FullSequences,
                         testing::Combine(testing::ValuesIn(kMoments),
                                          testing::ValuesIn(kEntryPoints)),
                         nameOf);

}  // namespace
}  // namespace reentry
