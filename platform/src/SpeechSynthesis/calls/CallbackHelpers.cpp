// SPDX-License-Identifier: Apache-2.0
//
// CallbackHelpers: New..., Dispose... and Invoke... for callbacks. Here a callback is a plain
// function, so there is nothing to create or release.
#include <ApplicationServices/SpeechSynthesis.h>

SpeechTextDoneUPP NewSpeechTextDoneUPP(SpeechTextDoneProcPtr callback) {
  return callback;
}
SpeechDoneUPP NewSpeechDoneUPP(SpeechDoneProcPtr callback) {
  return callback;
}
SpeechSyncUPP NewSpeechSyncUPP(SpeechSyncProcPtr callback) {
  return callback;
}
SpeechErrorUPP NewSpeechErrorUPP(SpeechErrorProcPtr callback) {
  return callback;
}
SpeechPhonemeUPP NewSpeechPhonemeUPP(SpeechPhonemeProcPtr callback) {
  return callback;
}
SpeechWordUPP NewSpeechWordUPP(SpeechWordProcPtr callback) {
  return callback;
}

void DisposeSpeechTextDoneUPP(SpeechTextDoneUPP /*upp*/) {}
void DisposeSpeechDoneUPP(SpeechDoneUPP /*upp*/) {}
void DisposeSpeechSyncUPP(SpeechSyncUPP /*upp*/) {}
void DisposeSpeechErrorUPP(SpeechErrorUPP /*upp*/) {}
void DisposeSpeechPhonemeUPP(SpeechPhonemeUPP /*upp*/) {}
void DisposeSpeechWordUPP(SpeechWordUPP /*upp*/) {}

void InvokeSpeechTextDoneUPP(SpeechChannel chan, SRefCon refCon, const void** nextBuf,
                             unsigned long* byteLen, SInt32* controlFlags, SpeechTextDoneUPP upp) {
  if (upp != nullptr) upp(chan, refCon, nextBuf, byteLen, controlFlags);
}
void InvokeSpeechDoneUPP(SpeechChannel chan, SRefCon refCon, SpeechDoneUPP upp) {
  if (upp != nullptr) upp(chan, refCon);
}
void InvokeSpeechSyncUPP(SpeechChannel chan, SRefCon refCon, OSType syncMessage,
                         SpeechSyncUPP upp) {
  if (upp != nullptr) upp(chan, refCon, syncMessage);
}
void InvokeSpeechErrorUPP(SpeechChannel chan, SRefCon refCon, OSErr theError, long bytePos,
                          SpeechErrorUPP upp) {
  if (upp != nullptr) upp(chan, refCon, theError, bytePos);
}
void InvokeSpeechPhonemeUPP(SpeechChannel chan, SRefCon refCon, SInt16 phonemeOpcode,
                            SpeechPhonemeUPP upp) {
  if (upp != nullptr) upp(chan, refCon, phonemeOpcode);
}
void InvokeSpeechWordUPP(SpeechChannel chan, SRefCon refCon, unsigned long wordPos, UInt16 wordLen,
                         SpeechWordUPP upp) {
  if (upp != nullptr) upp(chan, refCon, wordPos, wordLen);
}
