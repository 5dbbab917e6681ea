// SPDX-License-Identifier: Apache-2.0
//
// VoiceDescriptionReader: a voice from the property list of its bundle (VoiceCatalogue.h says what
// it holds). Without state.
#pragma once

#include <filesystem>
#include <stdexcept>

#include "SpeechSynthesis/bundles/VoiceCatalogue.h"

namespace platform {

// Why a bundle cannot be used, for people.
class BundleError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The voice in the folder `bundle`. Throws BundleError.
Voice readVoice(const std::filesystem::path& bundle);

}  // namespace platform
