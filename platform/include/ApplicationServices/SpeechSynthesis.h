/* SPDX-License-Identifier: Apache-2.0 */
/*
 * SpeechSynthesis: the client interface of the Speech Synthesis Manager. C89 and later,
 * C++98 and later.
 *
 * Names, values and layouts are the platform's. Records are packed to 2 bytes and in the machine's
 * byte order.
 *
 * Conventions
 *  1. Results are OSErr; 0 (noErr) is success. Every function that takes a channel returns
 *     invalidComponentID and has no effect if the channel is null, disposed or otherwise not open.
 *  2. Every function with a result may also return memFullErr (out of memory; for a text also: no
 *     thread for the callbacks), or badInputText for a failure inside the synthesizer that has no
 *     result of its own. The lists of results below do not repeat these two and
 *     invalidComponentID. No C++ exception leaves a function. A text is accepted if and only if the
 *     result is noErr; then its speech-done comes, even if memory runs out meanwhile.
 *  3. Arguments are copied: no text, record or URL has to outlive the call. Text is Mac OS Roman,
 *     or UTF-8 if kSpeechTextEncodingProperty says so. A NUL inside a text is read as a blank.
 *  4. Positions and lengths count bytes of the caller's text, from 0. For a text of SpeakCFString
 *     they count UTF-16 units of the string, and for a piece of a text-done callback the bytes of
 *     the piece. Word positions never decrease within a text or piece, and position + length of a
 *     word is never more than its length.
 *  5. All functions are safe to call from any thread, and from inside any callback. Several threads
 *     may use one channel at the same time; the calls take effect one after the other.
 *  6. Callbacks run on one thread that the Manager creates for them, one at a time, in the order of
 *     the events, and under no lock. A callback that does not return delays the callbacks of all
 *     channels, but no speech. A callback receives the client's channel and its soRefCon. It must
 *     not throw: an exception that leaves a callback ends the process.
 *  7. A job is one text with the pieces that the text-done callback adds to it, from the call that
 *     starts it to its speech-done callback. Speech-done is called exactly once per job, however it
 *     ends; it is not called after the channel is disposed. After an immediate stop, no other
 *     callback of the stopped job begins.
 *  8. No call waits for speech to reach a boundary. After StopSpeechAt and PauseSpeechAt with
 *     kEndOfWord or kEndOfSentence every function works at once: StopSpeech ends the speech
 *     immediately, a new text replaces the old one. With a synthesizer that can only wait for a
 *     boundary, the stop waits, and so do later calls for the channel.
 *  9. After exit() is called, no callback begins. A process created by fork() has no channels of
 *     its parent; it can open its own.
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

/* ---- Results */

enum {
  siUnknownInfoType = -231, /* the synthesizer does not know the selector */
  noSynthFound = -240,      /* no synthesizer can be loaded for the voice */
  synthOpenFailed = -241,   /* the synthesizer cannot open another channel */
  synthNotReady = -242,     /* the channel is speaking, or cannot speak */
  bufTooSmall = -243,       /* the caller's buffer is too small; this Manager does not use it */
  voiceNotFound = -244,     /* no such voice */
  incompatibleVoice = -245, /* the voice belongs to another synthesizer than the channel's */
  badDictFormat = -246,     /* not a pronunciation dictionary */
  badInputText = -247       /* the text cannot be spoken */
};

/* ---- Selectors and values */

/* Selectors of GetSpeechInfo and SetSpeechInfo, each with the type of `speechInfo`. "read": only
 * GetSpeechInfo accepts it; "write": only SetSpeechInfo. Values that a pointer refers to are read
 * or filled during the call. Rate, pitch, modulation and volume read back as they were set, until a
 * reset; the synthesizer of this project speaks with whole numbers, and with steps of 0.01 for the
 * volume, rounded toward zero. */
