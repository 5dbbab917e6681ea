/* SPDX-License-Identifier: Apache-2.0 */
/*
 * The "Voice" menu of an editor: titles are the names of the voices, the default voice has the
 * check mark, and choosing another one changes the voice of the channel. The items are in a
 * relocatable block. Speaks into the file named by its argument.
 */
#include <Carbon/Carbon.h>

typedef struct VoiceItem {
  VoiceSpec voice;
  char title[64];
  short gender;
  Boolean marked;
} VoiceItem;

static VoiceItem** gItems = nil;
static SInt16 gItemCount = 0;
static SpeechChannel gChannel = nil;

static void CheckError(OSErr err, const char* what) {
  if (err == noErr) return;
  fprintf(stderr, "%s: error %d\n", what, err);
  exit(EXIT_FAILURE);
}

static Boolean SameVoice(const VoiceSpec* a, const VoiceSpec* b) {
  return a->creator == b->creator && a->id == b->id;
}

static void BuildMenu(void) {
  VoiceDescription info, defaultInfo;
  SInt16 i;
  CheckError(CountVoices(&gItemCount), "CountVoices");
  gItems = (VoiceItem**)NewHandleClear((Size)gItemCount * (Size)sizeof(VoiceItem));
  CheckError(gItems == nil ? memFullErr : noErr, "NewHandleClear");
  CheckError(GetVoiceDescription(nil, &defaultInfo, sizeof(defaultInfo)), "default voice");

  HLock((Handle)gItems);
  for (i = 1; i <= gItemCount; i++) {
    VoiceItem* item = &(*gItems)[i - 1];
    CheckError(GetIndVoice(i, &item->voice), "GetIndVoice");
    info.length = sizeof(info);
    CheckError(GetVoiceDescription(&item->voice, &info, sizeof(info)), "GetVoiceDescription");
    item->gender = info.gender;
    item->marked = SameVoice(&item->voice, &defaultInfo.voice);
    strcpy(item->title, (const char*)p2cstr(info.name));
  }
  HUnlock((Handle)gItems);
}

/* Users do not care for capitals. */
static Boolean SameTitle(const char* a, const char* b) {
  CFStringRef first = CFStringCreateWithCString(NULL, a, kCFStringEncodingMacRoman);
  CFStringRef second = CFStringCreateWithCString(NULL, b, kCFStringEncodingMacRoman);
  const CFComparisonResult result = CFStringCompare(first, second, kCFCompareCaseInsensitive);
  CFRelease(second);
  CFRelease(first);
  return result == kCFCompareEqualTo;
}

static const VoiceItem* FindItem(const char* title) {
  SInt16 i;
  for (i = 0; i < gItemCount; i++) {
    if (SameTitle((*gItems)[i].title, title)) return &(*gItems)[i];
  }
  return nil;
}

/* Every item has a title of its own, and one of them has the mark. */
static void CheckMenu(void) {
  SInt16 i, genders[3] = {0, 0, 0}, marks = 0, twins = 0;
  for (i = 0; i < gItemCount; i++) {
    const VoiceItem* item = &(*gItems)[i];
    if (item->title[0] == '\0' || FindItem(item->title) != item) twins++;
    if (item->gender >= kNeuter && item->gender <= kFemale) genders[item->gender]++;
    if (item->marked) marks++;
  }
  printf("%d marked, %d titles used twice\n", marks, twins);
  printf("neuter, male and female voices: %s\n",
         genders[kNeuter] && genders[kMale] && genders[kFemale] ? "yes" : "no");
}

/* Shows the first bytes of the description only, as programs for older systems did. */
static void ShowItem(const char* title) {
  const VoiceItem* item = FindItem(title);
  VoiceDescription info;
  CheckError(item == nil ? voiceNotFound : noErr, title);
  memset(&info, 0xFF, sizeof(info));
  CheckError(GetVoiceDescription(&item->voice, &info, offsetof(VoiceDescription, comment)), title);
  printf("%c %s, %d bytes, comment %s\n", item->marked ? '*' : ' ', p2cstr(info.name),
         (int)info.length, info.comment[0] == 0xFF ? "untouched" : "written");
}

static void ChooseItem(const char* title) {
  const VoiceItem* item = FindItem(title);
  VoiceSpec current = {0, 0};
  CheckError(item == nil ? voiceNotFound : noErr, title);
  CheckError(SetSpeechInfo(gChannel, soCurrentVoice, &item->voice), "soCurrentVoice");
  CheckError(GetSpeechInfo(gChannel, soCurrentVoice, &current), "soCurrentVoice");
  printf("%s %s\n", item->title, SameVoice(&current, &item->voice) ? "chosen" : "not chosen");
  CheckError(SpeakText(gChannel, title, strlen(title)), "SpeakText");
  while (SpeechBusy() > 0) usleep(2000);
}

int main(int argc, char** argv) {
  VoiceSpec nobody = {1, 2};
  CFURLRef url;
  if (argc != 2) return EXIT_FAILURE;
  BuildMenu();
  CheckMenu();
  ShowItem("Corin");
  ShowItem("Maren");

  CheckError(GetIndVoice(0, &nobody) == voiceNotFound ? noErr : paramErr, "no item 0");
  CheckError(GetIndVoice((SInt16)(gItemCount + 1), &nobody) == voiceNotFound ? noErr : paramErr,
             "no item after the last");
  CheckError(nobody.creator == 1 && nobody.id == 2 ? noErr : paramErr, "nothing written");

  CheckError(NewSpeechChannel(nil, &gChannel), "NewSpeechChannel");
  url = CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault, (const UInt8*)argv[1],
                                                (CFIndex)strlen(argv[1]), FALSE);
  CheckError(SetSpeechInfo(gChannel, soOutputToFileWithCFURL, url), "soOutputToFileWithCFURL");
  CFRelease(url);
  ChooseItem("MAREN");
  ChooseItem("Corin");
  CheckError(DisposeSpeechChannel(gChannel), "DisposeSpeechChannel");
  DisposeHandle((Handle)gItems);
  return EXIT_SUCCESS;
}
