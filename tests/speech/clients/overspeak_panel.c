/* SPDX-License-Identifier: Apache-2.0 */
/*
 * The panel of a game, where everybody talks at once: each line cuts off the one before, some lines
 * are too polite for that, and a slider changes the rate while somebody is speaking. Speaks in real
 * time, in silence without a sound device.
 */
#include <Carbon/Carbon.h>
#include <pthread.h>

enum { kLines = 25 };

static const char gStory[] =
    "This is a long story about a town on a hill, and it takes its time, since nobody wants it to "
    "end before the lamps have been lit, the boats are in, and the children are asleep. ";

static pthread_mutex_t gLock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t gChanged = PTHREAD_COND_INITIALIZER;
static int gWords = 0;
static int gDone = 0;
static int gOverlaps = 0; /* speech-done of a channel that had nothing left to end */
static int gStarted = 0;
static SpeechChannel gChannel = NULL;

static void Require(Boolean fine, const char* what) {
  if (fine) return;
  fprintf(stderr, "%s\n", what);
  exit(1);
}

static pascal void MyWordProc(SpeechChannel chan, SRefCon refCon, unsigned long wordPos,
                              UInt16 wordLen) {
  (void)chan;
  (void)refCon;
  (void)wordPos;
  (void)wordLen;
  pthread_mutex_lock(&gLock);
  gWords++;
  pthread_cond_signal(&gChanged);
  pthread_mutex_unlock(&gLock);
}

static pascal void MyDoneProc(SpeechChannel chan, SRefCon refCon) {
  (void)chan;
  (void)refCon;
  pthread_mutex_lock(&gLock);
  if (++gDone > gStarted) gOverlaps++;
  pthread_cond_signal(&gChanged);
  pthread_mutex_unlock(&gLock);
}

static void Wait(const int* counter, int until) {
  pthread_mutex_lock(&gLock);
  while (*counter < until) pthread_cond_wait(&gChanged, &gLock);
  pthread_mutex_unlock(&gLock);
}

static void Say(const char* line) {
  pthread_mutex_lock(&gLock);
  gStarted++;
  gWords = 0;
  pthread_mutex_unlock(&gLock);
  Require(SpeakText(gChannel, line, strlen(line)) == noErr, "SpeakText");
}

static void SayPolitely(const char* line) {
  OSErr err = SpeakBuffer(gChannel, line, strlen(line), kNoSpeechInterrupt);
  printf("%s\n", err == synthNotReady ? "not now" : err == noErr ? "go on" : "what?");
}

static void ShowStatus(const char* when) {
  SpeechStatusInfo status;
  Require(GetSpeechInfo(gChannel, soStatus, &status) == noErr, "soStatus");
  printf("%-6s busy %d, %d speaking, %s\n", when, status.outputBusy, SpeechBusy(),
         status.inputBytesLeft > 0 ? "more to come" : "nothing left");
}

/* Everyone cuts off the one before, without waiting for a word or after the first. */
static void TalkAtOnce(void) {
  char line[300];
  int i;
  for (i = 1; i <= kLines; i++) {
    sprintf(line, "%s Number %d.", gStory, i);
    Say(line);
    memset(line, '?', sizeof(line));
    if (i % 5 == 0) Wait(&gWords, 1);
  }
  ShowStatus("crowd");
}

/* The slider: whatever it was set to while somebody is speaking holds from the next line on. */
static void MoveSlider(void) {
  Fixed rate = 0;
  short wpm;
  for (wpm = 150; wpm <= 450; wpm += 100) {
    Require(SetSpeechRate(gChannel, Long2Fix(wpm)) == noErr, "SetSpeechRate");
    Require(GetSpeechRate(gChannel, &rate) == noErr, "GetSpeechRate");
    printf("%ld ", (long)Fix2Long(rate));
  }
  printf("words per minute\n");
  ShowStatus("slider");
}

int main(void) {
  Require(NewSpeechChannel(NULL, &gChannel) == noErr, "NewSpeechChannel");
  Require(SetSpeechInfo(gChannel, soWordCallBack, (void*)NewSpeechWordUPP(MyWordProc)) == noErr,
          "soWordCallBack");
  Require(
      SetSpeechInfo(gChannel, soSpeechDoneCallBack, (void*)NewSpeechDoneUPP(MyDoneProc)) == noErr,
      "soSpeechDoneCallBack");
  ShowStatus("before");
  TalkAtOnce();
  SayPolitely("Excuse me.");
  MoveSlider();
  Say("Enough of that.");
  Wait(&gDone, kLines + 1);
  ShowStatus("after");

  pthread_mutex_lock(&gLock);
  gStarted++;
  pthread_mutex_unlock(&gLock);
  SayPolitely("Thank you.");
  Wait(&gDone, kLines + 2);
  Require(SpeakText(gChannel, "", 0) == noErr, "SpeakText of nothing");
  Require(SpeakText(gChannel, NULL, 0) == noErr, "SpeakText of NULL");
  ShowStatus("end");
  Require(DisposeSpeechChannel(gChannel) == noErr, "DisposeSpeechChannel");
  printf("%d lines, %d done, %d overlaps\n", gStarted, gDone, gOverlaps);
  return 0;
}
