// SPDX-License-Identifier: Apache-2.0
//
// A sink: where a job's audio goes (device, file or clock).
//
// Positions count samples from the job's start.
// Threads: write() and finish() are called on the job's thread, under no lock, since they may take
// time. All other functions are called under the job's lock, on any thread.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "base/threads/Clock.h"

namespace kavrel {

class Sink {
 public:
  virtual ~Sink() = default;

  // Writes the next samples. Returns false, with a message in error(), on failure.
  virtual bool write(std::span<const std::int16_t> samples) = 0;

  // Called after write(), under the lock: `count` more samples may be heard.
  virtual void advance(std::uint64_t count) = 0;

  // How many samples should be written ahead of what is heard. 0: samples count as heard when they
  // are written; the job then writes up to the next event only.
  virtual std::uint64_t lead() const = 0;

  // The number of samples that have been heard.
  virtual std::uint64_t heard() = 0;

  // Returns true if the sample at `position` is being heard or has been heard. A device needs some
  // time until the first sample is heard, although `heard() >= 0` holds from the start.
  virtual bool hasReached(std::uint64_t position) { return heard() >= position; }

  // Returns when all samples before `position` will have been heard, if nothing intervenes: a time
  // in the past if they have been, the end of time while paused.
  virtual base::Clock::time_point dueAt(std::uint64_t position) = 0;

  // Pauses at the current sample, and resumes there.
  virtual void pause() = 0;
  virtual void resume() = 0;

  // Takes back samples that were written from `position` on, as far as the sink can; they may then
  // be written again. Returns the new end of the written samples, which may be after `position`
  // even if that has not been heard; a pause then keeps the rest for later.
  virtual std::uint64_t takeBack(std::uint64_t position) = 0;

  // Called once, after the last write(). Returns false, with a message in error(), if written
  // samples may be lost.
  virtual bool finish() = 0;

  const std::string& error() const { return m_error; }

 protected:
  std::string m_error;
};

}  // namespace kavrel
