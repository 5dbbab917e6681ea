#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# The plug-in keeps the rules of its locks, and breaking one is noticed: lock_rules.sh CLANG++ ROOT
set -uo pipefail

compiler=$1
root=$2
failures=0

compile() {
  "$compiler" -std=c++20 -fsyntax-only -Wthread-safety -Werror -DNDEBUG \
    -I"$root/engine/include" -I"$root/platform/include" -I"$root/interfaces/SpeechMgr" "$@"
}

for source in "$root"/interfaces/SpeechMgr/*.cpp; do
  compile "$source" || failures=$((failures + 1))
done

# Rule 0 breaks none.
broken=$root/tests/delivery/lint/broken_rules.cpp
compile -DRULE=0 "$broken" || failures=$((failures + 1))
for rule in 1 2 3 4 5 6; do
  said=$(compile -DRULE=$rule "$broken" 2>&1)
  if [[ $said != *Wthread-safety* ]]; then
    echo "breaking rule $rule is not noticed: $said"
    failures=$((failures + 1))
  fi
done
exit $((failures > 0))
