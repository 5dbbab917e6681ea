// SPDX-License-Identifier: Apache-2.0
//
// A client that contains the Manager, for RaisedPrivilegesTest. Writes to standard output, one line
// each: "raised" if it runs with raised privileges, the names of the voices, the result of opening
// a channel with the first voice, and the files of the synthesizers that are loaded.
#include <ApplicationServices/ApplicationServices.h>

#include <cstdio>
#include <fstream>
#include <string>

#include <sys/auxv.h>
#include <unistd.h>

int main() {
  if (getauxval(AT_SECURE) != 0) std::puts("raised");
  SInt16 count = 0;
  CountVoices(&count);
  for (SInt16 index = 1; index <= count; ++index) {
    VoiceSpec spec{};
    VoiceDescription about{};
    GetIndVoice(index, &spec);
    GetVoiceDescription(&spec, &about, sizeof about);
    const auto* const name = reinterpret_cast<const char*>(about.name);
    std::printf("voice %s\n", std::string(name + 1, about.name[0]).c_str());
  }
  SpeechChannel channel = nullptr;
  std::printf("result %d\n", NewSpeechChannel(nullptr, &channel));
  std::ifstream maps("/proc/self/maps");
  std::string last;
  for (std::string line; std::getline(maps, line);) {
    const std::size_t path = line.find('/');
    if (path == std::string::npos || !line.ends_with("KavrelSpeech.so")) continue;
    if (line.substr(path) != last) std::printf("loaded %s\n", line.c_str() + path);
    last = line.substr(path);
  }
  std::fflush(stdout);
  // Without the checks of a sanitizer at exit, which such a process may not make.
  _exit(0);
}
