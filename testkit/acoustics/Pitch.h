// SPDX-License-Identifier: Apache-2.0
//
// Measures the pitch of speech by autocorrelation. Pitch is in Hz, between 50 and 600.
//
// All functions are free of state and may be called on any thread.
#pragma once

#include <vector>

#include "acoustics/Sound.h"

namespace acoustics {

// Time between two values of a track, in seconds.
constexpr double kPitchStep = 0.01;

// The pitch at every kPitchStep; 0 where the audio has none (silence, whisper, hiss). Accurate to
// half a percent for a steady voice.
std::vector<double> pitchTrack(Sound sound);

// The values of a track that are not 0.
std::vector<double> voicedValues(const std::vector<double>& track);

// The median of the values that are not 0; 0 if there are none.
double medianPitch(Sound sound);

// The distance from the 5th to the 95th percentile of the values that are not 0.
double pitchSpread(Sound sound);

}  // namespace acoustics
