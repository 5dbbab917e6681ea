// SPDX-License-Identifier: Apache-2.0
//
// Loads voices from their folders, and caches them. Every voice that was loaded is kept until the
// process exits, so pointers and references to it stay valid.
//
// Threads: all functions may be called on any thread. loadVoice may throw std::bad_alloc.
#pragma once

#include <string>

namespace kavrel {

class Voice;

// Returns the voice of ports that have none of their own.
const Voice& defaultVoice();

// Returns the voice in `directory`, from the cache if its data file has not changed. Returns null,
// with a message in `why`, if there is no valid data file, or if the synthesiser cannot speak with
// the voice.
const Voice* loadVoice(const std::string& directory, std::string& why);

}  // namespace kavrel
