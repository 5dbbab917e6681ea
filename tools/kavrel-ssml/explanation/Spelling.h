// SPDX-License-Identifier: Apache-2.0
//
// Why a command is not recognised, and which one was probably meant. Pure functions.
#pragma once

#include <string>

#include "AppleMarkupToken.h"

namespace ssml {

// For people, without full stop: "misspelt, probably slnc". The command's type is UNKNOWN.
std::string whyUnknown(const AppleMarkupToken& command);

}  // namespace ssml
