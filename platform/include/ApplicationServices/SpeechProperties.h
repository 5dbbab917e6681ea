/* SPDX-License-Identifier: Apache-2.0 */
/*
 * SpeechProperties: the functions of the Speech Synthesis Manager that use Core Foundation objects.
 *
 * The conventions of SpeechSynthesis.h (results, threads, callbacks) and of CFBase.h (ownership,
 * null) apply.
 *
 * Strings may contain any Unicode text. Positions count UTF-16 units of the string. A synthesizer
 * that takes only Mac OS Roman gets the string converted: a character that Mac OS Roman lacks is
 * then replaced by its plain form (a letter without its accent, "-" for every dash, "1/2"), by
 * nothing if it has no width, or else by a blank.
 */
#ifndef APPLICATIONSERVICES_SPEECHPROPERTIES_H
#define APPLICATIONSERVICES_SPEECHPROPERTIES_H

#include <ApplicationServices/SpeechSynthesis.h>
#include <CoreFoundation/CoreFoundation.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Properties */

/* Properties of CopySpeechProperty and SetSpeechProperty. "Read": only CopySpeechProperty accepts
 * the property; "Write": only SetSpeechProperty. */

/* Read: a dictionary with the state, keys kSpeechStatus... */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechStatusProperty;
/* Read: a dictionary with the errors since the property was last read, keys kSpeechError... */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechErrorsProperty;
/* A string: kSpeechModeText or kSpeechModePhoneme. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechInputModeProperty;
/* Strings: kSpeechModeNormal or kSpeechModeLiteral. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechCharacterModeProperty;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechNumberModeProperty;
/* Numbers: the rate in words per minute; the base pitch as a note number, 60 = middle C; the pitch
 * modulation in notes above and below the base; the volume from 0.0 to 1.0. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechRateProperty;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPitchBaseProperty;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPitchModProperty;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechVolumeProperty;
/* Read: a dictionary about the synthesizer, keys kSpeechSynthesizerInfo... */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechSynthesizerInfoProperty;
/* Read: a number, the four-character code of the last sync mark reached. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechRecentSyncProperty;
/* Read: an array of dictionaries, one per phoneme in the order of the codes, keys
 * kSpeechPhonemeInfo... */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPhonemeSymbolsProperty;
/* A dictionary with kSpeechVoiceCreator and kSpeechVoiceID. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechCurrentVoiceProperty;
/* Write: a dictionary with kSpeechCommandPrefix and kSpeechCommandSuffix, strings of one or two
 * ASCII characters. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechCommandDelimiterProperty;
/* Write: restores the initial settings; the value is ignored. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechResetProperty;
/* Write: the URL of an AIFF file to speak into; null for the sound device. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechOutputToFileURLProperty;
/* Write: the reference constant and the callbacks, as numbers of kCFNumberLongType that hold a
 * pointer; null switches a callback off. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechRefConProperty;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechTextDoneCallBack;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechSpeechDoneCallBack;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechSyncCallBack;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPhonemeCallBack;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechErrorCFCallBack; /* SpeechErrorCFProcPtr */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechWordCFCallBack;  /* SpeechWordCFProcPtr */

/* An addition of this platform. A boolean or a number; false (0) at first, and not changed by a
 * reset. False: texts are adapted to what the synthesizer understands; see SpeakBuffer. True: texts
 * go to the synthesizer as they are written. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechStrictTextProperty;
/* An addition of this platform. A boolean or a number; false (0) at first, and not changed by a
 * reset. False: words in a script that the voice's language does not write may be spoken by another
 * voice. True: the channel's voice speaks the whole text. Applies from the next text on; has no
 * effect on synthesizers that never change the voice. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechOneVoiceProperty;
/* An addition of this platform. A string: the encoding of the texts that SpeakText, SpeakBuffer,
 * TextToPhonemes and the text-done callback pass as bytes; kSpeechTextEncodingMacRoman at first, or
 * kSpeechTextEncodingUTF8 if the environment variable KAVREL_TEXT_ENCODING is "utf-8" when the
 * channel is opened. Not changed by a reset; applies from the next text on. Positions count bytes
 * of the text in either encoding. Each byte of malformed UTF-8 separates words. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechTextEncodingProperty;

/* ---- Values and keys */

/* Values of kSpeechTextEncodingProperty: "macroman" and "utf-8". */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechTextEncodingMacRoman;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechTextEncodingUTF8;

SPEECH_PLATFORM_API extern const CFStringRef kSpeechModeText;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechModePhoneme;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechModeTune;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechModeNormal;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechModeLiteral;

