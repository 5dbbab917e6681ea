// SPDX-License-Identifier: Apache-2.0
//
// Results: the client's result for what a synthesizer returns or throws.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

#include <new>

namespace platform {

// Translates the result of an entry point to a result of the client interface.
inline OSErr toClientResult(long result) {
  constexpr long kRefused = -1;  // of stop, pause and continue
  if (result == kRefused) return synthNotReady;
  // The synthesizer does not know the channel: another thread has disposed it meanwhile.
  if (result == noSynthFound) return invalidComponentID;
  // No result at all. Cut to 16 bits it could be noErr.
  if (result != static_cast<OSErr>(result)) return synthNotReady;
  return static_cast<OSErr>(result);
}

// Returns what `work` returns, or the result for the exception it throws: memFullErr for
// std::bad_alloc, badInputText for any other. No diagnostic line: the result reports the failure.
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
