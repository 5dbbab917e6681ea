// SPDX-License-Identifier: Apache-2.0
//
// The twelve entry points of the plug-in, which the Speech Synthesis Manager calls.
//
// Threads: every entry point may be called on any thread, also from inside every callback. Each
// holds the lock of its channel while it works, except SEOpenSpeechChannel, SECloseSpeechChannel,
// SETextToPhonemes and SEUseDictionary. A stop and a speak may hold the lock while they wait for
// the engine.
//
// Results: noErr (0) for success; noSynthFound (-240) if no open channel has the identifier; other
// results are listed at each entry point.
//
// Exceptions: none leaves an entry point, except that std::bad_alloc and std::out_of_range of the
// text conversion leave SESpeakBuffer. The channel is idle then.
#pragma once

#include <ApplicationServices/ApplicationServices.h>

#include <cmath>

#include "SpeechChannel.h"

#if defined(__GNUC__)
#define KAVREL_ENTRY_POINT extern "C" __attribute__((visibility("default")))
#else
#define KAVREL_ENTRY_POINT extern "C"
#endif

// Returns the note number (60 is middle C) of a frequency in Hz, truncated to a whole number.
// Rationale: midiToHz uses the same literals for the opposite direction; shorter or longer ones
// would change the two constants below.
inline int assumedPitchNote(double hertz) {
  return static_cast<int>(60.0 + (std::log(hertz) - std::log(261.625)) / std::log(1.05946309435));
}

// The pitch that is assumed for a voice, as note numbers; computed when the plug-in is loaded.
static const int kAssumedMalePitch = assumedPitchNote(100.0);    // 43
static const int kAssumedFemalePitch = assumedPitchNote(180.0);  // 53

// Private selector of SESetSpeechInfo. The value is the pointer itself, as for the reference
// constant. Non-null: the word callback reports each word's true position and length in the
// caller's buffer (PositionMap). Null, the default: it reports the results of the offset arithmetic
// (OffsetMap). Takes effect with the next SESpeakBuffer. Cannot be read.
inline constexpr unsigned long kCallerPositions = 0x63706F73;  // "cpos"

// Private selector of SESetSpeechInfo: stops the job at a boundary, as SEStopSpeechAt does, but
// without waiting for it: the channel stays busy until speech-done. Meanwhile every entry point
// returns at once, and an immediate stop takes effect immediately. The value is the boundary
// itself, in place of the pointer. -1: the engine refused. SEGetSpeechInfo stores 1 as a 32-bit
// number, so that a host can find out whether a synthesizer has the selector.
inline constexpr unsigned long kStopAtBoundary = 0x73746264;  // "stbd"

// Private selector of SESetSpeechInfo. The value is the pointer itself. Non-null: the error
// callback reports a job that the engine gives up, such as one whose file cannot be written, with
// kEngineError and the position reached; speech-done follows. Null, the default: the error callback
// is not called. Takes effect with the next port, so it should be set before the first job. Cannot
// be read.
inline constexpr unsigned long kEngineErrors = 0x65657272;  // "eerr"

// Private selector of SESetSpeechInfo. The value is the pointer itself. Non-null: the texts of the
// channel are UTF-8, those of the text-done callback included. Null, the default: they are Mac OS
// Roman. Takes effect with the next SESpeakBuffer. SEGetSpeechInfo stores 1 as a 32-bit number, so
// that a host can find out whether a synthesizer has the selector.
inline constexpr unsigned long kUtf8Text = 0x75746638;  // "utf8"

// Private selector of SESetSpeechInfo. The value is the pointer itself. Non-null: the voice of the
// channel speaks the whole text. Null, the default: the engine may speak words in a script that the
// voice's language does not write with another voice. Takes effect with the next SESpeakBuffer.
// SEGetSpeechInfo stores 1 as a 32-bit number, as for kUtf8Text.
inline constexpr unsigned long kOneVoice = 0x31766365;  // "1vce"

// The result that the error callback gets: ioErr of the platform.
inline constexpr OSErr kEngineError = -36;

// Opens a channel and stores its identifier in `*ssr`: 1, 2, 3 ..., never reused.
// paramErr: `ssr` is null; no identifier is used. synthOpenFailed: out of memory; no channel is
// open, but the identifier is used and stored.
KAVREL_ENTRY_POINT long SEOpenSpeechChannel(SpeechChannelIdentifier* ssr);

// Stops speech and closes the channel. May be called from inside a callback of the channel; the
// record is freed when the last thread has stopped using it.
KAVREL_ENTRY_POINT long SECloseSpeechChannel(SpeechChannelIdentifier ssr);

// Fills `*status`. paramErr: `status` is null.
// Rationale: a paused channel reads as not busy, with no bytes left and phoneme 0.
KAVREL_ENTRY_POINT long SESpeechStatus(SpeechChannelIdentifier ssr, SpeechStatusInfo* status);

// Stops at the boundary (kImmediate, kEndOfWord, kEndOfSentence) and returns when the job is
// finished. -1: the engine refused.
KAVREL_ENTRY_POINT long SEStopSpeechAt(SpeechChannelIdentifier ssr, unsigned long whereToStop);

// Pauses at the boundary. -1: the engine refused; the channel counts as paused all the same.
KAVREL_ENTRY_POINT long SEPauseSpeechAt(SpeechChannelIdentifier ssr, unsigned long whereToPause);

// Continues after a pause. -1: the engine refused; the channel counts as busy all the same.
KAVREL_ENTRY_POINT long SEContinueSpeech(SpeechChannelIdentifier ssr);

// Not offered: returns noErr and writes nothing.
KAVREL_ENTRY_POINT long SETextToPhonemes(SpeechChannelIdentifier ssr, char* textBuf, long textBytes,
                                         void** phonemeBuf, long* phonBytes);

// Accepted and ignored.
KAVREL_ENTRY_POINT long SEUseDictionary(SpeechChannelIdentifier ssr, void* dictionary,
                                        long dictLength);

// Speaks `byteLen` bytes of `textBuf` (Mac OS Roman, with embedded commands), and the text that the
// text-done callback adds, in the background. The text is copied. A null buffer or a negative
// length counts as an empty text. `controlFlags` are passed to the text-done callback and ignored
// otherwise. synthNotReady: the channel is speaking or paused, or the engine cannot start.
// badInputText: the text cannot be converted, or has 512 MiB or more. noSynthFound: also if the
// text-done callback has closed the channel. In all these cases nothing is spoken.
KAVREL_ENTRY_POINT long SESpeakBuffer(SpeechChannelIdentifier ssr, Ptr textBuf, long byteLen,
                                      long controlFlags);

// Reads a setting into `*speechInfo`. paramErr: `speechInfo` is null. siUnknownInfoType: the
// selector is unknown or cannot be read.
KAVREL_ENTRY_POINT long SEGetSpeechInfo(SpeechChannelIdentifier ssr, unsigned long selector,
                                        void* speechInfo);

// Changes a setting. Callbacks and the reference constant take effect at once, all other settings
// with the next text. paramErr: the URL of the output file has no path, or out of memory.
// Rationale: unknown selectors are accepted, although reading them is refused.
KAVREL_ENTRY_POINT long SESetSpeechInfo(SpeechChannelIdentifier ssr, unsigned long selector,
                                        void* speechInfo);

// Sets the voice for the next job: its specification and its bundle on disk. A bundle without a
// path is accepted here; the next job then cannot start.
KAVREL_ENTRY_POINT long SEUseVoice(SpeechChannelIdentifier ssr, VoiceSpec* voice,
                                   CFBundleRef inVoiceSpecBundle);
