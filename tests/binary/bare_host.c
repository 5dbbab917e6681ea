/* SPDX-License-Identifier: Apache-2.0 */
/*
 * A host that knows nothing of us: loads the plug-in named on its command line as a plain C program
 * would, and calls every entry point with null and unknown arguments.
 */
#include <dlfcn.h>
#include <stddef.h>
#include <stdio.h>

enum { noErr = 0, paramErr = -50, noSynthFound = -240 };
#define NOBODY 12345

static int failures = 0;

static void expect(const char* what, long actual, long expected) {
  if (actual == expected) return;
  fprintf(stderr, "%s answers %ld, not %ld\n", what, actual, expected);
  failures++;
}

static void* look_up(void* plugin, const char* name) {
  void* found = dlsym(plugin, name);
  if (found == NULL) {
    fprintf(stderr, "%s is missing\n", name);
    failures++;
  }
  return found;
}

int main(int argc, char** argv) {
  void* plugin = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  if (plugin == NULL) {
    fprintf(stderr, "cannot load the plug-in: %s\n", argc == 2 ? dlerror() : "none is named");
    return 1;
  }
  long (*open)(int*) = (long (*)(int*))look_up(plugin, "SEOpenSpeechChannel");
  long (*close)(int) = (long (*)(int))look_up(plugin, "SECloseSpeechChannel");
  long (*status)(int, void*) = (long (*)(int, void*))look_up(plugin, "SESpeechStatus");
  long (*stop)(int, unsigned long) =
      (long (*)(int, unsigned long))look_up(plugin, "SEStopSpeechAt");
  long (*pause)(int, unsigned long) =
      (long (*)(int, unsigned long))look_up(plugin, "SEPauseSpeechAt");
  long (*resume)(int) = (long (*)(int))look_up(plugin, "SEContinueSpeech");
  long (*phonemes)(int, char*, long, void**, long*) =
      (long (*)(int, char*, long, void**, long*))look_up(plugin, "SETextToPhonemes");
  long (*dictionary)(int, void*, long) =
      (long (*)(int, void*, long))look_up(plugin, "SEUseDictionary");
  long (*speak)(int, char*, long, long) =
      (long (*)(int, char*, long, long))look_up(plugin, "SESpeakBuffer");
  long (*get)(int, unsigned long, void*) =
      (long (*)(int, unsigned long, void*))look_up(plugin, "SEGetSpeechInfo");
  long (*set)(int, unsigned long, void*) =
      (long (*)(int, unsigned long, void*))look_up(plugin, "SESetSpeechInfo");
  long (*voice)(int, void*, void*) = (long (*)(int, void*, void*))look_up(plugin, "SEUseVoice");
  if (failures > 0) return 1;

  expect("SEOpenSpeechChannel", open(NULL), paramErr);
  expect("SECloseSpeechChannel", close(NOBODY), noSynthFound);
  expect("SESpeechStatus", status(NOBODY, NULL), noSynthFound);
  expect("SEStopSpeechAt", stop(NOBODY, 0), noSynthFound);
  expect("SEPauseSpeechAt", pause(NOBODY, 0), noSynthFound);
  expect("SEContinueSpeech", resume(NOBODY), noSynthFound);
  expect("SETextToPhonemes", phonemes(NOBODY, NULL, 0, NULL, NULL), noSynthFound);
  expect("SEUseDictionary", dictionary(NOBODY, NULL, 0), noSynthFound);
  expect("SESpeakBuffer", speak(NOBODY, NULL, 0, 0), noSynthFound);
  expect("SEGetSpeechInfo", get(NOBODY, 0, NULL), noSynthFound);
  expect("SESetSpeechInfo", set(NOBODY, 0, NULL), noSynthFound);
  expect("SEUseVoice", voice(NOBODY, NULL, NULL), noSynthFound);

  int channel = 0;
  expect("SEOpenSpeechChannel", open(&channel), noErr);
  expect("the first identifier", channel, 1);
  expect("SESpeechStatus without a record", status(channel, NULL), paramErr);
  expect("SEGetSpeechInfo without a place", get(channel, 0, NULL), paramErr);
  expect("SESetSpeechInfo of an unknown selector", set(channel, 0, NULL), noErr);
  expect("SECloseSpeechChannel", close(channel), noErr);
  expect("SECloseSpeechChannel again", close(channel), noSynthFound);
  dlclose(plugin);
  return failures > 0;
}
