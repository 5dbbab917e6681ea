// SPDX-License-Identifier: Apache-2.0
//
// How high a voice speaks. Pitch is in Hz, and found from the likeness of a stretch of sound to
// itself one period later, between 50 and 600 Hz.
#pragma once

#include <vector>

#include "acoustics/Sound.h"

namespace acoustics {

// Time between two values of a track, in seconds.
constexpr double kPitchStep = 0.01;

// The pitch at every kPitchStep; 0 where the sound has none: silence, whisper, hiss. Within half a
// percent for a steady voice.
std::vector<double> pitchTrack(Sound sound);

// The values of a track that are not 0.
std::vector<double> voiced(const std::vector<double>& track);

// The median of where there is pitch; 0 for a sound without.
double medianPitch(Sound sound);

// From the 5th to the 95th percentile of where there is pitch.
double pitchSpread(Sound sound);

}  // namespace acoustics
