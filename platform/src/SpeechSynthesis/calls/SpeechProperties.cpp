// SPDX-License-Identifier: Apache-2.0
//
// SpeechProperties: the functions that use Core Foundation objects. A property corresponds to a
// selector of the other functions; this file converts its value to and from an object.
#include <ApplicationServices/SpeechProperties.h>

#include <array>
#include <cstdint>
#include <limits>
#include <new>
#include <optional>
#include <string>

#include "CoreFoundation/CFObject.h"
#include "SpeechSynthesis/calls/OnChannel.h"
#include "SpeechSynthesis/calls/PhonemeSymbols.h"

using platform::CallerText;
using platform::Channel;
using platform::Charset;
using platform::kPhonemeSymbols;
using platform::onChannel;
using platform::Owned;

namespace {

// The type of a property's value, which decides how it is converted.
enum class Kind {
  Status,
  Errors,
  Mode,
  Number,
  Synthesizer,
  Sync,
  Symbols,
  Voice,
  Delimiters,
  Reset,
  File,
  Pointer,
  ErrorCallback,
  WordCallback,
  Strict,
  OneVoice,
  Encoding
};

struct Property {
  CFStringRef key;
  OSType selector;  // 0 if none corresponds
  Kind kind;
};

// Null if the property is unknown. The table is local: the keys are constants of another file,
// which are set at an undefined time before main().
const Property* propertyOf(CFStringRef key) {
  static const std::array<Property, 26> table = {
      {{kSpeechStatusProperty, soStatus, Kind::Status},
       {kSpeechErrorsProperty, soErrors, Kind::Errors},
       {kSpeechInputModeProperty, soInputMode, Kind::Mode},
       {kSpeechCharacterModeProperty, soCharacterMode, Kind::Mode},
       {kSpeechNumberModeProperty, soNumberMode, Kind::Mode},
       {kSpeechRateProperty, soRate, Kind::Number},
       {kSpeechPitchBaseProperty, soPitchBase, Kind::Number},
       {kSpeechPitchModProperty, soPitchMod, Kind::Number},
       {kSpeechVolumeProperty, soVolume, Kind::Number},
       {kSpeechSynthesizerInfoProperty, soSynthType, Kind::Synthesizer},
       {kSpeechRecentSyncProperty, soRecentSync, Kind::Sync},
       {kSpeechPhonemeSymbolsProperty, 0, Kind::Symbols},
       {kSpeechCurrentVoiceProperty, soCurrentVoice, Kind::Voice},
       {kSpeechCommandDelimiterProperty, soCommandDelimiter, Kind::Delimiters},
       {kSpeechResetProperty, soReset, Kind::Reset},
       {kSpeechOutputToFileURLProperty, soOutputToFileWithCFURL, Kind::File},
       {kSpeechRefConProperty, soRefCon, Kind::Pointer},
       {kSpeechTextDoneCallBack, soTextDoneCallBack, Kind::Pointer},
       {kSpeechSpeechDoneCallBack, soSpeechDoneCallBack, Kind::Pointer},
       {kSpeechSyncCallBack, soSyncCallBack, Kind::Pointer},
       {kSpeechPhonemeCallBack, soPhonemeCallBack, Kind::Pointer},
       {kSpeechErrorCFCallBack, 0, Kind::ErrorCallback},
       {kSpeechWordCFCallBack, 0, Kind::WordCallback},
       {kSpeechStrictTextProperty, 0, Kind::Strict},
       {kSpeechOneVoiceProperty, 0, Kind::OneVoice},
       {kSpeechTextEncodingProperty, 0, Kind::Encoding}}};
  for (const Property& property : table) {
    if (CFEqual(property.key, key) != 0) return &property;
  }
  return nullptr;
}

struct Mode {
  CFStringRef name;
  OSType code;
};

// A local table, for the same reason as in propertyOf().
const std::array<Mode, 5>& modes() {
  static const std::array<Mode, 5> table = {{{kSpeechModeText, modeText},
                                             {kSpeechModePhoneme, modePhonemes},
                                             {kSpeechModeTune, modeTune},
                                             {kSpeechModeNormal, modeNormal},
                                             {kSpeechModeLiteral, modeLiteral}}};
  return table;
}

// ---- Objects

// Adopts the result of a Create function; throws std::bad_alloc if it is null.
template <typename Ref>
Owned<Ref> ownOrThrow(Ref object) {
  if (object == nullptr) throw std::bad_alloc();
  return Owned<Ref>(object);
}

Owned<CFNumberRef> createNumber(long value) {
  return ownOrThrow(CFNumberCreate(kCFAllocatorDefault, kCFNumberLongType, &value));
}

// Any bytes are valid Mac OS Roman, so only lack of memory makes this fail.
Owned<CFStringRef> createString(std::string_view text) {
  return ownOrThrow(
      CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                              static_cast<CFIndex>(text.size()), kCFStringEncodingMacRoman, false));
}

