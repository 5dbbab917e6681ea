/* SPDX-License-Identifier: Apache-2.0 */
/*
 * ApplicationServices: umbrella header for the parts of the platform that speech software uses:
 * speech synthesis, fixed-point arithmetic, text encoding conversion, Core Foundation and handles.
 * C11 and C++20.
 */
#ifndef APPLICATIONSERVICES_APPLICATIONSERVICES_H
#define APPLICATIONSERVICES_APPLICATIONSERVICES_H

#include <ApplicationServices/FixMath.h>
#include <ApplicationServices/SpeechProperties.h>
#include <ApplicationServices/SpeechSynthesis.h>
#include <ApplicationServices/TextEncodingConverter.h>
#include <CoreFoundation/CoreFoundation.h>

#include <MacMemory.h>
#include <MacTypes.h>

#endif
