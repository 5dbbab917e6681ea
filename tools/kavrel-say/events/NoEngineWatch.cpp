// SPDX-License-Identifier: Apache-2.0
//
// Stands for EngineWatch.cpp and EngineDevices.cpp where the engine is not ours.
#include "audio/SoundDevices.h"
#include "events/EngineWatch.h"

namespace say {

EngineWatch::EngineWatch(EventTimes* times) : m_times(times) {}

EngineWatch::~EngineWatch() = default;

void EngineWatch::check() const {}

std::vector<SoundDevice> soundDevices() {
  return {};
}

}  // namespace say
