// SPDX-License-Identifier: Apache-2.0
//
// turnOffLeakCheck(): for the child of fork() in a process with threads. The leak checker takes the
// parent's threads for threads of the child, cannot read their stacks, and reports what only they
// held. Nothing else happens without a leak checker. One source file of a program includes this
// header.
#pragma once

namespace processes {

inline bool g_leakCheckIsOff = false;

// Turns off the check at the end of this process.
inline void turnOffLeakCheck() {
  g_leakCheckIsOff = true;
}

}  // namespace processes

#if defined(__SANITIZE_ADDRESS__)
// The leak checker asks the program by this name.
extern "C" __attribute__((visibility("default"), used)) int __lsan_is_turned_off() {
  return processes::g_leakCheckIsOff ? 1 : 0;
}
#endif
