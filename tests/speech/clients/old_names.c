/* SPDX-License-Identifier: Apache-2.0 */
/*
 * A program from before universal procedure pointers had their later names: callbacks are made with
 * NewSpeech...Proc, commands have delimiters of the user's choice, mistakes are read from the
 * error record, and selectors that a system may lack are asked for first. Speaks into the file
 * named by its argument.
 */
#include <CoreFoundation/CoreFoundation.h>

#include <Components.h>
#include <SpeechSynthesis.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static const char gText[] = "Give <rate 220>me a <brake 9>break, [[pbas]] please.";
static int gErrors = 0;
static int gMarks = 0;
static int gFinished = 0;

static void Fail(const char* what, OSErr err) {
  fprintf(stderr, "%s: %d\n", what, err);
  exit(1);
}

static void Check(OSErr err, const char* what) {
  if (err != noErr) Fail(what, err);
}

static pascal void MyWordProc(SpeechChannel chan, SRefCon refCon, unsigned long wordPos,
                              UInt16 wordLen) {
  (void)chan;
  (void)refCon;
  printf("%2lu %.*s\n", wordPos, (int)wordLen, gText + wordPos);
}

static pascal void MyErrorProc(SpeechChannel chan, SRefCon refCon, OSErr theError, long bytePos) {
  (void)chan;
  (void)refCon;
  printf("error %d at %ld\n", theError, bytePos);
  __sync_fetch_and_add(&gErrors, 1);
}

static pascal void MySyncProc(SpeechChannel chan, SRefCon refCon, OSType syncMessage) {
  (void)chan;
  (void)refCon;
  (void)syncMessage;
  __sync_fetch_and_add(&gMarks, 1);
}

static pascal void MyPhonemeProc(SpeechChannel chan, SRefCon refCon, SInt16 phonemeOpcode) {
  (void)chan;
  (void)refCon;
  (void)phonemeOpcode;
}

static pascal void MyDoneProc(SpeechChannel chan, SRefCon refCon) {
  (void)chan;
  __sync_lock_test_and_set((int*)refCon, 1);
}

static void InstallCallbacks(SpeechChannel chan) {
  Check(SetSpeechInfo(chan, soRefCon, &gFinished), "soRefCon");
  Check(SetSpeechInfo(chan, soWordCallBack, (Ptr)NewSpeechWordProc(MyWordProc)), "word");
  Check(SetSpeechInfo(chan, soErrorCallBack, (Ptr)NewSpeechErrorProc(MyErrorProc)), "error");
  Check(SetSpeechInfo(chan, soSyncCallBack, (Ptr)NewSpeechSyncProc(MySyncProc)), "sync");
  Check(SetSpeechInfo(chan, soPhonemeCallBack, (Ptr)NewSpeechPhonemeProc(MyPhonemeProc)),
        "phoneme");
  Check(SetSpeechInfo(chan, soSpeechDoneCallBack, (Ptr)NewSpeechDoneProc(MyDoneProc)), "done");
}

/* Single characters: the second byte of a delimiter is 0. */
static void UseDelimiters(SpeechChannel chan, char start, char end) {
  DelimiterInfo delimiters;
  memset(&delimiters, 0, sizeof(delimiters));
  delimiters.startDelimiter[0] = (unsigned char)start;
  delimiters.endDelimiter[0] = (unsigned char)end;
  Check(SetSpeechInfo(chan, soCommandDelimiter, &delimiters), "soCommandDelimiter");
}

static void AskForOldSelectors(SpeechChannel chan) {
  long value = 0;
  if (SetSpeechInfo(chan, soCurrentA5, &value) == siUnknownInfoType) puts("no register A5");
  if (SetSpeechInfo(chan, soSoundOutput, &value) == siUnknownInfoType) puts("no sound component");
  if (SetSpeechInfo(chan, 0x77686174L, &value) == siUnknownInfoType) puts("no 'what'");
  if (GetSpeechInfo(chan, 0x77686174L, &value) == siUnknownInfoType) puts("no 'what' to read");
}

static void ShowErrors(SpeechChannel chan) {
  SpeechErrorInfo errors;
  memset(&errors, 0x55, sizeof(errors));
  Check(GetSpeechInfo(chan, soErrors, &errors), "soErrors");
  printf("%d errors, oldest %d at %d, newest %d at %d\n", errors.count, errors.oldest,
         (int)errors.oldPos, errors.newest, (int)errors.newPos);
}

int main(int argc, char** argv) {
  SpeechChannel chan = NULL;
  SpeechVersionInfo version;
  CFURLRef url;
  if (argc != 2) return 2;
  Check(NewSpeechChannel(NULL, &chan), "NewSpeechChannel");
  AskForOldSelectors(chan);
  Check(GetSpeechInfo(chan, soSynthType, &version), "soSynthType");
  puts(version.synthManufacturer != 0 ? "made by somebody" : "made by nobody");

  InstallCallbacks(chan);
  UseDelimiters(chan, '<', '>');
  url = CFURLCreateFromFileSystemRepresentation(NULL, (const UInt8*)argv[1],
                                                (CFIndex)strlen(argv[1]), false);
  Check(SetSpeechInfo(chan, soOutputToFileWithCFURL, url), "soOutputToFileWithCFURL");
  CFRelease(url);
  Check(SpeakText(chan, gText, strlen(gText)), "SpeakText");
  while (!__sync_fetch_and_add(&gFinished, 0)) usleep(2000);
  ShowErrors(chan);
  ShowErrors(chan);
  Check(DisposeSpeechChannel(chan), "DisposeSpeechChannel");
  printf("%d reported, %d marks\n", __sync_fetch_and_add(&gErrors, 0),
         __sync_fetch_and_add(&gMarks, 0));
  return 0;
}
