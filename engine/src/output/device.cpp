// SPDX-License-Identifier: Apache-2.0
#include "output/device.h"

#include <algorithm>
#include <cstdlib>
#include <span>
#include <string_view>

#include <cubeb/cubeb.h>
#include <unistd.h>

#include "base/threads/Clock.h"
#include "base/threads/Mutex.h"
#include "output/playback.h"
#include "sample_rate.h"

namespace kavrel {

namespace {

// The device's buffer, in samples. A smaller one causes gaps on a busy machine; a larger one would
// not make a pause slower, since the server drops what it has not played.
constexpr std::uint32_t kLatency = kSampleRate / 10;

// Without a sound server, cubeb needs some milliseconds to find that out, so the failure is
// remembered for this time.
constexpr std::chrono::milliseconds kRetryAfter(250);

constexpr const char* kProgramName = "Kavrel";

}  // namespace

bool soundOutputIsWanted() {
  static const bool wanted = [] {
    const char* const choice = std::getenv("KAVREL_AUDIO");
    return choice == nullptr || std::string_view(choice) != "none";
  }();
  return wanted;
}

const std::string& usualSoundDevice() {
  static const std::string name = [] {
    const char* const choice = std::getenv("KAVREL_AUDIO_DEVICE");
    return std::string(choice != nullptr ? choice : "");
  }();
  return name;
}

// RAII owner of a cubeb context.
class DeviceStream::Context {
 public:
  // Returns the context that is in use, or a new one; null if there is no sound output.
  static std::shared_ptr<Context> shared();

  ~Context() {
    // In a forked child, the connection and the thread are the parent's.
    if (m_owner == ::getpid()) cubeb_destroy(m_handle);
  }
  Context(const Context&) = delete;
  Context& operator=(const Context&) = delete;

  cubeb* handle() const { return m_handle; }

  // Called when a stream has failed. The next user gets a new context, and so can reach a sound
  // server that has been restarted.
  void retire() { m_retired.store(true, std::memory_order_relaxed); }

  bool isUsable() const {
    return m_owner == ::getpid() && !m_retired.load(std::memory_order_relaxed);
  }

 private:
  struct Current {
    base::Mutex lock;
    std::weak_ptr<Context> context GUARDED_BY(lock);
    base::Clock::time_point retryAt GUARDED_BY(lock);
  };

  explicit Context(cubeb* handle) : m_handle(handle) {}

  cubeb* const m_handle;
  const pid_t m_owner = ::getpid();
  std::atomic<bool> m_retired = false;
};

std::shared_ptr<DeviceStream::Context> DeviceStream::Context::shared() {
  // Never destroyed, for threads that speak while the process exits.
  static Current& current = *new Current;
  const base::ScopedLock held(current.lock);
  if (auto context = current.context.lock(); context != nullptr && context->isUsable()) {
    return context;
  }
  if (base::Clock::now() < current.retryAt) return nullptr;
  cubeb* handle = nullptr;
  std::uint32_t channels = 0;
  const bool ready = cubeb_init(&handle, kProgramName, nullptr) == CUBEB_OK;
  // A backend without a server or device passes cubeb_init and fails here.
  if (!ready || cubeb_get_max_channel_count(handle, &channels) != CUBEB_OK) {
    if (ready) cubeb_destroy(handle);
    current.retryAt = base::Clock::now() + kRetryAfter;
    return nullptr;
  }
  std::shared_ptr<Context> context(new Context(handle));
  current.context = context;
  return context;
}

namespace {

// RAII owner of the list of output devices of a context.
class DeviceList {
 public:
  explicit DeviceList(cubeb* context) : m_context(context) {
    m_found = cubeb_enumerate_devices(context, CUBEB_DEVICE_TYPE_OUTPUT, &m_devices) == CUBEB_OK;
  }
  ~DeviceList() {
    if (m_found) cubeb_device_collection_destroy(m_context, &m_devices);
  }
  DeviceList(const DeviceList&) = delete;
  DeviceList& operator=(const DeviceList&) = delete;

  std::span<const cubeb_device_info> devices() const {
    if (!m_found) return {};
    return {m_devices.device, m_devices.count};
  }

