#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# embedding_test.sh BUILD: the programs of the project embedding, built in the folder BUILD, work
# there and installed. kavrel-synth is found in both; without it, a message says where it should be.
set -euo pipefail

build=$1
prefix=$build/installed
export KAVREL_AUDIO=none

fail() {
  echo "$*" >&2
  exit 1
}

# Runs a program that speaks into a file.
speak() {
  rm -f "$build/spoken.aiff"
  "$1" "$build/spoken.aiff" || fail "$1 failed"
  (($(stat -c %s "$build/spoken.aiff") > 20000)) || fail "$1 wrote too little"
}

"$build/embedding"
speak "$build/embedding_engine"
speak "$build/kavrel/bin/embedding_static"
rm -rf "$prefix"
cmake --install "$build" --prefix "$prefix" >"$build/install.log"
speak "$prefix/bin/embedding_engine"
speak "$prefix/bin/embedding_static"

rm "$prefix/libexec/kavrel/kavrel-synth"
for program in embedding_engine embedding_static; do
  if "$prefix/bin/$program" "$build/spoken.aiff" 2>"$build/missing.log"; then
    fail "$program spoke without kavrel-synth"
  fi
  expected="cannot start $prefix/libexec/kavrel/kavrel-synth: No such file or directory"
  grep -qxF "$expected" "$build/missing.log" || fail "$expected: not in $(<"$build/missing.log")"
done
