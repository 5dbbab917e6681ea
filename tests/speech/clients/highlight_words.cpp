// SPDX-License-Identifier: Apache-2.0
//
// Shows a text as a reading program does, with the spoken word in brackets, using strings,
// properties and ranges instead of bytes. Speaks into the file named by its argument.
#include <ApplicationServices/ApplicationServices.h>

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>

namespace {

std::mutex g_lock;
std::condition_variable g_changed;
bool g_done = false;

void check(OSErr result, const char* what) {
  if (result == noErr) return;
  std::fprintf(stderr, "%s: %d\n", what, result);
  std::exit(1);
}

std::string utf8(CFStringRef string, CFRange range) {
  CFStringRef part = CFStringCreateWithSubstring(nullptr, string, range);
  char text[400] = "?";
  CFStringGetCString(part, text, sizeof text, kCFStringEncodingUTF8);
  CFRelease(part);
  return text;
}

void onWord(SpeechChannel /*channel*/, SRefCon /*refCon*/, CFStringRef string, CFRange word) {
  const CFIndex end = word.location + word.length;
  std::printf("%s[%s]%s\n", utf8(string, {0, word.location}).c_str(), utf8(string, word).c_str(),
              utf8(string, {end, CFStringGetLength(string) - end}).c_str());
}

void onDone(SpeechChannel /*channel*/, SRefCon /*refCon*/) {
  const std::lock_guard held(g_lock);
  g_done = true;
  g_changed.notify_all();
}

template <typename Function>
void install(SpeechChannel channel, CFStringRef property, Function* function) {
  CFNumberRef number = CFNumberCreate(nullptr, kCFNumberLongType, &function);
  check(SetSpeechProperty(channel, property, number), "callback");
  CFRelease(number);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  SpeechChannel channel = nullptr;
  check(NewSpeechChannel(nullptr, &channel), "new channel");
  install(channel, kSpeechWordCFCallBack, onWord);
  install(channel, kSpeechSpeechDoneCallBack, onDone);
  const double rate = 220;
  CFNumberRef number = CFNumberCreate(nullptr, kCFNumberDoubleType, &rate);
  check(SetSpeechProperty(channel, kSpeechRateProperty, number), "rate");
  CFRelease(number);
  CFStringRef path = CFStringCreateWithCString(nullptr, argv[1], kCFStringEncodingUTF8);
  CFURLRef url = CFURLCreateWithFileSystemPath(nullptr, path, kCFURLPOSIXPathStyle, false);
  check(SetSpeechProperty(channel, kSpeechOutputToFileURLProperty, url), "file");
  CFRelease(url);
  CFRelease(path);

  CFStringRef text = CFSTR("The “naïve” café — 2 & more…");
  check(SpeakCFString(channel, text, nullptr), "speak");
  {
    std::unique_lock held(g_lock);
    g_changed.wait(held, [] { return g_done; });
  }
  check(DisposeSpeechChannel(channel), "dispose");
  return 0;
}
