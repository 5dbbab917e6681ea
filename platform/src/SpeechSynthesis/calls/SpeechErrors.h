// SPDX-License-Identifier: Apache-2.0
//
// SpeechErrors: results as error objects.
#pragma once

#include <ApplicationServices/SpeechProperties.h>

namespace platform {

// The error `code` at `position` of `spoken`, which may be null. The caller releases it; null when
// memory is out.
CFErrorRef createSpeechError(OSErr code, CFStringRef spoken, long position);

}  // namespace platform
