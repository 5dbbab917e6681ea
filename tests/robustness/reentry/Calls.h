// SPDX-License-Identifier: Apache-2.0
//
// The calls that clients make inside callbacks, and the threads and channels that they leave.
//
// Threads: every function may be called on any thread.
#pragma once

#include <cstdint>
#include <string>

#include "Table.h"

namespace reentry {

// An identifier that no channel has.
inline constexpr SpeechChannelIdentifier kUnknownChannel = 1'000'000'000;

inline SpeechChannelIdentifier identifier(SpeechChannel channel) {
  return static_cast<SpeechChannelIdentifier>(reinterpret_cast<std::intptr_t>(channel));
}

long speak(SpeechChannelIdentifier id, const std::string& text = "Hello");

// Calls the entry point for the channel `id` and returns its result. A setting is set to the value
// that it has. `opened` receives the identifier that an open returns, `status` the channel's
// status.
long callEntryPoint(EntryPoint entry, SpeechChannelIdentifier id, SpeechChannelIdentifier& opened,
                    SpeechStatusInfo& status);

}  // namespace reentry
