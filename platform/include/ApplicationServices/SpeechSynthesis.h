/* SPDX-License-Identifier: Apache-2.0 */
/*
 * SpeechSynthesis: the client interface of the Speech Synthesis Manager. Names, values and layouts
 * are the platform's; records are packed to 2 bytes and in the machine's byte order.
 *
 * Conventions
 *  1. Results are OSErr; 0 is success. Every function that takes a channel answers
 *     invalidComponentID for one that is not open, null included, and does nothing else.
 *  2. Every function that reaches a synthesizer may also answer memFullErr, or badInputText for any
 *     other failure inside it. No C++ exception comes out.
 *  3. What a caller passes is copied; nothing has to outlive the call. Text is Mac OS Roman. A NUL
 *     in it is a blank.
 *  4. Positions and lengths of text count bytes from the front of the caller's buffer. They never
 *     go backwards while a text is spoken, and position + length is never behind its end. Of a
 *     text that SpeakCFString speaks they count UTF-16 units of the string.
 *  5. All functions may be called on any thread. A channel may be used by several threads; calls
 *     that meet on one channel take effect one after the other.
 *  6. Callbacks run on one thread, which belongs to the Manager and to nothing else, one at a time,
 *     in the order in which things happened, and under no lock: any function may be called inside
 *     any callback. A callback that does not return holds up the callbacks of all channels, but no
 *     speech. A callback gets the client's own channel and soRefCon, and lets no exception out.
 *  7. A job is one text, from the call that speaks it to its speech-done, which comes exactly once
 *     however the job ends, unless the channel is disposed. Once a job has been stopped at once,
 *     none of its other callbacks begins any more.
 *  8. StopSpeechAt with a place in the text returns at once and leaves the waiting to a thread of
 *     the Manager. A synthesizer cannot be asked anything else meanwhile: what is called for the
 *     channel until the place is reached takes effect after it, in the order of the calls, and is
 *     answered with noErr at once; only reading a setting waits. The channel's state, the voice's
 *     description and DisposeSpeechChannel never wait.
 *  9. From exit() on no callback begins. A process made by fork() has no channels but those it
 *     opens itself.
 */
#ifndef APPLICATIONSERVICES_SPEECHSYNTHESIS_H
#define APPLICATIONSERVICES_SPEECHSYNTHESIS_H

#include <CoreFoundation/CFBase.h>

#include <MacMemory.h>
#include <MacTypes.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Results ------------------------------------------------------------------------------- */

enum {
  siUnknownInfoType = -231, /* the synthesizer does not know the selector */
  noSynthFound = -240,      /* no synthesizer for the voice, or it cannot be loaded */
  synthOpenFailed = -241,   /* the synthesizer cannot open another channel */
  synthNotReady = -242,     /* the channel is speaking, or cannot speak */
  bufTooSmall = -243,       /* no room for the answer */
  voiceNotFound = -244,     /* no such voice */
  incompatibleVoice = -245, /* the voice belongs to another synthesizer than the channel's */
  badDictFormat = -246,     /* not a pronunciation dictionary */
  badInputText = -247       /* the text cannot be spoken */
};

/* ---- Selectors and values ------------------------------------------------------------------ */

/* The kind of value stands behind each. Written means for SetSpeechInfo alone, read means for
 * GetSpeechInfo alone. A pointer to a value is read or filled during the call. */
