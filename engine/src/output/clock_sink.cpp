// SPDX-License-Identifier: Apache-2.0
#include "output/clock_sink.h"

#include <algorithm>

#include "output/sample_time.h"

namespace kavrel {

namespace {

// As for a device, so that jobs behave the same.
constexpr std::uint64_t kLead = kSampleRate / 2;

}  // namespace

bool ClockSink::write(std::span<const std::int16_t> /*samples*/) {
  return true;
}

void ClockSink::advance(std::uint64_t count) {
  settle();
  m_written += count;
}

std::uint64_t ClockSink::lead() const {
  return kLead;
}

std::uint64_t ClockSink::heard() {
  if (m_paused) return m_base;
  return std::min(m_written, m_base + samplesIn(base::Clock::now() - m_since));
}

base::Clock::time_point ClockSink::dueAt(std::uint64_t position) {
  if (position <= m_base) return m_since;
  if (m_paused) return base::Clock::time_point::max();
  return m_since + timeOf(position - m_base);
}

void ClockSink::pause() {
  if (m_paused) return;
  m_base = heard();
  m_paused = true;
}

void ClockSink::resume() {
  if (!m_paused) return;
  m_since = base::Clock::now();
  m_paused = false;
}

// What has been heard cannot be taken back.
std::uint64_t ClockSink::takeBack(std::uint64_t position) {
  m_written = std::clamp(position, heard(), m_written);
  return m_written;
}

bool ClockSink::finish() {
  return true;
}

// Else the time without samples would count for the next ones.
void ClockSink::settle() {
  if (m_paused || heard() < m_written) return;
  m_base = m_written;
  m_since = base::Clock::now();
}

}  // namespace kavrel