enum {
  soStatus = 0x73746174,               /* 'stat'; read: SpeechStatusInfo * */
  soErrors = 0x6572726F,               /* 'erro'; read: SpeechErrorInfo * */
  soInputMode = 0x696E7074,            /* 'inpt'; OSType *: modeText, modePhonemes */
  soCharacterMode = 0x63686172,        /* 'char'; OSType *: modeNormal, modeLiteral */
  soNumberMode = 0x6E6D6272,           /* 'nmbr'; OSType *: modeNormal, modeLiteral */
  soRate = 0x72617465,                 /* 'rate'; Fixed *: words per minute */
  soPitchBase = 0x70626173,            /* 'pbas'; Fixed *: note number, 60 = middle C */
  soPitchMod = 0x706D6F64,             /* 'pmod'; Fixed *: notes above and below the base */
  soVolume = 0x766F6C6D,               /* 'volm'; Fixed *: 0.0 to 1.0 */
  soSynthType = 0x76657273,            /* 'vers'; read: SpeechVersionInfo * */
  soRecentSync = 0x73796E63,           /* 'sync'; read: OSType *, the last sync mark reached */
  soPhonemeSymbols = 0x70687379,       /* 'phsy'; read: Handle *; see below */
  soCurrentVoice = 0x63766F78,         /* 'cvox'; VoiceSpec * */
  soCommandDelimiter = 0x646C696D,     /* 'dlim'; write: DelimiterInfo * */
  soReset = 0x72736574,                /* 'rset'; write: the value is ignored */
  soRefCon = 0x72656663,               /* 'refc'; write: the value itself */
  soTextDoneCallBack = 0x74646362,     /* 'tdcb'; write: SpeechTextDoneUPP or null */
  soSpeechDoneCallBack = 0x73646362,   /* 'sdcb'; write: SpeechDoneUPP or null */
  soSyncCallBack = 0x73796362,         /* 'sycb'; write: SpeechSyncUPP or null */
  soErrorCallBack = 0x65726362,        /* 'ercb'; write: SpeechErrorUPP or null */
  soPhonemeCallBack = 0x70686362,      /* 'phcb'; write: SpeechPhonemeUPP or null */
  soWordCallBack = 0x77646362,         /* 'wdcb'; write: SpeechWordUPP or null */
  soSynthExtension = 0x78746E64,       /* 'xtnd'; write: SpeechXtndData * */
  soOutputToFileWithCFURL = 0x6F706166 /* 'opaf'; write: CFURLRef of an AIFF file; null: device */
};
/* soInputMode: modeTune is accepted and has no effect; [[inpt TUNE]] in a text has.
 * soPhonemeSymbols: the Manager creates a handle with a PhonemeDescriptor and stores it at the
 * address; whatever is there before is not read. The caller releases it with DisposeHandle. */

/* Selectors of GetVoiceInfo. */
enum {
  soVoiceDescription = 0x696E666F, /* 'info'; VoiceDescription * */
  soVoiceLocale = 0x6C6F636C,      /* 'locl'; VoiceLocale *; this implementation only */
  soVoiceLocaleName = 0x6C6F636E   /* 'locn'; VoiceLocaleName *; this implementation only */
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
  kNoEndingProsody = 1,   /* the end of the text is not the end of a sentence */
  kNoSpeechInterrupt = 2, /* return synthNotReady instead of interrupting speech */
  kPreflightThenPause = 4 /* accept the text, but wait for ContinueSpeech */
};

/* Boundaries at which speech is stopped or paused. */
enum { kImmediate = 0, kEndOfWord = 1, kEndOfSentence = 2 };

/* Values of VoiceDescription.gender. */
enum { kNeuter = 0, kMale = 1, kFemale = 2 };

/* ---- Records */

/* A synthesizer's own identifier of a channel. Never reused while the synthesizer is loaded. */
typedef SInt32 SpeechChannelIdentifier;

/* A client's handle of a channel. It is compared, never dereferenced, and its value is never used
 * for another channel. */
typedef struct SpeechChannelRecord {
  long data[1];
} SpeechChannelRecord;
typedef SpeechChannelRecord* SpeechChannel;

#pragma pack(push, 2)

/* Identifies a voice: the synthesizer it belongs to, and its number there. */
typedef struct VoiceSpec {
  OSType creator;
  OSType id;
} VoiceSpec;

