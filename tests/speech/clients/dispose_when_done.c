/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Creates a channel for every utterance and disposes it in its speech-done callback, which also
 * creates the next: a chain without a main loop. Speaks into the file named by its argument.
 */
#include <ApplicationServices/ApplicationServices.h>

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { kRounds = 30 };

static pthread_mutex_t g_lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t g_changed = PTHREAD_COND_INITIALIZER;
static int g_rounds = 0;
static CFURLRef g_url = NULL;

static void begin(void);

static void check(OSErr result, OSErr expected, const char* what) {
  if (result == expected) return;
  fprintf(stderr, "%s: %d\n", what, (int)result);
  exit(1);
}

static void onDone(SpeechChannel chan, SRefCon refCon) {
  int more;
  (void)refCon;
  check(DisposeSpeechChannel(chan), noErr, "dispose");
  check(DisposeSpeechChannel(chan), invalidComponentID, "dispose again");
  check(StopSpeech(chan), invalidComponentID, "stop");
  pthread_mutex_lock(&g_lock);
  more = ++g_rounds < kRounds;
  pthread_cond_signal(&g_changed);
  pthread_mutex_unlock(&g_lock);
  if (more) begin();
}

static void begin(void) {
  SpeechChannel chan = NULL;
  check(NewSpeechChannel(NULL, &chan), noErr, "new channel");
  check(SetSpeechInfo(chan, soSpeechDoneCallBack, (void*)onDone), noErr, "done callback");
  check(SetSpeechInfo(chan, soOutputToFileWithCFURL, g_url), noErr, "file");
  check(SpeakText(chan, "again", 5), noErr, "speak");
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  g_url = CFURLCreateFromFileSystemRepresentation(NULL, (const UInt8*)argv[1],
                                                  (CFIndex)strlen(argv[1]), false);
  begin();
  pthread_mutex_lock(&g_lock);
  while (g_rounds < kRounds) pthread_cond_wait(&g_changed, &g_lock);
  pthread_mutex_unlock(&g_lock);
  CFRelease(g_url);
  printf("%d channels made and disposed, %d busy\n", g_rounds, (int)SpeechBusy());
  return 0;
}