enum {
  soStatus = 0x73746174,               /* 'stat'; read: SpeechStatusInfo * */
  soErrors = 0x6572726F,               /* 'erro'; read: SpeechErrorInfo * */
  soInputMode = 0x696E7074,            /* 'inpt'; OSType *: modeText, modePhonemes */
  soCharacterMode = 0x63686172,        /* 'char'; OSType *: modeNormal, modeLiteral */
  soNumberMode = 0x6E6D6272,           /* 'nmbr'; OSType *: modeNormal, modeLiteral */
  soRate = 0x72617465,                 /* 'rate'; Fixed *: words per minute */
  soPitchBase = 0x70626173,            /* 'pbas'; Fixed *: note number, 60 = middle C */
  soPitchMod = 0x706D6F64,             /* 'pmod'; Fixed *: notes up and down from the base */
  soVolume = 0x766F6C6D,               /* 'volm'; Fixed *: 0.0 to 1.0 */
  soSynthType = 0x76657273,            /* 'vers'; read: SpeechVersionInfo * */
  soRecentSync = 0x73796E63,           /* 'sync'; read: OSType *, the last mark reached */
  soPhonemeSymbols = 0x70687379,       /* 'phsy'; read: PhonemeDescriptor * */
  soCurrentVoice = 0x63766F78,         /* 'cvox'; VoiceSpec * */
  soCommandDelimiter = 0x646C696D,     /* 'dlim'; write: DelimiterInfo * */
  soReset = 0x72736574,                /* 'rset'; write: null */
  soRefCon = 0x72656663,               /* 'refc'; write: the value itself */
  soTextDoneCallBack = 0x74646362,     /* 'tdcb'; write: SpeechTextDoneUPP or null */
  soSpeechDoneCallBack = 0x73646362,   /* 'sdcb'; write: SpeechDoneUPP or null */
  soSyncCallBack = 0x73796362,         /* 'sycb'; write: SpeechSyncUPP or null */
  soErrorCallBack = 0x65726362,        /* 'ercb'; write: SpeechErrorUPP or null */
  soPhonemeCallBack = 0x70686362,      /* 'phcb'; write: SpeechPhonemeUPP or null */
  soWordCallBack = 0x77646362,         /* 'wdcb'; write: SpeechWordUPP or null */
  soSynthExtension = 0x78746E64,       /* 'xtnd'; write: SpeechXtndData * */
  soOutputToFileWithCFURL = 0x6F706166 /* 'opaf'; write: CFURLRef of an AIFF file, or null */
};

/* Selectors of GetVoiceInfo. */
enum {
  soVoiceDescription = 0x696E666F, /* 'info'; VoiceDescription * */
  soVoiceLocale = 0x6C6F636C       /* 'locl'; VoiceLocale *; of this platform alone */
};

/* Values of soInputMode, soCharacterMode and soNumberMode. */
enum {
  modeText = 0x54455854,     /* 'TEXT' */
  modePhonemes = 0x50484F4E, /* 'PHON' */
  modeTune = 0x54554E45,     /* 'TUNE' */
  modeNormal = 0x4E4F524D,   /* 'NORM' */
  modeLiteral = 0x4C54524C   /* 'LTRL' */
};

/* Flags of SpeakBuffer. */
enum {
  kNoEndingProsody = 1,   /* the text's end is not the end of a sentence */
  kNoSpeechInterrupt = 2, /* answer synthNotReady rather than cut off what is being spoken */
  kPreflightThenPause = 4 /* prepare the text and wait for ContinueSpeech */
};

/* Places at which speech is stopped or paused. */
enum { kImmediate = 0, kEndOfWord = 1, kEndOfSentence = 2 };

/* Values of VoiceDescription.gender. */
enum { kNeuter = 0, kMale = 1, kFemale = 2 };

/* ---- Records ------------------------------------------------------------------------------- */

/* A synthesizer's own name for a channel. Never reused while the synthesizer is loaded. */
typedef SInt32 SpeechChannelIdentifier;

/* A client's handle of a channel. It is compared, never followed, and never used again for another
 * channel. */
typedef struct SpeechChannelRecord {
  long data[1];
} SpeechChannelRecord;
typedef SpeechChannelRecord* SpeechChannel;

#pragma pack(push, 2)

/* Which voice: the synthesizer it belongs to, and its number there. */
typedef struct VoiceSpec {
  OSType creator;
  OSType id;
} VoiceSpec;

