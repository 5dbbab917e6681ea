// SPDX-License-Identifier: Apache-2.0
//
// Sound devices, through cubeb: the list of devices, and audio streams to them.
//
// A cubeb context has a connection to the sound server and a thread. It exists only while it is
// used, and is shared by all its users; an idle engine has none. It is not destroyed at process
// exit, and not used in a forked child.
//
// Threads: soundDevices() may be called on any thread, under no lock. A DeviceStream is used by one
// thread, which waits as long as the sound server makes it wait: minutes, if that stands still. So
// it must be a thread that nobody waits for; see StreamThread.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/threads/Mutex.h"

namespace kavrel {

class Playback;

// Returns false if the environment variable KAVREL_AUDIO is "none", which is read once, or if the
// program has raised privileges (setuid, setgid, capabilities); one diagnostic line says so.
bool soundOutputIsWanted();

// Returns the name of the device for ports that name none: the environment variable
// KAVREL_AUDIO_DEVICE, which is read once. Empty: the system's default device.
const std::string& usualSoundDevice();

struct SoundDevice {
  std::string name;         // for DeviceStream::open
  std::string description;  // for people
  bool isDefault = false;
};

// Returns the output devices that are enabled; an empty list if there is no sound output, or if the
// sound server does not respond within two seconds. May throw std::bad_alloc, and std::system_error
// if the system refuses a thread.
std::vector<SoundDevice> soundDevices();

// A stream of samples to a device, at kSampleRate. It plays the samples of a Playback, and silence
// while that has none.
class DeviceStream {
 public:
  // As soundDevices(), but waits for the sound server.
  static std::vector<SoundDevice> devices();

  // Makes later users open a connection of their own, since the sound server does not respond on
  // the present one. May be called on any thread; does not wait.
  static void leaveConnection();

  // Opens a stream, stopped, to the device `name`, or to the default device if `name` is empty.
  // `source` must outlive the stream. Returns null, with a message in `why`, on failure.
  static std::unique_ptr<DeviceStream> open(const std::string& name, Playback& source,
                                            std::string& why);

  ~DeviceStream();
  DeviceStream(const DeviceStream&) = delete;
  DeviceStream& operator=(const DeviceStream&) = delete;

  // Starts, or continues where it was stopped. Returns false on failure.
  bool start() EXCLUDES(m_lock);

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

  DeviceStream(std::shared_ptr<Context> context, Playback& source);
  bool beginStart() EXCLUDES(m_lock);
  void endStart() EXCLUDES(m_lock);
  void markLost() EXCLUDES(m_lock);

  const std::shared_ptr<Context> m_context;
  Playback& m_source;
  std::atomic<bool> m_lost = false;

  base::Mutex m_lock;
  base::Condition m_startOver;                   // with m_lock: m_starter was reset
  std::thread::id m_starter GUARDED_BY(m_lock);  // the thread that is starting; default: none

  std::unique_ptr<Handle> m_handle;
};

}  // namespace kavrel
