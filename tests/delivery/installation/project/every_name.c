/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Uses every name that older programs for the platform's C speech interface need, valid in C89 and
 * later and in C++98 and later. UMBRELLA is the only header that it includes before their use,
 * for example -DUMBRELLA='<Carbon/Carbon.h>'. Exit status: 0 if everything has the value it should
 * have; else 1, with a line on standard error for each failure.
 */
#include UMBRELLA

static int g_failures = 0;

static void check(int holds, const char* what) {
  if (holds) return;
  fprintf(stderr, "%s\n", what);
  g_failures++;
}
#define CHECK(condition) check((condition) ? 1 : 0, #condition)

/* ---- The C library */

static void handleSignal(int number) {
  (void)number;
}

static int sumOf(int count, ...) {
  va_list numbers;
  int sum = 0;
  va_start(numbers, count);
  while (count-- > 0) sum += va_arg(numbers, int);
  va_end(numbers);
  return sum;
}

static void useTheCLibrary(void) {
  char* const block = (char*)malloc(8);
  const size_t offset = offsetof(VoiceDescription, name);
  CHECK(block != NULL);
  strcpy(block, "one");
  CHECK(strlen(block) == 3 && toupper((unsigned char)block[0]) == 'O');
  free(block);
  CHECK(offset == 16 && sumOf(2, 3, 4) == 7);
  errno = 0;
  CHECK(errno == 0 && INT_MAX > 0 && DBL_MAX > 1.0);
  CHECK(pow((double)g_failures + 2, 3) > 7.9); /* not a constant: needs the library */
  CHECK(signal(SIGTERM, handleSignal) != SIG_ERR && raise(SIGTERM) == 0);
  CHECK(time(NULL) > 0 && access("/", F_OK) == 0);
}

/* ---- Types and macros */

static pascal void plainFunction(void) {}

static void useTypesAndMacros(void) {
  const Byte byte = 255;
  const Float32 narrow = 0.5F;
  const Float64 wide = 0.25;
  const ItemCount items = 3;
  const ByteCount bytes = 4;
  const OptionBits options = 0x80000000U;
  const ResType type = gestaltSpeechAttr;
  const ProcPtr function = plainFunction;
  const CFStringBuiltInEncodings encoding = kCFStringEncodingUTF8;
  unsigned char text[4] = {3, 'o', 'n', 'e'};
  StringPtr string = text;
  ConstStr255Param constant = text;
  const Boolean yes = TRUE;
  const Boolean no = FALSE;
  Ptr nothing = nil;
  Component component = NULL;
  ComponentInstance instance = NULL;
  function();
  CHECK(byte == 255 && narrow > wide && items < bytes && options > 0 && type == 0x74747363);
  CHECK(string == constant && yes && !no && nothing == NULL && encoding != 0);
  CHECK(component == NULL && instance == NULL);
  CHECK(unimpErr == -4 && fnfErr == -43 && memFullErr == -108);
}

/* ---- Fixed point, Gestalt, Pascal strings */

static void useNumbers(void) {
  CHECK(X2Fix(180.5) == 0x00B48000 && FixRatio(1, 2) == 0x8000);
  CHECK(Fix2X(0x00B48000) > 180.4 && Fix2X(0x00B48000) < 180.6);
  CHECK(Long2Fix(2) == FixMul(Long2Fix(1), Long2Fix(2)) && Fix2Long(FixDiv(6, 3)) == 2);
}

static void useGestalt(void) {
  SInt32 narrow = 0;
  long wide = -1;
  CHECK(Gestalt(gestaltSpeechAttr, &narrow) == noErr);
  CHECK((narrow & (1 << gestaltSpeechMgrPresent)) != 0);
  CHECK(Gestalt(gestaltSpeechAttr, &wide) == noErr && wide == narrow);
  CHECK(Gestalt(0x73797376, &narrow) == gestaltUndefSelectorErr);
}

static void usePascalStrings(void) {
  Str255 pascalString;
  char cString[256];
  CopyCStringToPascal("one", pascalString);
  CHECK(pascalString[0] == 3);
  CopyPascalStringToC(pascalString, cString);
  CHECK(strcmp(cString, "one") == 0);
  c2pstrcpy(pascalString, "two");
  p2cstrcpy(cString, pascalString);
  CHECK(strcmp(cString, "two") == 0);
  CHECK(strcmp(p2cstr(c2pstr(cString)), "two") == 0);
  CHECK(strcmp(P2CStr(C2PStr(cString)), "two") == 0);
}

