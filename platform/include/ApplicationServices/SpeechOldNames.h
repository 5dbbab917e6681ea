/* SPDX-License-Identifier: Apache-2.0 */
/*
 * SpeechOldNames: names that programs for other versions of the platform use.
 *
 * Two groups: other names of what SpeechSynthesis.h declares, and names of what is not offered
 * here. The latter are declared so that programs compile. Used in a call, they return
 * siUnknownInfoType and have no effect, which is also what those programs get where the platform
 * lacks them. The conventions of SpeechSynthesis.h apply; a channel that is not open returns
 * invalidComponentID first.
 */
#ifndef APPLICATIONSERVICES_SPEECHOLDNAMES_H
#define APPLICATIONSERVICES_SPEECHOLDNAMES_H

#include <ApplicationServices/SpeechProperties.h>
#include <ApplicationServices/SpeechSynthesis.h>

/* ---- Other names */

/* Callbacks: NewSpeech...UPP and InvokeSpeech...UPP, the latter with the callback first. */
#define NewSpeechTextDoneProc(callback) NewSpeechTextDoneUPP(callback)
#define NewSpeechDoneProc(callback) NewSpeechDoneUPP(callback)
#define NewSpeechSyncProc(callback) NewSpeechSyncUPP(callback)
#define NewSpeechErrorProc(callback) NewSpeechErrorUPP(callback)
#define NewSpeechPhonemeProc(callback) NewSpeechPhonemeUPP(callback)
#define NewSpeechWordProc(callback) NewSpeechWordUPP(callback)
#define CallSpeechTextDoneProc(callback, chan, refCon, nextBuf, byteLen, controlFlags) \
  InvokeSpeechTextDoneUPP(chan, refCon, nextBuf, byteLen, controlFlags, callback)
#define CallSpeechDoneProc(callback, chan, refCon) InvokeSpeechDoneUPP(chan, refCon, callback)
#define CallSpeechSyncProc(callback, chan, refCon, syncMessage) \
  InvokeSpeechSyncUPP(chan, refCon, syncMessage, callback)
#define CallSpeechErrorProc(callback, chan, refCon, theError, bytePos) \
  InvokeSpeechErrorUPP(chan, refCon, theError, bytePos, callback)
#define CallSpeechPhonemeProc(callback, chan, refCon, phonemeOpcode) \
  InvokeSpeechPhonemeUPP(chan, refCon, phonemeOpcode, callback)
#define CallSpeechWordProc(callback, chan, refCon, wordPos, wordLen) \
  InvokeSpeechWordUPP(chan, refCon, wordPos, wordLen, callback)

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Not offered */

/* Selectors of GetSpeechInfo and SetSpeechInfo. */
enum {
  soCurrentA5 = 0x6D794135,            /* 'myA5': a register of other processors */
  soSoundOutput = 0x736E646F,          /* 'sndo': a channel of another sound system */
  soOutputToExtAudioFile = 0x6F706178, /* 'opax': see soOutputToFileWithCFURL */
  soOutputToAudioDevice = 0x6F706164,  /* 'opad': speech goes to the default device */
  soPhonemeOptions = 0x706F7074        /* 'popt': see kSpeechGenerateTune */
};

/* A selector of GetVoiceInfo: VoiceFileInfo *. */
enum { soVoiceFile = 0x66726566 /* 'fref' */ };

/* Flags of soPhonemeOptions: how TextToPhonemes and CopyPhonemesFromText write phonemes. They write
 * symbols only. */
enum {
  kSpeechGenerateTune = 1,     /* as tune data */
  kSpeechRelativePitch = 2,    /* with pitches relative to the base */
  kSpeechRelativeDuration = 4, /* with durations relative to the rate */
  kSpeechShowSyllables = 8     /* with marks between syllables */
};

/* Properties. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPhonemeOptionsProperty;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechOutputToExtAudioFileProperty;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechOutputToAudioDeviceProperty;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechOutputChannelMapProperty;

#pragma pack(push, 2)

/* A file, as a volume, the number of a folder on it, and a name. */
typedef struct FSSpec {
  SInt16 vRefNum;
  SInt32 parID;
  Str63 name;
} FSSpec;

/* The file of a voice, and the number of its resource. */
typedef struct VoiceFileInfo {
  FSSpec fileSpec;
  SInt16 resID;
} VoiceFileInfo;

#pragma pack(pop)

/* Make a voice or a synthesizer known that is in no folder of the system, and forget it. Here
 * SPEECH_VOICE_PATH and SPEECH_SYNTHESIZER_PATH name folders; see SpeechSynthesis.h. Results:
 * siUnknownInfoType, whatever the argument. */
SPEECH_PLATFORM_API OSErr SpeechSynthesisRegisterModuleURL(CFURLRef url);
SPEECH_PLATFORM_API OSErr SpeechSynthesisUnregisterModuleURL(CFURLRef url);

#ifdef __cplusplus
}
#endif

#endif
