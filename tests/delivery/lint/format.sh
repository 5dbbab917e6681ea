#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# format.sh CLANG_FORMAT ROOT: every source file is formatted according to .clang-format.
set -euo pipefail
cd "$2"
find base bench engine fuzz interfaces platform testkit tests tools \
  \( -name '*.h' -o -name '*.c' -o -name '*.cpp' \) -print0 |
  xargs -0 "$1" --dry-run -Werror
