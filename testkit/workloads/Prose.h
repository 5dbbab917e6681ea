// SPDX-License-Identifier: Apache-2.0
//
// Prose: English-looking sentences of any length, with and without commands or markup. The same
// arguments always give the same text. All functions are free of state.
#pragma once

#include <cstddef>
#include <string>

namespace workloads {

// `bytes` bytes of ASCII sentences that need no escaping.
std::string prose(std::size_t bytes);

// `bytes` bytes of sentences as people type them on a Mac, in Mac OS Roman: with curly quotes,
// dashes, accents, some ellipses, "&" and "OS X".
std::string macProse(std::size_t bytes);

// About `bytes` bytes of ASCII prose with a command before a word every `every` bytes: all kinds
// except phoneme input, whose phones carry over from region to region.
std::string proseWithCommands(std::size_t bytes, std::size_t every);

// About `bytes` bytes of well-formed SSML with an element for every `every` bytes.
std::string ssmlProse(std::size_t bytes, std::size_t every);

}  // namespace workloads
