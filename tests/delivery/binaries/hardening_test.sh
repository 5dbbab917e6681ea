#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# hardening_test.sh LIBRARY...: all symbols are bound when the library is loaded, relocated data is
# read-only after that, and the stack is not executable.
set -euo pipefail

for library in "$@"; do
  headers=$(readelf --wide --program-headers --dynamic "$library")
  grep -q 'GNU_RELRO' <<<"$headers" || { echo "$library: no RELRO segment"; exit 1; }
  grep -q 'BIND_NOW\|FLAGS.*NOW' <<<"$headers" || { echo "$library: not bound at load"; exit 1; }
  grep 'GNU_STACK' <<<"$headers" | grep -q 'RW ' || { echo "$library: executable stack"; exit 1; }
done
