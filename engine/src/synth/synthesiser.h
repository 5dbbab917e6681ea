// SPDX-License-Identifier: Apache-2.0
//
// The speech synthesiser of the process: calls of one sentence or less, spoken by processes of
// kavrel-synth (synth_pool.h). The result of a call depends on its input and voice alone.
//
// A call that no process survives is spoken word by word, without the words that are to blame; the
// marks of those are reached where the words would be.
//
// Threads: all functions may be called on any thread. Failures are returned with a message;
// functions that allocate may throw std::bad_alloc.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "synth/synth_audio.h"
#include "synth/synth_protocol.h"

namespace kavrel {

class SynthPool;
class Voice;

class Synthesiser {
 public:
  // Called every few milliseconds while a call runs or waits; true cancels it. Must not block.
  using Cancelled = std::function<bool()>;

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
    // What follows mark n. What comes before the first mark, the rest of a word that began in the
    // call before, has index 0.
    std::vector<SynthAudio::Marked> marked;
    // Marks that have no command.
    std::vector<SynthAudio::InnerMark> innerMarks;
    // "[[" … "]]" in `text` enclose phones in the synthesiser's notation.
    bool hasPhones = false;
    // The audio ends with the pause of the last character (a full stop, a comma).
    bool endPause = false;

    // What a process is sent. The adjustments and the marks without a command are the caller's to
    // apply.
    synth_protocol::Speak frame() const;
  };

  // Speaks with processes of `pool`, which must never be destroyed.
  explicit Synthesiser(SynthPool& pool) : m_pool(pool) {}

  // The synthesiser that all jobs use. Never destroyed.
  static Synthesiser& shared();

  // Makes sure that a process is ready to speak with the default voice. Returns false, with a
  // message in `why`, on failure.
  bool start(std::string& why);

  // Returns true if the synthesiser can speak with `voice`, and gets it ready; else false, with a
  // message in `why`.
  bool hasVoice(const Voice& voice, std::string& why);

  // The number of calls that run at the same time; more wait for their turn.
  std::size_t maxCalls() const;

  // Speaks `input` and sets `audio`, which must be empty. Returns true, without audio, if the call
  // is cancelled; returns false, without audio and with a message in `why`, on failure.
  bool speak(const Input& input, const Voice& voice, const Cancelled& cancelled, SynthAudio& audio,
             std::string& why);

 private:
  class Call;

  bool isReady(const std::string& voice, std::string& why);

  SynthPool& m_pool;
};

}  // namespace kavrel
