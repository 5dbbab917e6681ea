// SPDX-License-Identifier: Apache-2.0
//
// Diagnostic lines of the engine (cst.h). Written only if the host has switched the engine's area
// on. Does not allocate for lines of up to 1 KiB; safe on any thread.
#pragma once

#include "cst.h"

// Writes one line. `file` names the part of the engine; the other arguments are those of printf,
// without the line feed.
#define KAVREL_DIAG(file, format, ...)                                  \
  do {                                                                  \
    if ((cst_diag_mask & CST_DIAG_ENGINE) != 0 && cst_diag_level > 0) { \
      cst_dbg_timestamp();                                              \
      cst_dbg_ffl(file, __func__, __LINE__);                            \
      cst_dbg_context(CST_DIAG_ENGINE);                                 \
      cst_errmsg(format "\n" __VA_OPT__(, ) __VA_ARGS__);               \
    }                                                                   \
  } while (false)
