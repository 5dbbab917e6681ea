/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Supplies a text piece by piece with a text-done callback, and shows each word as it is spoken:
 * the positions count through all pieces. Speaks into the file named by its argument.
 */
#include <ApplicationServices/ApplicationServices.h>

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const char kText[] = "Once upon a time there was a text that came in pieces.";
enum { kPiece = 10 };

static pthread_mutex_t g_lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t g_changed = PTHREAD_COND_INITIALIZER;
static int g_done = 0;
static unsigned long g_given = 0;
static char g_piece[kPiece];

static void check(OSErr result, const char* what) {
  if (result == noErr) return;
  fprintf(stderr, "%s: %d\n", what, (int)result);
  exit(1);
}

/* All pieces share one buffer: a piece has been copied when the next is requested. */
static void onTextDone(SpeechChannel chan, SRefCon refCon, const void** nextBuf,
                       unsigned long* byteLen, SInt32* controlFlags) {
  const unsigned long left = sizeof kText - 1 - g_given;
  (void)chan;
  (void)refCon;
  (void)controlFlags;
  *byteLen = left < kPiece ? left : kPiece;
  memcpy(g_piece, kText + g_given, *byteLen);
  *nextBuf = left > 0 ? g_piece : NULL;
  g_given += *byteLen;
}

static void onWord(SpeechChannel chan, SRefCon refCon, unsigned long wordPos, UInt16 wordLen) {
  (void)chan;
  (void)refCon;
  printf("%.*s\n", (int)wordLen, kText + wordPos);
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
  g_given = kPiece;
  check(SpeakBuffer(chan, kText, kPiece, 0), "speak");
  pthread_mutex_lock(&g_lock);
  while (!g_done) pthread_cond_wait(&g_changed, &g_lock);
  pthread_mutex_unlock(&g_lock);
  check(DisposeSpeechChannel(chan), "dispose");
  return 0;
}
