// SPDX-License-Identifier: GPL-3.0-or-later
//
// An event while its callback runs.
#pragma once

#include <string>

#include "kavrel.h"

struct kavrel_event_struct {
  std::string text;
  int start = 0;
  int length = 0;
};
