// SPDX-License-Identifier: GPL-3.0-or-later
//
// The sound of one call of the synthesiser, gathered from the blocks in which it comes, with the
// samples at which its marks and phones begin. Used by one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kavrel {

class SynthAudio {
 public:
  struct Event {
    int mark = 0;       // from 1; 0 for a phone
    std::string phone;  // the synthesiser's name
    std::uint64_t sample = 0;
  };

  // What becomes of the sound from a mark on.
  struct Adjustment {
    int mark = 0;       // 0: from the start
    int volume = 100;   // percent
    double pauses = 1;  // how much longer they get
    double speed = 1;   // how much faster the whole gets

    bool operator==(const Adjustment&) const = default;
  };

  // A mark inside a word, that the synthesiser is not told of: it comes when `share` (0 to 1) of
  // the time from the mark in front of it to the one behind it has passed.
  struct InnerMark {
    int mark = 0;
    double share = 0;

    bool operator==(const InnerMark&) const = default;
  };

  // The events of a block come in front of its samples, in order of time. They count samples from
  // the start of the call.
  void addMark(int number, std::int64_t sample);
  void addPhone(std::string_view name, std::int64_t sample);
  void addSamples(std::span<const std::int16_t> samples);

  // Gives pauses their lengths and the sound its speeds and volumes, and takes the events along;
  // `adjustments` are in order of their marks. What would be louder than a sample can be is bent,
  // not cut off. Called once, when all blocks have come.
  void adjust(std::span<const Adjustment> adjustments);

  // Adds an event for each of the marks, which are in order. Called after adjust().
  void addInnerMarks(std::span<const InnerMark> marks);

  const std::vector<Event>& events() const { return m_events; }
  const std::vector<std::int16_t>& samples() const { return m_samples; }

 private:
  struct Pause {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    double factor = 1;  // by which it gets longer
  };

  void add(Event event, std::int64_t sample);
  void orderEvents();
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
