// SPDX-License-Identifier: Apache-2.0
//
// CFURL: a path as bytes, and for a relative path the working directory at its creation.
#include <CoreFoundation/CFURL.h>

#include <cstring>
#include <filesystem>
#include <new>
#include <string>
#include <string_view>

#include "CFObject.h"

namespace {

// Empty if there is no working directory, for example because it was removed.
std::string workingDirectory() {
  std::error_code failure;
  const std::filesystem::path directory = std::filesystem::current_path(failure);
  return failure ? std::string() : directory.native();
}

// Keeps "/" itself.
std::string_view withoutSlashesAtEnd(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  return path;
}

// Null if the path is empty or contains a NUL, without a working directory for a relative path, or
// if out of memory.
CFURLRef create(std::string_view path) {
  if (path.empty() || path.find('\0') != std::string_view::npos) return nullptr;
  try {
    std::string base;
    // The base is recorded now: the working directory may change later.
    if (path.front() != '/') {
      base = workingDirectory();
      if (base.empty()) return nullptr;
    }
    return new __CFURL(std::string(withoutSlashesAtEnd(path)), std::move(base));
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

// Writes `path` and a NUL. Returns false, with nothing written, if they do not fit.
bool write(std::string_view path, UInt8* buffer, CFIndex size) {
  if (static_cast<CFIndex>(path.size()) >= size) return false;
  std::memcpy(buffer, path.data(), path.size());
  buffer[path.size()] = 0;
  return true;
}

}  // namespace

CFTypeID CFURLGetTypeID() {
  return static_cast<CFTypeID>(platform::CFType::URL);
}

CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef /*allocator*/, const UInt8* path,
                                                 CFIndex length, Boolean /*isDirectory*/) {
  if (path == nullptr || length <= 0) return nullptr;
  return create({reinterpret_cast<const char*>(path), static_cast<std::size_t>(length)});
}

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef /*allocator*/, CFStringRef path,
                                       CFURLPathStyle style, Boolean /*isDirectory*/) {
  if (path == nullptr || style != kCFURLPOSIXPathStyle) return nullptr;
  // No conversion: a path may be malformed UTF-8, and must stay the same bytes.
  if (path->encoding == CFStringGetSystemEncoding()) return create(path->bytes);
  try {
    // In UTF-8, a character of the other encodings has at most three bytes.
    std::string bytes(path->bytes.size() * 3 + 1, '\0');
    if (!CFStringGetCString(path, bytes.data(), static_cast<CFIndex>(bytes.size()),
                            CFStringGetSystemEncoding())) {
      return nullptr;
    }
    return create(bytes.c_str());
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

CFURLRef CFURLCopyAbsoluteURL(CFURLRef url) {
  if (url == nullptr) return nullptr;
  if (url->base.empty()) {
    url->retain();
    return url;
  }
  try {
    return new __CFURL(url->absolutePath(), std::string());
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style) {
  if (url == nullptr || style != kCFURLPOSIXPathStyle) return nullptr;
  try {
    return new __CFString(url->path, CFStringGetSystemEncoding());
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer,
                                         CFIndex maxBufLen) {
  if (url == nullptr || buffer == nullptr) return false;
  if (!resolveAgainstBase || url->base.empty()) return write(url->path, buffer, maxBufLen);
  try {
    return write(url->absolutePath(), buffer, maxBufLen);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

std::string __CFURL::absolutePath() const {
  if (base.empty()) return path;
  return base.back() == '/' ? base + path : base + '/' + path;
}

std::string __CFURL::description() const {
  return absolutePath();
}

// Bytewise: no file is looked up, so different paths of one file are different URLs.
bool __CFURL::equals(const CFObject& other) const {
  const auto& url = static_cast<const __CFURL&>(other);
  return path == url.path && base == url.base;
}
