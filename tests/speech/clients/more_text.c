/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Supplies a text piece by piece with a text-done callback, and shows each word as it is spoken:
 * its position is that in its piece. Speaks into the file named by its argument.
 */
#include <ApplicationServices/ApplicationServices.h>

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const char* const kPieces[] = {"Once upon ", "a time there ", "was a text ", "that came ",
                                      "in pieces."};
enum { kPieceCount = sizeof kPieces / sizeof kPieces[0] };

static pthread_mutex_t g_lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t g_changed = PTHREAD_COND_INITIALIZER;
static int g_done = 0;
static int g_given = 0;
static char g_piece[20];
static int g_spoken = -1; /* the piece of the last word */
static unsigned long g_lastPosition = 0;

static void check(OSErr result, const char* what) {
  if (result == noErr) return;
  fprintf(stderr, "%s: %d\n", what, (int)result);
  exit(1);
}

/* All pieces share one buffer: a piece has been copied when the next is requested. */
static void onTextDone(SpeechChannel chan, SRefCon refCon, const void** nextBuf,
                       unsigned long* byteLen, SInt32* controlFlags) {
  (void)chan;
  (void)refCon;
  (void)controlFlags;
  *nextBuf = NULL;
  *byteLen = 0;
  if (g_given == kPieceCount) return;
  memset(g_piece, '!', sizeof g_piece);
  *byteLen = strlen(kPieces[g_given]);
  memcpy(g_piece, kPieces[g_given], *byteLen);
  *nextBuf = g_piece;
  g_given++;
}

/* Pieces begin with a word, so a position that does not grow is in the next piece. */
static void onWord(SpeechChannel chan, SRefCon refCon, unsigned long wordPos, UInt16 wordLen) {
  (void)chan;
  (void)refCon;
  if (g_spoken < 0 || wordPos <= g_lastPosition) g_spoken++;
  g_lastPosition = wordPos;
  printf("%.*s\n", (int)wordLen, kPieces[g_spoken] + wordPos);
}

static void onDone(SpeechChannel chan, SRefCon refCon) {
  (void)chan;
  (void)refCon;
  pthread_mutex_lock(&g_lock);
  g_done = 1;
  pthread_cond_signal(&g_changed);
  pthread_mutex_unlock(&g_lock);
}

int main(int argc, char** argv) {
  SpeechChannel chan = NULL;
  CFURLRef url;
  if (argc != 2) return 2;
  url = CFURLCreateFromFileSystemRepresentation(NULL, (const UInt8*)argv[1],
                                                (CFIndex)strlen(argv[1]), false);
  check(NewSpeechChannel(NULL, &chan), "new channel");
  check(SetSpeechInfo(chan, soTextDoneCallBack, (void*)onTextDone), "text-done callback");
  check(SetSpeechInfo(chan, soWordCallBack, (void*)onWord), "word callback");
  check(SetSpeechInfo(chan, soSpeechDoneCallBack, (void*)onDone), "done callback");
  check(SetSpeechInfo(chan, soOutputToFileWithCFURL, url), "file");
  CFRelease(url);
  g_given = 1;
  check(SpeakBuffer(chan, kPieces[0], strlen(kPieces[0]), 0), "speak");
  pthread_mutex_lock(&g_lock);
  while (!g_done) pthread_cond_wait(&g_changed, &g_lock);
  pthread_mutex_unlock(&g_lock);
  check(DisposeSpeechChannel(chan), "dispose");
  return 0;
}
