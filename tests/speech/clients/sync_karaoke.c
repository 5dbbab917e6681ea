/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Karaoke: sync marks in the text turn lamps on, and the mouth of a face moves with the phonemes.
 * The marks are 32-bit values, written in hexadecimal, decimal or as four characters; two of them
 * stand at the very ends of the song. Speaks into the file named by its argument.
 */
#include <ApplicationServices.h>
#include <pthread.h>

#define FOUR_CHARS(a, b, c, d) \
  (((UInt32)(a) << 24) | ((UInt32)(b) << 16) | ((UInt32)(c) << 8) | (UInt32)(d))

static const char kSong[] =
    "[[sync 0x48454C50]]Row [[sync 7]]the [[ sync 'BOAT' ]]boat, [[sync $FF00FF00]]and "
    "[[sync 4294967295]]row [[sync 0x0000000a]]home.[[sync 'last']]";

static const OSType kExpected[] = {FOUR_CHARS('H', 'E', 'L', 'P'),
                                   7,
                                   FOUR_CHARS('B', 'O', 'A', 'T'),
                                   0xFF00FF00,
                                   0xFFFFFFFF,
                                   0x0000000A,
                                   FOUR_CHARS('l', 'a', 's', 't')};

enum { kMarks = (int)(sizeof(kExpected) / sizeof(kExpected[0])), kMostOpcodes = 64 };

typedef struct Face {
  pthread_mutex_t lock;
  pthread_cond_t changed;
  OSType marks[kMarks + 1];
  int wordsBefore[kMarks + 1];
  int markCount;
  int oldSyncs; /* soRecentSync told an earlier mark than the one that was reported */
  int words;
  int mouths;
  int unknownMouths;
  int opcodes;
  int known[kMostOpcodes];
  int done;
} Face;

static void check(OSErr err, const char* what) {
  if (err == noErr) return;
  fprintf(stderr, "%s: %d\n", what, (int)err);
  exit(1);
}

/* Each mark is in the song once. */
static int indexOf(OSType mark) {
  int i;
  for (i = 0; i < kMarks; i++) {
    if (kExpected[i] == mark) break;
  }
  return i < kMarks ? i : -1;
}

static void lampHook(SpeechChannel chan, SRefCon refCon, OSType mark) {
  Face* face = (Face*)refCon;
  OSType recent = 0;
  check(GetSpeechInfo(chan, soRecentSync, &recent), "soRecentSync");
  pthread_mutex_lock(&face->lock);
  if (indexOf(recent) < indexOf(mark)) face->oldSyncs++;
  if (face->markCount <= kMarks) {
    face->marks[face->markCount] = mark;
    face->wordsBefore[face->markCount] = face->words;
  }
  face->markCount++;
  pthread_mutex_unlock(&face->lock);
}

static void mouthHook(SpeechChannel chan, SRefCon refCon, SInt16 opcode) {
  Face* face = (Face*)refCon;
  (void)chan;
  pthread_mutex_lock(&face->lock);
  face->mouths++;
  if (opcode < 0 || opcode >= kMostOpcodes || !face->known[opcode]) face->unknownMouths++;
  pthread_mutex_unlock(&face->lock);
}

static void wordHook(SpeechChannel chan, SRefCon refCon, unsigned long wordPos, UInt16 wordLen) {
  Face* face = (Face*)refCon;
  (void)chan;
  pthread_mutex_lock(&face->lock);
  face->words++;
  pthread_mutex_unlock(&face->lock);
  /* Every word follows a command. */
  if (wordPos == 0 || wordPos + wordLen > sizeof(kSong) - 1 || kSong[wordPos - 1] != ']') {
    check(paramErr, "position of a word");
  }
}

static void doneHook(SpeechChannel chan, SRefCon refCon) {
  Face* face = (Face*)refCon;
  (void)chan;
  pthread_mutex_lock(&face->lock);
  face->done = 1;
  pthread_cond_signal(&face->changed);
  pthread_mutex_unlock(&face->lock);
}

