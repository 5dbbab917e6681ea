// SPDX-License-Identifier: Apache-2.0
//
// Results: what a client is answered for what a synthesizer answers or throws.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

#include <new>

namespace platform {

// What a synthesizer answers as clients know it.
inline OSErr toClientResult(long result) {
  constexpr long kRefused = -1;
  if (result == kRefused) return synthNotReady;
  // A synthesizer's name for "no such channel"; the channel was disposed meanwhile.
  if (result == noSynthFound) return invalidComponentID;
  return static_cast<OSErr>(result);
}

// What `work` answers, or the result that stands for the exception it ended with.
template <typename Work>
OSErr resultOf(Work work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return memFullErr;
  } catch (...) {
    return badInputText;
  }
}

}  // namespace platform
