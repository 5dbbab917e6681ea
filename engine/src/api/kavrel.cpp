// SPDX-License-Identifier: Apache-2.0
//
// The C interface (kavrel.h), except parameter sets: checks arguments, delegates to the classes,
// and turns exceptions into results. Threads, ownership and failures: see kavrel.h.
#include "kavrel.h"

#include <array>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "api/params.h"
#include "api/port.h"
#include "cst/diag.h"
#include "job/event.h"
#include "output/device.h"
#include "synth/synthesiser.h"
#include "synth/voice_cache.h"

// All engines are one object without data: the synthesiser is shared by the process.
struct kavrel_engine_struct {};

struct kavrel_port_struct {
  std::shared_ptr<kavrel::Port> port;
};

namespace {

// Returns the result of `operation`. An exception can only mean that the process is out of memory.
template <typename Operation>
kavrel_result_t resultOf(Operation operation) {
  try {
    return operation();
  } catch (...) {
    KAVREL_DIAG("Engine", "Out of memory.");
    return KAVREL_INTERNAL_ERROR;
  }
}

// As kavrel::loadVoice, but reports the cause as a diagnostic line.
const kavrel::Voice* loadVoiceFrom(const char* directory) {
  if (directory == nullptr) {
    KAVREL_DIAG("Voice", "The folder is null.");
    return nullptr;
  }
  std::string why;
  const kavrel::Voice* const voice = kavrel::loadVoice(directory, why);
  if (voice == nullptr) KAVREL_DIAG("Voice", "No usable voice: %s", why.c_str());
  return voice;
}

}  // namespace

const char* kavrel_strerror(kavrel_result_t result) {
  // Indexed by the negated result.
  static constexpr std::array<const char*, 16> kMessages{
      "success",          "unknown error", "not implemented",  "internal error",
      "bad parameter",    "bad pointer",   "object not found", "unknown encoding",
      "interrupted",      "bad voice",     "file error",       "wrong event",
      "engine is in use", "network error", "bad key",          "queue is full"};
  const int index = -static_cast<int>(result);
  if (index < 0 || index >= static_cast<int>(kMessages.size())) return kMessages[1];
  return kMessages[static_cast<std::size_t>(index)];
}

kavrel_engine_struct* kavrel_engine_open(const kavrel_params* params) {
  static kavrel_engine_struct engine;
  std::string why;
  const kavrel_result_t started = resultOf([&] {
    const bool ready = !kavrel::wantsPreload(params) || kavrel::Synthesiser::shared().start(why);
    return ready ? KAVREL_SUCCESS : KAVREL_INTERNAL_ERROR;
  });
  if (started == KAVREL_SUCCESS) return &engine;
  // Written even if diagnostic lines are off: the installation is incomplete, and no result can say
  // so. Without a message it was out of memory, which resultOf() has reported.
  if (!why.empty()) cst_errmsg("libkavrel: %s\n", why.c_str());
  return nullptr;
}

kavrel_port_struct* kavrel_port_open(kavrel_engine_struct* engine, const kavrel_params* params) {
  if (engine == nullptr) {
    KAVREL_DIAG("Port", "The engine is null.");
    return nullptr;
  }
  try {
    kavrel::PortSettings settings;
    settings.apply(params);
    auto port = std::make_shared<kavrel::Port>(std::move(settings));
    return new kavrel_port_struct{std::move(port)};
  } catch (...) {
    KAVREL_DIAG("Port", "Cannot open a port: out of memory");
    return nullptr;
  }
}

kavrel_result_t kavrel_port_close(kavrel_port_struct* port) {
  if (port == nullptr) return KAVREL_INVALID_POINTER;
  kavrel_port_stop(port, nullptr, KAVREL_EVENT_NOW);
  // The result does not matter: the port's thread holds a reference, which keeps the port alive
  // until a callback that hangs, or that called this function, has returned.
  kavrel_port_wait(port, nullptr);
  delete port;
  return KAVREL_SUCCESS;
}

