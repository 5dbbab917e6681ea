// SPDX-License-Identifier: Apache-2.0
//
// The sample rate of all audio in the engine.
#pragma once

namespace kavrel {

// Samples per second. Audio is mono, 16-bit signed, at this rate from the synthesiser to the file
// or device; the synthesiser refuses to start at another rate.
inline constexpr int kSampleRate = 22050;

}  // namespace kavrel
