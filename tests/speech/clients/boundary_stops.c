/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Stops and pauses at the ends of words and sentences, as reading programs do, and changes its mind
 * before the boundary is reached: nobody waits for it. Speaks in real time, in silence without a
 * sound device.
 */
#include <ApplicationServices/ApplicationServices.h>

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

/* The first sentence takes more than ten seconds, so its end is far away. */
static const char kText[] =
    "This sentence goes on about the harbour and the ships in it and the people who wait for them "
    "with letters in their hands and about the gulls and about the weather which is grey and about "
    "the lighthouse and the dogs. Then there is this one.";

enum { kFirstSentence = 212, kMuchLess = 5 /* seconds */ };

static pthread_mutex_t g_lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t g_changed = PTHREAD_COND_INITIALIZER;
static int g_words = 0;
static int g_done = 0;
static unsigned long g_lastWord = 0;

static void check(int good, const char* what) {
  if (good) return;
  fprintf(stderr, "%s\n", what);
  exit(1);
}

static double now(void) {
  struct timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return (double)time.tv_sec + (double)time.tv_nsec / 1e9;
}

static void wordBegins(SpeechChannel chan, SRefCon refCon, unsigned long wordPos, UInt16 wordLen) {
  (void)chan;
  (void)refCon;
  (void)wordLen;
  pthread_mutex_lock(&g_lock);
  g_words++;
  g_lastWord = wordPos;
  pthread_cond_signal(&g_changed);
  pthread_mutex_unlock(&g_lock);
}

static void speechEnds(SpeechChannel chan, SRefCon refCon) {
  (void)chan;
  (void)refCon;
  pthread_mutex_lock(&g_lock);
  g_done++;
  pthread_cond_signal(&g_changed);
  pthread_mutex_unlock(&g_lock);
}

static void waitForWords(int count) {
  pthread_mutex_lock(&g_lock);
  while (g_words < count) pthread_cond_wait(&g_changed, &g_lock);
  pthread_mutex_unlock(&g_lock);
}

static unsigned long waitForEnd(void) {
  unsigned long lastWord;
  pthread_mutex_lock(&g_lock);
  while (g_done == 0) pthread_cond_wait(&g_changed, &g_lock);
  lastWord = g_lastWord;
  g_done--;
  g_words = 0;
  pthread_mutex_unlock(&g_lock);
  return lastWord;
}

static void showState(SpeechChannel chan, const char* what) {
  SpeechStatusInfo status;
  memset(&status, 0xFF, sizeof status);
  check(GetSpeechInfo(chan, soStatus, &status) == noErr, "status");
  printf("%-18s busy %d paused %d%s\n", what, status.outputBusy, status.outputPaused,
         status.inputBytesLeft > 0 ? ", text left" : "");
}

static void begin(SpeechChannel chan, const char* text) {
  check(SpeakText(chan, text, strlen(text)) == noErr, "speak");
  waitForWords(2);
}

/* ---- What the user does */

static void pauseAtWords(SpeechChannel chan) {
  SpeechStatusInfo before;
  SpeechStatusInfo after;
  begin(chan, kText);
  check(PauseSpeechAt(chan, kEndOfWord) == noErr, "pause");
  showState(chan, "pause at a word");
  check(SpeechBusy() == 1, "a paused channel counts");
  check(ContinueSpeech(chan) == noErr, "continue");
  showState(chan, "continue");
  waitForWords(4);
  check(PauseSpeechAt(chan, kImmediate) == noErr, "pause at once");
  check(GetSpeechInfo(chan, soStatus, &before) == noErr, "status");
  check(PauseSpeechAt(chan, kEndOfSentence) == noErr, "pause again");
  check(GetSpeechInfo(chan, soStatus, &after) == noErr, "status");
  check(before.inputBytesLeft == after.inputBytesLeft, "bytes left stay");
  showState(chan, "pause");
  check(ContinueSpeech(chan) == noErr, "continue");
  waitForWords(5);
  check(StopSpeechAt(chan, kEndOfWord) == noErr, "stop");
  puts(waitForEnd() < kFirstSentence / 2 ? "stopped in the sentence" : "stopped too late");
  showState(chan, "stop at a word");
}

/* A channel that is to stop at the end of the sentence can do everything else at once. */
static void changeTheMind(SpeechChannel chan) {
  const double start = now();
  Fixed rate = 0;
  begin(chan, kText);
  check(StopSpeechAt(chan, kEndOfSentence) == noErr, "stop");
  showState(chan, "stop at the end");
  check(GetSpeechRate(chan, &rate) == noErr && rate > 0, "rate");
  check(SetSpeechRate(chan, rate) == noErr, "rate");
  check(StopSpeech(chan) == noErr, "stop");
  check(waitForEnd() < kFirstSentence, "stopped in the sentence");
  showState(chan, "stop after all");

  begin(chan, kText);
  check(StopSpeechAt(chan, kEndOfSentence) == noErr, "stop");
  check(SpeakText(chan, "New text.", 9) == noErr, "speak");
  check(waitForEnd() < kFirstSentence, "the end of the old text");
  showState(chan, "another text");
  waitForEnd();
  check(g_done == 0, "one end for each text");
  puts(now() - start < 2 * kMuchLess ? "at once" : "late");
}

static void disposeEarly(SpeechChannel chan) {
  double start;
  begin(chan, kText);
  check(StopSpeechAt(chan, kEndOfSentence) == noErr, "stop");
  start = now();
  check(DisposeSpeechChannel(chan) == noErr, "dispose");
  puts(now() - start < kMuchLess ? "disposed at once" : "disposed late");
  check(StopSpeechAt(chan, kEndOfSentence) == invalidComponentID, "no channel");
  printf("%d busy\n", SpeechBusy());
}

int main(void) {
  SpeechChannel chan = NULL;
  check(NewSpeechChannel(NULL, &chan) == noErr, "new channel");
  check(SetSpeechInfo(chan, soWordCallBack, (void*)wordBegins) == noErr, "word callback");
  check(SetSpeechInfo(chan, soSpeechDoneCallBack, (void*)speechEnds) == noErr, "done callback");
  check(StopSpeechAt(chan, 3) == paramErr, "no such boundary");
  check(PauseSpeechAt(chan, -1) == paramErr, "no such boundary");
  pauseAtWords(chan);
  changeTheMind(chan);
  disposeEarly(chan);
  return 0;
}