kavrel_result_t kavrel_port_set_callback(kavrel_port_struct* port, kavrel_callback_t callback,
                                         kavrel_event_t mask, void* user) {
  if (port == nullptr) return KAVREL_INVALID_POINTER;
  port->port->setCallback(callback, mask, user);
  return KAVREL_SUCCESS;
}

kavrel_voice_struct* kavrel_port_set_voice_from_dir(kavrel_port_struct* port,
                                                    const char* directory) {
  if (port == nullptr) {
    KAVREL_DIAG("Voice", "The port is null.");
    return nullptr;
  }
  try {
    const kavrel::Voice* const voice = loadVoiceFrom(directory);
    if (voice == nullptr) return nullptr;
    port->port->setVoice(*voice);
    // The type is opaque: callers can only compare the pointer with null.
    return reinterpret_cast<kavrel_voice_struct*>(const_cast<kavrel::Voice*>(voice));
  } catch (...) {
    KAVREL_DIAG("Voice", "Cannot load a voice: out of memory");
    return nullptr;
  }
}

// The callback runs after the list is complete, so it may take its time and call the engine.
int kavrel_audio_devices(kavrel_device_callback_t callback, void* user) {
  if (callback == nullptr) return KAVREL_INVALID_POINTER;
  if (!kavrel::soundOutputIsWanted()) return 0;
  try {
    const std::vector<kavrel::SoundDevice> devices = kavrel::soundDevices();
    for (const kavrel::SoundDevice& device : devices) {
      callback(device.name.c_str(), device.description.c_str(), device.isDefault ? 1 : 0, user);
    }
    return static_cast<int>(devices.size());
  } catch (...) {
    KAVREL_DIAG("Engine", "Cannot list sound devices: out of memory, or the callback has thrown.");
    return KAVREL_INTERNAL_ERROR;
  }
}

kavrel_result_t kavrel_port_speak_text(kavrel_port_struct* port, const char* text, size_t length,
                                       const char* encoding, kavrel_background_t* job,
                                       const kavrel_params* params) {
  // On failure the handle is null, also if a step after storing it fails.
  if (job != nullptr) *job = nullptr;
  if (port == nullptr || job == nullptr || (text == nullptr && length > 0)) {
    return KAVREL_INVALID_POINTER;
  }
  const auto known = kavrel::encodingNamed(encoding);
  if (!known) return KAVREL_UNKNOWN_ENCODING;
  const kavrel_result_t result = resultOf(
      [&] { return port->port->speakText(std::string_view(text, length), *known, *job, params); });
  if (result < 0) *job = nullptr;
  return result;
}

kavrel_result_t kavrel_port_pause(kavrel_port_struct* port, kavrel_background_t job,
                                  kavrel_event_t boundary) {
  if (port == nullptr) return KAVREL_INVALID_POINTER;
  return resultOf([&] { return port->port->pause(job, kavrel::stopBoundaryFor(boundary)); });
}

kavrel_result_t kavrel_port_stop(kavrel_port_struct* port, kavrel_background_t job,
                                 kavrel_event_t boundary) {
  if (port == nullptr) return KAVREL_SUCCESS;
  return resultOf([&] {
    port->port->stop(job, kavrel::stopBoundaryFor(boundary));
    return KAVREL_SUCCESS;
  });
}

kavrel_result_t kavrel_port_wait(kavrel_port_struct* port, kavrel_background_t job) {
  if (port == nullptr) return KAVREL_INVALID_POINTER;
  return resultOf([&] { return port->port->wait(job); });
}

kavrel_result_t kavrel_event_get_text(kavrel_event_struct* event, char** text) {
  if (event == nullptr || text == nullptr) return KAVREL_INVALID_POINTER;
  *text = event->text.data();
  return KAVREL_SUCCESS;
}

kavrel_result_t kavrel_event_get_textpos(kavrel_event_struct* event, int* start, int* length) {
  if (event == nullptr) return KAVREL_INVALID_POINTER;
  if (start != nullptr) *start = event->start;
  if (length != nullptr) *length = event->length;
  return KAVREL_SUCCESS;
}
