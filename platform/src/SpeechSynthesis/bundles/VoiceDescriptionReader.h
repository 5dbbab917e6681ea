// SPDX-License-Identifier: Apache-2.0
//
// VoiceDescriptionReader: reads a voice from the property list of its bundle; VoiceCatalogue.h
// lists the keys. Stateless; safe on any thread.
#pragma once

#include <filesystem>
#include <stdexcept>

#include "SpeechSynthesis/bundles/VoiceCatalogue.h"

namespace platform {

// Why a bundle cannot be used: a phrase for the user, without the full stop.
class BundleError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Reads the voice in the folder `bundle`. Throws BundleError if the bundle cannot be used, or if
// `trusted` has a problem with anything in it; std::bad_alloc.
Voice readVoice(const std::filesystem::path& bundle, TrustedPaths& trusted);

}  // namespace platform