/* Options of SpeakCFString: numbers or booleans. A missing option is false. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechNoEndingProsody;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechNoSpeechInterrupt;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPreflightThenPause;

/* Keys of kSpeechStatusProperty: numbers, as the fields of SpeechStatusInfo. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechStatusOutputBusy;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechStatusOutputPaused;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechStatusNumberOfCharactersLeft;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechStatusPhonemeCode;

/* Keys of kSpeechErrorsProperty: numbers, as the fields of SpeechErrorInfo. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechErrorCount;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechErrorOldest;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechErrorOldestCharacterOffset;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechErrorNewest;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechErrorNewestCharacterOffset;

/* Keys of kSpeechSynthesizerInfoProperty: strings of four characters; the version is a string such
 * as "4.0.4". */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechSynthesizerInfoIdentifier;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechSynthesizerInfoManufacturer;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechSynthesizerInfoVersion;

/* Keys of kSpeechPhonemeSymbolsProperty: the code (number), the symbol (string), a word that
 * contains the phoneme (string), and the range of the word's letters that stand for it (numbers:
 * the first position from 0, and the position after the last). */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPhonemeInfoOpcode;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPhonemeInfoSymbol;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPhonemeInfoExample;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPhonemeInfoHiliteStart;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechPhonemeInfoHiliteEnd;

/* Keys of kSpeechCurrentVoiceProperty: numbers. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechVoiceCreator;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechVoiceID;

/* Keys of kSpeechCommandDelimiterProperty: strings. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechCommandPrefix;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechCommandSuffix;

/* Keys of the user info of an error: the spoken text (string), and the position of the error in it
 * (number). Each error also has kCFErrorLocalizedDescriptionKey. */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechErrorCallbackSpokenString;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechErrorCallbackCharacterOffset;

/* Keys of a pronunciation dictionary: a locale (string), a date, and two arrays of entries. An
 * entry is a dictionary with a spelling and phonemes (strings). */
SPEECH_PLATFORM_API extern const CFStringRef kSpeechDictionaryLocaleIdentifier;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechDictionaryModificationDate;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechDictionaryPronunciations;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechDictionaryAbbreviations;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechDictionaryEntrySpelling;
SPEECH_PLATFORM_API extern const CFStringRef kSpeechDictionaryEntryPhonemes;

/* ---- Functions */

/* Speaks a string; see SpeakBuffer. Null or an empty string stops the channel. `options` is a
 * dictionary of the options above; null and objects of other types count as no options. The string
 * and the options are retained or copied as needed. Positions of words, errors and the state count
 * UTF-16 units of the string, in every callback. Text-done is called as for SpeakBuffer. Results:
 * those of SpeakBuffer; paramErr if the text is longer than 2147483647 bytes in UTF-8. */
SPEECH_PLATFORM_API OSErr SpeakCFString(SpeechChannel chan, CFStringRef aString,
                                        CFDictionaryRef options);

/* Reads a property into `*object`; the caller releases it. Results: noErr; paramErr if `property`
 * or `object` is null; siUnknownInfoType if the property is unknown or write-only. After a failure
 * `*object` is null. */
SPEECH_PLATFORM_API OSErr CopySpeechProperty(SpeechChannel chan, CFStringRef property,
                                             CFTypeRef* object);

/* Changes a property. The object is copied or retained. Results: noErr; paramErr if `property` is
 * null, or if the object does not have the type or range of the property; siUnknownInfoType if the
 * property is unknown or read-only; those of SetSpeechInfo. */
SPEECH_PLATFORM_API OSErr SetSpeechProperty(SpeechChannel chan, CFStringRef property,
                                            CFTypeRef object);

/* Converts a string to phonemes; see TextToPhonemes, which also says how long it takes. The caller
 * releases `*phonemes`. Results: those of TextToPhonemes; paramErr if an argument is null. After a
 * failure `*phonemes` is null. */
SPEECH_PLATFORM_API OSErr CopyPhonemesFromText(SpeechChannel chan, CFStringRef text,
                                               CFStringRef* phonemes);

/* Checks a pronunciation dictionary. No synthesizer uses it on this platform, so the spoken text
 * does not change. Results: noErr; paramErr if `speechDictionary` is null; badDictFormat if it is
 * not a dictionary, if one of its lists is not an array, or if an entry lacks its spelling or
 * phonemes. */
SPEECH_PLATFORM_API OSErr UseSpeechDictionary(SpeechChannel chan, CFDictionaryRef speechDictionary);

#ifdef __cplusplus
}
#endif

#endif
