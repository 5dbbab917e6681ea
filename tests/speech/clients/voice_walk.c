/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Lets each voice speak a sentence with all callbacks installed. Speaks into the file named by its
 * argument.
 */
#include <ApplicationServices/ApplicationServices.h>

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const char kText[] = "One [[sync 7]]two, three.";

typedef struct Walker {
  pthread_mutex_t lock;
  pthread_cond_t changed;
  int words;
  int wordsInOrder;
  int phonemes;
  int syncs;
  int errors;
  int done;
  unsigned long lastPosition;
} Walker;

static void check(OSErr result, const char* what) {
  if (result == noErr) return;
  fprintf(stderr, "%s: %d\n", what, (int)result);
  exit(1);
}

static void onWord(SpeechChannel chan, SRefCon refCon, unsigned long wordPos, UInt16 wordLen) {
  Walker* walker = (Walker*)refCon;
  (void)chan;
  pthread_mutex_lock(&walker->lock);
  walker->words++;
  if (wordPos >= walker->lastPosition && wordPos + wordLen <= sizeof kText - 1) {
    walker->wordsInOrder++;
  }
  walker->lastPosition = wordPos;
  pthread_mutex_unlock(&walker->lock);
}

static void onPhoneme(SpeechChannel chan, SRefCon refCon, SInt16 opcode) {
  Walker* walker = (Walker*)refCon;
  (void)chan;
  (void)opcode;
  pthread_mutex_lock(&walker->lock);
  walker->phonemes++;
  pthread_mutex_unlock(&walker->lock);
}

static void onSync(SpeechChannel chan, SRefCon refCon, OSType message) {
  Walker* walker = (Walker*)refCon;
  OSType last = 0;
  /* Any call is allowed here. */
  check(GetSpeechInfo(chan, soRecentSync, &last), "recent sync");
  pthread_mutex_lock(&walker->lock);
  if (last == message) walker->syncs++;
  pthread_mutex_unlock(&walker->lock);
}

static void onError(SpeechChannel chan, SRefCon refCon, OSErr error, long bytePos) {
  Walker* walker = (Walker*)refCon;
  (void)chan;
  (void)error;
  (void)bytePos;
  pthread_mutex_lock(&walker->lock);
  walker->errors++;
  pthread_mutex_unlock(&walker->lock);
}

static void onDone(SpeechChannel chan, SRefCon refCon) {
  Walker* walker = (Walker*)refCon;
  (void)chan;
  pthread_mutex_lock(&walker->lock);
  walker->done++;
  pthread_cond_signal(&walker->changed);
  pthread_mutex_unlock(&walker->lock);
}

/* Returns 1 if the voice spoke all of the text and reported it. */
static int letSpeak(VoiceSpec* voice, const char* file) {
  Walker walker;
  SpeechChannel chan = NULL;
  CFURLRef url = CFURLCreateFromFileSystemRepresentation(NULL, (const UInt8*)file,
                                                         (CFIndex)strlen(file), false);
  SpeechWordUPP word = NewSpeechWordUPP(onWord);
  SpeechPhonemeUPP phoneme = NewSpeechPhonemeUPP(onPhoneme);
  SpeechSyncUPP sync = NewSpeechSyncUPP(onSync);
  SpeechErrorUPP error = NewSpeechErrorUPP(onError);
  SpeechDoneUPP done = NewSpeechDoneUPP(onDone);

  memset(&walker, 0, sizeof walker);
  pthread_mutex_init(&walker.lock, NULL);
  pthread_cond_init(&walker.changed, NULL);
  check(NewSpeechChannel(voice, &chan), "new channel");
  check(SetSpeechInfo(chan, soRefCon, &walker), "refcon");
  check(SetSpeechInfo(chan, soWordCallBack, (void*)word), "word callback");
  check(SetSpeechInfo(chan, soPhonemeCallBack, (void*)phoneme), "phoneme callback");
  check(SetSpeechInfo(chan, soSyncCallBack, (void*)sync), "sync callback");
  check(SetSpeechInfo(chan, soErrorCallBack, (void*)error), "error callback");
  check(SetSpeechInfo(chan, soSpeechDoneCallBack, (void*)done), "done callback");
  check(SetSpeechInfo(chan, soOutputToFileWithCFURL, url), "file");
  CFRelease(url);
  check(SpeakText(chan, kText, sizeof kText - 1), "speak");
  pthread_mutex_lock(&walker.lock);
  while (walker.done == 0) pthread_cond_wait(&walker.changed, &walker.lock);
  pthread_mutex_unlock(&walker.lock);
  check(DisposeSpeechChannel(chan), "dispose");
  DisposeSpeechWordUPP(word);
  DisposeSpeechPhonemeUPP(phoneme);
  DisposeSpeechSyncUPP(sync);
  DisposeSpeechErrorUPP(error);
  DisposeSpeechDoneUPP(done);
  return walker.words == 3 && walker.wordsInOrder == 3 && walker.phonemes > 3 &&
         walker.syncs == 1 && walker.errors == 0 && walker.done == 1;
}

int main(int argc, char** argv) {
  SInt16 count = 0;
  SInt16 index;
  int good = 0;
  if (argc != 2) return 2;
  check(CountVoices(&count), "count");
  for (index = 1; index <= count; index++) {
    VoiceSpec voice;
    VoiceDescription description;
    check(GetIndVoice(index, &voice), "voice");
    check(GetVoiceDescription(&voice, &description, sizeof description), "description");
    if (letSpeak(&voice, argv[1])) {
      good++;
    } else {
      fprintf(stderr, "%.*s does not say it all\n", description.name[0],
              (const char*)description.name + 1);
    }
  }
  puts(count > 0 && good == count ? "All voices say three words." : "Something is missing.");
  return 0;
}
