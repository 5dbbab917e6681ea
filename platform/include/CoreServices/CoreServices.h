/* SPDX-License-Identifier: Apache-2.0 */
/*
 * CoreServices: umbrella header for the platform's services below speech: Core Foundation, basic
 * types, handles, Pascal strings, fixed-point arithmetic, text encoding conversion, Gestalt. C89
 * and later, C++98 and later.
 */
#ifndef CORESERVICES_CORESERVICES_H
#define CORESERVICES_CORESERVICES_H

#include <ApplicationServices/FixMath.h>
#include <ApplicationServices/TextEncodingConverter.h>
#include <CoreFoundation/CoreFoundation.h>

#include <Components.h>
#include <Gestalt.h>
#include <MacMemory.h>
#include <MacTypes.h>
#include <TextUtils.h>

#endif