typedef struct VoiceDescription {
  SInt32 length; /* how many bytes of the record are filled */
  VoiceSpec voice;
  SInt32 version;
  Str63 name;         /* zero behind the characters, as in comment */
  Str255 comment;     /* a sentence to show the voice with */
  SInt16 gender;      /* kNeuter, kMale or kFemale */
  SInt16 age;         /* years */
  SInt16 script;      /* smRoman */
  SInt16 language;    /* langEnglish and so on; -1 for one without a code here */
  SInt16 region;      /* verUS and so on; -1 for one without a code here */
  SInt32 reserved[4]; /* 0 */
} VoiceDescription;

typedef struct SpeechStatusInfo {
  Boolean outputBusy;
  Boolean outputPaused;
  SInt32 inputBytesLeft; /* from the last word's start; a pause keeps it. 32 bits everywhere */
  SInt16 phonemeCode;
} SpeechStatusInfo;

/* The language and the country that a voice is for. A description has numbers for some of them
 * only. */
typedef struct VoiceLocale {
  char identifier[6]; /* as en_US, NUL-terminated */
} VoiceLocale;

/* The errors since the record was read before: how many, the first and the last of them, and where
 * in the text they were. */
typedef struct SpeechErrorInfo {
  SInt16 count;
  OSErr oldest;
  SInt32 oldPos;
  OSErr newest;
  SInt32 newPos;
} SpeechErrorInfo;

typedef struct SpeechVersionInfo {
  OSType synthType;
  OSType synthSubType;
  OSType synthManufacturer;
  SInt32 synthFlags;
  NumVersion synthVersion;
} SpeechVersionInfo;

typedef struct PhonemeInfo {
  SInt16 opcode;
  Str15 phStr;
  Str31 exampleStr;
  SInt16 hiliteStart;
  SInt16 hiliteEnd;
} PhonemeInfo;

/* As many PhonemeInfo as `phonemeCount` says follow one another. */
typedef struct PhonemeDescriptor {
  SInt16 phonemeCount;
  PhonemeInfo thePhonemes[1];
} PhonemeDescriptor;

typedef struct SpeechXtndData {
  OSType synthCreator;
  UInt8 synthData[2];
} SpeechXtndData;

typedef struct DelimiterInfo {
  UInt8 startDelimiter[2];
  UInt8 endDelimiter[2];
} DelimiterInfo;

#pragma pack(pop)

SPEECH_PLATFORM_CHECK(sizeof(VoiceSpec) == 8, "VoiceSpec");
SPEECH_PLATFORM_CHECK(offsetof(VoiceDescription, voice) == 4, "VoiceDescription.voice");
SPEECH_PLATFORM_CHECK(offsetof(VoiceDescription, version) == 12, "VoiceDescription.version");
SPEECH_PLATFORM_CHECK(offsetof(VoiceDescription, name) == 16, "VoiceDescription.name");
SPEECH_PLATFORM_CHECK(offsetof(VoiceDescription, comment) == 80, "VoiceDescription.comment");
SPEECH_PLATFORM_CHECK(offsetof(VoiceDescription, gender) == 336, "VoiceDescription.gender");
SPEECH_PLATFORM_CHECK(offsetof(VoiceDescription, region) == 344, "VoiceDescription.region");
SPEECH_PLATFORM_CHECK(offsetof(VoiceDescription, reserved) == 346, "VoiceDescription.reserved");
SPEECH_PLATFORM_CHECK(sizeof(VoiceDescription) == 362, "VoiceDescription");
SPEECH_PLATFORM_CHECK(offsetof(SpeechStatusInfo, inputBytesLeft) == 2, "SpeechStatusInfo");
SPEECH_PLATFORM_CHECK(sizeof(SpeechStatusInfo) == 8, "SpeechStatusInfo");
SPEECH_PLATFORM_CHECK(sizeof(SpeechErrorInfo) == 14, "SpeechErrorInfo");
SPEECH_PLATFORM_CHECK(sizeof(SpeechVersionInfo) == 20, "SpeechVersionInfo");
SPEECH_PLATFORM_CHECK(sizeof(PhonemeInfo) == 54, "PhonemeInfo");
SPEECH_PLATFORM_CHECK(sizeof(PhonemeDescriptor) == 56, "PhonemeDescriptor");
SPEECH_PLATFORM_CHECK(sizeof(SpeechXtndData) == 6, "SpeechXtndData");
SPEECH_PLATFORM_CHECK(sizeof(DelimiterInfo) == 4, "DelimiterInfo");