typedef struct VoiceDescription {
  SInt32 length; /* number of bytes of the record that are filled */
  VoiceSpec voice;
  SInt32 version;
  Str63 name;         /* all bytes after the characters are 0, as in comment */
  Str255 comment;     /* a sample sentence for the voice; see below */
  SInt16 gender;      /* kNeuter, kMale or kFemale */
  SInt16 age;         /* years */
  SInt16 script;      /* smRoman etc.: of the voice's language, not of name and comment */
  SInt16 language;    /* langEnglish etc.; -1: MacTypes.h has no code for it */
  SInt16 region;      /* verUS etc.; -1: MacTypes.h has no code for it */
  SInt32 reserved[4]; /* 0 */
} VoiceDescription;
/* comment is in Mac OS Roman if that has all its characters, else in UTF-8, cut after a character.
 */

/* The state of a channel. An idle channel has 0 in all fields. */
typedef struct SpeechStatusInfo {
  Boolean outputBusy;    /* speaking */
  Boolean outputPaused;  /* paused, or a pause is pending */
  SInt32 inputBytesLeft; /* from the start of the last word; kept while paused. Always 32 bits */
  SInt16 phonemeCode;    /* the last phoneme */
} SpeechStatusInfo;

/* The language and country of a voice. VoiceDescription has numeric codes for only some of them. */
typedef struct VoiceLocale {
  char identifier[6]; /* such as en_US, NUL-terminated; only the language if no more fits */
} VoiceLocale;

/* The same with everything that distinguishes the voice's language: language, script, region and
 * variants, such as en_US, yue_HK, eo, es_419, en_GB_scotland. NUL-terminated. */
typedef struct VoiceLocaleName {
  char identifier[32];
} VoiceLocaleName;

/* The errors since soErrors was last read: their number, and the oldest and the newest with their
 * positions in the text. */
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
  SInt16 opcode;      /* the phoneme's code */
  Str15 phStr;        /* its symbol */
  Str31 exampleStr;   /* a word that contains it */
  SInt16 hiliteStart; /* the letters of exampleStr that stand for the phoneme, from 0 */
  SInt16 hiliteEnd;   /* the position after the last of them */
} PhonemeInfo;

/* `phonemeCount` PhonemeInfo records follow one another. */
typedef struct PhonemeDescriptor {
  SInt16 phonemeCount;
  PhonemeInfo thePhonemes[1];
} PhonemeDescriptor;

typedef struct SpeechXtndData {
  OSType synthCreator;
  UInt8 synthData[2];
} SpeechXtndData;

/* The delimiters of embedded commands; one of a single character has 0 as its second byte. */
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

/* ---- Callbacks */

/* All callbacks: `chan` is the client's channel, `refCon` its soRefCon. They run on the Manager's
 * callback thread (conventions 5 and 6) and may call any function, DisposeSpeechChannel included. A
 * change of a callback or of soRefCon applies from the next callback on. */

/* Asks for more text, which is spoken after the text of the job so far. The callback sets
 * `*nextBuf` and `*byteLen` to the next piece, in the encoding that the channel had when the text
 * started; a character may be cut between two pieces. The piece must stay valid until the next call
 * of the callback or speech-done. Null or length 0 ends the text. So does a piece that would
 * make the text that is not spoken yet longer than 2147483647 bytes; that piece is not spoken.
 *
 * The callback is called for every text before speech-done, when about two seconds of speech are
 * left, but not after a stop, and never from inside the call that starts the text. With an output
 * file it is called until the text ends, before the first word. `*controlFlags` holds the flags of
 * the text so far; the value that the callback leaves there holds for the next piece. What commands
 * have set (rate, pitch, volume, modes) holds in later pieces. If a piece cannot be spoken, the
 * error callback is called, then speech-done. */
typedef void (*SpeechTextDoneProcPtr)(SpeechChannel chan, SRefCon refCon, const void** nextBuf,
                                      unsigned long* byteLen, SInt32* controlFlags);

/* The job has ended, for whatever reason. Called exactly once per job. The channel is idle, unless
 * the client has started another text meanwhile: the callback may start a text on it or dispose it.
 */
typedef void (*SpeechDoneProcPtr)(SpeechChannel chan, SRefCon refCon);

/* A sync mark was reached. `syncMessage` is the 32-bit value that the text has for it: [[sync 65]],
 * [[sync 0x41]], [[sync $41]], [[sync 'four']]. */
typedef void (*SpeechSyncProcPtr)(SpeechChannel chan, SRefCon refCon, OSType syncMessage);

