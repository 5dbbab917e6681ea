// SPDX-License-Identifier: Apache-2.0
//
// CFObject: the common base of all Core Foundation objects, and their concrete types.
//
// Ownership: an object starts with a reference count of 1 and deletes itself when the count reaches
// 0. The pointers that clients hold point to the CFObject part, which is the first part of every
// type. Threads: counting is atomic; objects are immutable, except that arrays and dictionaries may
// change while one thread uses them. The class names are the tags of the public typedefs.
#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFString.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace platform {

// The values that CFGetTypeID returns.
enum class CFType : CFTypeID {
  String = 1,
  URL,
  Bundle,
  Number,
  Boolean,
  Array,
  Dictionary,
  Error,
  Allocator
};

// How deep CFShow shows the values of arrays and dictionaries: a mutable one may contain itself.
inline constexpr unsigned kShownLevels = 8;

class CFObject {
 public:
  CFObject(const CFObject&) = delete;
  CFObject& operator=(const CFObject&) = delete;

  void retain() const { m_count.fetch_add(1, std::memory_order_relaxed); }

  void release() const {
    if (m_immortal) return;
    // acq_rel: what other owners did with the object happens before its destruction.
    if (m_count.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }

  CFIndex count() const { return m_count.load(std::memory_order_relaxed); }
  CFType type() const { return m_type; }

  // Keeps the object until the process exits, whatever its count. Call it before anyone else has
  // the object.
  void makeImmortal() { m_immortal = true; }

  // One line of text without a line feed, for CFShow.
  virtual std::string description() const = 0;

  // The same for an object that contains others: those of `levels` levels are shown with their
  // values, deeper ones as "..." in their brackets.
  virtual std::string describe(unsigned /*levels*/) const { return description(); }

  // Compares values. `other` is a different object of the same type.
  virtual bool equals(const CFObject& /*other*/) const { return false; }

 protected:
  explicit CFObject(CFType type) : m_type(type) {}
  virtual ~CFObject() = default;

 private:
  mutable std::atomic<CFIndex> m_count{1};
  const CFType m_type;
  bool m_immortal = false;
};

// One line about a value of an array or a dictionary: of the object, or the address of a value that
// is a plain pointer.
std::string describeValue(const void* value, bool isObject, unsigned levels);

// RAII reference: adopts what a Create or Copy function returned and releases it at the end of the
// scope. May be null.
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

struct __CFAllocator final : platform::CFObject {
  __CFAllocator() : CFObject(platform::CFType::Allocator) { makeImmortal(); }
  std::string description() const override { return "CFAllocator"; }
};

struct __CFString final : platform::CFObject {
  __CFString(std::string text, CFStringEncoding itsEncoding)
      : CFObject(platform::CFType::String), bytes(std::move(text)), encoding(itsEncoding) {}
  ~__CFString() override { std::free(adopted); }
  std::string description() const override;
  bool equals(const CFObject& other) const override;

  const std::string bytes;  // in `encoding`; for a path any bytes
  const CFStringEncoding encoding;
  char* adopted = nullptr;  // the caller's text if it belongs to the string; from malloc
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
  // Adopts one reference to `itsUrl`.
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
  std::string description() const override { return describe(platform::kShownLevels); }
  std::string describe(unsigned levels) const override;
  bool equals(const CFObject& other) const override;
  // Throws std::bad_alloc; the array is unchanged then.
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
  std::string description() const override { return describe(platform::kShownLevels); }
  std::string describe(unsigned levels) const override;
  bool equals(const CFObject& other) const override;
  // Null if there is no such key. Linear search.
  const KeyValue* find(const void* key) const;
  // `key` must not exist. Throws std::bad_alloc; the dictionary is unchanged then.
  void add(const void* key, const void* value);
  // No effect if there is no such key.
  void remove(const void* key);

  const bool countsKeys;
  const bool countsValues;
  std::vector<KeyValue> entries;
};

struct __CFError final : platform::CFObject {
  // Adopts one reference to each; `itsInfo` is not null.
  __CFError(CFStringRef itsDomain, CFIndex itsCode, CFDictionaryRef itsInfo)
      : CFObject(platform::CFType::Error), domain(itsDomain), code(itsCode), info(itsInfo) {}
  std::string description() const override;
  bool equals(const CFObject& other) const override;

  const platform::Owned<CFStringRef> domain;
  const CFIndex code;
  const platform::Owned<CFDictionaryRef> info;
};

// NOLINTEND(bugprone-reserved-identifier)
