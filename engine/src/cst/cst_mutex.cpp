// SPDX-License-Identifier: Apache-2.0
//
// Thin wrappers of the system's mutex operations; a null mutex gives EINVAL.
#include <cerrno>

#include "cst.h"

int mutex_lock(pthread_mutex_t* mutex) {
  return mutex != nullptr ? pthread_mutex_lock(mutex) : EINVAL;
}

int mutex_unlock(pthread_mutex_t* mutex) {
  return mutex != nullptr ? pthread_mutex_unlock(mutex) : EINVAL;
}

int mutex_destroy(pthread_mutex_t* mutex) {
  return mutex != nullptr ? pthread_mutex_destroy(mutex) : EINVAL;
}