/* ---- Callbacks ----------------------------------------------------------------------------- */

/* More text is wanted, to be spoken behind the text of SpeakBuffer as if both were one. The
 * callback sets `*nextBuf` and `*byteLen` to text that stays valid until it is called again or the
 * speech is done; null or length 0 says that there is no more. Positions count on. It is called
 * after SpeakBuffer has returned, again and again until there is no more, before the first word is
 * spoken. What then keeps the text from being spoken comes as an error, and the speech is done.
 * `*controlFlags` holds the flags of SpeakBuffer; what is written to it is not looked at. Not
 * called for texts of SpeakCFString. */
typedef void (*SpeechTextDoneProcPtr)(SpeechChannel chan, SRefCon refCon, const void** nextBuf,
                                      unsigned long* byteLen, SInt32* controlFlags);

/* The speech is over, however it ended; comes once for every text that began. The channel is idle,
 * unless the client has spoken again meanwhile: the callback may speak on it or dispose it. */
typedef void (*SpeechDoneProcPtr)(SpeechChannel chan, SRefCon refCon);

/* A mark of the text was reached. */
typedef void (*SpeechSyncProcPtr)(SpeechChannel chan, SRefCon refCon, OSType syncMessage);

/* An error was met at byte `bytePos` of the text. */
typedef void (*SpeechErrorProcPtr)(SpeechChannel chan, SRefCon refCon, OSErr theError,
                                   long bytePos);

/* A phoneme begins; `phonemeOpcode` is the platform's code of it. */
typedef void (*SpeechPhonemeProcPtr)(SpeechChannel chan, SRefCon refCon, SInt16 phonemeOpcode);

/* A word begins: `wordLen` bytes of the text from byte `wordPos`. */
typedef void (*SpeechWordProcPtr)(SpeechChannel chan, SRefCon refCon, unsigned long wordPos,
                                  UInt16 wordLen);

/* An error was met. The error's domain is kCFErrorDomainOSStatus, its code the result; what else is
 * known stands under the keys kSpeechErrorCallback... (SpeechProperties.h). `theError` is the
 * Manager's; null when memory is out. */
typedef void (*SpeechErrorCFProcPtr)(SpeechChannel chan, SRefCon refCon, CFErrorRef theError);

/* A word begins: the part `wordRange` of `aString`, in UTF-16 units. `aString` is the string that
 * is spoken, or one of the bytes that are; it is the Manager's, and null when memory is out. */
typedef void (*SpeechWordCFProcPtr)(SpeechChannel chan, SRefCon refCon, CFStringRef aString,
                                    CFRange wordRange);

/* What the selectors take. On this platform it is the function itself: New... returns what it is
 * given, Dispose... releases nothing, Invoke... calls it. */
typedef SpeechTextDoneProcPtr SpeechTextDoneUPP;
typedef SpeechDoneProcPtr SpeechDoneUPP;
typedef SpeechSyncProcPtr SpeechSyncUPP;
typedef SpeechErrorProcPtr SpeechErrorUPP;
typedef SpeechPhonemeProcPtr SpeechPhonemeUPP;
typedef SpeechWordProcPtr SpeechWordUPP;