// Builds a dictionary. Throws std::bad_alloc.
class Dictionary {
 public:
  Dictionary()
      : m_dictionary(ownOrThrow(CFDictionaryCreateMutable(kCFAllocatorDefault, 0,
                                                          &kCFTypeDictionaryKeyCallBacks,
                                                          &kCFTypeDictionaryValueCallBacks))) {}
  Dictionary& add(CFStringRef key, long value) {
    CFDictionarySetValue(m_dictionary.get(), key, createNumber(value).get());
    return *this;
  }
  Dictionary& add(CFStringRef key, std::string_view text) {
    CFDictionarySetValue(m_dictionary.get(), key, createString(text).get());
    return *this;
  }
  // The caller releases it.
  CFTypeRef copy() const { return CFRetain(m_dictionary.get()); }

 private:
  Owned<CFMutableDictionaryRef> m_dictionary;
};

std::string fourCharacters(OSType code) {
  std::string text;
  for (const unsigned shift : {24U, 16U, 8U, 0U}) {
    text += static_cast<char>((code >> shift) & 0xFFU);
  }
  return text;
}

// The minor and the bug fix number are four bits each.
std::string versionText(const NumVersion& version) {
  return std::to_string(version.majorRev) + '.' + std::to_string(version.minorAndBugRev >> 4U) +
         '.' + std::to_string(version.minorAndBugRev & 0xFU);
}

// One dictionary per phoneme; the index is the code.
CFTypeRef copySymbols() {
  const Owned array =
      ownOrThrow(CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
  long opcode = 0;
  for (const platform::PhonemeSymbol& row : kPhonemeSymbols) {
    Dictionary info;
    info.add(kSpeechPhonemeInfoOpcode, opcode++)
        .add(kSpeechPhonemeInfoSymbol, row.symbol)
        .add(kSpeechPhonemeInfoExample, row.example)
        .add(kSpeechPhonemeInfoHiliteStart, row.hiliteStart)
        .add(kSpeechPhonemeInfoHiliteEnd, row.hiliteEnd);
    const Owned<CFTypeRef> entry(info.copy());
    CFArrayAppendValue(array.get(), entry.get());
  }
  return CFRetain(array.get());
}

// ---- Reading

// Reads the value of a selector and stores it in `*object`, converted by `convert`. Returns the
// result of reading; `*object` is unchanged if it is not noErr.
template <typename Value, typename Convert>
OSErr copyValue(Channel& channel, OSType selector, CFTypeRef* object, Convert convert) {
  Value value{};
  const OSErr result = channel.getInfo(selector, &value);
  if (result == noErr) *object = convert(value);
  return result;
}

CFTypeRef copyStatus(const SpeechStatusInfo& status) {
  return Dictionary()
      .add(kSpeechStatusOutputBusy, status.outputBusy)
      .add(kSpeechStatusOutputPaused, status.outputPaused)
      .add(kSpeechStatusNumberOfCharactersLeft, status.inputBytesLeft)
      .add(kSpeechStatusPhonemeCode, status.phonemeCode)
      .copy();
}

CFTypeRef copyErrors(const SpeechErrorInfo& errors) {
  return Dictionary()
      .add(kSpeechErrorCount, errors.count)
      .add(kSpeechErrorOldest, errors.oldest)
      .add(kSpeechErrorOldestCharacterOffset, errors.oldPos)
      .add(kSpeechErrorNewest, errors.newest)
      .add(kSpeechErrorNewestCharacterOffset, errors.newPos)
      .copy();
}

CFTypeRef copyMode(OSType code) {
  for (const Mode& mode : modes()) {
    if (mode.code == code) return CFRetain(mode.name);
  }
  // A mode without a constant becomes a string of its four characters.
  return CFRetain(createString(fourCharacters(code)).get());
}

OSErr copyNumber(Channel& channel, OSType selector, CFTypeRef* object) {
  double value = 0;
  const OSErr result = channel.getNumber(selector, value);
  if (result != noErr) return result;
  *object =
      CFRetain(ownOrThrow(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &value)).get());
  return noErr;
}

