/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Reads lines and speaks them: first politely, each after the previous one has ended, then
 * impatiently, each at once, on the channel that is still speaking the previous one. Speaks into
 * the file named by its argument.
 */
#include <ApplicationServices/ApplicationServices.h>

#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

static const char* const kLines[] = {"The first line.",
                                     "The second line, which is a little longer.",
                                     "[[rate 300]]The third.", "", "The last line."};
enum { kLineCount = sizeof kLines / sizeof kLines[0] };

static atomic_int g_done = 0;

static void check(OSErr result, const char* what) {
  if (result == noErr) return;
  fprintf(stderr, "%s: %d\n", what, (int)result);
  exit(1);
}

static void onDone(SpeechChannel chan, SRefCon refCon) {
  (void)chan;
  atomic_fetch_add((atomic_int*)refCon, 1);
}

static void waitAMoment(void) {
  const struct timespec moment = {0, 1000000};
  nanosleep(&moment, NULL);
}

int main(int argc, char** argv) {
  SpeechChannel chan = NULL;
  CFURLRef url;
  int i;
  if (argc != 2) return 2;
  url = CFURLCreateFromFileSystemRepresentation(NULL, (const UInt8*)argv[1],
                                                (CFIndex)strlen(argv[1]), false);
  check(NewSpeechChannel(NULL, &chan), "new channel");
  check(SetSpeechInfo(chan, soRefCon, &g_done), "refcon");
  check(SetSpeechInfo(chan, soSpeechDoneCallBack, (void*)onDone), "done callback");
  check(SetSpeechInfo(chan, soOutputToFileWithCFURL, url), "file");
  CFRelease(url);

  for (i = 0; i < kLineCount; i++) {
    char line[100];
    strcpy(line, kLines[i]);
    check(SpeakText(chan, line, strlen(line)), "speak");
    memset(line, '!', sizeof line); /* the text is the Manager's by now */
    while (SpeechBusy() > 0) waitAMoment();
  }
  while (atomic_load(&g_done) < kLineCount - 1) waitAMoment();
  printf("%d lines spoken in peace\n", atomic_load(&g_done));

  atomic_store(&g_done, 0);
  for (i = 0; i < 200; i++) {
    const char* line = kLines[i % 3];
    check(SpeakText(chan, line, strlen(line)), "speak");
  }
  check(StopSpeech(chan), "stop");
  if (SpeechBusy() != 0) return 1;
  while (atomic_load(&g_done) < 200) waitAMoment();
  check(DisposeSpeechChannel(chan), "dispose");
  printf("%d lines cut off\n", atomic_load(&g_done));
  return 0;
}
