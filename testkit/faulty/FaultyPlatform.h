// SPDX-License-Identifier: Apache-2.0
//
// The faulty platform: wrappers around the functions of the system and of the platform that the
// plug-in calls. Each can be made to fail at a call; otherwise it calls the real function. In a
// program that links it, the wrappers are found before the real functions (symbol interposition).
//
// Threads: every function may be called on any thread.
#pragma once

#include <functional>

namespace faulty {

enum class Service {
  ThreadCreate,      // pthread_create: EAGAIN
  EncodingOfSystem,  // UpgradeScriptInfoToTextEncoding: an error
  ConverterCreate,   // TECCreateConverter: an error
  ConverterConvert,  // TECConvertText: an error, nothing converted
  ConverterStuck,    // TECConvertText: the buffer is full, with nothing in it
  ConverterFlush,    // TECFlushText: an error
  ConverterDispose,  // TECDisposeConverter: an error, although the converter is disposed of
  BundleUrl,         // CFBundleCopyBundleURL: null
  AbsoluteUrl,       // CFURLCopyAbsoluteURL: null
  UrlPath,           // CFURLCopyFileSystemPath: null
  UrlBytes,          // CFURLGetFileSystemRepresentation: false
  StringPointer,     // CFStringGetCStringPtr: null, so the caller must copy the string
  StringCopy,        // CFStringGetCString: false
  Count
};

const char* nameOf(Service service);

// The k-th call from now on fails (k from 1), or it and every later one.
void failPlatform(Service service, int k, bool forGood = false);
// Number of calls that have failed since the last failPlatform() for the service.
int platformFaults(Service service);
// Number of text converters created and not disposed of.
int liveConverters();
// Nothing fails from now on.
void restorePlatform();

}  // namespace faulty
