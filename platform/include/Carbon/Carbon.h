/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Carbon: the name under which older programs include everything. There is nothing of the
 * platform's user interface here.
 */
#ifndef CARBON_CARBON_H
#define CARBON_CARBON_H

#include <ApplicationServices/ApplicationServices.h>

#include <CoreServices/CoreServices.h>

#endif
