// SPDX-License-Identifier: Apache-2.0
//
// WritableFile: finds out in advance why a file cannot be written. Stateless; safe on any thread.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

#include <string>

namespace platform {

// Results: noErr; fnfErr if the folder does not exist; permErr if the process may not write the
// file or create it, or if the path is a folder. Creates nothing. A later attempt to write may fail
// all the same.
OSErr problemOfFile(const std::string& path);

}  // namespace platform
