// SPDX-License-Identifier: Apache-2.0
//
// SoundConversion: the sound of one file into a file of another format.
#pragma once

#include <functional>

#include "audio/AudioFormat.h"

namespace say {

// Writes the sound of `from`, an AIFF file, into `to`, which is overwritten; both are open
// descriptors of files that can be sought in, and stay open. Ends early when `isStopped` says so;
// what has been written by then can be played. Throws Failure.
void convertSound(int from, int to, const AudioFormat& format,
                  const std::function<bool()>& isStopped);

}  // namespace say
