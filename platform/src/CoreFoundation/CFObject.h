// SPDX-License-Identifier: Apache-2.0
//
// CFObject: what all Core Foundation objects have in common, and their concrete types.
//
// An object is born with a count of one, is immutable, and deletes itself when its count reaches
// zero. The pointers that clients hold point at the CFObject part, which every type has first.
#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFString.h>

#include <atomic>
#include <string>
#include <utility>

namespace platform {

// The numbers that CFGetTypeID gives.
enum class CFType : CFTypeID { String = 1, URL, Bundle };

class CFObject {
 public:
  CFObject(const CFObject&) = delete;
  CFObject& operator=(const CFObject&) = delete;

  void retain() const { m_count.fetch_add(1, std::memory_order_relaxed); }

  void release() const {
    // What other holders did with the object happens before its end.
    if (m_count.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }

  CFIndex count() const { return m_count.load(std::memory_order_relaxed); }
  CFType type() const { return m_type; }

  // One line without its end, for CFShow.
  virtual std::string description() const = 0;

 protected:
  explicit CFObject(CFType type) : m_type(type) {}
  virtual ~CFObject() = default;

 private:
  mutable std::atomic<CFIndex> m_count{1};
  const CFType m_type;
};

// A counted reference that ends with its scope; adopts what a Create or Copy function returned.
template <typename Ref>
class Owned {
 public:
  Owned() = default;
  explicit Owned(Ref object) : m_object(object) {}
  Owned(Owned&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
  Owned& operator=(Owned&& other) noexcept {
    std::swap(m_object, other.m_object);
    return *this;
  }
  ~Owned() { CFRelease(m_object); }

  Ref get() const { return m_object; }
  explicit operator bool() const { return m_object != nullptr; }

 private:
  Ref m_object = nullptr;
};

}  // namespace platform

// NOLINTBEGIN(bugprone-reserved-identifier): the tags are part of the platform's interface.

struct __CFString final : platform::CFObject {
  __CFString(std::string text, CFStringEncoding itsEncoding)
      : CFObject(platform::CFType::String), bytes(std::move(text)), encoding(itsEncoding) {}
  std::string description() const override;

  const std::string bytes;  // in `encoding`; of a path, any bytes
  const CFStringEncoding encoding;
};

struct __CFURL final : platform::CFObject {
  __CFURL(std::string itsPath, std::string itsBase)
      : CFObject(platform::CFType::URL), path(std::move(itsPath)), base(std::move(itsBase)) {}
  std::string description() const override;
  std::string absolutePath() const;

  const std::string path;  // not empty
  const std::string base;  // an absolute directory; empty when `path` is absolute
};

struct __CFBundle final : platform::CFObject {
  // Takes over one count of `itsUrl`.
  explicit __CFBundle(CFURLRef itsUrl) : CFObject(platform::CFType::Bundle), url(itsUrl) {}
  std::string description() const override;

  const platform::Owned<CFURLRef> url;
};

// NOLINTEND(bugprone-reserved-identifier)