CFTypeRef copySynthesizer(const SpeechVersionInfo& info) {
  return Dictionary()
      .add(kSpeechSynthesizerInfoIdentifier, fourCharacters(info.synthSubType))
      .add(kSpeechSynthesizerInfoManufacturer, fourCharacters(info.synthManufacturer))
      .add(kSpeechSynthesizerInfoVersion, versionText(info.synthVersion))
      .copy();
}

CFTypeRef copyVoice(const VoiceSpec& spec) {
  return Dictionary()
      .add(kSpeechVoiceCreator, static_cast<long>(spec.creator))
      .add(kSpeechVoiceID, static_cast<long>(spec.id))
      .copy();
}

CFTypeRef copySync(OSType message) {
  return CFRetain(createNumber(static_cast<long>(message)).get());
}

// A property that cannot be read is treated as unknown.
OSErr copyProperty(Channel& channel, const Property& property, CFTypeRef* object) {
  const OSType selector = property.selector;
  switch (property.kind) {
    case Kind::Status:
      return copyValue<SpeechStatusInfo>(channel, selector, object, copyStatus);
    case Kind::Errors:
      return copyValue<SpeechErrorInfo>(channel, selector, object, copyErrors);
    case Kind::Mode:
      return copyValue<OSType>(channel, selector, object, copyMode);
    case Kind::Number:
      return copyNumber(channel, selector, object);
    case Kind::Synthesizer:
      return copyValue<SpeechVersionInfo>(channel, selector, object, copySynthesizer);
    case Kind::Sync:
      return copyValue<OSType>(channel, selector, object, copySync);
    case Kind::Voice:
      return copyValue<VoiceSpec>(channel, selector, object, copyVoice);
    case Kind::Symbols:
      *object = copySymbols();
      return noErr;
    case Kind::Strict:
      *object = CFRetain(channel.isStrict() ? kCFBooleanTrue : kCFBooleanFalse);
      return noErr;
    case Kind::OneVoice:
      *object = CFRetain(channel.hasOneVoice() ? kCFBooleanTrue : kCFBooleanFalse);
      return noErr;
    case Kind::Encoding:
      *object = CFRetain(channel.charset() == Charset::Utf8 ? kSpeechTextEncodingUTF8
                                                            : kSpeechTextEncodingMacRoman);
      return noErr;
    default:
      return siUnknownInfoType;
  }
}

// ---- Writing

bool isOfType(CFTypeRef object, CFTypeID type) {
  return object != nullptr && CFGetTypeID(object) == type;
}

// Empty if the object is not a number or does not fit.
std::optional<long> longOf(CFTypeRef object) {
  long value = 0;
  if (!isOfType(object, CFNumberGetTypeID()) ||
      CFNumberGetValue(static_cast<CFNumberRef>(object), kCFNumberLongType, &value) == 0) {
    return std::nullopt;
  }
  return value;
}

// A boolean, or a number: true unless it is 0. Empty for other objects.
std::optional<bool> switchOf(CFTypeRef object) {
  if (isOfType(object, CFBooleanGetTypeID())) {
    return CFBooleanGetValue(static_cast<CFBooleanRef>(object)) != 0;
  }
  const auto number = longOf(object);
  if (!number) return std::nullopt;
  return *number != 0;
}

