// SPDX-License-Identifier: Apache-2.0
//
// A sink that plays on a sound device.
//
// The stream to the device is opened with the first audio and closed at the end, on a thread of its
// own (StreamThread): no function here waits for the device. If there is no device, or from the
// moment when it is lost or has not moved for two seconds, a ClockSink replaces it: the job
// continues from the same sample in real time, and nothing is heard. The next job tries the device
// again.
//
// Threads: as Sink. A lock of its own allows a pause while the job's thread writes. The device's
// thread never takes it: that thread only calls into the Playback.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "base/threads/Mutex.h"
#include "output/clock_sink.h"
#include "output/playback.h"
#include "output/sink.h"
#include "output/stream_thread.h"

namespace kavrel {

class DeviceSink final : public Sink {
 public:
  // `device` as for StreamThread.
  explicit DeviceSink(std::string device) : m_device(std::move(device)) {}

  bool write(std::span<const std::int16_t> samples) override;
  void advance(std::uint64_t count) override;
  std::uint64_t lead() const override;
  std::uint64_t heard() override;
  bool hasReached(std::uint64_t position) override;
  base::Clock::time_point dueAt(std::uint64_t position) override;
  void pause() override;
  void resume() override;
  std::uint64_t takeBack(std::uint64_t position) override;
  bool finish() override;

 private:
  void open() REQUIRES(m_lock);
  void close() REQUIRES(m_lock);
  void start() REQUIRES(m_lock);
  // Updates the members below with the device's state.
  void poll() REQUIRES(m_lock);
  // False if the clock has replaced the device.
  bool isUsable() REQUIRES(m_lock);
  std::uint64_t reportedFrames(base::Clock::time_point now) REQUIRES(m_lock);
  std::uint64_t heardFrames(base::Clock::time_point now) REQUIRES(m_lock);
  // Replaces a device that has stopped moving.
  void watch(bool moved, base::Clock::time_point now) REQUIRES(m_lock);
  // The clock replaces a device that was not found, or one that was lost.
  void beginInSilence(const std::string& why) REQUIRES(m_lock);
  void continueInSilence() REQUIRES(m_lock);

  const std::string m_device;

  base::Mutex m_lock;
  // All empty before the first audio. Once m_clock is set, it is used instead of the stream.
  std::shared_ptr<Playback> m_playback GUARDED_BY(m_lock);
  std::unique_ptr<StreamThread> m_stream GUARDED_BY(m_lock);
  std::optional<ClockSink> m_clock GUARDED_BY(m_lock);

  std::uint64_t m_written GUARDED_BY(m_lock) = 0;
  bool m_paused GUARDED_BY(m_lock) = false;
  bool m_started GUARDED_BY(m_lock) = false;

  // The device's state at the last poll.
  base::Clock::time_point m_polledAt GUARDED_BY(m_lock);
  std::uint64_t m_measured GUARDED_BY(m_lock) = 0;     // frames, as measured
  std::uint64_t m_reported GUARDED_BY(m_lock) = 0;     // frames, as they follow from that
  std::uint64_t m_heardFrames GUARDED_BY(m_lock) = 0;  // the same, limited to plausible values
  Playback::Heard m_heard GUARDED_BY(m_lock);
  base::Clock::duration m_stuck GUARDED_BY(m_lock){};  // for how long the position has not moved

  // Frame and time of the last start.
  std::uint64_t m_anchorFrames GUARDED_BY(m_lock) = 0;
  base::Clock::time_point m_anchorTime GUARDED_BY(m_lock);
};

}  // namespace kavrel
