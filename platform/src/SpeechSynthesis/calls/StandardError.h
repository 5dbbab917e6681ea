// SPDX-License-Identifier: Apache-2.0
//
// StandardError: the Manager's messages to the user, one line each on standard error.
//
// Used where no result or callback can carry the reason. Safe on any thread.
#pragma once

#include <string>

namespace platform {

// Writes `sentence` with a full stop.
void writeMessage(const std::string& sentence);

// Writes that `action` has failed, with the text of the exception that is being handled. To be
// called inside a catch block. Allocates nothing.
void writeException(const char* action) noexcept;

}  // namespace platform
