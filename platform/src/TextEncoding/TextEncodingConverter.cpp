// SPDX-License-Identifier: Apache-2.0
//
// TextEncodingConverter: the platform's text conversion interface for Mac OS Roman to ISO 8859-15,
// on the table of base/text. A converter keeps no state between calls; the object exists because
// the interface requires one, which the caller owns.
//
// Threads: all functions are safe on any thread; a converter must not be used after its disposal.
#include <ApplicationServices/TextEncodingConverter.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>

#include "base/text/MacRomanToLatin9.h"

// NOLINTNEXTLINE(bugprone-reserved-identifier): the tag is part of the platform's interface.
struct OpaqueTECObjectRef {
  TextEncoding input;
  TextEncoding output;
};

namespace {

// Copies whole blocks of ASCII from the start of `input` and returns the number of bytes copied.
// Stops at a block with another byte, or when less than a block is left.
std::size_t copyPlainBlocks(const UInt8* input, UInt8* output, std::size_t length) {
  constexpr std::size_t kBlock = 32;
  constexpr std::uint64_t kHighBits = 0x8080808080808080U;
  std::size_t done = 0;
  while (length - done >= kBlock) {
    std::uint64_t words[kBlock / 8];
    std::memcpy(words, input + done, kBlock);
    if (((words[0] | words[1] | words[2] | words[3]) & kHighBits) != 0) break;
    std::memcpy(output + done, words, kBlock);
    done += kBlock;
  }
  return done;
}

struct Progress {
  ByteCount consumed = 0;
  ByteCount produced = 0;
};

// Converts up to the end of the input, or until the next replacement does not fit into the output.
Progress convert(ConstTextPtr input, ByteCount inputLength, TextPtr output,
                 ByteCount outputLength) {
  Progress at;
  while (at.consumed < inputLength) {
    const std::size_t fitting = std::min(inputLength - at.consumed, outputLength - at.produced);
    const std::size_t plain = copyPlainBlocks(input + at.consumed, output + at.produced, fitting);
    at.consumed += plain;
    at.produced += plain;

    // Convert a whole block with the table before trying blocks again: the next bytes are likely to
    // stop the block copy too.
    const ByteCount blockEnd = std::min<ByteCount>(inputLength, at.consumed + 32);
    while (at.consumed < blockEnd) {
      const base::Replacement& replacement = base::kMacRomanToLatin9[input[at.consumed]];
      if (replacement.length > outputLength - at.produced) return at;
      if (replacement.length == 1) {
        output[at.produced] = static_cast<UInt8>(replacement.bytes[0]);
      } else {
        std::memcpy(output + at.produced, replacement.bytes.data(), replacement.length);
      }
      at.produced += replacement.length;
      ++at.consumed;
    }
  }
  return at;
}

}  // namespace

OSStatus UpgradeScriptInfoToTextEncoding(ScriptCode script, LangCode language, RegionCode region,
                                         ConstStr255Param /*fontName*/, TextEncoding* encoding) {
  if (encoding == nullptr) return paramErr;
  const bool anything = script == kTextScriptDontCare && language == kTextLanguageDontCare &&
                        region == kTextRegionDontCare;
  if (!anything && script != smRoman) return kTextUnsupportedEncodingErr;
  *encoding = kTextEncodingMacRoman;
  return noErr;
}

TextEncoding CreateTextEncoding(TextEncodingBase base, TextEncodingVariant variant,
                                TextEncodingFormat format) {
  return ((format & 0xFU) << 26U) | ((variant & 0x3FFU) << 16U) | (base & 0xFFFFU);
}

OSStatus TECCreateConverter(TECObjectRef* object, TextEncoding input, TextEncoding output) {
  if (object == nullptr) return paramErr;
  *object = nullptr;
  if (input != kTextEncodingMacRoman || output != kTextEncodingISOLatin9) {
    return kTECNoConversionPathErr;
  }
  *object = new (std::nothrow) OpaqueTECObjectRef{input, output};
  return *object == nullptr ? OSStatus{memFullErr} : OSStatus{noErr};
}

OSStatus TECConvertText(TECObjectRef object, ConstTextPtr input, ByteCount inputLength,
                        ByteCount* actualInput, TextPtr output, ByteCount outputLength,
                        ByteCount* actualOutput) {
  if (object == nullptr) return kTECCorruptConverterErr;
  if (actualInput == nullptr || actualOutput == nullptr) return paramErr;
  *actualInput = 0;
  *actualOutput = 0;
  if ((input == nullptr && inputLength != 0) || (output == nullptr && outputLength != 0)) {
    return paramErr;
  }
  const Progress reached = convert(input, inputLength, output, outputLength);
  *actualInput = reached.consumed;
  *actualOutput = reached.produced;
  return reached.consumed < inputLength ? OSStatus{kTECOutputBufferFullStatus} : OSStatus{noErr};
}

OSStatus TECFlushText(TECObjectRef object, TextPtr /*output*/, ByteCount /*outputLength*/,
                      ByteCount* actualOutput) {
  if (object == nullptr) return kTECCorruptConverterErr;
  if (actualOutput == nullptr) return paramErr;
  *actualOutput = 0;
  return noErr;
}

OSStatus TECDisposeConverter(TECObjectRef object) {
  if (object == nullptr) return kTECCorruptConverterErr;
  delete object;
  return noErr;
}
