/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Asks Gestalt whether there is a Speech Manager, and gives up if there is none. Then a small
 * control strip: each setting is a fixed-point number that must read back as it was set.
 */
#include <FixMath.h>
#include <Gestalt.h>
#include <SpeechSynthesis.h>
#include <stdio.h>
#include <stdlib.h>

typedef struct Setting {
  OSType selector;
  const char* name;
  double value;
} Setting;

static const Setting kSettings[] = {{soRate, "rate", 180.5},
                                    {soPitchBase, "pitch", 45.5},
                                    {soPitchMod, "modulation", 2.5},
                                    {soVolume, "volume", 0.375}};

#define kSettingCount ((int)(sizeof(kSettings) / sizeof(kSettings[0])))

static void FailIf(int failed, const char* what) {
  if (!failed) return;
  fprintf(stderr, "%s failed\n", what);
  exit(1);
}

static Boolean HasSpeechManager(void) {
  long response = 0;
  if (Gestalt(gestaltSpeechAttr, &response) != noErr) return FALSE;
  return (response & (1L << gestaltSpeechMgrPresent)) ? TRUE : FALSE;
}

static Boolean HasMindReader(void) {
  long response = 0;
  return Gestalt(0x6D696E64L, &response) == noErr ? TRUE : FALSE; /* 'mind' */
}

static void ShowArithmetic(void) {
  const Fixed third = FixRatio(1, 3);
  printf("1.5 is 0x%08lX\n", (unsigned long)(UInt32)X2Fix(1.5));
  printf("-0.25 is 0x%08lX\n", (unsigned long)(UInt32)X2Fix(-0.25));
  printf("1/3 is %.4f\n", Fix2X(third));
  printf("1/3 of 12 is %.2f\n", Fix2X(FixMul(third, Long2Fix(12))));
}

static void ShowSettings(SpeechChannel chan) {
  int i;
  for (i = 0; i < kSettingCount; i++) {
    Fixed value = X2Fix(kSettings[i].value);
    FailIf(SetSpeechInfo(chan, kSettings[i].selector, &value) != noErr, kSettings[i].name);
    value = 0;
    FailIf(GetSpeechInfo(chan, kSettings[i].selector, &value) != noErr, kSettings[i].name);
    printf("%-10s %7.3f\n", kSettings[i].name, Fix2X(value));
  }
}

/* Three quarters, the same, and half as fast again. */
static void ShowRates(SpeechChannel chan) {
  static const short kQuarters[] = {3, 4, 6};
  Fixed normal = 0, rate = 0;
  int i;
  FailIf(GetSpeechRate(chan, &normal) != noErr, "GetSpeechRate");
  for (i = 0; i < 3; i++) {
    FailIf(SetSpeechRate(chan, FixMul(normal, FixRatio(kQuarters[i], 4))) != noErr,
           "SetSpeechRate");
    FailIf(GetSpeechRate(chan, &rate) != noErr, "GetSpeechRate");
    printf("%d quarters %7.3f\n", kQuarters[i], Fix2X(rate));
  }
}

int main(void) {
  SpeechChannel chan = NULL;
  Fixed first = 0, last = 0;
  if (!HasSpeechManager()) {
    puts("This computer cannot speak.");
    return 1;
  }
  puts("This computer can speak.");
  puts(HasMindReader() ? "It reads minds." : "It does not read minds.");
  ShowArithmetic();

  FailIf(NewSpeechChannel(NULL, &chan) != noErr, "NewSpeechChannel");
  FailIf(GetSpeechRate(chan, &first) != noErr, "GetSpeechRate");
  ShowSettings(chan);
  ShowRates(chan);
  FailIf(SetSpeechInfo(chan, soReset, NULL) != noErr, "soReset");
  FailIf(GetSpeechRate(chan, &last) != noErr, "GetSpeechRate");
  puts(first == last ? "reset" : "not reset");
  FailIf(DisposeSpeechChannel(chan) != noErr, "DisposeSpeechChannel");
  return 0;
}
