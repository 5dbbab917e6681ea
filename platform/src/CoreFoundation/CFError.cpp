// SPDX-License-Identifier: Apache-2.0
//
// CFError: a domain, a code and a user info that is never null.
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFError.h>

#include <new>
#include <string>

#include "CFObject.h"

const CFStringRef kCFErrorDomainOSStatus = CFSTR("NSOSStatusErrorDomain");

const CFStringRef kCFErrorLocalizedDescriptionKey = CFSTR("NSLocalizedDescription");

CFTypeID CFErrorGetTypeID() {
  return static_cast<CFTypeID>(platform::CFType::Error);
}

CFErrorRef CFErrorCreate(CFAllocatorRef allocator, CFStringRef domain, CFIndex code,
                         CFDictionaryRef userInfo) {
  if (domain == nullptr) return nullptr;
  // An error without user info gets an empty dictionary, so that CFErrorCopyUserInfo need not
  // create one and cannot fail.
  platform::Owned<CFDictionaryRef> info(userInfo);
  if (userInfo != nullptr) {
    CFRetain(userInfo);
  } else {
    info = platform::Owned<CFDictionaryRef>(CFDictionaryCreate(allocator, nullptr, nullptr, 0,
                                                               &kCFTypeDictionaryKeyCallBacks,
                                                               &kCFTypeDictionaryValueCallBacks));
  }
  if (!info) return nullptr;
  auto* const error = new (std::nothrow) __CFError(domain, code, info.get());
  if (error == nullptr) return nullptr;
  // The error adopts these two references.
  CFRetain(domain);
  CFRetain(info.get());
  return error;
}

CFIndex CFErrorGetCode(CFErrorRef error) {
  return error == nullptr ? 0 : error->code;
}

CFStringRef CFErrorGetDomain(CFErrorRef error) {
  return error == nullptr ? nullptr : error->domain.get();
}

CFDictionaryRef CFErrorCopyUserInfo(CFErrorRef error) {
  return error == nullptr ? nullptr : static_cast<CFDictionaryRef>(CFRetain(error->info.get()));
}

// The domain of an error from a client may be any string, and the key any object.
CFStringRef CFErrorCopyDescription(CFErrorRef error) {
  if (error == nullptr) return nullptr;
  const void* const given =
      CFDictionaryGetValue(error->info.get(), kCFErrorLocalizedDescriptionKey);
  if (given != nullptr && CFGetTypeID(given) == CFStringGetTypeID()) {
    return static_cast<CFStringRef>(CFRetain(given));
  }
  const std::string text =
      error->domain.get()->description() + " error " + std::to_string(error->code);
  return CFStringCreateWithCString(kCFAllocatorDefault, text.c_str(), kCFStringEncodingUTF8);
}

std::string __CFError::description() const {
  return "CFError " + domain.get()->description() + " " + std::to_string(code);
}

bool __CFError::equals(const CFObject& other) const {
  const auto& error = static_cast<const __CFError&>(other);
  return code == error.code && CFEqual(domain.get(), error.domain.get()) != 0 &&
         CFEqual(info.get(), error.info.get()) != 0;
}
