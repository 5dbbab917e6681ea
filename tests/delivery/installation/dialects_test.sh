#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# dialects_test.sh WHAT PREFIX FOLDER: the installation in PREFIX is usable in every dialect, from C89
# and C++98 on, with both compilers, all warnings as errors. FOLDER is for temporary files.
#   headers  every installed header compiles alone, included twice
#   names    the program with the names of older programs is built, as pkg-config says, and run
set -euo pipefail

here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
what=$1
prefix=$2
folder=$3
warnings=(-Wall -Wextra -pedantic -Werror -Werror=implicit-function-declaration)
umbrellas=('<Carbon/Carbon.h>' '<SpeechSynthesis.h>')
failures=0

fail() {
  echo "$*" >&2
  failures=$((failures + 1))
}

# A compiler that is missing is a failure: nothing is left out unnoticed.
for compiler in gcc g++ clang clang++; do
  command -v "$compiler" >/dev/null || fail "$compiler is not installed; scripts/packages.txt names its package"
done
((failures == 0)) || exit 1

# each_dialect COMMAND...: COMMAND for both compilers and all dialects, with the compiler's arguments.
each_dialect() {
  local compiler standard
  for compiler in gcc clang; do
    for standard in c89 c99 c11 c17 gnu17; do
      "$@" "$compiler" -std="$standard" "${warnings[@]}" -x c
    done
  done
  # The option for functions without a declaration is one of C: in C++ they are always errors.
  for compiler in g++ clang++; do
    for standard in c++98 c++11 c++20; do
      "$@" "$compiler" -std="$standard" "${warnings[@]:0:4}" -x c++
    done
  done
}

compile_header() {
  "${@:3}" -O1 -fsyntax-only -I"$1" "$folder/header" || fail "$2 fails: ${*:3}"
}

build_names() {
  local program=$folder/every_name expected='{shown key = shown value}' printed
  "${@:2}" -O2 -DUMBRELLA="$1" "$here/project/every_name.c" -x none "${libraries[@]}" -o "$program" || {
    fail "$1 fails: ${*:2}"
    return
  }
  printed=$(LD_LIBRARY_PATH=$prefix/lib "$program" 2>&1) || fail "$1, ${*:2}: the program failed"
  [[ $printed == "$expected" ]] || fail "$1, ${*:2}: printed $printed"
}

mkdir -p "$folder"
case $what in
  headers)
    count=0
    for library in speechmanager kavrel; do
      while IFS= read -r header; do
        count=$((count + 1))
        printf '#include <%s>\n#include <%s>\n' "$header" "$header" >"$folder/header"
        each_dialect compile_header "$prefix/include/$library" "$header"
      done < <(cd "$prefix/include/$library" && find . -name '*.h' -printf '%P\n' | sort)
    done
    echo "$count headers"
    ((count >= 25)) || fail "only $count headers are installed"
    ;;
  names)
    export KAVREL_AUDIO=none
    unset SPEECH_VOICE_PATH SPEECH_SYNTHESIZER_PATH
    read -ra libraries <<<"$(PKG_CONFIG_PATH=$prefix/lib/pkgconfig pkg-config --cflags --libs speechmanager)"
    for umbrella in "${umbrellas[@]}"; do
      # As a user calls it, and in every dialect.
      build_names "$umbrella" cc
      each_dialect build_names "$umbrella"
    done
    ;;
  *) fail "unknown test $what" ;;
esac
((failures == 0))
