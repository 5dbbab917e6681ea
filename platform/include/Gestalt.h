/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Gestalt: asks what the system offers. Safe to call from any thread.
 *
 * One selector is known: that of speech.
 */
#ifndef GESTALT_H
#define GESTALT_H

#include <MacTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Selectors. */
enum { gestaltSpeechAttr = 0x74747363 /* 'ttsc'; flags: the bits below */ };

/* Bits of gestaltSpeechAttr: numbers of bits, from 0, not masks. */
enum {
  gestaltSpeechMgrPresent = 0, /* speech synthesis is available: set */
  gestaltSpeechHasPPCGlue = 1  /* of other processors: not set */
};

/* Results. */
enum {
  gestaltUnknownErr = -5550,      /* not returned here */
  gestaltUndefSelectorErr = -5551 /* the selector is unknown */
};

/* Stores the value of a selector in `*response`. `response` is the address of a SInt32 or of a
 * long: older programs have either. Results: noErr; paramErr if `response` is null;
 * gestaltUndefSelectorErr. After a failure `*response` is unchanged. */
SPEECH_PLATFORM_API OSErr Gestalt(OSType selector, SInt32* response);

/* The same, for the address of an integer of `size` bytes: 4 or 8, else paramErr. */
SPEECH_PLATFORM_API OSErr GestaltOfSize(OSType selector, void* response, unsigned long size);

#ifdef __cplusplus
}

inline OSErr Gestalt(OSType selector, long* response) {
  return GestaltOfSize(selector, response, static_cast<unsigned long>(sizeof *response));
}
#else
/* The function Gestalt remains available as (Gestalt). */
#define Gestalt(selector, response) GestaltOfSize((selector), (response), sizeof *(response))
#endif

#endif
