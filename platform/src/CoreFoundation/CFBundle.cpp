// SPDX-License-Identifier: Apache-2.0
//
// CFBundle: a reference to a directory; no file in it is read.
#include <CoreFoundation/CFBundle.h>

#include <filesystem>
#include <new>
#include <string>

#include "CFObject.h"

CFTypeID CFBundleGetTypeID() {
  return static_cast<CFTypeID>(platform::CFType::Bundle);
}

CFBundleRef CFBundleCreate(CFAllocatorRef /*allocator*/, CFURLRef url) {
  if (url == nullptr) return nullptr;
  try {
    std::error_code failure;
    if (!std::filesystem::is_directory(url->absolutePath(), failure)) return nullptr;
    auto* const bundle = new __CFBundle(url);
    // Only after the step that can fail: the bundle adopts this reference.
    url->retain();
    return bundle;
  } catch (const std::exception&) {
    // Out of memory. Null is the documented result; a message would allocate.
    return nullptr;
  }
}

CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle) {
  if (bundle == nullptr) return nullptr;
  bundle->url.get()->retain();
  return bundle->url.get();
}

std::string __CFBundle::description() const {
  return "CFBundle " + url.get()->description();
}
