// SPDX-License-Identifier: Apache-2.0
//
// Spelling: explains why a command is not recognised and suggests the intended one. Pure functions.
#pragma once

#include <string>

#include "AppleMarkupToken.h"

namespace ssml {

// Returns the reason for users, without full stop: "misspelt, probably slnc". The type of
// `command` must be UNKNOWN.
std::string whyUnknown(const AppleMarkupToken& command);

}  // namespace ssml
