// SPDX-License-Identifier: Apache-2.0
//
// Lines of the diagnostic log. A line is four calls of the engine library. They are made only if
// the area is enabled and the level is above the line's threshold; otherwise the arguments are not
// even evaluated.
//
// Threads: safe to call from any thread. No leaf lock may be held (see Locks.h).
#pragma once

#include <cst.h>

// The areas of the plug-in that write lines, as bits of cst_diag_mask.
inline constexpr unsigned int kDiagChannels = 0x800;
inline constexpr unsigned int kDiagMarkup = 0x1000;

inline bool diagnosticsEnabled(unsigned int area, int above) {
  return (cst_diag_mask & area) != 0 && cst_diag_level > above;
}

// DIAG_LINE(area, above, source file name, function name, format, arguments ...)
#define DIAG_LINE(area, above, file, function, ...) \
  do {                                              \
    if (diagnosticsEnabled(area, above)) {          \
      cst_dbg_timestamp();                          \
      cst_dbg_ffl(file, function, __LINE__);        \
      cst_dbg_context(area);                        \
      cst_errmsg(__VA_ARGS__);                      \
    }                                               \
  } while (false)
