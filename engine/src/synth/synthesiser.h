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

#include "annotations.h"
#include "synth/synth_audio.h"

namespace kavrel {

class Voice;

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
class TicketLock {
 public:
  void lock() EXCLUDES(m_lock);
  void unlock() EXCLUDES(m_lock);

 private:
  Mutex m_lock;
  Condition m_changed;  // with m_lock: m_serving went on
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
    std::vector<SynthAudio::Adjustment> adjustments;
    // Marks that have no command.
    std::vector<SynthAudio::InnerMark> innerMarks;
    // "[[" … "]]" in `text` enclose phones in the synthesiser's notation.
    bool hasPhones = false;
    // Ends with the pause that belongs to the last character.
    bool endPause = false;
  };

  static Synthesiser& shared();

  // Starts the synthesiser unless it runs. False, with a message in `why`, when it cannot.
  bool start(std::string& why);

  // True when `voice` can be spoken with; else a message is in `why`.
  bool hasVoice(const Voice& voice, std::string& why);

  // Speaks `input` and returns when all of it has been given to `listener`, or as soon as that is
  // cancelled. False, with a message in `why`, when it failed.
  bool speak(const Input& input, const Voice& voice, SynthesisListener& listener, std::string& why);

 private:
  bool startInTurn(std::string& why);
  bool call(const Input& input, const Voice& voice, const SynthesisListener& listener,
            SynthAudio& audio, std::string& why);
  bool selectVoice(const Voice& voice);
  void clearEmphasis();

  TicketLock m_turn;
  // Used in one's turn only.
  bool m_started = false;
  std::string m_currentVoice;    // by the synthesiser's name; empty: none for certain
  bool m_lastCancelled = false;  // the last call was given up
};

}  // namespace kavrel
