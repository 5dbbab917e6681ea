// SPDX-License-Identifier: Apache-2.0
//
// A thread that owns a stream to a sound device, so that nobody waits for the device or its server.
// Users post requests and read what the thread has found out. A thread that hangs because the sound
// server stands still is left behind: it keeps what it needs, closes the stream when the server
// responds again, and exits.
//
// Threads: all functions may be called on any thread, one at a time; none waits.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/threads/Clock.h"

namespace kavrel {

class Playback;

class StreamThread {
 public:
  // How often the position of a playing stream is measured.
  static constexpr std::chrono::milliseconds kInterval{10};

  enum class State {
    Opening,
    Open,
    Failed,  // there is no device; error() has the cause
    Lost,    // the device or its server is gone
  };

  // A number of frames that had been heard at that time.
  struct Position {
    std::uint64_t frames = 0;
    base::Clock::time_point at;
    bool isMoving = false;  // it was more than at the measurement before
  };

  // Starts a thread that opens a stream to the device `name` (as for DeviceStream::open), stopped.
  // May throw std::bad_alloc, and std::system_error if the system refuses a thread.
  StreamThread(const std::string& name, std::shared_ptr<Playback> source);

  // Leaves the stream to its thread, which stops and closes it.
  ~StreamThread();
  StreamThread(const StreamThread&) = delete;
  StreamThread& operator=(const StreamThread&) = delete;

  // Requests to start, or to continue where the stream was stopped, and to stop. Of several, the
  // last one takes effect.
  void start();
  void stop();

  State state() const;
  // Returns the last position measured, that of the start before the first one.
  Position position() const;
  // Returns the cause of a failure.
  std::string error() const;

 private:
  class Worker;

  const std::shared_ptr<Worker> m_worker;
};

}  // namespace kavrel
