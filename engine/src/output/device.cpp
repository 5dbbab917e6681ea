// SPDX-License-Identifier: Apache-2.0
#include "output/device.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <span>
#include <string_view>
#include <utility>

#include <cubeb/cubeb.h>
#include <pulse/pulseaudio.h>
#include <sys/auxv.h>
#include <unistd.h>

#include "base/threads/Clock.h"
#include "base/threads/Mutex.h"
#include "base/threads/Signals.h"
#include "cst/diag.h"
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

// A sound server that has not responded for this time stands still. One that has to be started
// first needs about a second.
constexpr std::chrono::milliseconds kServerLimit(2000);

constexpr const char* kProgramName = "Kavrel";

// Returns true if a PulseAudio server accepts the process as a client. Takes as long as the server
// makes it wait.
bool hasPulseServer() {
  const std::unique_ptr<pa_mainloop, decltype(&pa_mainloop_free)> loop(pa_mainloop_new(),
                                                                       pa_mainloop_free);
  if (loop == nullptr) return false;
  const std::unique_ptr<pa_context, decltype(&pa_context_unref)> context(
      pa_context_new(pa_mainloop_get_api(loop.get()), kProgramName), pa_context_unref);
  if (context == nullptr) return false;
  // Starts a server for the user if the system is configured so.
  if (pa_context_connect(context.get(), nullptr, PA_CONTEXT_NOFLAGS, nullptr) < 0) return false;
  pa_context_state_t state = PA_CONTEXT_CONNECTING;
  while (PA_CONTEXT_IS_GOOD(state) && state != PA_CONTEXT_READY) {
    if (pa_mainloop_iterate(loop.get(), /*block=*/1, nullptr) < 0) return false;
    state = pa_context_get_state(context.get());
  }
  pa_context_disconnect(context.get());
  return state == PA_CONTEXT_READY;
}

}  // namespace

namespace {

// The libraries of sound servers take their settings from the environment and the user's folder. A
// setting can name a program to start, which would get the raised privileges.
bool outputIsAllowed() {
  if (::getauxval(AT_SECURE) != 0) {
    KAVREL_DIAG("device", "no sound device is used, as the program has raised privileges");
    return false;
  }
  const char* const choice = ::secure_getenv("KAVREL_AUDIO");
  return choice == nullptr || std::string_view(choice) != "none";
}

}  // namespace

bool soundOutputIsWanted() {
  static const bool wanted = outputIsAllowed();
  return wanted;
}

const std::string& usualSoundDevice() {
  static const std::string name = [] {
    const char* const choice = ::secure_getenv("KAVREL_AUDIO_DEVICE");
    return std::string(choice != nullptr ? choice : "");
  }();
  return name;
}

// RAII owner of a cubeb context.
class DeviceStream::Context {
 public:
  // Returns the context that is in use, or a new one; null if there is no sound output, or if
  // another thread has been waiting for a new one for too long. So one thread at most waits for a
  // server that stands still, however many jobs there are.
  static std::shared_ptr<Context> shared();

  // Makes the next user open a new one.
  static void leave();

  ~Context() {
    // In a forked child, the connection and the thread are the parent's.
    if (m_handle != nullptr && m_owner == ::getpid()) cubeb_destroy(m_handle);
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
    base::Condition changed;  // with lock: isOpening became false
    std::weak_ptr<Context> context GUARDED_BY(lock);
    bool isOpening GUARDED_BY(lock) = false;  // by a thread that does not hold the lock
    base::Clock::time_point openingSince GUARDED_BY(lock);
    base::Clock::time_point retryAt GUARDED_BY(lock);
  };

  Context() = default;

  static Current& current();
  bool connect();

  cubeb* m_handle = nullptr;
  const pid_t m_owner = ::getpid();
  std::atomic<bool> m_retired = false;
};

// Never destroyed, for threads that speak while the process exits.
DeviceStream::Context::Current& DeviceStream::Context::current() {
  static Current& current = *new Current;
  return current;
}

// Takes as long as the sound server makes it wait. Returns false on failure.
// Rationale: if PulseAudio fails, cubeb tries JACK before ALSA. The library of JACK opens a
// database in shared memory, without a time limit, and a process that ends at that moment leaves it
// locked: from then on, every program that tries JACK hangs. So cubeb is told which backend will
// work.
bool DeviceStream::Context::connect() {
  const char* const backend = hasPulseServer() ? "pulse" : "alsa";
  if (cubeb_init(&m_handle, kProgramName, backend) != CUBEB_OK) {
    m_handle = nullptr;
    return false;
  }
  // A backend without a server or device passes cubeb_init and fails here.
  std::uint32_t channels = 0;
  return cubeb_get_max_channel_count(m_handle, &channels) == CUBEB_OK;
}