/* ---- Core Foundation */

#ifdef __cplusplus
static const CFStringRef g_constant = CFSTR("outside of functions");
#endif

static void useStrings(void) {
  static const unsigned char counted[] = {3, 'o', 'n', 'e'};
  static const UInt8 units[] = {0, 'o', 0, 'n', 0, 'e'};
  char* const owned = (char*)malloc(4);
  CFStringRef one = CFStringCreateWithPascalString(NULL, counted, kCFStringEncodingMacRoman);
  CFStringRef same = CFStringCreateWithBytes(NULL, units, 6, kCFStringEncodingUTF16BE, false);
  CFStringRef borrowed =
      CFStringCreateWithCStringNoCopy(NULL, "ONE", kCFStringEncodingASCII, kCFAllocatorNull);
  CFStringRef adopted;
  strcpy(owned, "two");
  adopted = CFStringCreateWithCStringNoCopy(NULL, owned, kCFStringEncodingUTF8,
                                            kCFAllocatorSystemDefault);
  CHECK(CFStringCompare(one, same, 0) == kCFCompareEqualTo);
  CHECK(CFStringCompare(one, borrowed, kCFCompareCaseInsensitive) == kCFCompareEqualTo);
  CHECK(CFStringCompare(one, adopted, 0) == kCFCompareLessThan);
  CHECK(CFStringGetMaximumSizeForEncoding(3, kCFStringEncodingUTF8) == 9);
  CHECK(kCFStringEncodingUnicode == kCFStringEncodingUTF16);
  CHECK(kCFStringEncodingUTF16LE != kCFStringEncodingUTF16BE);
  CHECK(strcmp(CFStringGetCStringPtr(same, kCFStringEncodingMacRoman), "one") == 0);
  CHECK(strcmp(CFStringGetCStringPtr(CFSTR("x"), kCFStringEncodingWindowsLatin1), "x") == 0);
#ifdef __cplusplus
  CHECK(CFStringGetLength(g_constant) == 20);
#endif
  CFRelease(one);
  CFRelease(same);
  CFRelease(borrowed);
  CFRelease(adopted);
}

