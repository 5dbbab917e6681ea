// SPDX-License-Identifier: Apache-2.0
//
// The values of the converter's markup in the notation of SSML 1.1. Pure functions; what has no
// value there, and what is the default, is empty.
#pragma once

#include <string>
#include <string_view>

namespace ssml {

// From percent, 100 being the default: "-6.02dB", "silent".
std::string standardVolume(std::string_view percent);

// From words per minute, 180 being the default: "111.11%", "x-slow".
std::string standardRate(std::string_view wordsPerMinute);

// From "NHz", for pitch and range.
std::string standardHertz(std::string_view hertz);

// From "Nms": the same when N is a number without sign.
std::string standardTime(std::string_view milliseconds);

// From a number that carries a sync value in its upper half: the value.
std::string standardMark(std::string_view number);

}  // namespace ssml
