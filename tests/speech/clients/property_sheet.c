/* SPDX-License-Identifier: Apache-2.0 */
/*
 * A settings sheet that knows the channel only through properties and dictionaries: numbers that
 * read back as they were set, modes, the voice, delimiters, the state, and errors with their
 * positions in a string. Speaks into the file named by its argument.
 */
#include <ApplicationServices/ApplicationServices.h>

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef struct Sheet {
  pthread_mutex_t lock;
  pthread_cond_t changed;
  int textDone;
  int speechDone;
  int errors;
  int late; /* callbacks after speech-done */
} Sheet;

static Sheet g_sheet = {PTHREAD_MUTEX_INITIALIZER, PTHREAD_COND_INITIALIZER, 0, 0, 0, 0};

static void check(OSStatus status, const char* what) {
  if (status == noErr) return;
  fprintf(stderr, "%s: %ld\n", what, (long)status);
  exit(1);
}

static void count(int* events) {
  pthread_mutex_lock(&g_sheet.lock);
  if (g_sheet.speechDone > 0) g_sheet.late++;
  (*events)++;
  pthread_cond_signal(&g_sheet.changed);
  pthread_mutex_unlock(&g_sheet.lock);
}

/* ---- Values */

static double numberIn(CFDictionaryRef dictionary, CFStringRef key) {
  double number = -1;
  CFNumberRef value = (CFNumberRef)CFDictionaryGetValue(dictionary, key);
  if (value == NULL || CFGetTypeID(value) != CFNumberGetTypeID()) return -1;
  CFNumberGetValue(value, kCFNumberDoubleType, &number);
  return number;
}

/* The caller frees the result. */
static char* copyUTF8(CFStringRef string) {
  const CFIndex size =
      CFStringGetMaximumSizeForEncoding(CFStringGetLength(string), kCFStringEncodingUTF8) + 1;
  char* text = (char*)malloc((size_t)size);
  if (text == NULL || !CFStringGetCString(string, text, size, kCFStringEncodingUTF8)) exit(1);
  return text;
}

static CFTypeRef copyProperty(SpeechChannel chan, CFStringRef property) {
  CFTypeRef object = NULL;
  check(CopySpeechProperty(chan, property, &object), "CopySpeechProperty");
  return object;
}

static void setNumber(SpeechChannel chan, CFStringRef property, const char* title, double value) {
  CFNumberRef number = CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &value);
  CFTypeRef copied;
  double found = -1;
  check(SetSpeechProperty(chan, property, number), title);
  CFRelease(number);
  copied = copyProperty(chan, property);
  CFNumberGetValue((CFNumberRef)copied, kCFNumberDoubleType, &found);
  CFRelease(copied);
  printf("%-10s %.3f\n", title, found);
}

static void setPointer(SpeechChannel chan, CFStringRef property, void (*pointer)(void)) {
  const long value = (long)pointer;
  CFNumberRef number = CFNumberCreate(kCFAllocatorDefault, kCFNumberLongType, &value);
  check(SetSpeechProperty(chan, property, number), "callback");
  CFRelease(number);
}

/* ---- Callbacks */

static void onTextDone(SpeechChannel chan, SRefCon refCon, const void** nextBuf,
                       unsigned long* byteLen, SInt32* controlFlags) {
  (void)chan;
  (void)refCon;
  (void)controlFlags;
  *nextBuf = NULL;
  *byteLen = 0;
  count(&g_sheet.textDone);
}

static void onError(SpeechChannel chan, SRefCon refCon, CFErrorRef error) {
  CFDictionaryRef info = CFErrorCopyUserInfo(error);
  char* text = copyUTF8((CFStringRef)CFDictionaryGetValue(info, kSpeechErrorCallbackSpokenString));
  CFStringRef description = CFErrorCopyDescription(error);
  (void)chan;
  (void)refCon;
  printf("error %ld at %.0f of \"%s\"%s\n", (long)CFErrorGetCode(error),
         numberIn(info, kSpeechErrorCallbackCharacterOffset), text,
         CFStringGetLength(description) > 0 ? "" : " and no description");
  CFRelease(description);
  CFRelease(info);
  free(text);
  count(&g_sheet.errors);
}

static void onSpeechDone(SpeechChannel chan, SRefCon refCon) {
  (void)chan;
  (void)refCon;
  count(&g_sheet.speechDone);
}

/* ---- The sheet */

static void changeSettings(SpeechChannel chan) {
  CFTypeRef mode;
  setNumber(chan, kSpeechRateProperty, "rate", 180.5);
  setNumber(chan, kSpeechPitchBaseProperty, "pitch", 45.5);
  setNumber(chan, kSpeechPitchModProperty, "modulation", 2.5);
  setNumber(chan, kSpeechVolumeProperty, "volume", 0.375);

  check(SetSpeechProperty(chan, kSpeechCharacterModeProperty, kSpeechModeLiteral), "letters");
  mode = copyProperty(chan, kSpeechCharacterModeProperty);
  puts(CFEqual(mode, kSpeechModeLiteral) ? "letter by letter" : "word by word");
  CFRelease(mode);
  check(SetSpeechProperty(chan, kSpeechCharacterModeProperty, kSpeechModeNormal), "words");
  if (SetSpeechProperty(chan, kSpeechCharacterModeProperty, CFSTR("ODD!")) == paramErr) {
    puts("no odd mode");
  }
}

