// SPDX-License-Identifier: GPL-3.0-or-later
//
// Rationale: espeak-ng looks for a sound server while it starts, even in the mode in which it plays
// nothing, and has no option against that. It creates its audio object with this function of the
// library pcaudio. The program's own function takes precedence; in that mode espeak-ng does not use
// the object.
struct audio_object;

extern "C" [[gnu::visibility("default")]] audio_object* create_audio_device_object(
    const char* /*device*/, const char* /*application*/, const char* /*description*/) {
  return nullptr;
}
