#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# Runs shellcheck on every shell script of the tree: shellcheck.sh SHELLCHECK ROOT
#
# A script is a file whose first line names a shell, after "#!" or as a shellcheck directive; so a new
# script is checked without being listed anywhere.
set -euo pipefail
cd "$2"
scripts=()
while IFS= read -r -d '' file; do
  read -r first <"$file" || true
  if [[ $first =~ ^'#!'.*[/\ ](ba|da)?sh$ || $file == *.bash || $file == *.sh ]]; then
    scripts+=("$file")
  fi
done < <(find . \( -name build -o -name .git -o -name corpus \) -prune -o -type f -size -100k -print0)
((${#scripts[@]} >= 10)) || { echo "only ${#scripts[@]} scripts were found" >&2; exit 1; }
"$1" -x "${scripts[@]}"
echo "${#scripts[@]} scripts"
