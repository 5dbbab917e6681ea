// SPDX-License-Identifier: Apache-2.0
//
// Stands for EngineWatch.cpp where the engine is not ours.
#include "EngineWatch.h"

namespace say {

EngineWatch::EngineWatch(EventTimes& times) : m_times(times) {}

EngineWatch::~EngineWatch() = default;

void EngineWatch::check() const {}

}  // namespace say
