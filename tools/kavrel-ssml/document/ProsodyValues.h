// SPDX-License-Identifier: Apache-2.0
//
// ProsodyValues: converts attribute values of the converter's markup to the notation of SSML 1.1.
// Pure functions. They return an empty string for the default value and for a value that SSML
// cannot express. Values out of range are clamped.
#pragma once

#include <string>
#include <string_view>

namespace ssml {

// From percent (default 100): "-6.02dB", "silent".
std::string standardVolume(std::string_view percent);

// From words per minute (default 180): "111.11%", "x-slow".
std::string standardRate(std::string_view wordsPerMinute);

// From "NHz", for pitch and range.
std::string standardHertz(std::string_view hertz);

// From "Nms": the same if N is a number without sign and exponent, else empty.
std::string standardTime(std::string_view milliseconds);

// From a number with a sync value in its upper half: the value, unsigned.
std::string standardMark(std::string_view number);

}  // namespace ssml
