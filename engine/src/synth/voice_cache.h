// SPDX-License-Identifier: GPL-3.0-or-later
//
// Loads voices from their folders, and owns every voice that was loaded until the process exits.
//
// All functions may be called on any thread.
#pragma once

#include <string>

namespace kavrel {

class Voice;

// The voice that a port without a voice speaks with.
const Voice& defaultVoice();

// The voice in `directory`, from the cache when its data file is as it was. Null, with a message in
// `why`, when there is none that the synthesiser can speak with.
const Voice* loadVoice(const std::string& directory, std::string& why);

}  // namespace kavrel