SPEECH_PLATFORM_API SpeechTextDoneUPP NewSpeechTextDoneUPP(SpeechTextDoneProcPtr callback);
SPEECH_PLATFORM_API SpeechDoneUPP NewSpeechDoneUPP(SpeechDoneProcPtr callback);
SPEECH_PLATFORM_API SpeechSyncUPP NewSpeechSyncUPP(SpeechSyncProcPtr callback);
SPEECH_PLATFORM_API SpeechErrorUPP NewSpeechErrorUPP(SpeechErrorProcPtr callback);
SPEECH_PLATFORM_API SpeechPhonemeUPP NewSpeechPhonemeUPP(SpeechPhonemeProcPtr callback);
SPEECH_PLATFORM_API SpeechWordUPP NewSpeechWordUPP(SpeechWordProcPtr callback);
SPEECH_PLATFORM_API void DisposeSpeechTextDoneUPP(SpeechTextDoneUPP upp);
SPEECH_PLATFORM_API void DisposeSpeechDoneUPP(SpeechDoneUPP upp);
SPEECH_PLATFORM_API void DisposeSpeechSyncUPP(SpeechSyncUPP upp);
SPEECH_PLATFORM_API void DisposeSpeechErrorUPP(SpeechErrorUPP upp);
SPEECH_PLATFORM_API void DisposeSpeechPhonemeUPP(SpeechPhonemeUPP upp);
SPEECH_PLATFORM_API void DisposeSpeechWordUPP(SpeechWordUPP upp);
SPEECH_PLATFORM_API void InvokeSpeechTextDoneUPP(SpeechChannel chan, SRefCon refCon,
                                                 const void** nextBuf, unsigned long* byteLen,
                                                 SInt32* controlFlags, SpeechTextDoneUPP upp);
SPEECH_PLATFORM_API void InvokeSpeechDoneUPP(SpeechChannel chan, SRefCon refCon, SpeechDoneUPP upp);
SPEECH_PLATFORM_API void InvokeSpeechSyncUPP(SpeechChannel chan, SRefCon refCon, OSType syncMessage,
                                             SpeechSyncUPP upp);
SPEECH_PLATFORM_API void InvokeSpeechErrorUPP(SpeechChannel chan, SRefCon refCon, OSErr theError,
                                              long bytePos, SpeechErrorUPP upp);
SPEECH_PLATFORM_API void InvokeSpeechPhonemeUPP(SpeechChannel chan, SRefCon refCon,
                                                SInt16 phonemeOpcode, SpeechPhonemeUPP upp);
SPEECH_PLATFORM_API void InvokeSpeechWordUPP(SpeechChannel chan, SRefCon refCon,
                                             unsigned long wordPos, UInt16 wordLen,
                                             SpeechWordUPP upp);

/* The Manager's version. */
SPEECH_PLATFORM_API NumVersion SpeechManagerVersion(void);

/* ---- Voices -------------------------------------------------------------------------------- */

/* Voices are NAME.SpeechVoice bundles. They are looked for once, when one is first needed: in the
 * folders that the environment variable SPEECH_VOICE_PATH names (separated by colons), then in the
 * user's folder ${XDG_DATA_HOME:-~/.local/share}/speechmanager/Voices, then in the folder that came
 * with the Manager's library. Of two voices with the same VoiceSpec the first counts. A bundle that
 * cannot be used is left out, with one line on standard error. Synthesizers are libraries, looked
 * for in the same way and loaded when a channel first needs them: SPEECH_SYNTHESIZER_PATH,
 * .../speechmanager/Synthesizers. */

/* Fills `*voice`. Results: noErr; paramErr, `voice` is null. Whether there is such a voice is not
 * looked at. */
SPEECH_PLATFORM_API OSErr MakeVoiceSpec(OSType creator, OSType id, VoiceSpec* voice);

/* The number of voices. Results: noErr; paramErr, `numVoices` is null. */
SPEECH_PLATFORM_API OSErr CountVoices(SInt16* numVoices);

/* The voice of that index, from 1. Results: noErr; paramErr, `voice` is null; voiceNotFound, there
 * is none of that index, and `*voice` is untouched. */
