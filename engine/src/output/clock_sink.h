// SPDX-License-Identifier: GPL-3.0-or-later
//
// A sink without a sound device: time passes as if the sound were heard, so that programs behave as
// they do with one. When nothing is left to be heard the count stands still until more comes.
#pragma once

#include "output/sink.h"

namespace kavrel {

class ClockSink final : public Sink {
 public:
  ClockSink() = default;

  // Goes on from where another sink stands.
  ClockSink(std::uint64_t heard, std::uint64_t written, bool paused)
      : m_base(heard), m_written(written), m_paused(paused) {}

  bool write(std::span<const std::int16_t> samples) override;
  void advance(std::uint64_t count) override;
  std::uint64_t lead() const override;
  std::uint64_t heard() override;
  base::Clock::time_point dueAt(std::uint64_t position) override;
  void pause() override;
  void resume() override;
  std::uint64_t takeBack(std::uint64_t position) override;
  bool finish() override;

 private:
  void settle();

  // m_base had been heard at m_since; from then on time counts, unless it is paused.
  std::uint64_t m_base = 0;
  base::Clock::time_point m_since = base::Clock::now();
  std::uint64_t m_written = 0;
  bool m_paused = false;
};

}  // namespace kavrel
