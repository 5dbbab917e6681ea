// SPDX-License-Identifier: GPL-3.0-or-later
//
// The one speech synthesiser of the process, which wraps espeak-ng. All state of espeak-ng is
// global, so calls take turns, in the order in which they come. A call is one sentence or less and
// takes about 2 ms, so many ports can speak at the same time.
//
// Threads: all functions may be called on any thread. The synthesiser is started once and never
// shut down, since espeak-ng does not survive a second start. Failures are returned with a message;
// functions that allocate may throw std::bad_alloc.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/threads/Mutex.h"
#include "synth/synth_audio.h"

namespace kavrel {

class Voice;

// Receives the results of a call, on the calling thread: first the events, in order of time, then
// the audio. Samples count from the start of the call.
class SynthesisListener {
 public:
  virtual ~SynthesisListener() = default;

  // The mark command with this number has been reached.
  virtual void onMark(int number, std::uint64_t sample) = 0;
  // A phone begins. `name` is the synthesiser's name for it.
  virtual void onPhone(std::string_view name, std::uint64_t sample) = 0;
  // All samples of the call; not called if there are none.
  virtual void onSamples(std::span<const std::int16_t> samples) = 0;
  // Called before each block, about half a second of audio; true cancels the call.
  virtual bool cancelled() const = 0;
};

// A ticket lock: a mutex that is fair, since threads get it in the order (FIFO) in which they came.
class CAPABILITY("turn") TicketLock {
 public:
  // Not checked inside: the turn is more than m_lock.
  void lock() ACQUIRE() NO_THREAD_SAFETY_ANALYSIS { waitForTurn(); }
  void unlock() RELEASE() NO_THREAD_SAFETY_ANALYSIS { endTurn(); }

 private:
  void waitForTurn() EXCLUDES(m_lock);
  void endTurn() EXCLUDES(m_lock);

  base::Mutex m_lock;
  base::Condition m_changed;  // with m_lock: m_serving has increased
  std::uint64_t m_next GUARDED_BY(m_lock) = 0;
  std::uint64_t m_serving GUARDED_BY(m_lock) = 0;
};

class Synthesiser {
 public:
  // Settings that are made before a call; Plan also changes them inside a call, by commands.
  struct Settings {
    int rate = 180;  // 80 to 449, roughly words per minute; see kRates in plan.cpp
    int pitch = 50;  // 0 to 99; see Voice::pitchFor
    int range = 50;  // 0 to 99; see Voice::rangeFor

    bool operator==(const Settings&) const = default;
  };

  struct Input {
    // Characters and commands: \x01, a number, a letter.
    std::wstring text;
    // In force until a command changes them. A command costs a few milliseconds of silence.
    Settings settings;
    // Applied to the audio after synthesis, in order of their marks.
    std::vector<SynthAudio::Adjustment> adjustments;
    // Marks that have no command.
    std::vector<SynthAudio::InnerMark> innerMarks;
    // "[[" … "]]" in `text` enclose phones in the synthesiser's notation.
    bool hasPhones = false;
    // The audio ends with the pause of the last character (a full stop, a comma).
    bool endPause = false;
  };

  // The one synthesiser of the process. Never destroyed.
  static Synthesiser& shared();

  // Starts the synthesiser if it is not running. Returns false, with a message in `why`, on
  // failure.
  bool start(std::string& why) EXCLUDES(m_turn);

  // Returns true if the synthesiser can speak with `voice`; else false, with a message in `why`.
  bool hasVoice(const Voice& voice, std::string& why) EXCLUDES(m_turn);

  // Speaks `input`, and passes the results to `listener`. Returns early, possibly with a part of
  // the results, if the listener cancels the call. Returns false, with a message in `why`, on
  // failure; the listener has then received nothing.
  bool speak(const Input& input, const Voice& voice, SynthesisListener& listener, std::string& why)
      EXCLUDES(m_turn);

 private:
  bool startInTurn(std::string& why) REQUIRES(m_turn);
  bool call(const Input& input, const Voice& voice, const SynthesisListener& listener,
            SynthAudio& audio, std::string& why) EXCLUDES(m_turn);
  bool selectVoice(const Voice& voice) REQUIRES(m_turn);
  void clearEmphasis() REQUIRES(m_turn);

  TicketLock m_turn;
  bool m_started GUARDED_BY(m_turn) = false;
  // The synthesiser's name of it; empty: unknown.
  std::string m_currentVoice GUARDED_BY(m_turn);
  bool m_lastCancelled GUARDED_BY(m_turn) = false;  // the last call was cancelled or failed
};

}  // namespace kavrel
