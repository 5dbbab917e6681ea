// SPDX-License-Identifier: Apache-2.0
//
// The plug-in's face: the twelve entry points that the Speech Synthesis Manager calls.
//
// Threads: every entry point may be called on any thread, and from inside every callback. Each
// takes the lock of the channel it names, close, text-to-phonemes and use-dictionary aside; a stop
// and a speak may hold it while they wait for the engine. Results: noErr (0); noSynthFound (-240)
// when no open channel has the identifier; what else each one answers stands with it. Exceptions:
// none leaves an entry point, except that SESpeakBuffer lets memory and range errors of the text
// conversion out, with the channel idle.
#pragma once

#include <ApplicationServices/ApplicationServices.h>

#include <cmath>

#include "SpeechChannel.h"

#if defined(__GNUC__)
#define KAVREL_ENTRY_POINT extern "C" __attribute__((visibility("default")))
#else
#define KAVREL_ENTRY_POINT extern "C"
#endif

// Note number (60 is middle C) of a frequency in Hz, cut to a whole number.
// Rationale: the literals are the ones that turn note numbers back into Hz (see midiToHz); shorter
// or longer ones move the two constants below.
inline int assumedPitchNote(double hertz) {
  return static_cast<int>(60.0 + (std::log(hertz) - std::log(261.625)) / std::log(1.05946309435));
}

// The pitch taken as a voice's own, as note numbers; computed when the plug-in is loaded.
static const int kAssumedMalePitch = assumedPitchNote(100.0);    // 43
static const int kAssumedFemalePitch = assumedPitchNote(180.0);  // 53

// Private selector of SESetSpeechInfo. The value is the pointer itself, as for the reference
// constant: non-null makes the word callback report each word's true place and length in the
// caller's buffer; null, the default, what the offset arithmetic gives. Not readable.
inline constexpr unsigned long kCallerPositions = 0x63706F73;  // "cpos"

// Opens a channel and stores its identifier in `*ssr`: 1, 2, 3 ..., never used again.
// paramErr: `ssr` is null, no identifier is used up. synthOpenFailed: there is no channel, but the
// identifier is used up and stored.
KAVREL_ENTRY_POINT long SEOpenSpeechChannel(SpeechChannelIdentifier* ssr);

// Stops what is spoken and closes the channel. From inside a callback, too; the record goes when
// the last thread has let go of it.
KAVREL_ENTRY_POINT long SECloseSpeechChannel(SpeechChannelIdentifier ssr);

// Fills `*status`; paramErr when it is null.
// Rationale: a paused channel reads as not busy, with no bytes left and phoneme 0.
KAVREL_ENTRY_POINT long SESpeechStatus(SpeechChannelIdentifier ssr, SpeechStatusInfo* status);

// Stops at the place (kImmediate, kEndOfWord, kEndOfSentence), and returns when the job is
// finished. -1: the engine refused.
KAVREL_ENTRY_POINT long SEStopSpeechAt(SpeechChannelIdentifier ssr, unsigned long whereToStop);

// Pauses at the place. -1: the engine refused; the channel counts as paused all the same.
KAVREL_ENTRY_POINT long SEPauseSpeechAt(SpeechChannelIdentifier ssr, unsigned long whereToPause);

// Goes on after a pause. -1: the engine refused.
KAVREL_ENTRY_POINT long SEContinueSpeech(SpeechChannelIdentifier ssr);

// Not offered: answers noErr and writes nothing.
KAVREL_ENTRY_POINT long SETextToPhonemes(SpeechChannelIdentifier ssr, char* textBuf, long textBytes,
                                         void** phonemeBuf, long* phonBytes);

// Accepted and ignored.
KAVREL_ENTRY_POINT long SEUseDictionary(SpeechChannelIdentifier ssr, void* dictionary,
                                        long dictLength);

// Speaks `byteLen` bytes of `textBuf` (Mac OS Roman, with embedded commands) and whatever the
// text-done callback adds, in the background. The text is copied; a null buffer or a negative
// length counts as no text. `controlFlags` change nothing here.
// synthNotReady: the channel speaks or is paused, or the engine cannot start. badInputText: the
// text cannot be converted, or has 512 MiB or more. In both cases nothing is spoken.
KAVREL_ENTRY_POINT long SESpeakBuffer(SpeechChannelIdentifier ssr, Ptr textBuf, long byteLen,
                                      long controlFlags);

// Reads a setting into `*speechInfo`. paramErr: `speechInfo` is null. siUnknownInfoType: there is
// no such selector to read.
KAVREL_ENTRY_POINT long SEGetSpeechInfo(SpeechChannelIdentifier ssr, unsigned long selector,
                                        void* speechInfo);

// Changes a setting. What is being spoken is not disturbed. paramErr: the file's URL has no path.
// Rationale: an unknown selector is accepted, though reading it is refused.
KAVREL_ENTRY_POINT long SESetSpeechInfo(SpeechChannelIdentifier ssr, unsigned long selector,
                                        void* speechInfo);

// Chooses the voice for the next job: its specification and its bundle on disk. A bundle without a
// path is accepted here; the next job then cannot start.
KAVREL_ENTRY_POINT long SEUseVoice(SpeechChannelIdentifier ssr, VoiceSpec* voice,
                                   CFBundleRef inVoiceSpecBundle);