SPEECH_PLATFORM_API OSErr GetIndVoice(SInt16 index, VoiceSpec* voice);

/* Fills the first `infoLength` bytes of `*info`, at most the whole record; `length` tells how many.
 * A null `voice` is the default voice: the first male one that speaks English, else the first. With
 * a null `info` the call only tells whether there is such a voice. Name and comment are Mac OS
 * Roman. Results: noErr; paramErr, `infoLength` is negative; voiceNotFound, and `*info` is
 * untouched. */
SPEECH_PLATFORM_API OSErr GetVoiceDescription(const VoiceSpec* voice, VoiceDescription* info,
                                              long infoLength);

/* Fills `*voiceInfo`, a record of the kind that the selector says, about a voice; a null `voice` is
 * the default voice. Results: noErr; paramErr, `voiceInfo` is null; voiceNotFound;
 * siUnknownInfoType. After a failure `*voiceInfo` is untouched. */
SPEECH_PLATFORM_API OSErr GetVoiceInfo(const VoiceSpec* voice, OSType selector, void* voiceInfo);

/* ---- Channels ------------------------------------------------------------------------------ */

/* Opens a channel with that voice, or the default voice for null.
 * Results: noErr; paramErr, `chan` is null; voiceNotFound; noSynthFound, one line on standard error
 * says why; synthOpenFailed. After a failure `*chan` is null. */
SPEECH_PLATFORM_API OSErr NewSpeechChannel(VoiceSpec* voice, SpeechChannel* chan);

/* Stops the speech and closes the channel. May be called inside a callback of the channel,
 * speech-done above all. Speech that this stops is not reported as done. No callback of the channel
 * begins any more, and unless this is called inside one, none is running any more when it returns:
 * a client must not hold what its callbacks wait for. Results: noErr. */
SPEECH_PLATFORM_API OSErr DisposeSpeechChannel(SpeechChannel chan);

/* Speaks `textBytes` bytes, in the background. A channel that is speaking or paused stops at once
 * and speaks the new text, or answers synthNotReady with the flag kNoSpeechInterrupt. A null or
 * empty text stops the channel and speaks nothing; no text-done is called for it. With
 * kPreflightThenPause the channel is paused before the first word until ContinueSpeech. With
 * kNoEndingProsody a last word without a sign behind it does not sound like the end of a sentence.
 * Results: noErr; paramErr, the text is longer than a position can tell (2 GiB); synthNotReady,
 * also when the stopped speech does not end within a second; badInputText. With a text-done
 * callback or kPreflightThenPause the text reaches the synthesizer later: what keeps it from being
 * spoken then comes as an error, and the speech is done. */
SPEECH_PLATFORM_API OSErr SpeakBuffer(SpeechChannel chan, const void* textBuf,
                                      unsigned long textBytes, SInt32 controlFlags);

/* SpeakBuffer without flags. */
SPEECH_PLATFORM_API OSErr SpeakText(SpeechChannel chan, const void* textBuf,
                                    unsigned long textBytes);

/* Speaks a Pascal string with the default voice, on a channel of its own, which goes when the
 * speech is done. A text of an earlier call that is still spoken stops at once; null or an empty
 * string does only that. Results: those of NewSpeechChannel and SpeakBuffer. */
SPEECH_PLATFORM_API OSErr SpeakString(ConstStr255Param textToBeSpoken);

/* Stops at once, or at the place `whereToStop` (kImmediate, kEndOfWord, kEndOfSentence). Returns at
 * once; speech-done tells when the speech has stopped. A paused channel stops where it stands.
 * Stopping an idle channel does nothing. Results: noErr; paramErr, not a place; synthNotReady, the
 * synthesizer could not stop. */
SPEECH_PLATFORM_API OSErr StopSpeech(SpeechChannel chan);
SPEECH_PLATFORM_API OSErr StopSpeechAt(SpeechChannel chan, SInt32 whereToStop);

