/* SPDX-License-Identifier: Apache-2.0 */
/*
 * The name under which older programs include speech synthesis and what belongs to it: see
 * ApplicationServices/ApplicationServices.h.
 */
#ifndef APPLICATIONSERVICES_H
#define APPLICATIONSERVICES_H

#include <ApplicationServices/ApplicationServices.h>

#endif
