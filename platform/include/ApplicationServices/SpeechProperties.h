/* SPDX-License-Identifier: Apache-2.0 */
/*
 * SpeechProperties: the part of the Speech Synthesis Manager's client interface that deals in Core
 * Foundation objects. The conventions of SpeechSynthesis.h and of CFBase.h hold.
 *
 * Text of a string is converted to Mac OS Roman: a character that this lacks takes its plain form
 * (a letter without its accent, "-" for every dash, "1/2"), nothing when it has no width, one blank
 * when it has no form. Positions are those of the string, in UTF-16 units, whatever the conversion
 * made of it.
 */
#ifndef APPLICATIONSERVICES_SPEECHPROPERTIES_H
#define APPLICATIONSERVICES_SPEECHPROPERTIES_H

#include <ApplicationServices/SpeechSynthesis.h>
#include <CoreFoundation/CoreFoundation.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Properties ---------------------------------------------------------------------------- */

/* Read: a dictionary of state, see the keys below. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechStatusProperty;
/* Read: a dictionary of the errors since it was read before. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechErrorsProperty;
/* kSpeechModeText or kSpeechModePhoneme. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechInputModeProperty;
/* kSpeechModeNormal or kSpeechModeLiteral. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechCharacterModeProperty;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechNumberModeProperty;
/* Numbers: words per minute; note number, 60 = middle C; notes up and down; 0.0 to 1.0. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechRateProperty;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPitchBaseProperty;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPitchModProperty;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechVolumeProperty;
/* Read: a dictionary about the synthesizer. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechSynthesizerInfoProperty;
/* Read: a number, the last mark reached. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechRecentSyncProperty;
/* Read: an array of dictionaries, one for each phoneme symbol, in the order of their codes. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPhonemeSymbolsProperty;
/* A dictionary with kSpeechVoiceCreator and kSpeechVoiceID. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechCurrentVoiceProperty;
/* Write: a dictionary with kSpeechCommandPrefix and kSpeechCommandSuffix, strings of one or two
 * ASCII characters. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechCommandDelimiterProperty;
/* Write: all settings as at first; the value is not looked at. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechResetProperty;
/* Write: a URL of an AIFF file to speak into; null for the sound output. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechOutputToFileURLProperty;
/* Numbers of kCFNumberLongType that hold a pointer: the reference constant, and callbacks; null
 * switches a callback off. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechRefConProperty;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechTextDoneCallBack;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechSpeechDoneCallBack;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechSyncCallBack;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPhonemeCallBack;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechErrorCFCallBack; /* SpeechErrorCFProcPtr */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechWordCFCallBack;  /* SpeechWordCFProcPtr */

/* ---- Values and keys ----------------------------------------------------------------------- */

SPEECH_PLATFORM_API extern const CFStringRef kSpeechModeText;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechModePhoneme;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechModeTune;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechModeNormal;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechModeLiteral;

/* Of SpeakCFString's options: a number or truth value each, false when missing. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechNoEndingProsody;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechNoSpeechInterrupt;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPreflightThenPause;

/* Of kSpeechStatusProperty: numbers. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechStatusOutputBusy;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechStatusOutputPaused;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechStatusNumberOfCharactersLeft;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechStatusPhonemeCode;

/* Of kSpeechErrorsProperty: numbers. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechErrorCount;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechErrorOldest;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechErrorOldestCharacterOffset;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechErrorNewest;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechErrorNewestCharacterOffset;

/* Of kSpeechSynthesizerInfoProperty: strings of four characters, and of a version as "4.0.4". */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechSynthesizerInfoIdentifier;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechSynthesizerInfoManufacturer;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechSynthesizerInfoVersion;

/* Of kSpeechPhonemeSymbolsProperty: the code (number), the symbol, a word that has the sound, and
 * where in the word it is (numbers, from and to behind). */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPhonemeInfoOpcode;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPhonemeInfoSymbol;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPhonemeInfoExample;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPhonemeInfoHiliteStart;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPhonemeInfoHiliteEnd;

/* Of kSpeechCurrentVoiceProperty: numbers. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechVoiceCreator;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechVoiceID;

SPEECH_PLATFORM_API extern const CFStringRef kSpeechCommandPrefix;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechCommandSuffix;

/* Of an error's user info: the text that was spoken (string), and where in it (number). */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechErrorCallbackSpokenString;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechErrorCallbackCharacterOffset;

/* Of a pronunciation dictionary: a locale (string), a date, and arrays of entries, dictionaries
 * with a spelling and phonemes (strings) each. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechDictionaryLocaleIdentifier;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechDictionaryModificationDate;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechDictionaryPronunciations;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechDictionaryAbbreviations;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechDictionaryEntrySpelling;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechDictionaryEntryPhonemes;

/* ---- Calls --------------------------------------------------------------------------------- */

/* SpeakBuffer for a string; null or an empty one stops the channel. `options` may be null. Word,
 * error and state positions count UTF-16 units of the string, in the callbacks of the other calls
 * too. Results: those of SpeakBuffer. */
SPEECH_PLATFORM_API OSErr SpeakCFString(SpeechChannel chan, CFStringRef aString,
                                        CFDictionaryRef options);

/* Reads a property into `*object`, which the caller releases; null after a failure. Results: noErr;
 * paramErr, `property` or `object` is null; siUnknownInfoType, the property is not known, or not
 * read; memFullErr. */
SPEECH_PLATFORM_API OSErr CopySpeechProperty(SpeechChannel chan, CFStringRef property,
                                             CFTypeRef* object);

/* Changes a property. Results: noErr; paramErr, `property` is null, or the object is not of the
 * kind or range that the property takes; siUnknownInfoType, the property is not known, or not
 * written; those of SetSpeechInfo. */
SPEECH_PLATFORM_API OSErr SetSpeechProperty(SpeechChannel chan, CFStringRef property,
                                            CFTypeRef object);

/* TextToPhonemes for a string; `*phonemes` is a string that the caller releases, null after a
 * failure. Results: paramErr, an argument is null; those of TextToPhonemes. */
SPEECH_PLATFORM_API OSErr CopyPhonemesFromText(SpeechChannel chan, CFStringRef text,
                                               CFStringRef* phonemes);

/* A pronunciation dictionary as an object. No synthesizer takes one on this platform, and the
 * spoken text stays as it is; only its form is looked at. Results: noErr; paramErr,
 * `speechDictionary` is null; badDictFormat, a list in it is not one, or an entry lacks its
 * spelling or phonemes. */
SPEECH_PLATFORM_API OSErr UseSpeechDictionary(SpeechChannel chan, CFDictionaryRef speechDictionary);

#ifdef __cplusplus
}
#endif

#endif
