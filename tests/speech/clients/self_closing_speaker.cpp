// SPDX-License-Identifier: Apache-2.0
//
// Objects that speak once and then go away by themselves: the done callback disposes the channel
// and deletes the object. Nobody else holds a pointer to them. Speaks into files in the folder of
// the file named by its argument.
#include <ApplicationServices/ApplicationServices.h>

#include <cstdio>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <pthread.h>

// A string at file scope, as interface code has them.
static CFStringRef gTitle = CFSTR("Speakers");

class Locker {
 public:
  explicit Locker(pthread_mutex_t& mutex) : fMutex(mutex) { pthread_mutex_lock(&fMutex); }
  ~Locker() { pthread_mutex_unlock(&fMutex); }

 private:
  Locker(const Locker&);
  Locker& operator=(const Locker&);

  pthread_mutex_t& fMutex;
};

class SpeechError : public std::runtime_error {
 public:
  SpeechError(const char* what, OSErr code) : std::runtime_error(describe(what, code)) {}

 private:
  static std::string describe(const char* what, OSErr code) {
    std::ostringstream text;
    text << what << ": " << code;
    return text.str();
  }
};

// Lives from start() until its speech is done.
class Speaker {
 public:
  static void start(const std::string& text, const std::string& file) {
    Speaker* speaker = new Speaker(text);
    try {
      speaker->speakInto(file);  // from here on it deletes itself
    } catch (...) {
      delete speaker;
      throw;
    }
  }

  static void waitForAll() {
    Locker locked(sMutex);
    while (sAlive > 0) pthread_cond_wait(&sChanged, &sMutex);
  }

  static std::string heard() {
    Locker locked(sMutex);
    std::string all;
    for (std::vector<std::string>::const_iterator it = sHeard.begin(); it != sHeard.end(); ++it) {
      all += *it + "\n";
    }
    return all;
  }

 private:
  explicit Speaker(const std::string& text) : fText(text), fChannel(NULL), fWords(0) {
    check(NewSpeechChannel(NULL, &fChannel), "NewSpeechChannel");
    Locker locked(sMutex);
    ++sAlive;
  }

  ~Speaker() {
    DisposeSpeechChannel(fChannel);
    std::ostringstream line;
    line << fWords << " words: " << fText;
    Locker locked(sMutex);
    sHeard.push_back(line.str());
    --sAlive;
    pthread_cond_broadcast(&sChanged);
  }

  Speaker(const Speaker&);
  Speaker& operator=(const Speaker&);

  void speakInto(const std::string& file) {
    CFURLRef url = CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(file.data()),
        static_cast<CFIndex>(file.size()), false);
    const OSErr result = SetSpeechInfo(fChannel, soOutputToFileWithCFURL, url);
    CFRelease(url);
    check(result, "soOutputToFileWithCFURL");
    check(SetSpeechInfo(fChannel, soRefCon, this), "soRefCon");
    set(soWordCallBack, wordHook);
    set(soSpeechDoneCallBack, doneHook);
    check(SpeakText(fChannel, fText.data(), fText.size()), "SpeakText");
  }

  template <typename Hook>
  void set(OSType selector, Hook hook) {
    check(SetSpeechInfo(fChannel, selector, reinterpret_cast<void*>(hook)), "callback");
  }

  static void check(OSErr result, const char* what) {
    if (result != noErr) throw SpeechError(what, result);
  }

  static void wordHook(SpeechChannel, SRefCon refCon, unsigned long, UInt16) {
    ++static_cast<Speaker*>(refCon)->fWords;
  }

  static void doneHook(SpeechChannel, SRefCon refCon) { delete static_cast<Speaker*>(refCon); }

  static pthread_mutex_t sMutex;
  static pthread_cond_t sChanged;
  static int sAlive;
  static std::vector<std::string> sHeard;

  const std::string fText;
  SpeechChannel fChannel;
  int fWords;
};

pthread_mutex_t Speaker::sMutex = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t Speaker::sChanged = PTHREAD_COND_INITIALIZER;
int Speaker::sAlive = 0;
std::vector<std::string> Speaker::sHeard;

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  char title[20];
  if (!CFStringGetCString(gTitle, title, sizeof(title), kCFStringEncodingMacRoman)) return 1;
  std::printf("%s\n", title);
  const char* const texts[] = {"I am the first.", "Then there is me, the second.",
                               "A third one follows.", "And [[rate 300]]that is all."};
  try {
    for (std::size_t i = 0; i < sizeof(texts) / sizeof(texts[0]); ++i) {
      Speaker::start(texts[i], argv[1]);
      Speaker::waitForAll();
    }
    std::fputs(Speaker::heard().c_str(), stdout);
    // All at once; the order of their ends is nobody's business.
    for (int i = 0; i < 8; ++i) {
      std::ostringstream file;
      file << argv[1] << '.' << i;
      Speaker::start("All together.", file.str());
    }
    Speaker::waitForAll();
  } catch (const SpeechError& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  const std::string all = Speaker::heard();
  int together = 0;
  for (std::size_t at = all.find("2 words"); at != std::string::npos;
       at = all.find("2 words", at + 1)) {
    ++together;
  }
  std::printf("%d together, %d busy\n", together, static_cast<int>(SpeechBusy()));
  for (int i = 0; i < 8; ++i) {
    std::ostringstream file;
    file << argv[1] << '.' << i;
    std::remove(file.str().c_str());
  }
  return 0;
}
