#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# hardening_test.sh FILE...: all symbols are bound when the library or program is loaded, relocated
# data is read-only after that, and the stack is not executable.
set -euo pipefail

for file in "$@"; do
  headers=$(readelf --wide --program-headers --dynamic "$file")
  grep -q 'GNU_RELRO' <<<"$headers" || { echo "$file: no RELRO segment"; exit 1; }
  grep -q 'BIND_NOW\|FLAGS.*NOW' <<<"$headers" || { echo "$file: not bound at load"; exit 1; }
  grep 'GNU_STACK' <<<"$headers" | grep -q 'RW ' || { echo "$file: executable stack"; exit 1; }
done
