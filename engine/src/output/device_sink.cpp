// SPDX-License-Identifier: Apache-2.0
#include "output/device_sink.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "cst/diag.h"
#include "output/sample_time.h"

namespace kavrel {

namespace {

using std::chrono::milliseconds;

// Written ahead: enough for a job's thread that waits for the processor.
constexpr std::uint64_t kLead = kSampleRate / 2;
static_assert(kLead + kSampleRate / 2 < Playback::kCapacity);

// Minimum time between two polls of the device's position, however close a due position is.
constexpr milliseconds kMinPollInterval(2);

// A playing device whose position has not moved for this time counts as lost.
constexpr milliseconds kStuckLimit(5000);
// Maximum time that one poll adds to it: a longer interval may be a suspended process.
constexpr milliseconds kMaxPollStep(50);

// The last written sample counts as heard when this many frames of silence have followed it, so
// that a device that lags a little behind its reported position is not stopped before the audio is
// over.
constexpr std::uint64_t kTail = kSampleRate * 15 / 1000;

// The highest plausible rate of a device: a little more than the nominal one, since its clock may
// differ from the system's.
constexpr double kMaxRate = kSampleRate * 1.005;

// So that the lack of a device is reported once, and again after a device was found.
std::atomic<bool> reportedNoDevice = false;

}  // namespace

// Opening takes time, so it runs under no lock. A pause may come in the meantime.
void DeviceSink::open() {
  m_opened = true;
  auto playback = std::make_unique<Playback>();
  std::string why;
  auto stream = DeviceStream::open(m_device, *playback, why);
  const bool found = stream != nullptr;
  if (found) {
    reportedNoDevice = false;
  } else if (!reportedNoDevice.exchange(true)) {
    KAVREL_DIAG("DeviceSink", "Nothing is heard: %s.", why.c_str());
  }
  const base::ScopedLock held(m_lock);
  if (found) {
    m_playback = std::move(playback);
    m_stream = std::move(stream);
  } else {
    m_clock.emplace(0, 0, m_paused);
  }
}

// The stream is destroyed outside the lock, since cubeb waits for its thread, and before the
// Playback that it reads from.
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
  if (gaps > 0) KAVREL_DIAG("DeviceSink", "Audio was late %u times.", gaps);
}

// Never fails: a device that is lost is replaced by the clock, and closed here, on the job's
// thread.
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
  poll();
  return m_clock.has_value() ? m_clock->heard() : m_heard.position;
}

bool DeviceSink::hasReached(std::uint64_t position) {
  const base::ScopedLock held(m_lock);
  poll();
  if (m_clock.has_value()) return m_clock->heard() >= position;
  return m_heardFrames > 0 && m_heard.position >= position;
}

// A position that has been heard is due in the past, as far as the samples and the silence since
// then say.
base::Clock::time_point DeviceSink::dueAt(std::uint64_t position) {
  const base::ScopedLock held(m_lock);
  poll();
  if (m_clock.has_value()) return m_clock->dueAt(position);
  if (position <= m_heard.position && (m_heardFrames > 0 || !m_started)) {
    return m_polledAt - timeOf(m_heard.position - position + m_heard.silence);
  }
  if (m_paused) return base::Clock::time_point::max();
  return m_polledAt +
         std::max<base::Clock::duration>(timeOf(position - m_heard.position), kMinPollInterval);
}

// The stream stops first, so that the position that is polled afterwards is final.
void DeviceSink::pause() {
  const base::ScopedLock held(m_lock);
  if (m_paused) return;
  if (!m_clock.has_value() && m_started) {
    m_playback->allowGap();
    m_stream->stop();
    poll();
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

// What the device has claimed already cannot be taken back, so the result may be after `position`.
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

// The position is trusted from here on only as far as time allows, see heardFrames().
void DeviceSink::start() {
  m_started = true;
  m_stuck = {};
  m_polledAt = m_anchorTime = base::Clock::now();
  m_anchorFrames = std::max(m_heardFrames, m_reported);
  if (m_stream->isLost() || !m_stream->start()) continueInSilence();
}

// Called before each use of the device's position. The position never decreases, even if the device
// reports so.
void DeviceSink::poll() {
  if (m_clock.has_value() || !m_started || m_stream == nullptr) return;
  if (m_stream->isLost()) {
    continueInSilence();
    return;
  }
  const std::uint64_t reported = std::max(m_reported, m_stream->position().value_or(0));
  const base::Clock::time_point now = base::Clock::now();
  const bool moved = std::exchange(m_reported, reported) != reported;
  if (!m_paused) m_heardFrames = heardFrames(now);
  m_heard = m_playback->heardAt(m_heardFrames);
  const bool all = m_heard.position > 0 && m_heard.position == m_written;
  if (all && m_heard.silence < kTail) --m_heard.position;
  watch(moved || m_paused, now);
  m_polledAt = now;
}

// Sound servers interpolate the position, and may be wrong by some hundredths of a second, above
// all with many streams. A device can stall, but never plays faster than real time.
std::uint64_t DeviceSink::heardFrames(base::Clock::time_point now) {
  const double seconds = std::chrono::duration<double>(now - m_anchorTime).count();
  const auto most = m_anchorFrames + static_cast<std::uint64_t>(seconds * kMaxRate);
  return std::max(m_heardFrames, std::min(m_reported, most));
}

void DeviceSink::watch(bool moved, base::Clock::time_point now) {
  m_stuck = moved ? base::Clock::duration()
                  : m_stuck + std::min<base::Clock::duration>(now - m_polledAt, kMaxPollStep);
  if (m_stuck > kStuckLimit) continueInSilence();
}

void DeviceSink::continueInSilence() {
  m_clock.emplace(m_heard.position, m_written, m_paused);
  KAVREL_DIAG("DeviceSink", "The sound device is lost; the rest of the job is not heard.");
}

}  // namespace kavrel