 private:
  cubeb* const m_context;
  cubeb_device_collection m_devices{};
  bool m_found = false;
};

bool isUsable(const cubeb_device_info& device) {
  return device.device_id != nullptr && device.state == CUBEB_DEVICE_STATE_ENABLED;
}

// Returns null if there is no device of that name.
cubeb_devid findDevice(const DeviceList& list, const std::string& name) {
  for (const cubeb_device_info& device : list.devices()) {
    if (isUsable(device) && name == device.device_id) return device.devid;
  }
  return nullptr;
}

}  // namespace

// A device without a description is described by its name.
std::vector<SoundDevice> soundDevices() {
  const auto context = DeviceStream::Context::shared();
  if (context == nullptr) return {};
  const DeviceList list(context->handle());
  std::vector<SoundDevice> found;
  for (const cubeb_device_info& device : list.devices()) {
    if (!isUsable(device)) continue;
    const char* const description = device.friendly_name;
    found.push_back({device.device_id, description != nullptr ? description : device.device_id,
                     device.preferred != CUBEB_DEVICE_PREF_NONE});
  }
  return found;
}

// The cubeb stream and its callbacks, kept out of the header.
struct DeviceStream::Handle {
  ~Handle() {
    if (stream == nullptr) return;
    cubeb_stream_stop(stream);
    cubeb_stream_destroy(stream);
  }

  // Runs on cubeb's thread, which serves all streams: must not block.
  static long onData(cubeb_stream* /*stream*/, void* user, const void* /*input*/, void* output,
                     long frames) {
    auto& self = *static_cast<DeviceStream*>(user);
    self.m_source.take(
        {static_cast<std::int16_t*>(output), static_cast<std::size_t>(std::max(frames, 0L))});
    return frames;
  }

  static void onState(cubeb_stream* /*stream*/, void* user, cubeb_state state) {
    if (state == CUBEB_STATE_ERROR) static_cast<DeviceStream*>(user)->markLost();
  }

  cubeb_stream* stream = nullptr;
};

DeviceStream::DeviceStream(std::shared_ptr<Context> context, Playback& source)
    : m_context(std::move(context)), m_source(source), m_handle(std::make_unique<Handle>()) {}

DeviceStream::~DeviceStream() = default;

std::unique_ptr<DeviceStream> DeviceStream::open(const std::string& name, Playback& source,
                                                 std::string& why) {
  auto context = Context::shared();
  if (context == nullptr) {
    why = "no sound output";
    return nullptr;
  }
  // The device id points into the list, which must exist until the stream is open.
  std::optional<DeviceList> list;
  cubeb_devid device = nullptr;
  if (!name.empty()) {
    device = findDevice(list.emplace(context->handle()), name);
    if (device == nullptr) {
      why = "no sound device is called \"" + name + "\"";
      return nullptr;
    }
  }
  std::unique_ptr<DeviceStream> stream(new DeviceStream(std::move(context), source));
  cubeb_stream_params params{CUBEB_SAMPLE_S16NE, kSampleRate, 1, CUBEB_LAYOUT_MONO,
                             CUBEB_STREAM_PREF_NONE};
  // Some backends refuse a buffer below their minimum.
  std::uint32_t least = 0;
  cubeb* const handle = stream->m_context->handle();
  if (cubeb_get_min_latency(handle, &params, &least) != CUBEB_OK) least = 0;
  if (cubeb_stream_init(handle, &stream->m_handle->stream, "speech", nullptr, nullptr, device,
                        &params, std::max(least, kLatency), &Handle::onData, &Handle::onState,
                        stream.get()) != CUBEB_OK) {
    stream->m_handle->stream = nullptr;
    stream->m_context->retire();
    why = "the sound device cannot be used";
    return nullptr;
  }
  return stream;
}

// Called on cubeb's thread.
void DeviceStream::markLost() {
  m_context->retire();
  m_lost.store(true, std::memory_order_release);
}

// cubeb aborts the process if it starts a stream whose server has exited and the client library has
// not noticed that yet, which is likely after a pause. Stopping the stopped stream once more
// changes nothing, but asks the server and waits for its reply, so that markLost() has run if there
// is none.
bool DeviceStream::start() {
  cubeb_stream_stop(m_handle->stream);
  return !isLost() && cubeb_stream_start(m_handle->stream) == CUBEB_OK;
}

void DeviceStream::stop() {
  cubeb_stream_stop(m_handle->stream);
}

std::optional<std::uint64_t> DeviceStream::position() {
  std::uint64_t frames = 0;
  if (cubeb_stream_get_position(m_handle->stream, &frames) != CUBEB_OK) return std::nullopt;
  return frames;
}

}  // namespace kavrel
