/* SPDX-License-Identifier: Apache-2.0 */
/*
 * A client of an installation, valid as C and as C++: speaks to the file named by its argument and
 * waits until the speech is done. Exit status: 0 on success.
 */
#include <ApplicationServices/ApplicationServices.h>

#include <stdio.h>
#include <string.h>
#include <unistd.h>

static int g_pipe[2];

static void speechDone(SpeechChannel channel, SRefCon refCon) {
  const ssize_t written = write(g_pipe[1], "d", 1);
  (void)channel;
  (void)refCon;
  (void)written;
}

static int fail(const char* what, OSErr result) {
  fprintf(stderr, "%s: %d\n", what, (int)result);
  return 1;
}

int main(int argc, char** argv) {
  const char* const text = "Installed [[rate 300]]and working.";
  SpeechChannel channel = NULL;
  CFURLRef file = NULL;
  SInt16 voices = 0;
  OSErr result = noErr;
  char token = 0;
  if (argc != 2 || pipe(g_pipe) != 0) return 2;

  result = CountVoices(&voices);
  if (result != noErr || voices < 1) return fail("CountVoices", result);
  result = NewSpeechChannel(NULL, &channel);
  if (result != noErr) return fail("NewSpeechChannel", result);
  result = SetSpeechInfo(channel, soSpeechDoneCallBack, (const void*)&speechDone);
  if (result != noErr) return fail("SetSpeechInfo", result);
  file = CFURLCreateFromFileSystemRepresentation(NULL, (const UInt8*)argv[1],
                                                 (CFIndex)strlen(argv[1]), false);
  result = SetSpeechInfo(channel, soOutputToFileWithCFURL, file);
  if (result != noErr) return fail("SetSpeechInfo", result);
  result = SpeakText(channel, text, strlen(text));
  if (result != noErr) return fail("SpeakText", result);
  if (read(g_pipe[0], &token, 1) != 1) return fail("read", noErr);
  CFRelease(file);
  result = DisposeSpeechChannel(channel);
  if (result != noErr) return fail("DisposeSpeechChannel", result);
  printf("%d voices\n", (int)voices);
  return 0;
}
