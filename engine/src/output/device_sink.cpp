// SPDX-License-Identifier: Apache-2.0
#include "output/device_sink.h"

#include <algorithm>
#include <atomic>
#include <system_error>
#include <utility>

#include "cst/diag.h"
#include "output/device.h"
#include "output/sample_time.h"

namespace kavrel {

namespace {

using std::chrono::milliseconds;

// Written ahead: enough for a job's thread that waits for the processor.
constexpr std::uint64_t kLead = kSampleRate / 2;
static_assert(kLead + kSampleRate / 2 < Playback::kCapacity);

// Minimum time between two polls of the device's position, however close a due position is, and the
// maximum while it plays.
constexpr milliseconds kMinPollInterval(2);
constexpr milliseconds kMaxPollInterval(250);

// A playing device whose position has not moved for this time counts as lost. Polls are up to
// kMaxPollInterval apart, so it is noticed after two seconds. One poll adds that interval at most:
// a longer one is a suspended process.
constexpr milliseconds kStuckLimit(1750);

// The last written sample counts as heard when this many frames of silence have followed it, so
// that a device that lags a little behind its reported position is not stopped before the audio is
// over.
constexpr std::uint64_t kTail = kSampleRate * 15 / 1000;

// The highest plausible rate of a device: a little more than the nominal one, since its clock may
// differ from the system's.
constexpr double kMaxRate = kSampleRate * 1.005;

// So that the lack of a device is reported once, and again after a device was found.
std::atomic<bool> reportedNoDevice = false;

void reportNoDevice(const std::string& why) {
  if (reportedNoDevice.exchange(true)) return;
  KAVREL_DIAG("DeviceSink", "Nothing is heard: %s.", why.c_str());
}

}  // namespace

// The thread opens the stream while audio is written for it already.
void DeviceSink::open() {
  m_playback = std::make_shared<Playback>();
  try {
    m_stream = std::make_unique<StreamThread>(m_device, m_playback);
  } catch (const std::system_error&) {
    reportNoDevice("the system refuses to start a thread");
    m_clock.emplace(0, 0, m_paused);
  }
}

// What the device does not have yet, it never gets, even if it closes much later.
void DeviceSink::close() {
  if (m_playback == nullptr) return;
  m_playback->allowGap();
  m_playback->takeBack(0);
  m_stream.reset();
  const std::uint32_t gaps = m_playback->gapCount();
  if (gaps > 0) KAVREL_DIAG("DeviceSink", "Audio was late %u times.", gaps);
  m_playback.reset();
}

// Never fails: a device that is lost is replaced by the clock.
bool DeviceSink::write(std::span<const std::int16_t> samples) {
  const base::ScopedLock held(m_lock);
  if (!m_clock.has_value() && m_playback == nullptr) open();
  if (m_clock.has_value()) return true;
  m_playback->write(samples);
  if (!m_started && !m_paused) start();
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
  return m_polledAt + std::clamp<base::Clock::duration>(timeOf(position - m_heard.position),
                                                        kMinPollInterval, kMaxPollInterval);
}

// What is heard until the device has stopped, a millisecond or so, counts when it continues.
void DeviceSink::pause() {
  const base::ScopedLock held(m_lock);
  if (m_paused) return;
  poll();
  if (m_started && m_stream != nullptr) {
    m_playback->allowGap();
    m_stream->stop();
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
  const base::ScopedLock held(m_lock);
  close();
  return true;
}

// The position is trusted from here on only as far as time allows, see heardFrames().
void DeviceSink::start() {
  m_started = true;
  m_stuck = {};
  m_polledAt = m_anchorTime = base::Clock::now();
  m_measured = m_stream->position().frames;
  m_reported = std::max(m_reported, m_measured);
  m_anchorFrames = std::max(m_heardFrames, m_reported);
  m_stream->start();
}

// Called before each use of the device's position. The position never decreases.
void DeviceSink::poll() {
  if (m_clock.has_value() || !m_started || m_stream == nullptr || !isUsable()) return;
  const base::Clock::time_point now = base::Clock::now();
  const std::uint64_t before = m_measured;
  m_reported = std::max(m_reported, reportedFrames(now));
  if (!m_paused) m_heardFrames = heardFrames(now);
  m_heard = m_playback->heardAt(m_heardFrames);
  const bool all = m_heard.position > 0 && m_heard.position == m_written;
  if (all && m_heard.silence < kTail) --m_heard.position;
  watch(m_measured != before || m_paused, now);
  m_polledAt = now;
}

bool DeviceSink::isUsable() {
  switch (m_stream->state()) {
    case StreamThread::State::Opening:
      break;
    case StreamThread::State::Open:
      reportedNoDevice = false;
      break;
    case StreamThread::State::Failed:
      beginInSilence(m_stream->error());
      return false;
    case StreamThread::State::Lost:
      continueInSilence();
      return false;
  }
  return true;
}

// The device has moved on since the last measurement, unless it stands still.
std::uint64_t DeviceSink::reportedFrames(base::Clock::time_point now) {
  const StreamThread::Position last = m_stream->position();
  m_measured = last.frames;
  if (m_paused || !last.isMoving) return m_measured;
  const auto since = std::clamp<base::Clock::duration>(now - last.at, base::Clock::duration(),
                                                       StreamThread::kInterval);
  return m_measured + samplesIn(since);
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
                  : m_stuck + std::min<base::Clock::duration>(now - m_polledAt, kMaxPollInterval);
  if (m_stuck <= kStuckLimit) return;
  DeviceStream::leaveConnection();
  if (m_stream->state() == StreamThread::State::Opening) {
    beginInSilence("the sound server does not respond");
  } else {
    continueInSilence();
  }
}

void DeviceSink::beginInSilence(const std::string& why) {
  m_clock.emplace(0, m_written, m_paused);
  close();
  reportNoDevice(why);
}

void DeviceSink::continueInSilence() {
  m_clock.emplace(m_heard.position, m_written, m_paused);
  close();
  KAVREL_DIAG("DeviceSink", "The sound device is lost; the rest of the job is not heard.");
}

}  // namespace kavrel