static void changeVoice(SpeechChannel chan) {
  CFDictionaryRef voice = (CFDictionaryRef)copyProperty(chan, kSpeechCurrentVoiceProperty);
  CFTypeRef again;
  check(SetSpeechProperty(chan, kSpeechCurrentVoiceProperty, voice), "voice");
  again = copyProperty(chan, kSpeechCurrentVoiceProperty);
  printf("voice %.0f%s\n", numberIn(voice, kSpeechVoiceID),
         CFEqual(voice, again) ? "" : ", but another one now");
  CFRelease(again);
  CFRelease(voice);
}

static void changeDelimiters(SpeechChannel chan, CFStringRef prefix, CFStringRef suffix) {
  const void* keys[2];
  const void* values[2];
  CFDictionaryRef delimiters;
  keys[0] = kSpeechCommandPrefix;
  keys[1] = kSpeechCommandSuffix;
  values[0] = prefix;
  values[1] = suffix;
  delimiters = CFDictionaryCreate(kCFAllocatorDefault, keys, values, 2,
                                  &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
  check(SetSpeechProperty(chan, kSpeechCommandDelimiterProperty, delimiters), "delimiters");
  CFRelease(delimiters);
}

static void speakAndWait(SpeechChannel chan, CFStringRef text) {
  const void* keys[1];
  const void* values[1];
  CFDictionaryRef options;
  keys[0] = kSpeechNoSpeechInterrupt;
  values[0] = kCFBooleanTrue;
  options = CFDictionaryCreate(kCFAllocatorDefault, keys, values, 1, &kCFTypeDictionaryKeyCallBacks,
                               &kCFTypeDictionaryValueCallBacks);
  pthread_mutex_lock(&g_sheet.lock);
  g_sheet.textDone = g_sheet.errors = g_sheet.speechDone = 0;
  pthread_mutex_unlock(&g_sheet.lock);
  check(SpeakCFString(chan, text, options), "speak");
  CFRelease(options);
  pthread_mutex_lock(&g_sheet.lock);
  while (g_sheet.speechDone == 0) pthread_cond_wait(&g_sheet.changed, &g_sheet.lock);
  printf("text done %d, errors %d, speech done %d, late %d\n", g_sheet.textDone, g_sheet.errors,
         g_sheet.speechDone, g_sheet.late);
  pthread_mutex_unlock(&g_sheet.lock);
}

static void showState(SpeechChannel chan) {
  CFDictionaryRef status = (CFDictionaryRef)copyProperty(chan, kSpeechStatusProperty);
  CFDictionaryRef errors = (CFDictionaryRef)copyProperty(chan, kSpeechErrorsProperty);
  printf("busy %.0f, paused %.0f, %.0f characters left\n",
         numberIn(status, kSpeechStatusOutputBusy), numberIn(status, kSpeechStatusOutputPaused),
         numberIn(status, kSpeechStatusNumberOfCharactersLeft));
  printf("%.0f errors, from %.0f at %.0f to %.0f at %.0f\n", numberIn(errors, kSpeechErrorCount),
         numberIn(errors, kSpeechErrorOldest), numberIn(errors, kSpeechErrorOldestCharacterOffset),
         numberIn(errors, kSpeechErrorNewest), numberIn(errors, kSpeechErrorNewestCharacterOffset));
  CFRelease(errors);
  CFRelease(status);
}

int main(int argc, char** argv) {
  SpeechChannel chan = NULL;
  CFStringRef path;
  CFURLRef url;
  CFTypeRef nothing = NULL;
  if (argc != 2) return 2;
  check(NewSpeechChannel(NULL, &chan), "NewSpeechChannel");
  changeSettings(chan);
  changeVoice(chan);
  if (CopySpeechProperty(chan, CFSTR("Smell"), &nothing) == siUnknownInfoType && nothing == NULL) {
    puts("no smell");
  }

  path = CFStringCreateWithCString(kCFAllocatorDefault, argv[1], kCFStringEncodingUTF8);
  url = CFURLCreateWithFileSystemPath(kCFAllocatorDefault, path, kCFURLPOSIXPathStyle, false);
  check(SetSpeechProperty(chan, kSpeechOutputToFileURLProperty, url), "file");
  CFRelease(url);
  CFRelease(path);
  setPointer(chan, kSpeechTextDoneCallBack, (void (*)(void))onTextDone);
  setPointer(chan, kSpeechErrorCFCallBack, (void (*)(void))onError);
  setPointer(chan, kSpeechSpeechDoneCallBack, (void (*)(void))onSpeechDone);
  speakAndWait(chan, CFSTR("Plain words, caf\xC3\xA9."));
  showState(chan);
  speakAndWait(chan, CFSTR("A caf\xC3\xA9 [[fast 9]]and [[rate x]]tea."));
  showState(chan);
  changeDelimiters(chan, CFSTR("<"), CFSTR(">"));
  speakAndWait(chan, CFSTR("Now <rate 300>quick <odd>ones."));
  check(DisposeSpeechChannel(chan), "DisposeSpeechChannel");
  return 0;
}
