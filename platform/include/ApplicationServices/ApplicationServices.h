/* SPDX-License-Identifier: Apache-2.0 */
/*
 * ApplicationServices: umbrella header for the parts of the platform that speech software uses:
 * speech synthesis with its old names, and everything of CoreServices/CoreServices.h. C89 and
 * later, C++98 and later.
 */
#ifndef APPLICATIONSERVICES_APPLICATIONSERVICES_H
#define APPLICATIONSERVICES_APPLICATIONSERVICES_H

#include <ApplicationServices/SpeechOldNames.h>
#include <ApplicationServices/SpeechProperties.h>
#include <ApplicationServices/SpeechSynthesis.h>

#include <CoreServices/CoreServices.h>

#endif
