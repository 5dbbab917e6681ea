// SPDX-License-Identifier: GPL-3.0-or-later
//
// Sound devices, through cubeb: which there are, and streams of samples to them.
//
// cubeb's context, which has a connection and a thread of its own, is there only while somebody
// uses it, and is shared by all who do; an idle engine has neither. It is never taken down because
// the process exits, and not touched in a process that was forked off meanwhile.
//
// Threads: the functions may be called on any thread, under no lock that a Playback's user holds;
// they may take some milliseconds, those that open things as long as the system's sound server lets
// them wait. The objects are used by one thread at a time.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kavrel {

class Playback;

// False when the environment says that there is to be no sound output (KAVREL_AUDIO=none), which is
// looked at once.
bool soundOutputIsWanted();

// The device that the environment names for those who ask for none (KAVREL_AUDIO_DEVICE), which is
// looked at once; empty: the default one.
const std::string& usualSoundDevice();

struct SoundDevice {
  std::string name;         // what to ask for it by
  std::string description;  // for people
  bool isDefault = false;
};

// The devices that can be spoken to. None: there is no sound output.
std::vector<SoundDevice> soundDevices();

// A stream of samples to a device, at kSampleRate. It plays what `source` has, and silence where
// that has nothing.
class DeviceStream {
 public:
  // A stream that does not play yet, to the device `name`, or to the default one for an empty name.
  // `source` must outlive it. Null, with a message in `why`, when there is none.
  static std::unique_ptr<DeviceStream> open(const std::string& name, Playback& source,
                                            std::string& why);

  ~DeviceStream();
  DeviceStream(const DeviceStream&) = delete;
  DeviceStream& operator=(const DeviceStream&) = delete;

  // Plays on from where it was stopped. False when the device does not.
  bool start();

  // Is silent when this returns, but for what the device itself cannot take back, and stays at the
  // frame where it is.
  void stop();

  // How many frames have been heard. None: not known at this moment.
  std::optional<std::uint64_t> position();

  // The device or its server has gone; nothing is heard any more.
  bool isLost() const { return m_lost.load(std::memory_order_acquire); }

 private:
  class Context;
  struct Handle;

  friend std::vector<SoundDevice> soundDevices();

  DeviceStream(std::shared_ptr<Context> context, Playback& source);
  void markLost();

  const std::shared_ptr<Context> m_context;
  Playback& m_source;
  std::atomic<bool> m_lost = false;
  std::unique_ptr<Handle> m_handle;
};

}  // namespace kavrel
