/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Components: the types of the platform's components, for declarations. There is no component
 * manager. The result for an invalid one, invalidComponentID, is in MacTypes.h.
 */
#ifndef COMPONENTS_H
#define COMPONENTS_H

#include <MacTypes.h>

/* A component, and a connection to one. No function here returns any. */
typedef struct ComponentRecord* Component;
typedef struct ComponentInstanceRecord* ComponentInstance;

/* The result of a component's function. */
typedef SInt32 ComponentResult;

#endif
