// SPDX-License-Identifier: Apache-2.0
//
// SoundDevices: the devices that speech can be heard on. The Manager does not know of them, so this
// looks past it, as EngineWatch does; with another engine than ours there is none.
#pragma once

#include <string>
#include <vector>

namespace say {

struct SoundDevice {
  std::string name;         // that the engine has for it
  std::string description;  // for people
  bool isDefault;
};

// Takes some milliseconds. Empty where no sound can be heard.
std::vector<SoundDevice> soundDevices();

// Whether the user wants sound to be heard: it can be switched off with KAVREL_AUDIO=none.
bool isSoundWanted();

// Lets this process speak on the device whose name or description this is, or begins with this
// where only one does, without regard to capital letters. To be called in front of all speech.
// Throws Failure, which names the devices there are.
void useSoundDevice(const std::string& name);

// A line for each device: name, description.
std::string soundDeviceList();

}  // namespace say
