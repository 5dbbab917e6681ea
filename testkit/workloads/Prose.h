// SPDX-License-Identifier: Apache-2.0
//
// Prose: English-looking sentences of any length, always the same ones, with and without commands
// or markup in them. Every function is pure.
#pragma once

#include <cstddef>
#include <string>

namespace workloads {

// `bytes` of ASCII sentences that need no escaping.
std::string prose(std::size_t bytes);

// `bytes` of sentences as people type them on a Mac, in Mac OS Roman: curly quotes, dashes,
// accents, an ellipsis now and then, "&" and "OS X".
std::string macProse(std::size_t bytes);

// About `bytes` of ASCII prose with a command in front of a word every `every` bytes: all kinds,
// phoneme input aside, which carries over from region to region.
std::string proseWithCommands(std::size_t bytes, std::size_t every);

// About `bytes` of well-formed SSML with an element for every `every` bytes.
std::string ssmlProse(std::size_t bytes, std::size_t every);

}  // namespace workloads
