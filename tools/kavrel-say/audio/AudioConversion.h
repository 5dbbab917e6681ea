// SPDX-License-Identifier: Apache-2.0
//
// AudioConversion: converts an audio file to another format and sample rate, with libsndfile and
// libsamplerate.
//
// Threads: runs on the calling thread; different calls share nothing.
#pragma once

#include <functional>

#include "audio/AudioFormat.h"

namespace say {

// Converts the AIFF file `from` and writes the result to `to`, which is overwritten. Both are open
// descriptors of seekable files and stay open. Calls `isStopped` before each block (less than a
// second of audio) and ends early if it returns true; the file then holds the audio up to there and
// is valid. Throws Failure.
void convertAudio(int from, int to, const AudioFormat& format,
                  const std::function<bool()>& isStopped);

}  // namespace say
