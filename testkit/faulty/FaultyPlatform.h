// SPDX-License-Identifier: Apache-2.0
//
// The faulty platform: the functions of the system and of the platform that the plug-in calls, each
// of which can be made to fail at a call. Whoever links it has them in front of the real ones,
// which answer as long as nothing is made to fail.
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
  ConverterDispose,  // TECDisposeConverter: an error, though it is disposed of
  BundleUrl,         // CFBundleCopyBundleURL: null
  AbsoluteUrl,       // CFURLCopyAbsoluteURL: null
  UrlPath,           // CFURLCopyFileSystemPath: null
  UrlBytes,          // CFURLGetFileSystemRepresentation: false
  StringPointer,     // CFStringGetCStringPtr: null, so that the string is copied
  StringCopy,        // CFStringGetCString: false
  Count
};

const char* nameOf(Service service);

// The k-th call from now on fails (k from 1), or it and every later one.
void failPlatform(Service service, int k, bool forGood = false);
// How many calls have failed since.
int platformFaults(Service service);
// Text converters made and not disposed of.
int liveConverters();
// Nothing fails from now on.
void mendPlatform();

}  // namespace faulty
