// SPDX-License-Identifier: GPL-3.0-or-later
//
// The one speech synthesiser of the process, behind which espeak-ng lies. All that espeak-ng keeps
// is global, so calls take turns, in the order in which they come; one call is one sentence or less
// and takes about 2 ms, so that many ports get on side by side.
//
// All functions may be called on any thread. It is started once and never shut down: espeak-ng does
// not survive being started twice.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/threads/Mutex.h"
#include "synth/call_sound.h"

namespace kavrel {

class Voice;

// Samples per second, everywhere in the engine; mono, 16 bits.
inline constexpr int kSampleRate = 22050;

// Takes what a call gives: the events, in order of time, and behind them the sound. Samples are
// counted from the start of the call.
class SynthesisListener {
 public:
  virtual ~SynthesisListener() = default;

  // The mark command with this number has been reached.
  virtual void onMark(int number, std::uint64_t sample) = 0;
  // A phone begins; `name` is the synthesiser's own.
  virtual void onPhone(std::string_view name, std::uint64_t sample) = 0;
  virtual void onSamples(std::span<const std::int16_t> samples) = 0;
  // Asked before each block, about half a second of sound: true gives the call up.
  virtual bool cancelled() const = 0;
};

// Lets threads in one at a time, in the order in which they came.
class CAPABILITY("turn") TicketLock {
 public:
  // Not checked inside: the turn is more than m_lock.
  void lock() ACQUIRE() NO_THREAD_SAFETY_ANALYSIS { waitForTurn(); }
  void unlock() RELEASE() NO_THREAD_SAFETY_ANALYSIS { endTurn(); }

 private:
  void waitForTurn() EXCLUDES(m_lock);
  void endTurn() EXCLUDES(m_lock);

  base::Mutex m_lock;
  base::Condition m_changed;  // with m_lock: m_serving went on
  std::uint64_t m_next GUARDED_BY(m_lock) = 0;
  std::uint64_t m_serving GUARDED_BY(m_lock) = 0;
};

class Synthesiser {
 public:
  // What can be set without a command; see the commands of the same names in Plan.
  struct Settings {
    int rate = 180;  // 80 to 449, about words per minute; Plan knows what it comes to
    int pitch = 50;  // 0 to 99; Voice knows what it comes to
    int range = 50;  // 0 to 99

    bool operator==(const Settings&) const = default;
  };

  struct Input {
    // Characters and commands: \x01, a number, a letter.
    std::wstring text;
    // In force until a command says otherwise. A command costs a few milliseconds of silence.
    Settings settings;
    // What is done to the sound behind the synthesiser, in order of the marks.
    std::vector<CallSound::Finish> finishes;
    // Marks that have no command.
    std::vector<CallSound::InnerMark> innerMarks;
    // "[[" … "]]" in `text` enclose phones in the synthesiser's notation.
    bool hasPhones = false;
    // Ends with the pause that belongs to the last character.
    bool endPause = false;
  };

  static Synthesiser& shared();

  // Starts the synthesiser unless it runs. False, with a message in `why`, when it cannot.
  bool start(std::string& why) EXCLUDES(m_turn);

  // True when `voice` can be spoken with; else a message is in `why`.
  bool hasVoice(const Voice& voice, std::string& why) EXCLUDES(m_turn);

  // Speaks `input` and returns when all of it has been given to `listener`, or as soon as that is
  // cancelled. False, with a message in `why`, when it failed.
  bool speak(const Input& input, const Voice& voice, SynthesisListener& listener, std::string& why)
      EXCLUDES(m_turn);

 private:
  bool startHeld(std::string& why) REQUIRES(m_turn);
  bool call(const Input& input, const Voice& voice, const SynthesisListener& listener,
            CallSound& sound, std::string& why) EXCLUDES(m_turn);
  bool use(const Voice& voice) REQUIRES(m_turn);
  void clearEmphasis() REQUIRES(m_turn);

  TicketLock m_turn;
  bool m_started GUARDED_BY(m_turn) = false;
  // By the synthesiser's name; empty: none for certain.
  std::string m_voiceInForce GUARDED_BY(m_turn);
  bool m_cutShort GUARDED_BY(m_turn) = false;  // the last call was given up
};

}  // namespace kavrel
