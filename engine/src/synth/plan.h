// SPDX-License-Identifier: Apache-2.0
//
// Turns a sentence into calls of the synthesiser and silences, one at a time. Calls are kept short
// enough for the synthesiser.
//
// The text of a call has a mark command before every item, so that the first sample of each word is
// known exactly, and the commands for the items' styles. Used by one thread at a time; may throw
// std::bad_alloc only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "synth/synthesiser.h"
#include "text/sentence.h"

namespace kavrel {

class Voice;

// One call of the synthesiser, or a silence.
struct SynthCall {
  Synthesiser::Input input;
  const Voice* voice = nullptr;  // that speaks `input`; null for a break
  // Mark number n (from 1) is the sentence's item with index marks[n - 1].
  std::vector<std::size_t> marks;
  // False if `input` makes no sound: its marks are then reached at once, and no call is needed.
  bool audible = false;
  // If set, this is not a call but the silence of the sentence's item `breakItem`.
  bool isBreak = false;
  std::size_t breakItem = 0;
};

class Plan {
 public:
  // Speaking rate if the text sets none, in words per minute.
  static constexpr double kDefaultRate = 180;
  // Slower and faster rates are clamped to these.
  static constexpr double kMinRate = 80;
  static constexpr double kMaxRate = 600;
  // Volumes are clamped to this, in percent.
  static constexpr double kMaxVolume = 300;

  // The sentence and the voices must outlive the plan. `voices` are those of the items
  // (ScriptVoices); none: `own` speaks them all. Other voices speak at the pitch of `own`.
  Plan(const Sentence& sentence, const Voice& own, std::vector<const Voice*> voices = {});

  // Fills `call` and returns true; returns false at the end of the sentence.
  bool next(SynthCall& call);

 private:
  // An item's style in terms of the synthesiser's settings and of SynthAudio's adjustments.
  struct ResolvedStyle {
    Synthesiser::Settings settings;
    int volume = 100;   // percent
    double pauses = 1;  // factor
    double speed = 1;   // factor
    bool emphasis = false;
    bool spelling = false;
  };
  // The state at the last comma, where a call that becomes too long can be ended.
  struct SplitPoint {
    std::size_t item = 0;
    std::size_t textSize = 0;
    std::size_t marks = 0;
    std::size_t adjustments = 0;
    std::size_t innerMarks = 0;
    bool emphasis = false;
    bool set = false;
  };

  const Voice& voiceOf(std::size_t item) const;
  ResolvedStyle resolve(const Style& style, const Voice& voice) const;
  bool isJoined(const SynthCall& call, const Item& item) const;
  void addCommand(int number, wchar_t letter);
  void applyStyle(SynthCall& call, const ResolvedStyle& resolved);
  std::size_t clauseBytes();
  bool isFull();
  void addItem(SynthCall& call);
  void addMark(SynthCall& call, const Item& item);
  void addWordPart(SynthCall& call, const Item& item);
  void addPhonesPart(SynthCall& call, const Item& item);
  void noteSplitPoint(const SynthCall& call, const Item& item);
  // Ends the call at the split point. Returns false if there is none.
  bool splitAtComma(SynthCall& call);

  const Sentence& m_sentence;
  const Voice& m_own;
  const std::vector<const Voice*> m_voices;  // of the items; may be empty
  std::size_t m_item = 0;                    // index of the next item
  std::size_t m_part = 0;  // how much of it earlier parts have spoken: characters or phones
  // The call under construction.
  std::wstring m_text;
  std::size_t m_counted = 0;      // characters of m_text that are in m_clauseBytes
  std::size_t m_clauseBytes = 0;  // what they take of the longest clause
  std::size_t m_commandCount = 0;
  ResolvedStyle m_inForce;     // after the last command
  bool m_hasSettings = false;  // an item has decided the call's settings
  SplitPoint m_split;
};

}  // namespace kavrel