OSErr setNumber(Channel& channel, OSType selector, CFTypeRef object) {
  if (!isOfType(object, CFNumberGetTypeID())) return paramErr;
  double value = 0;
  CFNumberGetValue(static_cast<CFNumberRef>(object), kCFNumberDoubleType, &value);
  return channel.setNumber(selector, value);
}

// Empty if the object is not the name of an encoding.
std::optional<Charset> charsetOf(CFTypeRef object) {
  if (object == nullptr) return std::nullopt;
  if (CFEqual(object, kSpeechTextEncodingUTF8) != 0) return Charset::Utf8;
  if (CFEqual(object, kSpeechTextEncodingMacRoman) != 0) return Charset::MacRoman;
  return std::nullopt;
}

// Empty if the object is not a mode of that selector: input has modes of its own.
std::optional<OSType> modeOf(CFTypeRef object, OSType selector) {
  for (const Mode& mode : modes()) {
    if (CFEqual(mode.name, object) == 0) continue;
    const bool isForInput = mode.code != modeNormal && mode.code != modeLiteral;
    if (isForInput == (selector == soInputMode)) return mode.code;
  }
  return std::nullopt;
}

// Empty unless the object is a dictionary with both numbers.
std::optional<VoiceSpec> voiceOf(CFTypeRef object) {
  if (!isOfType(object, CFDictionaryGetTypeID())) return std::nullopt;
  const auto dictionary = static_cast<CFDictionaryRef>(object);
  const auto creator = longOf(CFDictionaryGetValue(dictionary, kSpeechVoiceCreator));
  const auto id = longOf(CFDictionaryGetValue(dictionary, kSpeechVoiceID));
  if (!creator || !id) return std::nullopt;
  return VoiceSpec{static_cast<OSType>(*creator), static_cast<OSType>(*id)};
}

// Reads one or two ASCII characters; the second byte of a single character is 0. Returns false for
// anything else.
bool readDelimiter(CFTypeRef object, UInt8 (&delimiter)[2]) {
  std::array<char, 3> text{};
  if (!isOfType(object, CFStringGetTypeID()) ||
      CFStringGetCString(static_cast<CFStringRef>(object), text.data(), text.size(),
                         kCFStringEncodingASCII) == 0 ||
      text[0] == '\0') {
    return false;
  }
  delimiter[0] = static_cast<UInt8>(text[0]);
  delimiter[1] = static_cast<UInt8>(text[1]);
  return true;
}

// Empty unless the object is a dictionary with two valid delimiters: a single one is never changed.
std::optional<DelimiterInfo> delimitersOf(CFTypeRef object) {
  if (!isOfType(object, CFDictionaryGetTypeID())) return std::nullopt;
  const auto dictionary = static_cast<CFDictionaryRef>(object);
  DelimiterInfo info{};
  if (!readDelimiter(CFDictionaryGetValue(dictionary, kSpeechCommandPrefix), info.startDelimiter) ||
      !readDelimiter(CFDictionaryGetValue(dictionary, kSpeechCommandSuffix), info.endDelimiter)) {
    return std::nullopt;
  }
  return info;
}

// The pointer that a number holds; null for null. Empty if the object is not a number.
std::optional<const void*> pointerOf(CFTypeRef object) {
  if (object == nullptr) return nullptr;
  const auto value = longOf(object);
  if (!value) return std::nullopt;
  // NOLINTNEXTLINE(performance-no-int-to-ptr): this is how the platform carries pointers
  return reinterpret_cast<const void*>(static_cast<std::intptr_t>(*value));
}

// An empty value is one that could not be converted.
template <typename Value>
OSErr setValue(Channel& channel, OSType selector, const std::optional<Value>& value) {
  return value ? channel.setInfo(selector, &*value) : OSErr{paramErr};
}

template <typename Function>
Function asFunction(const void* pointer) {
  return reinterpret_cast<Function>(const_cast<void*>(pointer));
}

