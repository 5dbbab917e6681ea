#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# linked_test.sh FOLDER...: of the ELF files in the folders, only libexec/kavrel/kavrel-synth needs
# espeak-ng, which is under the GNU General Public License, or libseccomp. No other file needs them,
# calls functions of espeak-ng, or names its library, as one that loads it while it runs would.
set -euo pipefail

files=0
programs=0
failures=0

fail() {
  echo "$*" >&2
  failures=$((failures + 1))
}

needs() { grep -q "(NEEDED).*\[$1\.so\.[0-9]*\]" <<<"$2"; }

while IFS= read -r -d '' file; do
  [[ $(head -c 4 "$file" | tr -d '\0') == $'\x7fELF' ]] || continue
  files=$((files + 1))
  dynamic=$(readelf -dW "$file")
  if [[ $file == */libexec/kavrel/kavrel-synth ]]; then
    programs=$((programs + 1))
    for library in libespeak-ng libseccomp; do
      needs "$library" "$dynamic" || fail "$file does not need $library"
    done
    continue
  fi
  for library in libespeak-ng libseccomp; do
    if needs "$library" "$dynamic"; then fail "$file needs $library"; fi
    if grep -qaF "$library" "$file"; then fail "$file contains the name $library"; fi
  done
  symbols=$(nm -D "$file")
  if grep -q ' espeak_' <<<"$symbols"; then fail "$file has symbols of espeak-ng"; fi
done < <(find "$@" -type f -print0)

((programs == 1)) || fail "$programs files are kavrel-synth, not 1"
# libkavrel, libSpeechManager, the plug-in, two programs for users.
((files >= 6)) || fail "only $files ELF files were found"
((failures == 0))
