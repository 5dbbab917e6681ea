// SPDX-License-Identifier: Apache-2.0
//
// Reads standard input line by line and prints each line with its words in brackets as they are
// spoken: what stands before a word is copied into an array that is as long as the distance from
// the last word. Speaks into the file named by its argument.
#include <ApplicationServices/ApplicationServices.h>

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

struct reader {
  pthread_mutex_t lock;
  pthread_cond_t changed;
  bool done;
  const char* line;
  size_t length;
  size_t shown;  // bytes of the line that are printed
  int words;
};

static void die(const char* what, OSErr err) {
  fprintf(stderr, "%s: %d\n", what, err);
  exit(EXIT_FAILURE);
}

static void on_word(SpeechChannel chan, SRefCon refcon, unsigned long pos, UInt16 len) {
  (void)chan;
  struct reader* r = refcon;
  char gap[pos - r->shown + 1];
  memcpy(gap, r->line + r->shown, pos - r->shown);
  gap[pos - r->shown] = '\0';
  char word[len + 1];
  memcpy(word, r->line + pos, len);
  word[len] = '\0';
  printf("%s[%s]", gap, word);
  r->shown = pos + len;
  r->words++;
}

static void on_done(SpeechChannel chan, SRefCon refcon) {
  (void)chan;
  struct reader* r = refcon;
  pthread_mutex_lock(&r->lock);
  r->done = true;
  pthread_cond_signal(&r->changed);
  pthread_mutex_unlock(&r->lock);
}

static void set_callback(SpeechChannel chan, OSType selector, const void* value) {
  OSErr err = SetSpeechInfo(chan, selector, value);
  if (err) die("SetSpeechInfo", err);
}

// A line without words may end before it begins: then there is no speech-done to wait for.
static void read_line(SpeechChannel chan, struct reader* r, const char* line) {
  r->line = line;
  r->length = strlen(line);
  r->shown = 0;
  r->done = r->length == 0;
  OSErr err = SpeakText(chan, line, r->length);
  if (err) die("SpeakText", err);
  pthread_mutex_lock(&r->lock);
  while (!r->done) pthread_cond_wait(&r->changed, &r->lock);
  pthread_mutex_unlock(&r->lock);
  printf("%s\n", line + r->shown);
}

int main(int argc, char** argv) {
  if (argc != 2) return EXIT_FAILURE;
  struct reader r = {.lock = PTHREAD_MUTEX_INITIALIZER, .changed = PTHREAD_COND_INITIALIZER};
  SpeechChannel chan = NULL;
  OSErr err = NewSpeechChannel(NULL, &chan);
  if (err) die("NewSpeechChannel", err);
  set_callback(chan, soRefCon, &r);
  set_callback(chan, soWordCallBack, (void*)on_word);
  set_callback(chan, soSpeechDoneCallBack, (void*)on_done);
  CFURLRef url = CFURLCreateFromFileSystemRepresentation(NULL, (const UInt8*)argv[1],
                                                         (CFIndex)strlen(argv[1]), false);
  set_callback(chan, soOutputToFileWithCFURL, url);
  CFRelease(url);

  char line[500];
  int lines = 0;
  while (fgets(line, sizeof line, stdin)) {
    line[strcspn(line, "\n")] = '\0';
    read_line(chan, &r, line);
    lines++;
  }
  err = DisposeSpeechChannel(chan);
  if (err) die("DisposeSpeechChannel", err);
  printf("%d words in %d lines\n", r.words, lines);
  return EXIT_SUCCESS;
}
