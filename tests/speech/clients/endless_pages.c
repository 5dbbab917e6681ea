/* SPDX-License-Identifier: Apache-2.0 */
/*
 * A reader that always has another page. It is heard although its text never ends, it is asked for
 * pages as they are needed, and it stops itself: once when it has heard enough words, once when it
 * is asked for the page after the last. Speaks in real time, in silence without a sound device.
 */
#include <ApplicationServices/ApplicationServices.h>

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum {
  kWordsOfAPage = 9,
  kEnoughWords = 21, /* in the third page */
  kPatience = 10,    /* pages that may be asked for until then */
  kLastPage = 4,
  kNever = 1000000
};

static const char kPage[] = "Turn the page and read the next one aloud. ";

typedef struct Reader {
  pthread_mutex_t lock;
  pthread_cond_t changed;
  int stopAtWord;
  int stopAtPage;
  int pages;
  int words;
  int lateWords;
  int misplaced;
  int stopped;
  int done;
  char page[sizeof kPage];
} Reader;

static void verify(OSErr err, const char* what) {
  if (err == noErr) return;
  fprintf(stderr, "%s: %d\n", what, (int)err);
  exit(1);
}

static void feed(SpeechChannel chan, SRefCon refCon, const void** nextBuf, unsigned long* byteLen,
                 SInt32* controlFlags) {
  Reader* reader = (Reader*)refCon;
  int stop;
  (void)controlFlags;
  pthread_mutex_lock(&reader->lock);
  reader->pages++;
  stop = reader->pages > reader->stopAtPage;
  if (reader->pages > 50) abort(); /* pages pile up, and nobody reads them */
  pthread_mutex_unlock(&reader->lock);
  if (stop) verify(StopSpeech(chan), "stop in text-done");
  memcpy(reader->page, kPage, sizeof kPage);
  *nextBuf = reader->page;
  *byteLen = sizeof kPage - 1;
}

/* Each page is a text of its own for positions. */
static int isInPage(unsigned long at, unsigned long length) {
  return at + length < sizeof kPage && (at == 0 || kPage[at - 1] == ' ');
}

static void hear(SpeechChannel chan, SRefCon refCon, unsigned long wordPos, UInt16 wordLen) {
  Reader* reader = (Reader*)refCon;
  int stop;
  pthread_mutex_lock(&reader->lock);
  if (reader->stopped) reader->lateWords++;
  if (!isInPage(wordPos, wordLen)) reader->misplaced++;
  stop = ++reader->words == reader->stopAtWord;
  if (stop) reader->stopped = 1;
  pthread_mutex_unlock(&reader->lock);
  if (stop) verify(StopSpeech(chan), "stop in word");
}

static void finish(SpeechChannel chan, SRefCon refCon) {
  Reader* reader = (Reader*)refCon;
  (void)chan;
  pthread_mutex_lock(&reader->lock);
  reader->done++;
  pthread_cond_signal(&reader->changed);
  pthread_mutex_unlock(&reader->lock);
}

static void readAloud(Reader* reader, int stopAtWord, int stopAtPage) {
  SpeechChannel chan = NULL;
  memset(reader, 0, sizeof *reader);
  pthread_mutex_init(&reader->lock, NULL);
  pthread_cond_init(&reader->changed, NULL);
  reader->stopAtWord = stopAtWord;
  reader->stopAtPage = stopAtPage;
  verify(NewSpeechChannel(NULL, &chan), "new channel");
  verify(SetSpeechInfo(chan, soRefCon, reader), "refcon");
  verify(SetSpeechInfo(chan, soTextDoneCallBack, (void*)feed), "text-done callback");
  verify(SetSpeechInfo(chan, soWordCallBack, (void*)hear), "word callback");
  verify(SetSpeechInfo(chan, soSpeechDoneCallBack, (void*)finish), "done callback");
  verify(SetSpeechRate(chan, Long2Fix(400)), "rate");
  verify(SpeakText(chan, kPage, sizeof kPage - 1), "speak");
  pthread_mutex_lock(&reader->lock);
  while (reader->done == 0) pthread_cond_wait(&reader->changed, &reader->lock);
  pthread_mutex_unlock(&reader->lock);
  verify(SpeechBusy() == 0 ? noErr : paramErr, "silence");
  verify(DisposeSpeechChannel(chan), "dispose");
}

int main(void) {
  Reader reader;
  readAloud(&reader, kEnoughWords, kNever);
  printf("%d words, %d late, %d misplaced, done %d\n", reader.words, reader.lateWords,
         reader.misplaced, reader.done);
  puts(reader.pages >= kEnoughWords / kWordsOfAPage && reader.pages <= kPatience
           ? "pages as needed"
           : "other pages than needed");

  readAloud(&reader, kNever, kLastPage);
  printf("%s, asked for page %d, done %d\n", reader.words > 0 ? "heard" : "not heard", reader.pages,
         reader.done);
  return 0;
}
