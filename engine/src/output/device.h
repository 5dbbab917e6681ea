// SPDX-License-Identifier: Apache-2.0
//
// Sound devices, through cubeb: the list of devices, and audio streams to them.
//
// A cubeb context has a connection to the sound server and a thread. It exists only while it is
// used, and is shared by all its users; an idle engine has none. It is not destroyed at process
// exit, and not used in a forked child.
//
// Threads: the functions may be called on any thread, but under no lock that a user of a Playback
// holds. They may take some milliseconds; functions that open something take as long as the sound
// server makes them wait. Each object is used by one thread at a time.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kavrel {

class Playback;

// Returns false if the environment variable KAVREL_AUDIO is "none". It is read once.
bool soundOutputIsWanted();

// Returns the name of the device for ports that name none: the environment variable
// KAVREL_AUDIO_DEVICE, which is read once. Empty: the system's default device.
const std::string& usualSoundDevice();

struct SoundDevice {
  std::string name;         // for DeviceStream::open
  std::string description;  // for people
  bool isDefault = false;
};

// Returns the output devices that are enabled; an empty list if there is no sound output.
std::vector<SoundDevice> soundDevices();

// A stream of samples to a device, at kSampleRate. It plays the samples of a Playback, and silence
// while that has none.
class DeviceStream {
 public:
  // Opens a stream, stopped, to the device `name`, or to the default device if `name` is empty.
  // `source` must outlive the stream. Returns null, with a message in `why`, on failure.
  static std::unique_ptr<DeviceStream> open(const std::string& name, Playback& source,
                                            std::string& why);

  ~DeviceStream();
  DeviceStream(const DeviceStream&) = delete;
  DeviceStream& operator=(const DeviceStream&) = delete;

  // Starts, or continues where it was stopped. Returns false on failure.
  bool start();

  // Stops at the current frame. Nothing is heard after the return, except what the device has
  // buffered and cannot drop.
  void stop();

  // Returns the number of frames that have been heard; nullopt if it is unknown at this moment.
  std::optional<std::uint64_t> position();

  // Returns true if the device or its server is gone: nothing more is heard.
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
