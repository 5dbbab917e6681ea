#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# links.sh ROOT: the files and headings that the documents refer to exist.
#
# Checks in every tracked *.md file, outside of fenced blocks:
#   - relative links and images: the file exists, and a heading for the part after "#";
#   - code spans that begin with a folder of ROOT, as `tests/README.md`: the path exists. A line
#     number (":40") and words after a blank ("fuzz/run 60") are not part of the path. Spans with
#     "*", "{", "<" or "…" are patterns, and are skipped.
# Prints one line for each that does not exist. Exit status: 0 if all exist; 1 if not, or if nothing
# was found to check.
# Backquotes in single quotes are patterns, not commands.
# shellcheck disable=SC2016
set -euo pipefail

root=$(readlink -f "$1")
failures=0
links=0
paths=0

fail() {
  failures=$((failures + 1))
  printf 'FAILED: %s\n' "$*"
}

# Without a git repository there is no list of tracked files.
if ! documents=$(git -C "$root" ls-files '*.md' 2>/dev/null) || [[ -z $documents ]]; then
  documents=$(cd "$root" && find . -path ./build -prune -o -name '*.md' -print | sed 's|^\./||')
fi

# Prints the lines of a file that are not in a fenced block.
prose() { awk '/^ *```/ { fenced = !fenced; next } !fenced' "$1"; }

# Prints the anchors of the headings in a file: lower case, with hyphens for blanks, without
# punctuation.
anchors() {
  prose "$1" | sed -n 's/^##* //p' | tr '[:upper:]' '[:lower:]' | tr -d '\r' |
    sed -E 's/[^[:alnum:] _-]//g; s/ /-/g'
}

check_link() {
  local document=$1 link=$2 file anchor=
  [[ $link == *'#'* ]] && anchor=${link#*#}
  file=${link%%#*}
  links=$((links + 1))
  if [[ -z $file ]]; then
    file=$root/$document
  elif [[ $file == /* ]]; then
    fail "$document: \"$link\" is not a relative link"
    return
  else
    file=$root/$(dirname "$document")/$file
  fi
  if [[ ! -e $file ]]; then
    fail "$document: no file exists for the link \"$link\""
    return
  fi
  [[ $anchor ]] || return 0
  [[ ${headings[$file]-} ]] || headings[$file]=$(anchors "$file")
  if [[ $'\n'${headings[$file]}$'\n' != *$'\n'"$anchor"$'\n'* ]]; then
    fail "$document: no heading exists for the link \"$link\""
  fi
}

check_span() {
  local document=$1 span=$2
  case $span in *'*'* | *'{'* | *'<'* | *'…'*) return ;; esac
  span=${span%% *}
  span=${span%%:[0-9]*}
  # Only folders of the project: "and/or" and "build/release" are not paths of the tree.
  [[ $span == [!/]*/* && ${folders[${span%%/*}]-} ]] || return 0
  paths=$((paths + 1))
  [[ -e $root/$span ]] || fail "$document: \"$span\" does not exist"
}

declare -A headings=() folders=()
for folder in "$root"/*/; do
  folder=$(basename "$folder")
  [[ $folder == build ]] || folders[$folder]=yes
done

while IFS= read -r document; do
  while IFS= read -r link; do
    case $link in *://* | mailto:*) ;; *) check_link "$document" "$link" ;; esac
  done < <(prose "$root/$document" | sed 's/`[^`]*`//g' |
    grep -oE '\]\([^) ]+\)' | sed 's/^](//; s/)$//')
  while IFS= read -r span; do
    check_span "$document" "$span"
  done < <(prose "$root/$document" | grep -oE '`[^`]+`' | tr -d '`')
done <<<"$documents"

echo "$links links, $paths paths"
# If nothing was found to check, ROOT is wrong.
((links > 0 && paths > 0)) || fail 'no link or no path was found'
((failures == 0))
