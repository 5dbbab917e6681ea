#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# A layer keeps the rules of its locks, and breaking one is noticed:
#   lock_rules.sh CLANG++ ROOT base|plugin|engine|platform|tools
set -uo pipefail

compiler=$1
root=$2
layer=$3
failures=0

compile() {
  "$compiler" -std=c++20 -fsyntax-only -Wthread-safety -Werror -DNDEBUG -I"$root" \
    -I"$root/engine/include" -I"$root/platform/include" -I"$root/interfaces/SpeechMgr" "$@"
}

options=()
case $layer in
base)
  sources=("$root"/base/threads/*.h)
  options=(-x c++ -Wno-pragma-once-outside-header)
  ;;
plugin) sources=("$root"/interfaces/SpeechMgr/*.cpp) ;;
engine)
  sources=("$root"/engine/src/*/*.cpp)
  options=(-I"$root/engine/src" -DKAVREL_SYNTH_FOLDER='""')
  ;;
platform)
  sources=("$root"/platform/src/*/*.cpp "$root"/platform/src/*/*/*.cpp)
  options=(-I"$root/platform/src" -DKAVREL_SYNTHESIZERS_SUBDIR='""' -DKAVREL_VOICES_SUBDIR='""'
    -DKAVREL_DATA_FROM_LIB='""' -DKAVREL_VERSION_MAJOR=1 -DKAVREL_VERSION_MINOR=0
    -DKAVREL_VERSION_PATCH=0)
  ;;
tools)
  sources=("$root"/tools/kavrel-say/{events,screen,speech}/*.cpp)
  options=(-I"$root/tools/common" -I"$root/tools/kavrel-say")
  ;;
*)
  echo "no such layer: $layer"
  exit 2
  ;;
esac
for source in "${sources[@]}"; do
  compile "${options[@]}" "$source" || failures=$((failures + 1))
done

# Rule 0 breaks none.
broken=$root/tests/delivery/lint/broken_rules.cpp
rules=(0)
[[ $layer == plugin ]] && rules+=(1 2 3 4 5 6)
[[ $layer == base ]] && rules+=(7 8)
for rule in "${rules[@]}"; do
  said=$(compile -DRULE="$rule" "$broken" 2>&1)
  status=$?
  if ((rule == 0 && status != 0)); then
    echo "what breaks no rule is refused: $said"
    failures=$((failures + 1))
  elif ((rule > 0)) && [[ $said != *Wthread-safety* ]]; then
    echo "breaking rule $rule is not noticed: $said"
    failures=$((failures + 1))
  fi
done
exit $((failures > 0))