// Contexts connect and are destroyed without the lock, since both wait for the server.
std::shared_ptr<DeviceStream::Context> DeviceStream::Context::shared() {
  std::shared_ptr<Context> context;
  Current& current = Context::current();
  const base::ScopedLock held(current.lock);
  while (current.isOpening) {
    if (!current.changed.waitUntil(current.lock, current.openingSince + kServerLimit)) {
      return nullptr;
    }
  }
  context = current.context.lock();
  if (context != nullptr && context->isUsable()) return context;
  if (base::Clock::now() < current.retryAt) return nullptr;
  std::shared_ptr<Context> created(new Context);
  current.isOpening = true;
  current.openingSince = base::Clock::now();
  bool isConnected = false;
  {
    const base::ScopedUnlock released(current.lock);
    isConnected = created->connect();
    context = isConnected ? created : nullptr;
    created.reset();
  }
  current.isOpening = false;
  current.changed.notifyAll();
  current.context = context;
  if (!isConnected) current.retryAt = base::Clock::now() + kRetryAfter;
  return context;
}

void DeviceStream::Context::leave() {
  const base::ScopedLock held(current().lock);
  current().context.reset();
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
std::vector<SoundDevice> DeviceStream::devices() {
  const auto context = Context::shared();
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

namespace {

// One call of soundDevices(). Belongs to the caller and to the thread that searches, whichever
// needs longer.
class Search {
 public:
  // The search's thread.
  void run() {
    base::blockSignals();
    std::vector<SoundDevice> found;
    try {
      found = DeviceStream::devices();
    } catch (const std::bad_alloc&) {
      KAVREL_DIAG("Device", "Cannot list sound devices: out of memory.");
    }
    const base::ScopedLock held(m_lock);
    m_found = std::move(found);
    m_isOver = true;
    m_changed.notifyAll();
  }

  // Returns what has been found when the search is over, or nothing at the limit.
  std::optional<std::vector<SoundDevice>> wait(base::Clock::time_point limit) {
    const base::ScopedLock held(m_lock);
    while (!m_isOver && m_changed.waitUntil(m_lock, limit)) {
    }
    if (!m_isOver) return std::nullopt;
    return std::move(m_found);
  }

 private:
  base::Mutex m_lock;
  base::Condition m_changed;  // with m_lock
  bool m_isOver GUARDED_BY(m_lock) = false;
  std::vector<SoundDevice> m_found GUARDED_BY(m_lock);
};

}  // namespace

std::vector<SoundDevice> soundDevices() {
  const auto search = std::make_shared<Search>();
  std::thread([search] { search->run(); }).detach();
  auto found = search->wait(base::Clock::now() + kServerLimit);
  if (found.has_value()) return std::move(*found);
  DeviceStream::leaveConnection();
  return {};
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

void DeviceStream::leaveConnection() {
  Context::leave();
}

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
//
// Rationale: if the server is lost while cubeb starts a stream, cubeb aborts the process as soon as
// its threads continue. So this one does not continue before the start is over. The start waits for
// it, so neither ever ends: two threads and a context are lost, but not the process.
void DeviceStream::markLost() {
  m_context->retire();
  const base::ScopedLock held(m_lock);
  m_lost.store(true, std::memory_order_release);
  while (m_starter != std::thread::id() && m_starter != std::this_thread::get_id()) {
    m_startOver.wait(m_lock);
  }
}

// Returns false if the stream is lost. Else the start begins, and a loss is noted when it is over.
bool DeviceStream::beginStart() {
  const base::ScopedLock held(m_lock);
  if (isLost()) return false;
  m_starter = std::this_thread::get_id();
  return true;
}

void DeviceStream::endStart() {
  const base::ScopedLock held(m_lock);
  m_starter = std::thread::id();
  m_startOver.notifyAll();
}

// The server may have exited without the client library having noticed that yet, which is likely
// after a pause. Stopping the stopped stream once more changes nothing, but asks the server and
// waits for its reply, so that markLost() has run if there is none. What can still happen during
// the start itself: see markLost().
bool DeviceStream::start() {
  cubeb_stream_stop(m_handle->stream);
  if (!beginStart()) return false;
  const bool started = cubeb_stream_start(m_handle->stream) == CUBEB_OK;
  endStart();
  return started;
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
