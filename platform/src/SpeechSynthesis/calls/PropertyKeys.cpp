// SPDX-License-Identifier: Apache-2.0
//
// PropertyKeys: the constants of SpeechProperties.h and SpeechOldNames.h. The text of each is its
// own name, so that a printed dictionary is readable.
#include <ApplicationServices/SpeechOldNames.h>
#include <ApplicationServices/SpeechProperties.h>

#define SPEECH_KEY(name) const CFStringRef name = CFSTR(#name)

SPEECH_KEY(kSpeechStatusProperty);
SPEECH_KEY(kSpeechErrorsProperty);
SPEECH_KEY(kSpeechInputModeProperty);
SPEECH_KEY(kSpeechCharacterModeProperty);
SPEECH_KEY(kSpeechNumberModeProperty);
SPEECH_KEY(kSpeechRateProperty);
SPEECH_KEY(kSpeechPitchBaseProperty);
SPEECH_KEY(kSpeechPitchModProperty);
SPEECH_KEY(kSpeechVolumeProperty);
SPEECH_KEY(kSpeechSynthesizerInfoProperty);
SPEECH_KEY(kSpeechRecentSyncProperty);
SPEECH_KEY(kSpeechPhonemeSymbolsProperty);
SPEECH_KEY(kSpeechCurrentVoiceProperty);
SPEECH_KEY(kSpeechCommandDelimiterProperty);
SPEECH_KEY(kSpeechResetProperty);
SPEECH_KEY(kSpeechOutputToFileURLProperty);
SPEECH_KEY(kSpeechRefConProperty);
SPEECH_KEY(kSpeechTextDoneCallBack);
SPEECH_KEY(kSpeechSpeechDoneCallBack);
SPEECH_KEY(kSpeechSyncCallBack);
SPEECH_KEY(kSpeechPhonemeCallBack);
SPEECH_KEY(kSpeechErrorCFCallBack);
SPEECH_KEY(kSpeechWordCFCallBack);
SPEECH_KEY(kSpeechStrictTextProperty);
SPEECH_KEY(kSpeechOneVoiceProperty);
SPEECH_KEY(kSpeechTextEncodingProperty);
SPEECH_KEY(kSpeechPhonemeOptionsProperty);
SPEECH_KEY(kSpeechOutputToExtAudioFileProperty);
SPEECH_KEY(kSpeechOutputToAudioDeviceProperty);
SPEECH_KEY(kSpeechOutputChannelMapProperty);
// The values of kSpeechTextEncodingProperty, the same as in KAVREL_TEXT_ENCODING.
const CFStringRef kSpeechTextEncodingMacRoman = CFSTR("macroman");
const CFStringRef kSpeechTextEncodingUTF8 = CFSTR("utf-8");
SPEECH_KEY(kSpeechModeText);
SPEECH_KEY(kSpeechModePhoneme);
SPEECH_KEY(kSpeechModeTune);
SPEECH_KEY(kSpeechModeNormal);
SPEECH_KEY(kSpeechModeLiteral);
SPEECH_KEY(kSpeechNoEndingProsody);
SPEECH_KEY(kSpeechNoSpeechInterrupt);
SPEECH_KEY(kSpeechPreflightThenPause);
SPEECH_KEY(kSpeechStatusOutputBusy);
SPEECH_KEY(kSpeechStatusOutputPaused);
SPEECH_KEY(kSpeechStatusNumberOfCharactersLeft);
SPEECH_KEY(kSpeechStatusPhonemeCode);
SPEECH_KEY(kSpeechErrorCount);
SPEECH_KEY(kSpeechErrorOldest);
SPEECH_KEY(kSpeechErrorOldestCharacterOffset);
SPEECH_KEY(kSpeechErrorNewest);
SPEECH_KEY(kSpeechErrorNewestCharacterOffset);
SPEECH_KEY(kSpeechSynthesizerInfoIdentifier);
SPEECH_KEY(kSpeechSynthesizerInfoManufacturer);
SPEECH_KEY(kSpeechSynthesizerInfoVersion);
SPEECH_KEY(kSpeechPhonemeInfoOpcode);
SPEECH_KEY(kSpeechPhonemeInfoSymbol);
SPEECH_KEY(kSpeechPhonemeInfoExample);
SPEECH_KEY(kSpeechPhonemeInfoHiliteStart);
SPEECH_KEY(kSpeechPhonemeInfoHiliteEnd);
SPEECH_KEY(kSpeechVoiceCreator);
SPEECH_KEY(kSpeechVoiceID);
SPEECH_KEY(kSpeechCommandPrefix);
SPEECH_KEY(kSpeechCommandSuffix);
SPEECH_KEY(kSpeechErrorCallbackSpokenString);
SPEECH_KEY(kSpeechErrorCallbackCharacterOffset);
SPEECH_KEY(kSpeechDictionaryLocaleIdentifier);
SPEECH_KEY(kSpeechDictionaryModificationDate);
SPEECH_KEY(kSpeechDictionaryPronunciations);
SPEECH_KEY(kSpeechDictionaryAbbreviations);
SPEECH_KEY(kSpeechDictionaryEntrySpelling);
SPEECH_KEY(kSpeechDictionaryEntryPhonemes);
