// SPDX-License-Identifier: Apache-2.0
//
// LoadedPlugIn: the plug-in as a host uses it, loaded from its file and called only through its
// exported names.
//
// Threads: one; the entry points have their own rules.
#pragma once

#include <ApplicationServices/ApplicationServices.h>
#include <CoreFoundation/CoreFoundation.h>

#include <cstddef>
#include <stdexcept>
#include <string>

#include <dlfcn.h>

namespace binary {

class LoadedPlugIn {
 public:
  // Throws std::runtime_error when the file or one of the names is missing.
  explicit LoadedPlugIn(const std::string& path)
      : m_handle(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (m_handle == nullptr) throw std::runtime_error(dlerror());
    find(open, "SEOpenSpeechChannel");
    find(close, "SECloseSpeechChannel");
    find(status, "SESpeechStatus");
    find(stop, "SEStopSpeechAt");
    find(speak, "SESpeakBuffer");
    find(set, "SESetSpeechInfo");
    find(makeUrl, "CFURLCreateFromFileSystemRepresentation");
    find(release, "CFRelease");
  }
  ~LoadedPlugIn() { dlclose(m_handle); }
  LoadedPlugIn(const LoadedPlugIn&) = delete;
  LoadedPlugIn& operator=(const LoadedPlugIn&) = delete;

  long (*open)(SpeechChannelIdentifier*) = nullptr;
  long (*close)(SpeechChannelIdentifier) = nullptr;
  long (*status)(SpeechChannelIdentifier, SpeechStatusInfo*) = nullptr;
  long (*stop)(SpeechChannelIdentifier, unsigned long) = nullptr;
  long (*speak)(SpeechChannelIdentifier, char*, long, long) = nullptr;
  long (*set)(SpeechChannelIdentifier, unsigned long, void*) = nullptr;
  // Functions of the platform library, which the plug-in loads.
  decltype(&CFURLCreateFromFileSystemRepresentation) makeUrl = nullptr;
  decltype(&CFRelease) release = nullptr;

 private:
  template <typename Function>
  void find(Function& function, const char* name) {
    function = reinterpret_cast<Function>(dlsym(m_handle, name));
    if (function == nullptr) throw std::runtime_error(std::string(name) + " is missing");
  }

  void* m_handle;
};

}  // namespace binary
