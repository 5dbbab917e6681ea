// SPDX-License-Identifier: Apache-2.0
//
// EventTimes: the times of events in the audio, paired with the Manager's callbacks.
//
// The Manager's callbacks carry no time, but the engine reports the time of each event before the
// Manager receives it. So both are paired by order, with a queue for each kind of event and each
// speech. Callbacks may come much later, and those at the end of a stopped speech may never come,
// but the end of each speech is reported exactly once on both sides; it discards the rest of the
// queues.
//
// Must be added to the Speech before the listeners that call now(). Serves one Speech at a time.
//
// Threads: observe() and observeEnd() are safe on any thread; the rest as for listeners.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

#include "base/threads/Mutex.h"
#include "speech/Listener.h"

namespace say {

class EventTimes : public Listener {
 public:
  enum class Kind : std::uint8_t { Word, Phoneme, Sync };
  // Identifies a speech.
  using SpeechNumber = std::uintptr_t;

  // Record the time of an event and of the end of the speech. Seconds from the start of the audio;
  // the time of the end is the length of the audio.
  void observe(SpeechNumber speech, Kind kind, double seconds) EXCLUDES(m_lock);
  void observeEnd(SpeechNumber speech, double seconds) EXCLUDES(m_lock);

  // Returns the time of the event that is being reported to listeners; none if it is not known.
  std::optional<double> now() const { return m_now; }

  void word(std::size_t position, std::size_t length) override;
  void phoneme(int code) override;
  void sync(std::uint32_t message) override;
  void done() EXCLUDES(m_lock) override;

 private:
  static constexpr std::size_t kKinds = 3;

  // Times of a speech whose callbacks have not come yet.
  struct Record {
    SpeechNumber speech = 0;
    std::array<std::deque<double>, kKinds> times;
    std::optional<double> end;
  };

  Record& recordOf(SpeechNumber speech) REQUIRES(m_lock);
  void take(Kind kind) EXCLUDES(m_lock);

  std::optional<double> m_now;

  base::Mutex m_lock;
  // In order, the one that is being reported first.
  std::deque<Record> m_speeches GUARDED_BY(m_lock);
};

}  // namespace say