/* An error occurred at position `bytePos` of the text. `theError` is a result; badInputText for a
 * part of the text that is left out or spoken in another way than it is written, and ioErr if the
 * output file cannot be written any more. The former come before the first word of the text or
 * piece, the latter before speech-done. */
typedef void (*SpeechErrorProcPtr)(SpeechChannel chan, SRefCon refCon, OSErr theError,
                                   long bytePos);

/* A phoneme begins. `phonemeOpcode` is its code, the index in kSpeechPhonemeSymbolsProperty. */
typedef void (*SpeechPhonemeProcPtr)(SpeechChannel chan, SRefCon refCon, SInt16 phonemeOpcode);

/* A word begins: `wordLen` bytes of the text from position `wordPos`. A longer word is reported
 * with length 65535. */
typedef void (*SpeechWordProcPtr)(SpeechChannel chan, SRefCon refCon, unsigned long wordPos,
                                  UInt16 wordLen);

/* An error occurred. The error's domain is kCFErrorDomainOSStatus, and its code is the result. Its
 * user info has the keys kSpeechErrorCallback... (SpeechProperties.h). `theError` belongs to the
 * Manager; it is null if the Manager is out of memory. */
typedef void (*SpeechErrorCFProcPtr)(SpeechChannel chan, SRefCon refCon, CFErrorRef theError);

/* A word begins: the range `wordRange` of `aString`, in UTF-16 units. `aString` is the string of
 * SpeakCFString, or a string made from the bytes of SpeakBuffer. It belongs to the Manager; it is
 * null if the Manager is out of memory. */
typedef void (*SpeechWordCFProcPtr)(SpeechChannel chan, SRefCon refCon, CFStringRef aString,
                                    CFRange wordRange);

/* The types that the callback selectors take. Here they are the functions themselves: New...
 * returns its argument, Dispose... has no effect, and Invoke... calls the function (null: no
 * effect). */
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

/* Returns the version of the Manager's interface, 4.0.4 final. It is not the project's version. */
SPEECH_PLATFORM_API NumVersion SpeechManagerVersion(void);

/* ---- Voices */

/* Where voices come from. A voice is a bundle NAME.SpeechVoice. The Manager searches for voices
 * once per process, when a voice is first needed, in this order: the folders in the environment
 * variable SPEECH_VOICE_PATH, separated by colons
 *   ${XDG_DATA_HOME:-~/.local/share}/speechmanager/Voices
 *   the folder that is installed with the Manager's library
 *
 * Of two voices with the same VoiceSpec the first is used. A bundle that cannot be used is skipped,
 * with one line on standard error.
 *
 * A synthesizer is a shared library. The Manager loads it when a channel first needs it, and it
 * stays loaded until the process exits. The folders are those of SPEECH_SYNTHESIZER_PATH, then
 * ${XDG_DATA_HOME:-~/.local/share}/speechmanager/Synthesizers, then speechmanager/Synthesizers next
 * to the Manager's library.
 *
 * The default voice is the first male voice of the locale en_US, else the first male voice of
 * another English locale, else the first voice. */

/* Stores `creator` and `id` in `*voice`; it does not check that the voice exists. Results: noErr;
 * paramErr if `voice` is null. */
SPEECH_PLATFORM_API OSErr MakeVoiceSpec(OSType creator, OSType id, VoiceSpec* voice);

/* Stores the number of voices in `*numVoices`, at most 32767. Results: noErr; paramErr if
 * `numVoices` is null. */
SPEECH_PLATFORM_API OSErr CountVoices(SInt16* numVoices);

/* Stores the voice of an index, from 1 to CountVoices, in `*voice`. The order does not change while
 * the process runs. Results: noErr; paramErr if `voice` is null; voiceNotFound if no voice has that
 * index. After a failure `*voice` is unchanged. */
SPEECH_PLATFORM_API OSErr GetIndVoice(SInt16 index, VoiceSpec* voice);

/* Fills the first `infoLength` bytes of `*info`, at most the whole record; the field `length` is
 * set to their number. A null `voice` stands for the default voice. A null `info` only checks that
 * the voice exists. Name and comment are Mac OS Roman. Results: noErr; paramErr if `infoLength` is
 * negative; voiceNotFound. After a failure `*info` is unchanged. */
SPEECH_PLATFORM_API OSErr GetVoiceDescription(const VoiceSpec* voice, VoiceDescription* info,
                                              long infoLength);

