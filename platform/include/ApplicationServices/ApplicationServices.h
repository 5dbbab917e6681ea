/* SPDX-License-Identifier: Apache-2.0 */
/*
 * ApplicationServices: the umbrella header of what speech software uses of the platform of that
 * name: speech synthesis, fixed-point arithmetic, text encoding conversion. C11 and C++20.
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
