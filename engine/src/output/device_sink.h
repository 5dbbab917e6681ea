// SPDX-License-Identifier: GPL-3.0-or-later
//
// A sink that is heard on a sound device.
//
// The stream to the device is opened with the first sound and closed at the end. Where there is no
// device, and from the moment when it is lost, the clock takes its place: the job goes on from
// where it is, in silence and in the same time. The next job tries the device again.
//
// Threads: as Sink says; a lock of its own lets a pause come while the job's thread writes. It is
// never taken by the device's thread, which calls into the Playback alone.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "base/threads/Mutex.h"
#include "output/clock_sink.h"
#include "output/device.h"
#include "output/playback.h"
#include "output/sink.h"

namespace kavrel {

class DeviceSink final : public Sink {
 public:
  // `device` as for DeviceStream::open.
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
  void open();
  void close();
  void start() REQUIRES(m_lock);
  void look() REQUIRES(m_lock);
  std::uint64_t heardFrames(base::Clock::time_point now) REQUIRES(m_lock);
  void watch(bool moved, base::Clock::time_point now) REQUIRES(m_lock);
  void goOnInSilence() REQUIRES(m_lock);

  const std::string m_device;
  bool m_opened = false;  // or tried to; the job's thread only

  base::Mutex m_lock;
  // Neither is there before the first sound. The clock takes precedence, once it is there; the
  // stream is then left for the job's thread to close.
  std::unique_ptr<Playback> m_playback GUARDED_BY(m_lock);
  std::unique_ptr<DeviceStream> m_stream GUARDED_BY(m_lock);
  std::optional<ClockSink> m_clock GUARDED_BY(m_lock);

  std::uint64_t m_written GUARDED_BY(m_lock) = 0;
  bool m_paused GUARDED_BY(m_lock) = false;
  bool m_started GUARDED_BY(m_lock) = false;

  // What was found when the device was last looked at.
  base::Clock::time_point m_seenAt GUARDED_BY(m_lock);
  std::uint64_t m_reported GUARDED_BY(m_lock) = 0;  // frames, as the device says
  std::uint64_t m_frames GUARDED_BY(m_lock) = 0;    // as they are believed
  Playback::Heard m_heard GUARDED_BY(m_lock);
  base::Clock::duration m_stuck GUARDED_BY(m_lock){};  // how long it has not moved

  // Where and when the device last began to play.
  std::uint64_t m_anchorFrames GUARDED_BY(m_lock) = 0;
  base::Clock::time_point m_anchorTime GUARDED_BY(m_lock);
};

}  // namespace kavrel
