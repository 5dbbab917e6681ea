// SPDX-License-Identifier: GPL-3.0-or-later
//
// Functions in place of the library pcaudio, with which espeak-ng plays audio.
//
// Rationale: espeak-ng looks for a sound server while it starts, even in the mode in which it plays
// nothing, and has no option against that. It creates its audio object with the first function
// here. The program's own function takes precedence; in that mode espeak-ng does not use the
// object.
//
// The program also has the library's soname (CMakeLists.txt). The dynamic loader therefore takes it
// for the library, and does not load pcaudio with the thirty libraries that it needs. They would
// take more time than everything else that a start does, and each fork() would copy their mappings.
#include <cstddef>
#include <cstdint>

struct audio_object;

// Nothing calls the functions that take an object. They fail, or do nothing.
extern "C" {

[[gnu::visibility("default")]] audio_object* create_audio_device_object(
    const char* /*device*/, const char* /*application*/, const char* /*description*/) {
  return nullptr;
}

[[gnu::visibility("default")]] int audio_object_open(audio_object* /*object*/, int /*format*/,
                                                     std::uint32_t /*rate*/,
                                                     std::uint8_t /*channels*/) {
  return -1;
}

[[gnu::visibility("default")]] void audio_object_close(audio_object* /*object*/) {}

[[gnu::visibility("default")]] void audio_object_destroy(audio_object* /*object*/) {}

[[gnu::visibility("default")]] int audio_object_write(audio_object* /*object*/,
                                                      const void* /*data*/, std::size_t /*bytes*/) {
  return -1;
}

[[gnu::visibility("default")]] int audio_object_drain(audio_object* /*object*/) {
  return -1;
}

[[gnu::visibility("default")]] int audio_object_flush(audio_object* /*object*/) {
  return -1;
}

[[gnu::visibility("default")]] const char* audio_object_strerror(audio_object* /*object*/,
                                                                 int /*error*/) {
  return "no audio";
}

}  // extern "C"
