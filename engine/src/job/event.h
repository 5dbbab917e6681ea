// SPDX-License-Identifier: Apache-2.0
//
// The event that a callback receives. Exists only while the callback runs, on the job's thread.
#pragma once

#include <string>

#include "kavrel.h"

struct kavrel_event_struct {
  std::string text;
  int start = 0;
  int length = 0;
};
