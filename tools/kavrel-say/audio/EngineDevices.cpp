// SPDX-License-Identifier: Apache-2.0
#include <kavrel.h>

#include "audio/SoundDevices.h"

namespace say {

// Of our engine; NoEngineWatch.cpp has the version for other engines.
std::vector<SoundDevice> soundDevices() {
  std::vector<SoundDevice> devices;
  const auto add = [](const char* name, const char* description, int isDefault, void* to) {
    static_cast<std::vector<SoundDevice>*>(to)->push_back({name, description, isDefault != 0});
  };
  kavrel_audio_devices(add, &devices);
  return devices;
}

}  // namespace say
