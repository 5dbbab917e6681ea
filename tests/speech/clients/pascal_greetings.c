/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Greets people by name, with strings whose first byte is their length. Greetings are spoken with
 * SpeakString; the farewell on a channel, with a `pascal` callback. Speaks in real time, in silence
 * without a sound device.
 */
#include <MacMemory.h>
#include <MacTypes.h>
#include <SpeechSynthesis.h>
#include <TextUtils.h>
#include <stdio.h>
#include <time.h>

#define kPeople 3

static unsigned char gHello[] = {12, '[', '[', 'r', 'a', 't', 'e', ' ', '3', '5', '0', ']', ']'};
static const char* gPeople[kPeople] = {"Nora", "Piet", "Everybody"};
static int gFarewells = 0;

static void Nap(void) {
  struct timespec moment;
  moment.tv_sec = 0;
  moment.tv_nsec = 2000000L;
  nanosleep(&moment, nil);
}

/* A Pascal string has room for 255 characters; the rest is cut off. */
static void AppendPString(StringPtr dest, ConstStr255Param src) {
  short i;
  for (i = 1; i <= src[0] && dest[0] < 255; i++) dest[++dest[0]] = src[i];
}

static void WaitForSilence(void) {
  while (SpeechBusy() > 0) Nap();
}

static pascal void SpeechIsDone(SpeechChannel chan, SRefCon refCon) {
  (void)chan;
  __sync_fetch_and_add((int*)refCon, 1);
}

static OSErr GreetEverybody(void) {
  Str255 greeting, name;
  char line[256];
  OSErr theErr = noErr;
  short i;
  for (i = 0; i < kPeople && theErr == noErr; i++) {
    greeting[0] = 0;
    AppendPString(greeting, gHello);
    AppendPString(greeting, (ConstStr255Param) "\006Hello ");
    CopyCStringToPascal(gPeople[i], name);
    AppendPString(greeting, name);
    AppendPString(greeting, (ConstStr255Param) "\001.");
    CopyPascalStringToC(greeting, line);
    printf("%3d %s\n", greeting[0], line);
    theErr = SpeakString(greeting);
    if (theErr == noErr && SpeechBusy() != 1) return synthNotReady;
    WaitForSilence();
  }
  return theErr;
}

/* The longest string there is, and the way to stop it. */
static OSErr BoreEverybody(void) {
  Str255 speech;
  OSErr theErr;
  speech[0] = 0;
  while (speech[0] < 255) AppendPString(speech, (ConstStr255Param) "\012and so on ");
  printf("%3d %.10s ... %.5s\n", speech[0], &speech[1], &speech[251]);
  theErr = SpeakString(speech);
  if (theErr == noErr) theErr = SpeakString(nil);
  if (theErr == noErr && SpeechBusy() != 0) return synthNotReady;
  return theErr;
}

static OSErr SayFarewell(void) {
  SpeechChannel chan = nil;
  SpeechDoneUPP done = NewSpeechDoneUPP(SpeechIsDone);
  Str255 farewell;
  OSErr theErr = NewSpeechChannel(nil, &chan);
  if (theErr == noErr) theErr = SetSpeechInfo(chan, soRefCon, (Ptr)&gFarewells);
  if (theErr == noErr) theErr = SetSpeechInfo(chan, soSpeechDoneCallBack, (Ptr)done);
  if (theErr != noErr) return theErr;
  farewell[0] = 0;
  AppendPString(farewell, gHello);
  AppendPString(farewell, (ConstStr255Param) "\010Goodbye.");
  theErr = SpeakText(chan, (Ptr)&farewell[1], farewell[0]);
  while (theErr == noErr && __sync_fetch_and_add(&gFarewells, 0) == 0) Nap();
  if (theErr == noErr) theErr = DisposeSpeechChannel(chan);
  DisposeSpeechDoneUPP(done);
  return theErr;
}

int main(void) {
  OSErr theErr = GreetEverybody();
  if (theErr == noErr) theErr = BoreEverybody();
  if (theErr == noErr) theErr = SayFarewell();
  if (theErr != noErr) {
    fprintf(stderr, "The Speech Manager reports %d.\n", theErr);
    return 1;
  }
  printf("%d farewell\n", __sync_fetch_and_add(&gFarewells, 0));
  return 0;
}
