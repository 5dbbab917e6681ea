/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Writes speech to an audio file and waits until nobody is busy: no callbacks at all. A file that
 * cannot be written is an error at once; the channel can write to another one then.
 */
#include <Carbon/Carbon.h>

static const char kText[] = "Tomorrow it will rain in the north, and the wind turns west.";

static CFURLRef MakeURL(const char* path) {
  CFStringRef string = CFStringCreateWithCString(kCFAllocatorDefault, path, kCFStringEncodingUTF8);
  CFURLRef url =
      CFURLCreateWithFileSystemPath(kCFAllocatorDefault, string, kCFURLPOSIXPathStyle, false);
  CFRelease(string);
  return url;
}

/* Returns the result of the call that fails, or noErr. */
static OSErr WriteSpeech(SpeechChannel chan, const char* path, long rate) {
  CFURLRef url = MakeURL(path);
  OSErr err = SetSpeechRate(chan, Long2Fix(rate));
  if (err == noErr) err = SetSpeechInfo(chan, soOutputToFileWithCFURL, url);
  if (err == noErr) err = SpeakText(chan, kText, strlen(kText));
  CFRelease(url);
  if (err != noErr) return err;
  while (SpeechBusy()) usleep(5000);
  return noErr;
}

static unsigned long BigEndian(const unsigned char* bytes) {
  return (unsigned long)bytes[0] << 24 | (unsigned long)bytes[1] << 16 |
         (unsigned long)bytes[2] << 8 | (unsigned long)bytes[3];
}

/* Returns the size of an AIFF file with a whole header, or 0. */
static unsigned long SizeOfAudioFile(const char* path) {
  unsigned char header[12];
  unsigned long size;
  FILE* file = fopen(path, "rb");
  if (file == NULL) return 0;
  if (fread(header, 1, sizeof(header), file) != sizeof(header))
    size = 0;
  else
    size = BigEndian(header + 4) + 8;
  fseek(file, 0, SEEK_END);
  if (memcmp(header, "FORM", 4) != 0 || memcmp(header + 8, "AIFF", 4) != 0) size = 0;
  if (size != (unsigned long)ftell(file)) size = 0;
  fclose(file);
  return size;
}

int main(int argc, char** argv) {
  SpeechChannel chan = NULL;
  unsigned long slow, fast;
  char folder[1000];
  if (argc != 2 || strlen(argv[1]) > 900) return 2;
  if (NewSpeechChannel(NULL, &chan) != noErr) return 1;

  /* The name of a file is no folder, and there is no folder of that name. */
  if (WriteSpeech(chan, argv[1], 150) != noErr) return 1;
  slow = SizeOfAudioFile(argv[1]);
  sprintf(folder, "%s/inside.aiff", argv[1]);
  puts(WriteSpeech(chan, folder, 150) != noErr ? "not inside a file" : "inside a file?");
  sprintf(folder, "%s.none/deeper/inside.aiff", argv[1]);
  puts(WriteSpeech(chan, folder, 150) != noErr ? "not without a folder" : "without a folder?");
  puts(SpeechBusy() == 0 ? "nobody is busy" : "somebody is busy");
  puts(SizeOfAudioFile(argv[1]) == slow ? "the first file is kept" : "the first file is gone");

  if (WriteSpeech(chan, argv[1], 300) != noErr) return 1;
  fast = SizeOfAudioFile(argv[1]);
  puts(slow > 20000 && fast > 20000 ? "two files" : "not two files");
  puts(fast < slow ? "the second is shorter" : "the second is not shorter");
  if (SetSpeechInfo(chan, soOutputToFileWithCFURL, NULL) != noErr) return 1;
  if (DisposeSpeechChannel(chan) != noErr) return 1;
  return 0;
}
