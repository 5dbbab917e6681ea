// SPDX-License-Identifier: Apache-2.0
#include "FaultyPlatform.h"

#include <ApplicationServices/ApplicationServices.h>
#include <CoreFoundation/CoreFoundation.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <iterator>

#include <dlfcn.h>
#include <pthread.h>

#include "ScriptedEngine.h"

namespace faulty {

namespace {

// The state of one service. Atomics instead of a lock: pthread_create is one of the wrapped
// functions and may be called from any context.
struct Plan {
  std::atomic<int> calls = 0;
  std::atomic<int> failAt = 0;  // number of a call; 0: none
  std::atomic<bool> forGood = false;
  std::atomic<int> met = 0;
};

std::array<Plan, static_cast<std::size_t>(Service::Count)> g_plans;

std::atomic<int> g_converters = 0;

Plan& planOf(Service service) {
  return g_plans[static_cast<std::size_t>(service)];
}

// Whether this call of the service fails.
bool fails(Service service) {
  Plan& plan = planOf(service);
  const int call = ++plan.calls;
  const int at = plan.failAt;
  if (at == 0 || call < at || (call > at && !plan.forGood)) return false;
  ++plan.met;
  return true;
}

}  // namespace

const char* nameOf(Service service) {
  static constexpr const char* kNames[] = {"pthread_create",
                                           "UpgradeScriptInfoToTextEncoding",
                                           "TECCreateConverter",
                                           "TECConvertText",
                                           "TECConvertText, stuck",
                                           "TECFlushText",
                                           "TECDisposeConverter",
                                           "CFBundleCopyBundleURL",
                                           "CFURLCopyAbsoluteURL",
                                           "CFURLCopyFileSystemPath",
                                           "CFURLGetFileSystemRepresentation",
                                           "CFStringGetCStringPtr",
                                           "CFStringGetCString"};
  static_assert(std::size(kNames) == static_cast<std::size_t>(Service::Count));
  return kNames[static_cast<std::size_t>(service)];
}

void failPlatform(Service service, int k, bool forGood) {
  Plan& plan = planOf(service);
  plan.failAt = 0;
  plan.forGood = forGood;
  plan.met = 0;
  // Set last: from here on other threads' calls may fail.
  plan.failAt = plan.calls + k;
}

int platformFaults(Service service) {
  return planOf(service).met;
}

int liveConverters() {
  return g_converters;
}

void restorePlatform() {
  for (Plan& plan : g_plans) plan.failAt = 0;
}

}  // namespace faulty

using faulty::fails;
using faulty::Service;

namespace {

// The next definition of that name in the search order of the loader: the real function.
template <typename Function>
Function nextDefinition(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

#define REAL(function) nextDefinition<decltype(&(function))>(#function)

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {

// The sanitizer's wrapper, in a build with a sanitizer; it must see every thread.
__attribute__((weak)) int __interceptor_pthread_create(pthread_t*, const pthread_attr_t*,
                                                       void* (*)(void*), void*);

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*routine)(void*),
                   void* argument) {
  // The scripted engine's own threads are not a subject of the test.
  if (!scripted::insideEngine() && fails(Service::ThreadCreate)) return EAGAIN;
  static const auto create = &__interceptor_pthread_create != nullptr
                                 ? &__interceptor_pthread_create
                                 : REAL(pthread_create);
  return create(thread, attributes, routine, argument);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

OSStatus UpgradeScriptInfoToTextEncoding(ScriptCode script, LangCode language, RegionCode region,
                                         ConstStr255Param fontName, TextEncoding* encoding) {
  if (fails(Service::EncodingOfSystem)) return paramErr;
  static const auto real = REAL(UpgradeScriptInfoToTextEncoding);
  return real(script, language, region, fontName, encoding);
}

OSStatus TECCreateConverter(TECObjectRef* object, TextEncoding input, TextEncoding output) {
  if (fails(Service::ConverterCreate)) return kTECNoConversionPathErr;
  static const auto real = REAL(TECCreateConverter);
  const OSStatus status = real(object, input, output);
  if (status == noErr) ++faulty::g_converters;
  return status;
}

OSStatus TECConvertText(TECObjectRef object, ConstTextPtr input, ByteCount inputLength,
                        ByteCount* actualInput, TextPtr output, ByteCount outputLength,
                        ByteCount* actualOutput) {
  const bool stuck = fails(Service::ConverterStuck);
  if (stuck || fails(Service::ConverterConvert)) {
    *actualInput = 0;
    *actualOutput = 0;
    return stuck ? OSStatus{kTECOutputBufferFullStatus} : OSStatus{kTECCorruptConverterErr};
  }
  static const auto real = REAL(TECConvertText);
  return real(object, input, inputLength, actualInput, output, outputLength, actualOutput);
}

OSStatus TECFlushText(TECObjectRef object, TextPtr output, ByteCount outputLength,
                      ByteCount* actualOutput) {
  if (fails(Service::ConverterFlush)) return kTECCorruptConverterErr;
  static const auto real = REAL(TECFlushText);
  return real(object, output, outputLength, actualOutput);
}

OSStatus TECDisposeConverter(TECObjectRef object) {
  static const auto real = REAL(TECDisposeConverter);
  const OSStatus status = real(object);
  if (status == noErr) --faulty::g_converters;
  return fails(Service::ConverterDispose) ? OSStatus{kTECCorruptConverterErr} : status;
}

CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle) {
  if (fails(Service::BundleUrl)) return nullptr;
  static const auto real = REAL(CFBundleCopyBundleURL);
  return real(bundle);
}

CFURLRef CFURLCopyAbsoluteURL(CFURLRef url) {
  if (fails(Service::AbsoluteUrl)) return nullptr;
  static const auto real = REAL(CFURLCopyAbsoluteURL);
  return real(url);
}

CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style) {
  if (fails(Service::UrlPath)) return nullptr;
  static const auto real = REAL(CFURLCopyFileSystemPath);
  return real(url, style);
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolve, UInt8* buffer,
                                         CFIndex size) {
  if (fails(Service::UrlBytes)) return false;
  static const auto real = REAL(CFURLGetFileSystemRepresentation);
  return real(url, resolve, buffer, size);
}

const char* CFStringGetCStringPtr(CFStringRef string, CFStringEncoding encoding) {
  if (fails(Service::StringPointer)) return nullptr;
  static const auto real = REAL(CFStringGetCStringPtr);
  return real(string, encoding);
}

Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex size,
                           CFStringEncoding encoding) {
  if (fails(Service::StringCopy)) return false;
  static const auto real = REAL(CFStringGetCString);
  return real(string, buffer, size, encoding);
}
