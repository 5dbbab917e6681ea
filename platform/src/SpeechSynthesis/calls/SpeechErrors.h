// SPDX-License-Identifier: Apache-2.0
//
// SpeechErrors: converts results to error objects.
#pragma once

#include <ApplicationServices/SpeechProperties.h>

namespace platform {

// Creates the error `code` at position `position` of the text `spoken`, which may be null. Without
// a description, the error gets one for its code. The caller releases it. Null if out of memory.
CFErrorRef createSpeechError(OSErr code, CFStringRef spoken, long position,
                             const char* description = nullptr);

}  // namespace platform
