/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Reads an article paragraph by paragraph: the text-done callback takes the next one from a queue
 * and frees the one before it. A rate that the first paragraph sets holds for all of them. Speaks
 * into the file named by its argument.
 */
#include <CoreServices/CoreServices.h>
#include <SpeechSynthesis.h>
#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

typedef struct Paragraph {
  struct Paragraph* next;
  unsigned long length;
  int words;
  const char* original;
  char* text; /* a copy for the Manager; NULL when it has been freed */
} Paragraph;

typedef struct Article {
  Paragraph* first;
  Paragraph* current; /* the one that the Manager has got last */
  Paragraph* heard;   /* the one that is being spoken */
  unsigned long lastWord;
  int asked;
  int strayWords;
  int pipe[2];
} Article;

static const char* const kParagraphs[] = {
    "[[rate 260]]The mill stands at the river.", " It has two wheels.",
    " One of them, the older one, still turns when the water is high.", " Nobody knows why!",
    " The other one is in the museum."};

static void Die(const char* what, OSErr err) {
  fprintf(stderr, "%s: %d\n", what, (int)err);
  exit(1);
}

static void AddParagraph(Article* article, const char* text) {
  Paragraph* paragraph = (Paragraph*)calloc(1, sizeof(Paragraph));
  Paragraph** last = &article->first;
  if (paragraph == NULL) Die("calloc", memFullErr);
  while (*last != NULL) last = &(*last)->next;
  *last = paragraph;
  paragraph->original = text;
  paragraph->length = strlen(text);
  paragraph->text = (char*)malloc(paragraph->length);
  if (paragraph->text == NULL) Die("malloc", memFullErr);
  memcpy(paragraph->text, text, paragraph->length);
}

/* The Manager has finished with the buffer that it got last. */
static void FreeCurrent(Article* article) {
  if (article->current == NULL || article->current->text == NULL) return;
  memset(article->current->text, '#', article->current->length);
  free(article->current->text);
  article->current->text = NULL;
}

static void MyTextDone(SpeechChannel chan, SRefCon refCon, const void** nextBuf,
                       unsigned long* byteLen, SInt32* controlFlags) {
  Article* article = (Article*)refCon;
  (void)chan;
  article->asked++;
  FreeCurrent(article);
  article->current = article->current == NULL ? NULL : article->current->next;
  *nextBuf = article->current == NULL ? NULL : article->current->text;
  *byteLen = article->current == NULL ? 0 : article->current->length;
  *controlFlags = 0;
}

static int IsWord(const Paragraph* paragraph, unsigned long at, unsigned long length) {
  const char* text = paragraph->original;
  if (length == 0 || at + length > paragraph->length) return 0;
  return (at == 0 || !isalpha((unsigned char)text[at - 1])) &&
         isalpha((unsigned char)text[at + length - 1]) &&
         !isalpha((unsigned char)text[at + length]);
}

/* Positions are those in a paragraph: one that decreases is in the next paragraph. */
static void MyWord(SpeechChannel chan, SRefCon refCon, unsigned long wordPos, UInt16 wordLen) {
  Article* article = (Article*)refCon;
  (void)chan;
  if (wordPos < article->lastWord && article->heard != NULL) article->heard = article->heard->next;
  article->lastWord = wordPos;
  if (article->heard != NULL && IsWord(article->heard, wordPos, wordLen)) {
    article->heard->words++;
  } else {
    article->strayWords++;
  }
}

static void MyDone(SpeechChannel chan, SRefCon refCon) {
  Article* article = (Article*)refCon;
  (void)chan;
  if (write(article->pipe[1], "!", 1) != 1) abort();
}

static void ReadArticle(Article* article, const char* path) {
  SpeechChannel chan = NULL;
  CFURLRef url = CFURLCreateFromFileSystemRepresentation(NULL, (const UInt8*)path,
                                                         (CFIndex)strlen(path), false);
  char mark = 0;
  OSErr err = NewSpeechChannel(NULL, &chan);
  if (err == noErr) err = SetSpeechInfo(chan, soRefCon, article);
  if (err == noErr) {
    err = SetSpeechInfo(chan, soTextDoneCallBack, (void*)NewSpeechTextDoneUPP(MyTextDone));
  }
  if (err == noErr) err = SetSpeechInfo(chan, soWordCallBack, (void*)NewSpeechWordUPP(MyWord));
  if (err == noErr) {
    err = SetSpeechInfo(chan, soSpeechDoneCallBack, (void*)NewSpeechDoneUPP(MyDone));
  }
  if (err == noErr) err = SetSpeechInfo(chan, soOutputToFileWithCFURL, url);
  if (err != noErr) Die("setting up", err);
  CFRelease(url);
  article->current = article->heard = article->first;
  err = SpeakText(chan, article->current->text, article->current->length);
  if (err != noErr) Die("SpeakText", err);
  if (read(article->pipe[0], &mark, 1) != 1) Die("read", paramErr);
  err = DisposeSpeechChannel(chan);
  if (err != noErr) Die("DisposeSpeechChannel", err);
}

int main(int argc, char** argv) {
  Article article;
  unsigned i;
  if (argc != 2) return 2;
  memset(&article, 0, sizeof(article));
  if (pipe(article.pipe) != 0) return 2;
  for (i = 0; i < sizeof(kParagraphs) / sizeof(kParagraphs[0]); i++) {
    AddParagraph(&article, kParagraphs[i]);
  }
  ReadArticle(&article, argv[1]);
  printf("asked %d times\n", article.asked);
  while (article.first != NULL) {
    Paragraph* paragraph = article.first;
    article.first = paragraph->next;
    printf("%3lu bytes, %2d words, %s\n", paragraph->length, paragraph->words,
           paragraph->text == NULL ? "freed" : "kept");
    free(paragraph->text);
    free(paragraph);
  }
  printf("%d words elsewhere\n", article.strayWords);
  return 0;
}
