/* SPDX-License-Identifier: Apache-2.0 */
/*
 * A host without the project's headers: loads the plug-in named on its command line as a plain C
 * program would, and calls every entry point with null and unknown arguments, for channels that are
 * open, were closed, or never existed.
 */
#include <dlfcn.h>
#include <sched.h>
#include <stddef.h>
#include <stdio.h>
#include <time.h>

enum { noErr = 0, paramErr = -50, noSynthFound = -240, synthNotReady = -242 };

static int failures = 0;

static void expect(const char* what, long actual, long expected) {
  if (actual == expected) return;
  fprintf(stderr, "%s returns %ld, not %ld\n", what, actual, expected);
  failures++;
}

/* Converts four characters to a number. */
static unsigned long code(const char* text) {
  unsigned long value = 0;
  for (int i = 0; i < 4; ++i) value = value << 8 | (unsigned char)text[i];
  return value;
}

static void* look_up(void* plugin, const char* name) {
  void* found = dlsym(plugin, name);
  if (found == NULL) {
    fprintf(stderr, "%s is missing\n", name);
    failures++;
  }
  return found;
}

struct entry_points {
  long (*open)(int*);
  long (*close)(int);
  long (*status)(int, void*);
  long (*stop)(int, unsigned long);
  long (*pause)(int, unsigned long);
  long (*resume)(int);
  long (*phonemes)(int, char*, long, void**, long*);
  long (*dictionary)(int, void*, long);
  long (*speak)(int, char*, long, long);
  long (*get)(int, unsigned long, void*);
  long (*set)(int, unsigned long, void*);
  long (*voice)(int, void*, void*);
};

static void call_with_an_unknown_channel(const struct entry_points* se, int unknown) {
  expect("SECloseSpeechChannel", se->close(unknown), noSynthFound);
  expect("SESpeechStatus", se->status(unknown, NULL), noSynthFound);
  expect("SEStopSpeechAt", se->stop(unknown, 0), noSynthFound);
  expect("SEPauseSpeechAt", se->pause(unknown, 0), noSynthFound);
  expect("SEContinueSpeech", se->resume(unknown), noSynthFound);
  expect("SETextToPhonemes", se->phonemes(unknown, NULL, 0, NULL, NULL), noSynthFound);
  expect("SEUseDictionary", se->dictionary(unknown, NULL, 0), noSynthFound);
  expect("SESpeakBuffer", se->speak(unknown, NULL, 0, 0), noSynthFound);
  expect("SEGetSpeechInfo", se->get(unknown, 0, NULL), noSynthFound);
  expect("SESetSpeechInfo", se->set(unknown, 0, NULL), noSynthFound);
  expect("SEUseVoice", se->voice(unknown, NULL, NULL), noSynthFound);
}

static void call_with_null_arguments(const struct entry_points* se, int channel) {
  expect("SESpeechStatus without a record", se->status(channel, NULL), paramErr);
  expect("SETextToPhonemes", se->phonemes(channel, NULL, -1, NULL, NULL), noErr);
  expect("SEUseDictionary", se->dictionary(channel, NULL, -1), noErr);
  expect("SEUseVoice without voice and bundle", se->voice(channel, NULL, NULL), noErr);
  expect("SEGetSpeechInfo without a pointer", se->get(channel, 0, NULL), paramErr);
  expect("SESetSpeechInfo of an unknown selector", se->set(channel, 0, NULL), noErr);
  static const char* const callbacks[] = {"tdcb", "sdcb", "sycb", "ercb", "phcb", "wdcb",
                                          "refc", "opaf", "cpos", "eerr", "rset"};
  for (size_t i = 0; i < sizeof callbacks / sizeof *callbacks; ++i) {
    expect(callbacks[i], se->set(channel, code(callbacks[i]), NULL), noErr);
  }
}

/* A channel that speaks an empty text still changes its states. */
static void call_without_text(const struct entry_points* se, int channel) {
  const unsigned long nowhere = 99;
  expect("SEStopSpeechAt of nothing", se->stop(channel, nowhere), noErr);
  expect("SEContinueSpeech of nothing", se->resume(channel), noErr);
  expect("SEPauseSpeechAt of nothing", se->pause(channel, nowhere), -1);
  expect("SEPauseSpeechAt again", se->pause(channel, nowhere), noErr);
  expect("SESpeakBuffer while paused", se->speak(channel, NULL, 0, -1), synthNotReady);
  expect("SEContinueSpeech", se->resume(channel), -1);
  expect("SEStopSpeechAt", se->stop(channel, nowhere), noErr);
  /* The end of the stopped job is reported on its own thread. */
  long spoken = synthNotReady;
  for (time_t begun = time(NULL); spoken == synthNotReady && time(NULL) - begun < 20;) {
    spoken = se->speak(channel, NULL, 4, 0);
    sched_yield();
  }
  expect("SESpeakBuffer of no text", spoken, noErr);
  expect("SEStopSpeechAt of no text", se->stop(channel, nowhere), noErr);
}

int main(int argc, char** argv) {
  void* plugin = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  if (plugin == NULL) {
    fprintf(stderr, "cannot load the plug-in: %s\n", argc == 2 ? dlerror() : "no file is given");
    return 1;
  }
  const struct entry_points se = {
      (long (*)(int*))look_up(plugin, "SEOpenSpeechChannel"),
      (long (*)(int))look_up(plugin, "SECloseSpeechChannel"),
      (long (*)(int, void*))look_up(plugin, "SESpeechStatus"),
      (long (*)(int, unsigned long))look_up(plugin, "SEStopSpeechAt"),
      (long (*)(int, unsigned long))look_up(plugin, "SEPauseSpeechAt"),
      (long (*)(int))look_up(plugin, "SEContinueSpeech"),
      (long (*)(int, char*, long, void**, long*))look_up(plugin, "SETextToPhonemes"),
      (long (*)(int, void*, long))look_up(plugin, "SEUseDictionary"),
      (long (*)(int, char*, long, long))look_up(plugin, "SESpeakBuffer"),
      (long (*)(int, unsigned long, void*))look_up(plugin, "SEGetSpeechInfo"),
      (long (*)(int, unsigned long, void*))look_up(plugin, "SESetSpeechInfo"),
      (long (*)(int, void*, void*))look_up(plugin, "SEUseVoice"),
  };
  if (failures > 0) return 1;

  static const int unknown[] = {12345, 0, -1, -2147483647 - 1, 2147483647};
  for (size_t i = 0; i < sizeof unknown / sizeof *unknown; ++i) {
    call_with_an_unknown_channel(&se, unknown[i]);
  }
  expect("SEOpenSpeechChannel", se.open(NULL), paramErr);
  int channel = 0;
  expect("SEOpenSpeechChannel", se.open(&channel), noErr);
  expect("the first identifier", channel, 1);
  call_with_null_arguments(&se, channel);
  int other = 0;
  expect("SEOpenSpeechChannel", se.open(&other), noErr);
  expect("the second identifier", other, 2);
  call_without_text(&se, other);
  expect("SECloseSpeechChannel", se.close(channel), noErr);
  call_with_an_unknown_channel(&se, channel);
  dlclose(plugin);
  return failures > 0;
}
