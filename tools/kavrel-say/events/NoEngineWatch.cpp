// SPDX-License-Identifier: Apache-2.0
//
// NoEngineWatch: takes the place of EngineWatch.cpp and EngineDevices.cpp with another engine.
// Reports no times, no errors and no devices.
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
