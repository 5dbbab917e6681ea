/* SPDX-License-Identifier: Apache-2.0 */
/*
 * kavrel-bench-load [PLUGIN]: prints the nanoseconds that a fresh process needs to load the
 * plug-in, look up its twelve entry points and unload it; without a plug-in, to load and unload the
 * system libraries that the engine needs. Exit status: 0; 1 if a file or an entry point is missing.
 */
#include <dlfcn.h>
#include <stddef.h>
#include <stdio.h>
#include <time.h>

static const char* const kNames[] = {
    "SEOpenSpeechChannel", "SECloseSpeechChannel", "SESpeechStatus",   "SEStopSpeechAt",
    "SEPauseSpeechAt",     "SEContinueSpeech",     "SETextToPhonemes", "SEUseDictionary",
    "SESpeakBuffer",       "SEGetSpeechInfo",      "SESetSpeechInfo",  "SEUseVoice"};
static const char* const kLibraries[] = {"libcubeb.so.0"};

static int load_plugin(const char* path) {
  void* plugin = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (plugin == NULL) return 0;
  for (size_t i = 0; i < sizeof kNames / sizeof *kNames; ++i) {
    if (dlsym(plugin, kNames[i]) == NULL) return 0;
  }
  return dlclose(plugin) == 0;
}

static int load_libraries(void) {
  enum { kCount = sizeof kLibraries / sizeof *kLibraries };
  void* loaded[kCount];
  for (size_t i = 0; i < kCount; ++i) {
    loaded[i] = dlopen(kLibraries[i], RTLD_NOW | RTLD_LOCAL);
    if (loaded[i] == NULL) return 0;
  }
  for (size_t i = 0; i < kCount; ++i) dlclose(loaded[i]);
  return 1;
}

int main(int argc, char** argv) {
  struct timespec begun;
  struct timespec ended;
  clock_gettime(CLOCK_MONOTONIC, &begun);
  if (!(argc > 1 ? load_plugin(argv[1]) : load_libraries())) return 1;
  clock_gettime(CLOCK_MONOTONIC, &ended);
  printf("%.0f\n",
         (double)(ended.tv_sec - begun.tv_sec) * 1e9 + (double)(ended.tv_nsec - begun.tv_nsec));
  return 0;
}
