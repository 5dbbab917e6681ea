/* SPDX-License-Identifier: Apache-2.0 */
/*
 * A synthesizer plug-in without the entry point SEUseVoice, which the Manager must refuse to load.
 * None of its functions is ever called.
 */
#define ENTRY_POINT(name)                                 \
  __attribute__((visibility("default"))) long name(void); \
  long name(void) {                                       \
    return 0;                                             \
  }

ENTRY_POINT(SEOpenSpeechChannel)
ENTRY_POINT(SECloseSpeechChannel)
ENTRY_POINT(SESpeechStatus)
ENTRY_POINT(SEStopSpeechAt)
ENTRY_POINT(SEPauseSpeechAt)
ENTRY_POINT(SEContinueSpeech)
ENTRY_POINT(SETextToPhonemes)
ENTRY_POINT(SEUseDictionary)
ENTRY_POINT(SESpeakBuffer)
ENTRY_POINT(SEGetSpeechInfo)
ENTRY_POINT(SESetSpeechInfo)
