// SPDX-License-Identifier: Apache-2.0
//
// The audio of one call of the synthesiser, collected from the blocks that the synthesiser returns,
// with the samples at which its marks and phones begin; and the adjustments that the synthesiser
// cannot make itself: length of pauses, speed (WSOLA, see TimeScale) and volume.
//
// Used by one thread at a time; may throw std::bad_alloc only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kavrel {

class SynthAudio {
 public:
  // What is heard from a phone to the next event. The synthesiser names no phone that has no sound
  // of its own: its pauses of all kinds, and short transitions between two phones.
  enum class Silence : std::uint8_t {
    None,   // sound
    Short,  // silence of less than 50 ms, between sounds or at the end of a call
    Pause,
  };

  struct Event {
    int mark = 0;       // number of the mark, from 1; 0 for a phone
    std::string phone;  // the synthesiser's name, in IPA, or empty; empty for a mark
    std::uint64_t sample = 0;
    Silence silence = Silence::None;  // of a phone without a name; set by adjust()

    bool operator==(const Event&) const = default;
  };

  // A change that applies to the audio from a mark on.
  struct Adjustment {
    int mark = 0;       // 0: from the start
    int volume = 100;   // percent
    double pauses = 1;  // factor of their length
    double speed = 1;   // factor, at least 1; applies to speech and pauses

    bool operator==(const Adjustment&) const = default;
  };

  // A mark inside a word, unknown to the synthesiser. It is reached after `share` (0 to 1) of the
  // time from the mark before it to the mark after it.
  struct InnerMark {
    int mark = 0;
    double share = 0;

    bool operator==(const InnerMark&) const = default;
  };

  // What follows a mark, up to the next one.
  struct Marked {
    std::size_t letters = 0;  // or phones: a measure of the time that it takes
    bool isWord = false;      // false for a bookmark, which is reached with the next word
    bool endsClause = false;  // a comma or a stop follows
    // The synthesiser does not begin a word here: it reports this mark late, at the next word that
    // it begins, that word's mark at the one after it, and so on, up to the end of the clause.
    bool isJoined = false;

    bool operator==(const Marked&) const = default;
  };

  // Called for each block, its events first, in order of time. `sample` counts from the start of
  // the audio.
  void addMark(int number, std::int64_t sample);
  void addPhone(std::string_view name, std::int64_t sample);
  void addSamples(std::vector<std::int16_t>&& samples);

  // Tells silences from sounds, applies `adjustments`, which are in order of their marks, and moves
  // the events accordingly. Samples that would be too loud are soft-clipped. Called once, after the
  // last block.
  void adjust(std::span<const Adjustment> adjustments);

  // Gives each mark that is reported late to the word that begins there. `marked`: what follows
  // mark n; what comes before the first mark has index 0. Called before adjust().
  void correctLateMarks(std::span<const Marked> marked);

  // Adds an event for each mark that the synthesiser did not report, unless it is in `inner`: after
  // the share of the time between its neighbours that the letters before it have. Called after
  // adjust().
  void addLostMarks(std::span<const Marked> marked, std::span<const InnerMark> inner);

  // Adds an event for each of `marks`, which are in order. Called after addLostMarks().
  void addInnerMarks(std::span<const InnerMark> marks);

  const std::vector<Event>& events() const { return m_events; }
  const std::vector<std::int16_t>& samples() const { return m_samples; }
  std::vector<std::int16_t> takeSamples() && { return std::move(m_samples); }

 private:
  struct Pause {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    double factor = 1;  // of its length
  };

  void add(Event event, std::int64_t sample);
  void orderEvents();
  void findSilences();
  bool isSilent(std::uint64_t begin, std::uint64_t end) const;
  std::vector<Pause> pauses(std::span<const Adjustment> adjustments) const;
  void resizePauses(std::span<const Adjustment> adjustments);
  void applySpeeds(std::span<const Adjustment> adjustments);
  void applyVolumes(std::span<const Adjustment> adjustments);
  std::uint64_t beginOf(const Adjustment& adjustment) const;
  void amplify(std::uint64_t begin, std::uint64_t end, double from, double to);

  std::vector<std::int16_t> m_samples;
  std::vector<Event> m_events;
};

}  // namespace kavrel
