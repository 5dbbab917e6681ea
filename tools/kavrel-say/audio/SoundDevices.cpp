// SPDX-License-Identifier: Apache-2.0
#include "audio/SoundDevices.h"

#include <cstdlib>
#include <cstring>

#include <strings.h>

#include "Failure.h"

namespace say {
namespace {

constexpr std::size_t kNameColumn = 32;

bool isSame(const std::string& full, const std::string& asked) {
  return strcasecmp(full.c_str(), asked.c_str()) == 0;
}

bool beginsWith(const std::string& full, const std::string& asked) {
  return !asked.empty() && strncasecmp(full.c_str(), asked.c_str(), asked.size()) == 0;
}

// Returns the only device whose name or description satisfies `matches`; null for none or several.
template <typename Matches>
const SoundDevice* only(const std::vector<SoundDevice>& devices, Matches matches) {
  const SoundDevice* found = nullptr;
  for (const SoundDevice& device : devices) {
    if (!matches(device.name) && !matches(device.description)) continue;
    if (found != nullptr) return nullptr;
    found = &device;
  }
  return found;
}

}  // namespace

bool isSoundWanted() {
  const char* const choice = ::secure_getenv("KAVREL_AUDIO");
  return choice == nullptr || std::strcmp(choice, "none") != 0;
}

// A complete name has priority: it may be the beginning of another one. The engine reads the choice
// from the environment.
void useSoundDevice(const std::string& name) {
  const std::vector<SoundDevice> devices = soundDevices();
  const SoundDevice* device =
      only(devices, [&](const std::string& full) { return isSame(full, name); });
  if (device == nullptr) {
    device = only(devices, [&](const std::string& full) { return beginsWith(full, name); });
  }
  if (device == nullptr) {
    std::string names;
    for (const SoundDevice& one : devices) names += (names.empty() ? "" : ", ") + one.name;
    throw tool::Failure("no single sound device matches \"" + name +
                        "\"; available devices: " + (names.empty() ? "none" : names));
  }
  ::setenv("KAVREL_AUDIO_DEVICE", device->name.c_str(), 1);
}

// The "# " separates name and description for the completions.
std::string soundDeviceList() {
  std::string list;
  for (const SoundDevice& device : soundDevices()) {
    std::string name = device.name;
    name.append(name.size() < kNameColumn ? kNameColumn - name.size() : 1, ' ');
    list += name + "# " + device.description + (device.isDefault ? " (default)\n" : "\n");
  }
  return list;
}

}  // namespace say
