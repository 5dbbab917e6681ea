// SPDX-License-Identifier: GPL-3.0-or-later
//
// Turns a sentence into what the synthesiser is asked for, one call at a time: calls that are short
// enough for it, and silences.
//
// The text of a call has a mark command in front of every item, so that each word's sound is known
// exactly, and the commands for the item's style. Used by one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "synth/synthesiser.h"
#include "text/sentence.h"

namespace kavrel {

class Voice;

struct SynthCall {
  Synthesiser::Input input;
  // Mark number n (from 1) stands for the sentence's item marks[n - 1].
  std::vector<std::size_t> marks;
  // False when `input` holds nothing to be heard: its marks are due at once.
  bool audible = false;
  // Instead of a call: silence, for the sentence's item `breakItem`.
  bool isBreak = false;
  std::size_t breakItem = 0;
};

class Plan {
 public:
  // Speaking rate where the text sets none, in words per minute.
  static constexpr double kDefaultRate = 180;
  // What is slower or faster is spoken at these.
  static constexpr double kMinRate = 80;
  static constexpr double kMaxRate = 600;
  // Percent; what is louder is spoken as loud as this.
  static constexpr double kMaxVolume = 300;

  // Both must outlive the plan.
  Plan(const Sentence& sentence, const Voice& voice);

  // Fills `call` and answers true, or answers false at the end of the sentence.
  bool next(SynthCall& call);

 private:
  // What an item's style comes to.
  struct ResolvedStyle {
    Synthesiser::Settings settings;
    int volume = 100;
    double pauses = 1;
    double speed = 1;
    bool emphasis = false;
    bool spelling = false;
  };
  // Where a call can end that has become too long.
  struct SplitPoint {
    std::size_t item = 0;
    std::size_t textSize = 0;
    std::size_t marks = 0;
    std::size_t adjustments = 0;
    std::size_t innerMarks = 0;
    bool emphasis = false;
    bool set = false;
  };

  ResolvedStyle resolve(const Style& style) const;
  void addCommand(int number, wchar_t letter);
  void applyStyle(SynthCall& call, const ResolvedStyle& resolved);
  bool isFull() const;
  void addItem(SynthCall& call);
  void addMark(SynthCall& call, const Item& item);
  void addWordPart(SynthCall& call, const Item& item);
  void addPhonesPart(SynthCall& call, const Item& item);
  void noteSplitPoint(const SynthCall& call, const Item& item);
  // False when the call has no such place.
  bool splitAtComma(SynthCall& call);

  const Sentence& m_sentence;
  const Voice& m_voice;
  std::size_t m_item = 0;  // the item to go on with
  std::size_t m_part = 0;  // how much of it earlier parts have said
  // The call under construction.
  std::wstring m_text;
  std::size_t m_commandCount = 0;
  ResolvedStyle m_inForce;
  bool m_hasSettings = false;  // an item has decided the call's settings
  SplitPoint m_split;
};

}  // namespace kavrel