/* Fills the record `*voiceInfo` of the selector's type for a voice. A null `voice` stands for the
 * default voice. Results: noErr; paramErr if `voiceInfo` is null; voiceNotFound; siUnknownInfoType
 * if the selector is unknown. After a failure `*voiceInfo` is unchanged. */
SPEECH_PLATFORM_API OSErr GetVoiceInfo(const VoiceSpec* voice, OSType selector, void* voiceInfo);

/* ---- Channels */

/* Opens a channel with a voice; a null `voice` stands for the default voice. The client owns the
 * channel and closes it with DisposeSpeechChannel. Results: noErr; paramErr if `chan` is null;
 * voiceNotFound; noSynthFound if there is no synthesizer for the voice (one line on standard error
 * says why); synthOpenFailed if the synthesizer cannot open a channel. After a failure `*chan` is
 * null. */
SPEECH_PLATFORM_API OSErr NewSpeechChannel(VoiceSpec* voice, SpeechChannel* chan);

/* Stops the speech immediately and closes the channel. Speech-done is not called for the stopped
 * job. May be called inside a callback of the same channel, in speech-done for example. No callback
 * of the channel begins after the call. Called outside a callback of the channel, it also waits for
 * a callback of the channel that is running: do not hold a lock that a callback waits for. Results:
 * noErr. */
SPEECH_PLATFORM_API OSErr DisposeSpeechChannel(SpeechChannel chan);

/* Starts speaking `textBytes` bytes and returns; speech runs in the background. A channel that is
 * speaking or paused stops immediately first. A null or empty text only stops the channel, and does
 * not call text-done. Flags of `controlFlags`:
 *   kNoEndingProsody     a last word without punctuation does not sound like the end of a sentence
 *   kNoSpeechInterrupt   a channel that is speaking or paused keeps its text: synthNotReady
 *   kPreflightThenPause  the channel is paused before the first word, until ContinueSpeech
 * Embedded commands that are not exact are adapted to what the synthesizer understands. Each part
 * that has no meaning (an unknown command, an unknown phoneme, a bracket that is not closed) is
 * reported by the error callback and by soErrors; the rest is spoken. kSpeechStrictTextProperty
 * switches that off.
 * With kPreflightThenPause, and with a text-done callback after a short text, the synthesizer
 * receives the text after this function has returned. If it then cannot speak the text, the error
 * callback is called, then speech-done. Results: noErr; paramErr if the text is longer than
 * 2147483647 bytes; synthNotReady, also if the stopped speech does not end within one second;
 * badInputText if the synthesizer cannot speak the text; fnfErr, permErr or ioErr if the output
 * file cannot be written. */
SPEECH_PLATFORM_API OSErr SpeakBuffer(SpeechChannel chan, const void* textBuf,
                                      unsigned long textBytes, SInt32 controlFlags);

/* SpeakBuffer without flags. */
SPEECH_PLATFORM_API OSErr SpeakText(SpeechChannel chan, const void* textBuf,
                                    unsigned long textBytes);

/* Speaks a Pascal string of up to 255 bytes with the default voice, on a channel that the Manager
 * opens for it and disposes when the speech is done. A text of an earlier SpeakString stops
 * immediately. Null or an empty string only stops that text. Results: those of NewSpeechChannel and
 * SpeakBuffer. */
SPEECH_PLATFORM_API OSErr SpeakString(ConstStr255Param textToBeSpoken);

/* StopSpeech stops immediately. StopSpeechAt stops at a boundary: kImmediate, kEndOfWord or
 * kEndOfSentence; it does not wait for the boundary (convention 8). Speech-done is called when the
 * speech has stopped. A paused channel stops immediately, whatever the boundary. No effect on an
 * idle channel. Results: noErr; paramErr if `whereToStop` is not a boundary; synthNotReady if the
 * synthesizer cannot stop. */
SPEECH_PLATFORM_API OSErr StopSpeech(SpeechChannel chan);
SPEECH_PLATFORM_API OSErr StopSpeechAt(SpeechChannel chan, SInt32 whereToStop);

