// SPDX-License-Identifier: Apache-2.0
//
// Corrects the marks of a call in which the synthesiser reports some of them late.
//
// espeak-ng 1.51 keeps the commands of a clause in a queue, and takes the next word's from it at
// each place where it begins a word. In Korean it begins none before some first letters, so that
// all later marks of the clause are reported where the wrong words begin, and the last ones not at
// all.
#pragma once

#include <span>
#include <vector>

#include "synth/synth_audio.h"

namespace kavrel {

// Gives the marks in `events` to the words that begin there. `marked` is as for
// SynthAudio::correctLateMarks. Words that are joined lose their marks. A clause in which the
// number of reports differs from that of the words that begin is left as it is. May throw
// std::bad_alloc.
void correctLateMarks(std::vector<SynthAudio::Event>& events,
                      std::span<const SynthAudio::Marked> marked);

}  // namespace kavrel