/* Which opcodes there are: a table in a handle, with one record more for each phoneme. */
static void learnMouths(SpeechChannel chan, Face* face) {
  Handle symbols = NULL;
  PhonemeDescriptor* table;
  int i;
  check(GetSpeechInfo(chan, soPhonemeSymbols, &symbols), "phoneme symbols");
  HLock(symbols);
  table = (PhonemeDescriptor*)*symbols;
  for (i = 0; i < table->phonemeCount; i++) {
    const PhonemeInfo* phoneme = &table->thePhonemes[i];
    const int fits =
        phoneme->hiliteStart <= phoneme->hiliteEnd && phoneme->hiliteEnd <= phoneme->exampleStr[0];
    if (phoneme->opcode < 0 || phoneme->opcode >= kMostOpcodes) continue;
    face->known[phoneme->opcode] = 1;
    if (phoneme->phStr[0] > 0 && fits) face->opcodes++;
  }
  HUnlock(symbols);
  DisposeHandle(symbols);
}

/* The characters of a mark, in reading order on every machine. */
static void showMark(OSType mark) {
  const UInt32 inOrder = CFSwapInt32HostToBig(mark);
  char characters[5] = "";
  int i;
  memcpy(characters, &inOrder, 4);
  for (i = 0; i < 4; i++) {
    if (!isprint((unsigned char)characters[i])) characters[i] = '.';
  }
  printf("%08lX '%s'", (unsigned long)mark, characters);
}

static void sing(Face* face, const char* file) {
  SpeechChannel chan = NULL;
  CFURLRef url = CFURLCreateFromFileSystemRepresentation(NULL, (const UInt8*)file,
                                                         (CFIndex)strlen(file), false);
  OSType recent = 0;
  check(NewSpeechChannel(NULL, &chan), "new channel");
  learnMouths(chan, face);
  check(SetSpeechInfo(chan, soRefCon, face), "refcon");
  check(SetSpeechInfo(chan, soSyncCallBack, (void*)NewSpeechSyncUPP(lampHook)), "sync");
  check(SetSpeechInfo(chan, soPhonemeCallBack, (void*)NewSpeechPhonemeUPP(mouthHook)), "phoneme");
  check(SetSpeechInfo(chan, soWordCallBack, (void*)NewSpeechWordUPP(wordHook)), "word");
  check(SetSpeechInfo(chan, soSpeechDoneCallBack, (void*)NewSpeechDoneUPP(doneHook)), "done");
  check(SetSpeechInfo(chan, soOutputToFileWithCFURL, url), "file");
  CFRelease(url);
  check(SpeakText(chan, kSong, sizeof(kSong) - 1), "speak");
  pthread_mutex_lock(&face->lock);
  while (!face->done) pthread_cond_wait(&face->changed, &face->lock);
  pthread_mutex_unlock(&face->lock);
  check(GetSpeechInfo(chan, soRecentSync, &recent), "soRecentSync");
  check(DisposeSpeechChannel(chan), "dispose");
  check(recent == kExpected[kMarks - 1] ? noErr : paramErr, "the last mark is still known");
}

int main(int argc, char** argv) {
  static Face face;
  int i;
  if (argc != 2) return 2;
  pthread_mutex_init(&face.lock, NULL);
  pthread_cond_init(&face.changed, NULL);
  sing(&face, argv[1]);
  for (i = 0; i < face.markCount && i < kMarks; i++) {
    showMark(face.marks[i]);
    printf(" after %d words%s\n", face.wordsBefore[i],
           face.marks[i] == kExpected[i] ? "" : ", wrong");
  }
  printf("%d lamps of %d, %d words\n", face.markCount, kMarks, face.words);
  printf("%s, %d unknown\n", face.opcodes > 30 && face.mouths > 10 ? "the mouth moves" : "no mouth",
         face.unknownMouths);
  printf("%d times late\n", face.oldSyncs);
  return 0;
}
