/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Shows the phonemes of words and speaks them: the output of TextToPhonemes is the input of
 * SpeakText. Speaks into the file named by its argument.
 */
#include <ApplicationServices/ApplicationServices.h>

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static pthread_mutex_t g_lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t g_changed = PTHREAD_COND_INITIALIZER;
static int g_done = 0;

static void check(OSErr result, const char* what) {
  if (result == noErr) return;
  fprintf(stderr, "%s: %d\n", what, (int)result);
  exit(1);
}

static void onDone(SpeechChannel chan, SRefCon refCon) {
  (void)chan;
  (void)refCon;
  pthread_mutex_lock(&g_lock);
  g_done = 1;
  pthread_cond_signal(&g_changed);
  pthread_mutex_unlock(&g_lock);
}

/* Words are separated by blanks; a pause is not a word. */
static int countWords(const char* phonemes, long bytes) {
  int words = 0;
  long i;
  for (i = 0; i < bytes; i++) {
    const int begins = i == 0 || phonemes[i - 1] == ' ';
    if (begins && phonemes[i] != '%' && phonemes[i] != ' ') words++;
  }
  return words;
}

int main(int argc, char** argv) {
  static const char text[] = "Hello there, good dog";
  SpeechChannel chan = NULL;
  CFURLRef url;
  CFStringRef string = NULL;
  char copied[100];
  Handle phonemes = NewHandle(0);
  long bytes = 0;
  OSType mode = modePhonemes;
  if (argc != 2 || phonemes == NULL) return 2;
  check(NewSpeechChannel(NULL, &chan), "new channel");

  check(TextToPhonemes(chan, text, sizeof text - 1, phonemes, &bytes), "text to phonemes");
  if (GetHandleSize(phonemes) != bytes) return 1;
  HLock(phonemes);
  printf("phonemes of %d words\n", countWords(*phonemes, bytes));
  check(CopyPhonemesFromText(chan, CFSTR("Hello"), &string), "copy phonemes");
  if (!CFStringGetCString(string, copied, sizeof copied, kCFStringEncodingASCII)) return 1;
  CFRelease(string);
  if (strncmp(copied, *phonemes, strlen(copied)) != 0) return 1;

  url = CFURLCreateFromFileSystemRepresentation(NULL, (const UInt8*)argv[1],
                                                (CFIndex)strlen(argv[1]), false);
  check(SetSpeechInfo(chan, soOutputToFileWithCFURL, url), "file");
  CFRelease(url);
  check(SetSpeechInfo(chan, soSpeechDoneCallBack, (void*)onDone), "done callback");
  check(SetSpeechInfo(chan, soInputMode, &mode), "phoneme mode");
  check(SpeakText(chan, *phonemes, (unsigned long)bytes), "speak phonemes");
  HUnlock(phonemes);
  DisposeHandle(phonemes);
  pthread_mutex_lock(&g_lock);
  while (!g_done) pthread_cond_wait(&g_changed, &g_lock);
  pthread_mutex_unlock(&g_lock);
  check(DisposeSpeechChannel(chan), "dispose");
  puts("spoken");
  return 0;
}
