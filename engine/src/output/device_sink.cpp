// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/device_sink.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "cst/diag.h"
#include "output/sample_time.h"

namespace kavrel {

namespace {

using std::chrono::milliseconds;

constexpr std::uint64_t kLead = kSampleRate / 2;
static_assert(kLead + kSampleRate / 2 < Playback::kCapacity);

// A device's position is looked at again after this time at the soonest, however near a place is.
constexpr milliseconds kTick(2);

// A device that has not moved for this long while it should is lost.
constexpr milliseconds kPatience(5000);
// The most that one look counts for: what lies before it may be a halt of the whole process.
constexpr milliseconds kMostPerLook(50);

// The last sample there is counts as heard when so much silence has followed it, so that a device
// which is a little behind what it says is not held before the sound is over.
constexpr std::uint64_t kTail = kSampleRate * 15 / 1000;

// How much faster than its rate the sound is believed to run, so that a device whose clock is not
// ours is kept up with.
constexpr double kMostRate = kSampleRate * 1.005;

// Said when the first job finds no device, and again when there has been one in between.
std::atomic<bool> saidNoDevice = false;

}  // namespace

// Takes time, so it runs under no lock; a pause may come meanwhile.
void DeviceSink::open() {
  m_opened = true;
  auto playback = std::make_unique<Playback>();
  std::string why;
  auto stream = DeviceStream::open(m_device, *playback, why);
  const bool found = stream != nullptr;
  if (found) {
    saidNoDevice = false;
  } else if (!saidNoDevice.exchange(true)) {
    KAVREL_DIAG("DeviceSink", "Speaking in silence: %s.", why.c_str());
  }
  const base::ScopedLock held(m_lock);
  if (found) {
    m_playback = std::move(playback);
    m_stream = std::move(stream);
  } else {
    m_clock.emplace(0, 0, m_paused);
  }
}

void DeviceSink::close() {
  std::unique_ptr<Playback> playback;
  std::unique_ptr<DeviceStream> stream;
  {
    const base::ScopedLock held(m_lock);
    playback = std::move(m_playback);
    stream = std::move(m_stream);
  }
  stream.reset();
  const std::uint32_t gaps = playback != nullptr ? playback->gapCount() : 0;
  if (gaps > 0) KAVREL_DIAG("DeviceSink", "The sound came too late %u times.", gaps);
}

bool DeviceSink::write(std::span<const std::int16_t> samples) {
  if (!m_opened) open();
  bool lost = false;
  {
    const base::ScopedLock held(m_lock);
    lost = m_clock.has_value();
    if (!lost) {
      m_playback->write(samples);
      if (!m_started && !m_paused) start();
    }
  }
  if (lost) close();
  return true;
}

void DeviceSink::advance(std::uint64_t count) {
  const base::ScopedLock held(m_lock);
  m_written += count;
  if (m_clock.has_value()) m_clock->advance(count);
}

std::uint64_t DeviceSink::lead() const {
  return kLead;
}

std::uint64_t DeviceSink::heard() {
  const base::ScopedLock held(m_lock);
  look();
  return m_clock.has_value() ? m_clock->heard() : m_heard.position;
}

bool DeviceSink::hasReached(std::uint64_t position) {
  const base::ScopedLock held(m_lock);
  look();
  if (m_clock.has_value()) return m_clock->heard() >= position;
  return m_frames > 0 && m_heard.position >= position;
}

base::Clock::time_point DeviceSink::dueAt(std::uint64_t position) {
  const base::ScopedLock held(m_lock);
  look();
  if (m_clock.has_value()) return m_clock->dueAt(position);
  if (position <= m_heard.position && (m_frames > 0 || !m_started)) {
    return m_seenAt - timeOf(m_heard.position - position + m_heard.silence);
  }
  if (m_paused) return base::Clock::time_point::max();
  return m_seenAt + std::max<base::Clock::duration>(timeOf(position - m_heard.position), kTick);
}

void DeviceSink::pause() {
  const base::ScopedLock held(m_lock);
  if (m_paused) return;
  if (!m_clock.has_value() && m_started) {
    m_playback->allowGap();
    m_stream->stop();
    look();
  }
  m_paused = true;
  if (m_clock.has_value()) m_clock->pause();
}

void DeviceSink::resume() {
  const base::ScopedLock held(m_lock);
  if (!std::exchange(m_paused, false)) return;
  if (m_clock.has_value()) {
    m_clock->resume();
  } else if (m_stream != nullptr) {
    start();
  }
}

std::uint64_t DeviceSink::takeBack(std::uint64_t position) {
  const base::ScopedLock held(m_lock);
  if (m_clock.has_value()) {
    m_written = m_clock->takeBack(position);
  } else if (m_playback != nullptr) {
    m_playback->allowGap();
    m_written = m_playback->takeBack(position);
  }
  return m_written;
}

bool DeviceSink::finish() {
  close();
  return true;
}

void DeviceSink::start() {
  m_started = true;
  m_stuck = {};
  m_seenAt = m_anchorTime = base::Clock::now();
  m_anchorFrames = std::max(m_frames, m_reported);
  if (m_stream->isLost() || !m_stream->start()) goOnInSilence();
}

// Brings up to date what is known of the device.
void DeviceSink::look() {
  if (m_clock.has_value() || !m_started || m_stream == nullptr) return;
  if (m_stream->isLost()) {
    goOnInSilence();
    return;
  }
  const std::uint64_t reported = std::max(m_reported, m_stream->position().value_or(0));
  const base::Clock::time_point now = base::Clock::now();
  const bool moved = std::exchange(m_reported, reported) != reported;
  if (!m_paused) m_frames = heardFrames(now);
  m_heard = m_playback->heardAt(m_frames);
  const bool all = m_heard.position > 0 && m_heard.position == m_written;
  if (all && m_heard.silence < kTail) --m_heard.position;
  watch(moved || m_paused, now);
  m_seenAt = now;
}

// Sound servers guess the position in between what they know, and may be wrong by some hundredths
// of a second, with many streams above all. Sound can stand still, but never runs ahead of its
// time.
std::uint64_t DeviceSink::heardFrames(base::Clock::time_point now) {
  const double seconds = std::chrono::duration<double>(now - m_anchorTime).count();
  const auto most = m_anchorFrames + static_cast<std::uint64_t>(seconds * kMostRate);
  return std::max(m_frames, std::min(m_reported, most));
}

void DeviceSink::watch(bool moved, base::Clock::time_point now) {
  m_stuck = moved ? base::Clock::duration()
                  : m_stuck + std::min<base::Clock::duration>(now - m_seenAt, kMostPerLook);
  if (m_stuck > kPatience) goOnInSilence();
}

void DeviceSink::goOnInSilence() {
  m_clock.emplace(m_heard.position, m_written, m_paused);
  KAVREL_DIAG("DeviceSink", "The sound device is lost; the job goes on in silence.");
}

}  // namespace kavrel
