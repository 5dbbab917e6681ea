// SPDX-License-Identifier: Apache-2.0
#include "output/stream_thread.h"

#include <algorithm>
#include <exception>
#include <thread>
#include <utility>

#include "base/threads/Mutex.h"
#include "base/threads/Signals.h"
#include "output/device.h"
#include "output/playback.h"

namespace kavrel {

// What the thread and its user share. The lock is never held while the device is called.
class StreamThread::Worker {
 public:
  Worker(std::string name, std::shared_ptr<Playback> source)
      : m_name(std::move(name)), m_source(std::move(source)) {}

  // Main function of the thread. Returns when the stream is closed.
  void run() noexcept EXCLUDES(m_lock);

  void play(bool wanted) EXCLUDES(m_lock) {
    const base::ScopedLock held(m_lock);
    m_wantsPlaying = wanted;
    m_changed.notifyAll();
  }
  void leave() EXCLUDES(m_lock) {
    const base::ScopedLock held(m_lock);
    m_left = true;
    m_changed.notifyAll();
  }

  State state() EXCLUDES(m_lock) {
    const base::ScopedLock held(m_lock);
    return m_state;
  }
  Position position() EXCLUDES(m_lock) {
    const base::ScopedLock held(m_lock);
    return m_position;
  }
  std::string error() EXCLUDES(m_lock) {
    const base::ScopedLock held(m_lock);
    return m_error;
  }

 private:
  std::unique_ptr<DeviceStream> open() EXCLUDES(m_lock);
  void serve(DeviceStream& stream) REQUIRES(m_lock);
  void follow(DeviceStream& stream) REQUIRES(m_lock);
  void measure(DeviceStream& stream) REQUIRES(m_lock);

  const std::string m_name;
  const std::shared_ptr<Playback> m_source;

  base::Mutex m_lock;
  base::Condition m_changed;  // with m_lock: a request was posted
  bool m_wantsPlaying GUARDED_BY(m_lock) = false;
  bool m_left GUARDED_BY(m_lock) = false;  // by the user
  State m_state GUARDED_BY(m_lock) = State::Opening;
  bool m_isPlaying GUARDED_BY(m_lock) = false;
  Position m_position GUARDED_BY(m_lock);
  std::string m_error GUARDED_BY(m_lock);
};

// The stream is closed after the last use of the lock: that waits for the server, too.
void StreamThread::Worker::run() noexcept {
  base::blockSignals();
  if (const std::unique_ptr<DeviceStream> stream = open()) {
    const base::ScopedLock held(m_lock);
    while (!m_left && m_state == State::Open) serve(*stream);
  }
}

// Returns null on failure.
std::unique_ptr<DeviceStream> StreamThread::Worker::open() {
  std::unique_ptr<DeviceStream> stream;
  std::string why;
  try {
    stream = DeviceStream::open(m_name, *m_source, why);
  } catch (const std::exception&) {
    why = "out of memory";
  }
  const base::ScopedLock held(m_lock);
  m_state = stream != nullptr ? State::Open : State::Failed;
  m_error = std::move(why);
  return stream;
}

// Does what was requested, or waits until the next measurement.
void StreamThread::Worker::serve(DeviceStream& stream) {
  if (m_wantsPlaying != m_isPlaying) {
    follow(stream);
  } else if (m_isPlaying) {
    m_changed.waitUntil(m_lock, m_position.at + kInterval);
  } else {
    m_changed.wait(m_lock);
  }
  if (m_isPlaying) measure(stream);
  if (stream.isLost()) m_state = State::Lost;
}

// Starts or stops the stream. The position where it stops is final, so it is measured, too.
void StreamThread::Worker::follow(DeviceStream& stream) {
  m_isPlaying = m_wantsPlaying;
  bool done = true;
  if (m_isPlaying) {
    const base::ScopedUnlock released(m_lock);
    done = stream.start();
  } else {
    const base::ScopedUnlock released(m_lock);
    stream.stop();
  }
  if (!done) m_state = State::Lost;
  measure(stream);
}

// The position never decreases, even if the device reports so. It is limited to what the device has
// been given: client libraries estimate it, and go on with that while the server stands still.
void StreamThread::Worker::measure(DeviceStream& stream) {
  std::uint64_t frames = 0;
  base::Clock::time_point now;
  {
    const base::ScopedUnlock released(m_lock);
    frames = std::min(stream.position().value_or(0), m_source->given());
    now = base::Clock::now();
  }
  m_position = {std::max(m_position.frames, frames), now, frames > m_position.frames};
}

StreamThread::StreamThread(const std::string& name, std::shared_ptr<Playback> source)
    : m_worker(std::make_shared<Worker>(name, std::move(source))) {
  std::thread([worker = m_worker] { worker->run(); }).detach();
}

StreamThread::~StreamThread() {
  m_worker->leave();
}

void StreamThread::start() {
  m_worker->play(true);
}

void StreamThread::stop() {
  m_worker->play(false);
}

StreamThread::State StreamThread::state() const {
  return m_worker->state();
}

StreamThread::Position StreamThread::position() const {
  return m_worker->position();
}

std::string StreamThread::error() const {
  return m_worker->error();
}

}  // namespace kavrel