// The callbacks with Core Foundation arguments have no selector; the channel has functions for
// them.
OSErr setPointer(Channel& channel, const Property& property, CFTypeRef object) {
  const auto pointer = pointerOf(object);
  if (!pointer) return paramErr;
  if (property.kind == Kind::ErrorCallback) {
    channel.setErrorCallback(asFunction<SpeechErrorCFProcPtr>(*pointer));
  } else if (property.kind == Kind::WordCallback) {
    channel.setWordCallback(asFunction<SpeechWordCFProcPtr>(*pointer));
  } else {
    return channel.setInfo(property.selector, *pointer);
  }
  return noErr;
}

// A property that cannot be written is treated as unknown.
OSErr setProperty(Channel& channel, const Property& property, CFTypeRef object) {
  const OSType selector = property.selector;
  switch (property.kind) {
    case Kind::Mode:
      return setValue(channel, selector, modeOf(object, selector));
    case Kind::Number:
      return setNumber(channel, selector, object);
    case Kind::Voice:
      return setValue(channel, selector, voiceOf(object));
    case Kind::Delimiters:
      return setValue(channel, selector, delimitersOf(object));
    case Kind::Reset:
      return channel.setInfo(soReset, nullptr);
    case Kind::File:
      if (object != nullptr && !isOfType(object, CFURLGetTypeID())) return paramErr;
      return channel.setInfo(selector, object);
    case Kind::Pointer:
    case Kind::ErrorCallback:
    case Kind::WordCallback:
      return setPointer(channel, property, object);
    case Kind::Strict: {
      const auto isStrict = switchOf(object);
      if (!isStrict) return paramErr;
      channel.setStrict(*isStrict);
      return noErr;
    }
    case Kind::OneVoice: {
      const auto hasOneVoice = switchOf(object);
      return hasOneVoice ? channel.setOneVoice(*hasOneVoice) : OSErr{paramErr};
    }
    case Kind::Encoding: {
      const auto charset = charsetOf(object);
      if (!charset) return paramErr;
      channel.setCharset(*charset);
      return noErr;
    }
    default:
      return siUnknownInfoType;
  }
}

// True if the option exists and is a true boolean or a number other than 0.
bool isSet(CFDictionaryRef options, CFStringRef key) {
  return switchOf(CFDictionaryGetValue(options, key)).value_or(false);
}

SInt32 flagsOf(CFDictionaryRef options) {
  // Clients in C may pass any object here.
  if (!isOfType(options, CFDictionaryGetTypeID())) return 0;
  return (isSet(options, kSpeechNoEndingProsody) ? kNoEndingProsody : 0) |
         (isSet(options, kSpeechNoSpeechInterrupt) ? kNoSpeechInterrupt : 0) |
         (isSet(options, kSpeechPreflightThenPause) ? kPreflightThenPause : 0);
}

}  // namespace

OSErr SpeakCFString(SpeechChannel chan, CFStringRef aString, CFDictionaryRef options) {
  return onChannel(chan, [&](Channel& channel) -> OSErr {
    if (aString == nullptr) return channel.stop(kImmediate);
    CallerText text(aString);
    // The text for the synthesizer, so that every position in it fits in 32 bits.
    if (text.bytes().size() > static_cast<std::size_t>(std::numeric_limits<SInt32>::max())) {
      return paramErr;
    }
    // Also for a string of characters without width only.
    if (text.hasNoWidth()) return channel.stop(kImmediate);
    return channel.speak(std::move(text), flagsOf(options));
  });
}

OSErr CopySpeechProperty(SpeechChannel chan, CFStringRef property, CFTypeRef* object) {
  if (object != nullptr) *object = nullptr;
  return onChannel(chan, [&](Channel& channel) -> OSErr {
    if (property == nullptr || object == nullptr) return paramErr;
    const Property* const found = propertyOf(property);
    return found == nullptr ? OSErr{siUnknownInfoType} : copyProperty(channel, *found, object);
  });
}

OSErr SetSpeechProperty(SpeechChannel chan, CFStringRef property, CFTypeRef object) {
  return onChannel(chan, [&](Channel& channel) -> OSErr {
    if (property == nullptr) return paramErr;
    const Property* const found = propertyOf(property);
    return found == nullptr ? OSErr{siUnknownInfoType} : setProperty(channel, *found, object);
  });
}
