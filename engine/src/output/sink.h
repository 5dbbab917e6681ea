// SPDX-License-Identifier: GPL-3.0-or-later
//
// Where a job's sound goes.
//
// Positions count samples from the job's start. write() and finish() are called by the job's thread
// under no lock, since they may take time; all other functions are called under the job's lock, on
// any thread.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "base/threads/Clock.h"

namespace kavrel {

class Sink {
 public:
  virtual ~Sink() = default;

  // Takes the next samples. False, with a message in error(), when they cannot be taken.
  virtual bool write(std::span<const std::int16_t> samples) = 0;

  // Called when write() has returned: `count` samples more may be heard.
  virtual void advance(std::uint64_t count) = 0;

  // How far the writing is to be ahead of the hearing. 0: what is written counts as heard, and is
  // written no further than to the next event.
  virtual std::uint64_t lead() const = 0;

  // How much has been heard.
  virtual std::uint64_t heard() = 0;

  // Whether the sound at `position` has begun to be heard. A device takes a while for the first
  // one.
  virtual bool hasReached(std::uint64_t position) { return heard() >= position; }

  // When `position` will have been heard, if nothing intervenes; the past when it has, the end of
  // time while paused.
  virtual base::Clock::time_point dueAt(std::uint64_t position) = 0;

  // Holds the sound at the very sample, and goes on from there.
  virtual void pause() = 0;
  virtual void resume() = 0;

  // Takes back what was written from `position` on, as far as the sink can; it may be written
  // again. The new end of what is written is the result. It may lie behind `position` even if that
  // has not been heard; a pause there then holds what is left.
  virtual std::uint64_t takeBack(std::uint64_t position) = 0;

  // Nothing more comes. False, with a message in error(), when what was written is not safe.
  virtual bool finish() = 0;

  const std::string& error() const { return m_error; }

 protected:
  std::string m_error;
};

}  // namespace kavrel
