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
#include <variant>
#include <vector>

namespace platform {

// The numbers that CFGetTypeID gives.
enum class CFType : CFTypeID { String = 1, URL, Bundle, Number, Boolean, Array, Dictionary, Error };

class CFObject {
 public:
  CFObject(const CFObject&) = delete;
  CFObject& operator=(const CFObject&) = delete;

  void retain() const { m_count.fetch_add(1, std::memory_order_relaxed); }

  void release() const {
    if (m_immortal) return;
    // What other holders did with the object happens before its end.
    if (m_count.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }

  CFIndex count() const { return m_count.load(std::memory_order_relaxed); }
  CFType type() const { return m_type; }

  // For an object that nobody else has yet: no number of releases ends it.
  void makeImmortal() { m_immortal = true; }

  // One line without its end, for CFShow.
  virtual std::string description() const = 0;

  // `other` is another object of the same type.
  virtual bool equals(const CFObject& /*other*/) const { return false; }

 protected:
  explicit CFObject(CFType type) : m_type(type) {}
  virtual ~CFObject() = default;

 private:
  mutable std::atomic<CFIndex> m_count{1};
  const CFType m_type;
  bool m_immortal = false;
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
  bool equals(const CFObject& other) const override;

  const std::string bytes;  // in `encoding`; of a path, any bytes
  const CFStringEncoding encoding;
};

struct __CFURL final : platform::CFObject {
  __CFURL(std::string itsPath, std::string itsBase)
      : CFObject(platform::CFType::URL), path(std::move(itsPath)), base(std::move(itsBase)) {}
  std::string description() const override;
  bool equals(const CFObject& other) const override;
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

struct __CFNumber final : platform::CFObject {
  using Value = std::variant<SInt64, double>;
  explicit __CFNumber(Value itsValue) : CFObject(platform::CFType::Number), value(itsValue) {}
  std::string description() const override;
  bool equals(const CFObject& other) const override;

  const Value value;
};

struct __CFBoolean final : platform::CFObject {
  explicit __CFBoolean(bool itsValue) : CFObject(platform::CFType::Boolean), value(itsValue) {
    makeImmortal();
  }
  std::string description() const override;

  const bool value;
};

struct __CFArray final : platform::CFObject {
  explicit __CFArray(bool itsValuesAreCounted)
      : CFObject(platform::CFType::Array), countsValues(itsValuesAreCounted) {}
  ~__CFArray() override;
  std::string description() const override;
  bool equals(const CFObject& other) const override;
  void append(const void* value);

  const bool countsValues;
  std::vector<const void*> values;
};

struct __CFDictionary final : platform::CFObject {
  struct KeyValue {
    const void* key;
    const void* value;
  };
  __CFDictionary(bool itsKeysAreCounted, bool itsValuesAreCounted)
      : CFObject(platform::CFType::Dictionary),
        countsKeys(itsKeysAreCounted),
        countsValues(itsValuesAreCounted) {}
  ~__CFDictionary() override;
  std::string description() const override;
  bool equals(const CFObject& other) const override;
  // Null: there is no such key.
  const KeyValue* find(const void* key) const;
  // `key` is not there.
  void add(const void* key, const void* value);
  void remove(const void* key);

  const bool countsKeys;
  const bool countsValues;
  std::vector<KeyValue> entries;
};

struct __CFError final : platform::CFObject {
  // Takes over one count of each; `itsInfo` is not null.
  __CFError(CFStringRef itsDomain, CFIndex itsCode, CFDictionaryRef itsInfo)
      : CFObject(platform::CFType::Error), domain(itsDomain), code(itsCode), info(itsInfo) {}
  std::string description() const override;
  bool equals(const CFObject& other) const override;

  const platform::Owned<CFStringRef> domain;
  const CFIndex code;
  const platform::Owned<CFDictionaryRef> info;
};

// NOLINTEND(bugprone-reserved-identifier)
