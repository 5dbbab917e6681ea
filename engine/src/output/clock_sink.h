// SPDX-License-Identifier: Apache-2.0
//
// A sink without a sound device: samples count as heard in real time, so that programs behave as
// they do with a device. When all written samples have been heard, the count stops until more are
// written.
//
// Threads: as Sink; it has no lock of its own. It never fails.
#pragma once

#include "output/sink.h"

namespace kavrel {

class ClockSink final : public Sink {
 public:
  ClockSink() = default;

  // Continues from the state of another sink.
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
  // Restarts the clock if all written samples have been heard.
  void settle();

  // At m_since, m_base samples had been heard; more are heard since then unless paused.
  std::uint64_t m_base = 0;
  base::Clock::time_point m_since = base::Clock::now();
  std::uint64_t m_written = 0;
  bool m_paused = false;
};

}  // namespace kavrel