/* Pauses at a boundary (kImmediate, kEndOfWord, kEndOfSentence) until ContinueSpeech, and returns
 * immediately. soStatus reports the channel as paused from then on, although it speaks up to the
 * boundary. No effect on an idle or paused channel. Results: noErr; paramErr if `whereToPause` is
 * not a boundary; synthNotReady if the synthesizer cannot pause. */
SPEECH_PLATFORM_API OSErr PauseSpeechAt(SpeechChannel chan, SInt32 whereToPause);

/* Resumes a paused channel. No effect on a channel that is not paused. Results: noErr;
 * synthNotReady if the synthesizer cannot resume; badInputText if a text of kPreflightThenPause
 * cannot be spoken; the error callback and speech-done are called for it then. */
SPEECH_PLATFORM_API OSErr ContinueSpeech(SpeechChannel chan);

/* Returns the number of channels of this process that are speaking or paused, at most 32767. */
SPEECH_PLATFORM_API SInt16 SpeechBusy(void);

/* The same as SpeechBusy: the speech of other processes is unknown here. */
SPEECH_PLATFORM_API SInt16 SpeechBusySystemWide(void);

/* Converts `textBytes` bytes of text to phonemes, with the voice and modes of the channel. The
 * result is text for modePhonemes: the symbols of a word follow one another, words are separated by
 * blanks, and "%" is a pause. Stress is not included. Phonemes that the synthesizer reports under
 * one code always have the same symbol (IX for IH, UX for AX); one without a code is "%".
 *
 * The text is spoken into a temporary file, so the call blocks for a time in proportion to the
 * text. The channel itself is not used and may be speaking. `phonemeBuf` is a handle of the caller
 * that is resized to the result; `*phonemeBytes` receives the number of bytes. Results: noErr;
 * paramErr if an argument is null; voiceNotFound; synthOpenFailed; synthNotReady, also if the
 * synthesizer reports nothing for 30 seconds; badInputText. After a failure both outputs are
 * unchanged. */
SPEECH_PLATFORM_API OSErr TextToPhonemes(SpeechChannel chan, const void* textBuf,
                                         unsigned long textBytes, Handle phonemeBuf,
                                         long* phonemeBytes);

/* Passes a pronunciation dictionary, the contents of a 'dict' resource, to the synthesizer. The
 * synthesizer of this project accepts every dictionary and ignores it. Results: noErr; paramErr if
 * `dictionary` is null; badDictFormat if it has no 'dict' mark or is shorter than its byte count.
 */
SPEECH_PLATFORM_API OSErr UseDictionary(SpeechChannel chan, Handle dictionary);

/* Changes a setting of the channel. A text that is being spoken keeps its settings; callbacks and
 * soRefCon apply from the next callback on. Read-only selectors are ignored, with noErr. Results:
 * noErr; siUnknownInfoType if the selector is unknown; paramErr if the selector needs a value and
 * `speechInfo` is null, if the selector has no such mode, or if a file URL has a path longer than
 * 2047 bytes; fnfErr if the folder of the file does not exist; permErr if the file cannot be
 * written; voiceNotFound and incompatibleVoice (soCurrentVoice only). */
SPEECH_PLATFORM_API OSErr SetSpeechInfo(SpeechChannel chan, OSType selector,
                                        const void* speechInfo);

/* Reads a setting or the state of the channel into `*speechInfo`. soErrors counts the texts that
 * the Manager refused with badInputText and the errors of the error callback, and reading it clears
 * it. Results: noErr; paramErr if `speechInfo` is null; siUnknownInfoType if the selector is
 * unknown or write-only. */
SPEECH_PLATFORM_API OSErr GetSpeechInfo(SpeechChannel chan, OSType selector, void* speechInfo);

/* SetSpeechInfo and GetSpeechInfo with soRate: words per minute. */
SPEECH_PLATFORM_API OSErr SetSpeechRate(SpeechChannel chan, Fixed rate);
SPEECH_PLATFORM_API OSErr GetSpeechRate(SpeechChannel chan, Fixed* rate);

/* SetSpeechInfo and GetSpeechInfo with soPitchBase: a note number, 60 = middle C. */
SPEECH_PLATFORM_API OSErr SetSpeechPitch(SpeechChannel chan, Fixed pitch);
SPEECH_PLATFORM_API OSErr GetSpeechPitch(SpeechChannel chan, Fixed* pitch);

#ifdef __cplusplus
}
#endif

#endif
