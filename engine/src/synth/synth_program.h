// SPDX-License-Identifier: Apache-2.0
//
// Where kavrel-synth is.
#pragma once

#include <string>

namespace kavrel {

// The absolute path of kavrel-synth: in the folder libexec/kavrel that belongs to the file that
// this function is in (libkavrel, or a program that contains it), wherever that has been moved.
// Looks at nothing that the environment can change. If no such file exists, it is the path where it
// should be. Safe on any thread; may throw std::bad_alloc.
std::string synthProgram();

}  // namespace kavrel