/* Pauses at that place, until ContinueSpeech, and returns at once. The channel counts as paused
 * from then on, though it speaks on to the place. Does nothing on an idle or paused channel.
 * Results: noErr; paramErr, not a place; synthNotReady, the synthesizer could not pause. */
SPEECH_PLATFORM_API OSErr PauseSpeechAt(SpeechChannel chan, SInt32 whereToPause);

/* Goes on after a pause; else does nothing. Results: noErr; synthNotReady; badInputText, a text
 * that waited for this cannot be spoken, and is done. */
SPEECH_PLATFORM_API OSErr ContinueSpeech(SpeechChannel chan);

/* The number of this process's channels that are speaking or paused. */
SPEECH_PLATFORM_API SInt16 SpeechBusy(void);

/* The same: the speech of other processes is not known here. */
SPEECH_PLATFORM_API SInt16 SpeechBusySystemWide(void);

/* The phonemes that `textBytes` bytes of text are spoken with in the channel's voice and modes, as
 * text that modePhonemes speaks. Symbols of one word follow one another, words are separated by
 * blanks, "%" is a pause. Stress is not told, and of sounds that the synthesizer reports under one
 * code the symbol is always the same (IX for IH, UX for AX); one that has no code is "%". The text
 * is spoken into a file that nobody sees, so the call takes time in proportion to the text. The
 * channel is left alone, and may be speaking. `phonemeBuf` is a handle that takes the size of the
 * result; `*phonemeBytes` receives the number of bytes. Results: noErr; paramErr, an argument is
 * null; synthOpenFailed; synthNotReady; badInputText; memFullErr. */
SPEECH_PLATFORM_API OSErr TextToPhonemes(SpeechChannel chan, const void* textBuf,
                                         unsigned long textBytes, Handle phonemeBuf,
                                         long* phonemeBytes);

/* Hands a pronunciation dictionary, the contents of a 'dict' resource, to the synthesizer. The
 * synthesizer of this project accepts every dictionary and makes no use of it. Results: noErr;
 * paramErr, `dictionary` is null; badDictFormat, it is not a dictionary: it is shorter than its own
 * count of bytes, or not marked as one. */
SPEECH_PLATFORM_API OSErr UseDictionary(SpeechChannel chan, Handle dictionary);

/* Changes a setting of the channel; speech under way keeps what it began with, but callbacks and
 * soRefCon hold from the next callback on. A selector that the synthesizer does not know is
 * accepted. Results: noErr; paramErr, the selector needs a value and `speechInfo` is null, or a
 * file URL cannot be used (its path is longer than 2047 bytes); for soCurrentVoice also
 * voiceNotFound and incompatibleVoice. */
SPEECH_PLATFORM_API OSErr SetSpeechInfo(SpeechChannel chan, OSType selector,
                                        const void* speechInfo);

/* Reads a setting or a state. soErrors tells of what SpeakBuffer and its like answered and of what
 * came to the error callback, since it was read before. Results: noErr; paramErr, `speechInfo` is
 * null; siUnknownInfoType. */
SPEECH_PLATFORM_API OSErr GetSpeechInfo(SpeechChannel chan, OSType selector, void* speechInfo);

/* soRate by another name: words per minute. Results as of SetSpeechInfo and GetSpeechInfo. */
SPEECH_PLATFORM_API OSErr SetSpeechRate(SpeechChannel chan, Fixed rate);
SPEECH_PLATFORM_API OSErr GetSpeechRate(SpeechChannel chan, Fixed* rate);

/* soPitchBase by another name: a note number, 60 = middle C. Results as of SetSpeechInfo and
 * GetSpeechInfo. */
SPEECH_PLATFORM_API OSErr SetSpeechPitch(SpeechChannel chan, Fixed pitch);
SPEECH_PLATFORM_API OSErr GetSpeechPitch(SpeechChannel chan, Fixed* pitch);

#ifdef __cplusplus
}
#endif

#endif
