// SPDX-License-Identifier: Apache-2.0
//
// BrokenSynthesizer: a synthesizer plug-in that keeps no rule. Its voices have the creator GARB.
//
// It returns numbers that are no results, fills records with one byte, and calls the callbacks with
// values out of every range, for its channel and for others, and after the end of the job. Built
// with THROWS, its entry points throw instead, the one that opens a channel first of all.
#include <ApplicationServices/SpeechSynthesis.h>
#include <CoreFoundation/CoreFoundation.h>

#include <cstring>
#include <map>
#include <stdexcept>
#include <thread>

namespace {

constexpr OSType kGarbage = 0x47415242;
// Its lower 16 bits are noErr.
constexpr long kNoResult = 0x10000;
constexpr long kOtherNoResult = -0x7FFF0000L;
// What records are filled with.
constexpr int kByte = 0xA5;

std::map<OSType, const void*> g_values;
// In turn, every second text is accepted.
bool g_accepts = false;

[[maybe_unused]] long broken(long result) {
#ifdef THROWS
  // No exception of the standard library, so that nobody knows what it says.
  if (result != noErr) throw static_cast<int>(result);
  throw std::runtime_error("broken on purpose");
#else
  return result;
#endif
}

template <typename Function>
Function callback(OSType selector) {
  return reinterpret_cast<Function>(const_cast<void*>(g_values[selector]));
}

// Calls every callback with values that mean nothing, and ends the job more than once.
void report(void* refCon) {
  const auto other = reinterpret_cast<SpeechChannel>(std::uintptr_t{0x1234});
  const auto word = callback<SpeechWordProcPtr>(soWordCallBack);
  const auto done = callback<SpeechDoneProcPtr>(soSpeechDoneCallBack);
  word(other, refCon, ~0UL, 0xFFFF);
  word(other, refCon, 0, 0xFFFF);
  word(other, nullptr, 0, 1);
  callback<SpeechPhonemeProcPtr>(soPhonemeCallBack)(other, refCon, -32768);
  callback<SpeechSyncProcPtr>(soSyncCallBack)(other, refCon, 0xFFFFFFFF);
  callback<SpeechErrorProcPtr>(soErrorCallBack)(other, refCon, 32767, ~0L);
  done(other, nullptr);
  done(other, other);
  for (int times = 0; times < 3; ++times) done(other, refCon);
  word(other, refCon, 1, 1);
}

}  // namespace

#define ENTRY_POINT extern "C" __attribute__((visibility("default"))) long

ENTRY_POINT SEOpenSpeechChannel(SpeechChannelIdentifier* channel) {
#ifdef THROWS
  static_cast<void>(channel);
  return broken(noErr);
#else
  // The same for every channel.
  *channel = -1;
  return noErr;
#endif
}
ENTRY_POINT SECloseSpeechChannel(SpeechChannelIdentifier /*channel*/) {
  return broken(kOtherNoResult);
}
ENTRY_POINT SESpeechStatus(SpeechChannelIdentifier /*channel*/, SpeechStatusInfo* status) {
  std::memset(status, kByte, sizeof *status);
  return broken(noErr);
}
ENTRY_POINT SEStopSpeechAt(SpeechChannelIdentifier /*channel*/, unsigned long /*where*/) {
  return broken(kOtherNoResult);
}
ENTRY_POINT SEPauseSpeechAt(SpeechChannelIdentifier /*channel*/, unsigned long /*where*/) {
  return broken(kNoResult);
}
ENTRY_POINT SEContinueSpeech(SpeechChannelIdentifier /*channel*/) {
  return broken(kOtherNoResult);
}
ENTRY_POINT SETextToPhonemes(SpeechChannelIdentifier /*channel*/, char* /*text*/, long /*bytes*/,
                             void** /*phonemes*/, long* /*length*/) {
  return broken(kNoResult);
}
ENTRY_POINT SEUseDictionary(SpeechChannelIdentifier /*channel*/, void* /*dictionary*/,
                            long /*length*/) {
  return broken(kNoResult);
}
ENTRY_POINT SESpeakBuffer(SpeechChannelIdentifier /*channel*/, Ptr /*text*/, long /*bytes*/,
                          long /*flags*/) {
  g_accepts = !g_accepts;
  if (g_accepts) return broken(kNoResult);
  std::thread(report, const_cast<void*>(g_values[soRefCon])).join();
  return noErr;
}
ENTRY_POINT SEGetSpeechInfo(SpeechChannelIdentifier /*channel*/, unsigned long selector,
                            void* info) {
  if (selector == soSynthType) {
    std::memset(info, kByte, sizeof(SpeechVersionInfo));
    static_cast<SpeechVersionInfo*>(info)->synthSubType = kGarbage;
    return broken(noErr);
  }
  std::memset(info, kByte, sizeof(OSType));
  return broken(noErr);
}
ENTRY_POINT SESetSpeechInfo(SpeechChannelIdentifier /*channel*/, unsigned long selector,
                            void* info) {
  g_values[static_cast<OSType>(selector)] = info;
  return broken(noErr);
}
ENTRY_POINT SEUseVoice(SpeechChannelIdentifier /*channel*/, VoiceSpec* /*voice*/,
                       CFBundleRef /*bundle*/) {
  return broken(noErr);
}
