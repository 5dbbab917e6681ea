// SPDX-License-Identifier: Apache-2.0
//
// EventTimes: when, in the sound, that takes place which the Manager reports.
//
// The Manager's callbacks carry no time, but the engine tells the time of everything before the
// Manager hears of it. So both are paired by their order, kind by kind, speech by speech. Callbacks
// may come much later, and those at the end of a speech that was stopped may not come at all, but
// each speech is over once on either side.
//
// It is a listener, to be added to a Speech in front of those that ask it for times, and serves the
// only speech of the process. Threads: observe…() may be called on any thread, everything else as
// for listeners.
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
  // Seconds from the beginning of the sound. The end's is the length of the sound.
  enum class Kind : std::uint8_t { Word, Phoneme, Sync };
  // Tells speeches apart.
  using SpeechNumber = std::uintptr_t;

  void observe(SpeechNumber speech, Kind kind, double seconds) EXCLUDES(m_lock);
  void observeEnd(SpeechNumber speech, double seconds) EXCLUDES(m_lock);

  // The time of what listeners are being told; none when it is not known.
  std::optional<double> now() const { return m_now; }

  void word(std::size_t position, std::size_t length) override;
  void phoneme(int code) override;
  void sync(std::uint32_t message) override;
  void done() EXCLUDES(m_lock) override;

 private:
  static constexpr std::size_t kKinds = 3;

  // What has been observed of a speech and not been reported yet.
  struct Observed {
    SpeechNumber speech = 0;
    std::array<std::deque<double>, kKinds> times;
    std::optional<double> end;
  };

  Observed& observed(SpeechNumber speech) REQUIRES(m_lock);
  void take(Kind kind) EXCLUDES(m_lock);

  std::optional<double> m_now;

  base::Mutex m_lock;
  std::deque<Observed> m_speeches GUARDED_BY(m_lock);  // the one that is being reported first
};

}  // namespace say
