#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# runpath_test.sh built|installed FOLDER...: no ELF file in the folders makes the dynamic loader
# search the current folder, which an empty or a relative element of a RUNPATH does. Installed files
# can be moved, so they have no absolute element either.
set -euo pipefail

kind=$1
shift
files=0
failures=0

# Returns whether an element of a RUNPATH is allowed.
allowed() {
  # The literal text "$ORIGIN", as the file contains it.
  # shellcheck disable=SC2016
  case $1 in
    '$ORIGIN' | '$ORIGIN/'*) return 0 ;;
    /*) [[ $kind == built ]] ;;
    *) return 1 ;;
  esac
}

while IFS= read -r -d '' file; do
  [[ $(head -c 4 "$file" | tr -d '\0') == $'\x7fELF' ]] || continue
  files=$((files + 1))
  while IFS= read -r runpath; do
    # The colon keeps an empty element at the end.
    rest=$runpath:
    while [[ -n $rest ]]; do
      element=${rest%%:*}
      rest=${rest#*:}
      allowed "$element" && continue
      echo "$file: \"$element\" in the RUNPATH \"$runpath\"" >&2
      failures=$((failures + 1))
    done
  done < <(readelf -dW "$file" 2>/dev/null | sed -n 's/.*(\(RUNPATH\|RPATH\)).*\[\(.*\)\]$/\2/p')
done < <(find "$@" -type f \( -perm -u+x -o -name '*.so*' \) -not -path '*/CMakeFiles/*' -print0)

if ((files == 0)); then
  echo 'no ELF file was found' >&2
  exit 1
fi
((failures == 0))
