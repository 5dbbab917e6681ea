// SPDX-License-Identifier: GPL-3.0-or-later
//
// espeak-ng: starting it with one voice, and speaking one call. All state of espeak-ng is global.
//
// Threads: one thread only. Rationale: nothing here frees or restores anything, since the process
// exits after the call.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "synth/synth_protocol.h"

namespace kavrel::speaker {

// Receives the results of a call, block by block. A block's events come before its samples.
class Output {
 public:
  virtual ~Output() = default;

  // Each returns false to cancel the call.
  virtual bool beforeBlock() = 0;
  virtual bool onEvents(std::span<const synth_protocol::Event> events) = 0;
  virtual bool onSamples(std::span<const std::int16_t> samples) = 0;
};

// Starts espeak-ng and selects `voice`: a language, or a language, "+" and a variant.
synth_protocol::Ready::Status start(const std::string& voice);

// The folder of espeak-ng's data, after a successful start.
std::string dataFolder();

// Speaks one call. Returns Failed also if memory runs out.
synth_protocol::End::Status speak(const synth_protocol::Speak& call, const std::wstring& text,
                                  Output& output);

}  // namespace kavrel::speaker