static void useOtherObjects(void) {
  CFErrorRef error = CFErrorCreate(NULL, kCFErrorDomainOSStatus, paramErr, NULL);
  CFStringRef description = CFErrorCopyDescription(error);
  CFMutableDictionaryRef dictionary = CFDictionaryCreateMutable(
      NULL, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
  const CFRange range = CFRangeMake(0, 1);
  CHECK(CFStringGetLength(description) > range.length);
  CFDictionarySetValue(dictionary, CFSTR("shown key"), CFSTR("shown value"));
  CFShow(dictionary);
  CFRelease(dictionary);
  CFRelease(description);
  CFRelease(error);
  CHECK(CFSwapInt16BigToHost(CFSwapInt16HostToBig(0x0102)) == 0x0102);
  CHECK(CFSwapInt32HostToBig(1) != CFSwapInt32HostToLittle(1));
  CHECK(CFSwapInt32BigToHost(CFSwapInt32HostToBig(1)) == 1 && CFSwapInt32(1) == 0x01000000);
  CHECK(CFSwapInt64LittleToHost(CFSwapInt64HostToLittle(1)) == 1);
}

/* ---- Speech */

static pascal void textDone(SpeechChannel chan, SRefCon refCon, const void** nextBuf,
                            unsigned long* byteLen, SInt32* controlFlags) {
  (void)chan;
  (void)refCon;
  (void)controlFlags;
  *nextBuf = NULL;
  *byteLen = 0;
}
static pascal void speechDone(SpeechChannel chan, SRefCon refCon) {
  (void)chan;
  (void)refCon;
}
static pascal void sync32(SpeechChannel chan, SRefCon refCon, OSType message) {
  (void)message;
  speechDone(chan, refCon);
}
static pascal void speechError(SpeechChannel chan, SRefCon refCon, OSErr error, long position) {
  (void)error;
  (void)position;
  speechDone(chan, refCon);
}
static pascal void phoneme(SpeechChannel chan, SRefCon refCon, SInt16 opcode) {
  (void)opcode;
  speechDone(chan, refCon);
}
static pascal void word(SpeechChannel chan, SRefCon refCon, unsigned long position, UInt16 length) {
  (void)position;
  (void)length;
  speechDone(chan, refCon);
}

/* A callback as the value of a selector; ISO C has no direct conversion. */
#define VALUE(callback) ((const void*)(size_t)(callback))

static void useOldCallbacks(SpeechChannel channel) {
  const SpeechTextDoneUPP textDoneUPP = NewSpeechTextDoneProc(textDone);
  const SpeechDoneUPP doneUPP = NewSpeechDoneProc(speechDone);
  const SpeechSyncUPP syncUPP = NewSpeechSyncProc(sync32);
  const SpeechErrorUPP errorUPP = NewSpeechErrorProc(speechError);
  const SpeechPhonemeUPP phonemeUPP = NewSpeechPhonemeProc(phoneme);
  const SpeechWordUPP wordUPP = NewSpeechWordProc(word);
  CHECK(SetSpeechInfo(channel, soTextDoneCallBack, VALUE(textDoneUPP)) == noErr);
  CHECK(SetSpeechInfo(channel, soSpeechDoneCallBack, VALUE(doneUPP)) == noErr);
  CHECK(SetSpeechInfo(channel, soSyncCallBack, VALUE(syncUPP)) == noErr);
  CHECK(SetSpeechInfo(channel, soErrorCallBack, VALUE(errorUPP)) == noErr);
  CHECK(SetSpeechInfo(channel, soPhonemeCallBack, VALUE(phonemeUPP)) == noErr);
  CHECK(SetSpeechInfo(channel, soWordCallBack, VALUE(wordUPP)) == noErr);
}

static void useWhatIsNotOffered(SpeechChannel channel) {
  static const OSType selectors[] = {soCurrentA5, soSoundOutput, soPhonemeOptions,
                                     soOutputToAudioDevice, soOutputToExtAudioFile};
  CFStringRef properties[4];
  VoiceFileInfo file;
  CFTypeRef object = NULL;
  UInt32 value =
      kSpeechGenerateTune | kSpeechRelativePitch | kSpeechRelativeDuration | kSpeechShowSyllables;
  size_t i;
  properties[0] = kSpeechPhonemeOptionsProperty;
  properties[1] = kSpeechOutputToExtAudioFileProperty;
  properties[2] = kSpeechOutputToAudioDeviceProperty;
  properties[3] = kSpeechOutputChannelMapProperty;
  for (i = 0; i < sizeof selectors / sizeof *selectors; i++) {
    CHECK(SetSpeechInfo(channel, selectors[i], &value) == siUnknownInfoType);
    CHECK(GetSpeechInfo(channel, selectors[i], &value) == siUnknownInfoType);
  }
  for (i = 0; i < sizeof properties / sizeof *properties; i++) {
    CHECK(SetSpeechProperty(channel, properties[i], NULL) == siUnknownInfoType);
    CHECK(CopySpeechProperty(channel, properties[i], &object) == siUnknownInfoType);
  }
  CHECK(GetVoiceInfo(NULL, soVoiceFile, &file) == siUnknownInfoType);
  CHECK(SpeechSynthesisRegisterModuleURL(NULL) == siUnknownInfoType);
  CHECK(SpeechSynthesisUnregisterModuleURL(NULL) == siUnknownInfoType);
}

int main(void) {
  SpeechChannel channel = NULL;
  useTheCLibrary();
  useTypesAndMacros();
  useNumbers();
  useGestalt();
  usePascalStrings();
  useStrings();
  useOtherObjects();
  CHECK(NewSpeechChannel(NULL, &channel) == noErr);
  useOldCallbacks(channel);
  useWhatIsNotOffered(channel);
  CHECK(DisposeSpeechChannel(channel) == noErr);
  return g_failures == 0 ? 0 : 1;
}

/* ---- Headers
 *
 * Each of these resolves. They come last, so that the umbrella alone has to bring what is used
 * above.
 */
#include <ApplicationServices/ApplicationServices.h>

#include <ApplicationServices.h>
#include <Carbon/Carbon.h>
#include <Components.h>
#include <CoreServices/CoreServices.h>
#include <FixMath.h>
#include <Gestalt.h>
#include <MacMemory.h>
#include <MacTypes.h>
#include <SpeechSynthesis.h>
#include <StringCompare.h>
#include <TextUtils.h>
