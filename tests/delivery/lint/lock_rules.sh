#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# lock_rules.sh CLANG++ ROOT base|plugin|engine|platform|tools: a layer follows its lock annotations,
# and clang reports each violation in broken_rules.cpp.
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

# RULE 0 is code without a violation.
broken=$root/tests/delivery/lint/broken_rules.cpp
rules=(0)
[[ $layer == plugin ]] && rules+=(1 2 3 4 5 6)
[[ $layer == base ]] && rules+=(7 8)
for rule in "${rules[@]}"; do
  said=$(compile -DRULE="$rule" "$broken" 2>&1)
  status=$?
  if ((rule == 0 && status != 0)); then
    echo "code without a violation is rejected: $said"
    failures=$((failures + 1))
  elif ((rule > 0)) && [[ $said != *Wthread-safety* ]]; then
    echo "the violation of rule $rule is not reported: $said"
    failures=$((failures + 1))
  fi
done
exit $((failures > 0))
