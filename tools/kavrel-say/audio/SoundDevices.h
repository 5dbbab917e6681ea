// SPDX-License-Identifier: Apache-2.0
//
// SoundDevices: lists and selects the sound devices for speech.
//
// The Manager has no function for devices, so EngineDevices.cpp asks the engine, as EngineWatch
// does for event times. With another engine the list is empty.
//
// Threads: used by one thread.
#pragma once

#include <string>
#include <vector>

namespace say {

struct SoundDevice {
  std::string name;         // as the engine names it
  std::string description;  // for people
  bool isDefault;
};

// Returns all output devices; empty if nothing can be heard. Takes some milliseconds.
std::vector<SoundDevice> soundDevices();

// Returns false if the user has switched sound off with KAVREL_AUDIO=none.
bool isSoundWanted();

// Selects the device for this process. `name` is its name or description, or the beginning of one
// if only one device matches; not case-sensitive. Must be called before the first speech. Throws
// Failure, with a list of all devices, if not exactly one matches.
void useSoundDevice(const std::string& name);

// Returns one line for each device: name, "# ", description.
std::string soundDeviceList();

}  // namespace say
