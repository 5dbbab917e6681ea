#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# documents.sh ROOT BIN: man pages and completions are valid and contain every option of --help. BIN
# is the folder with the programs. Needs mandoc, zsh and fish.
set -uo pipefail

root=$1
export PATH="$2:$PATH"
failures=0

fail() {
  failures=$((failures + 1))
  printf 'FAILED: %s\n' "$*"
}

# Prints the long options in the program's help.
options_of() { "$1" --help | grep -oE '(^|[ ,])--[a-z-]+[a-z]' | tr -d ' ,' | sort -u; }

# ---- Every option

for program in kavrel-say kavrel-ssml; do
  count=0
  while read -r option; do
    count=$((count + 1))
    name=${option#--}
    grep -qE "Fl Fl $name( |\$)" "$root/tools/$program/$program.1" ||
      fail "the man page of $program lacks $option"
    grep -qE -- "$option( |\$|')" "$root/tools/$program/completions/$program.bash" ||
      fail "$program.bash lacks $option"
    grep -qE -- "$option(=|\\[|,|\\})" "$root/tools/$program/completions/_$program" ||
      fail "_$program lacks $option"
    grep -qE -- "-l $name( |\$)" "$root/tools/$program/completions/$program.fish" ||
      fail "$program.fish lacks $option"
  done < <(options_of "$program")
  ((count >= 12)) || fail "the help of $program names only $count options"
done

# ---- Man pages

mandoc -T lint -W warning "$root"/tools/*/*.1 || fail 'mandoc reports problems in a man page'

# ---- Completions

# Prints the completions that bash offers for the words.
complete_in_bash() {
  bash --norc -c '
    source "$1/tools/$2/completions/$2.bash"
    COMP_WORDS=("${@:2}")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    "_${2//-/_}"
    printf "%s\n" "${COMPREPLY[@]}"' bash "$root" "$@"
}

expect() {
  [[ $1 == "$2" ]] || fail "expected \"$1\", not \"$2\""
}

expect Maren "$(complete_in_bash kavrel-say -v Mare)"
expect --voice "$(complete_in_bash kavrel-say --vo)"
expect WAVE "$(complete_in_bash kavrel-say --file-format = WA)"
expect characters "$(complete_in_bash kavrel-say --positions ch)"
expect "$root/README.md" "$(complete_in_bash kavrel-say -f "$root/READ")"
expect --pitch-base "$(complete_in_bash kavrel-ssml --pi)"
expect macroman "$(complete_in_bash kavrel-ssml --from mac)"

for file in "$root"/tools/*/completions/_*; do
  zsh -f -n "$file" || fail "$file is not valid zsh"
done

# Prints the completions that fish offers for the line, without their descriptions.
complete_in_fish() {
  fish --no-config -c "source '$root/tools/$1/completions/$1.fish'; complete -C'$1 $2'" | cut -f 1
}

expect Maren "$(complete_in_fish kavrel-say '-v Mare')"
expect --voice "$(complete_in_fish kavrel-say --vo)"
expect WAVE "$(complete_in_fish kavrel-say '--file-format WA')"
expect macroman "$(complete_in_fish kavrel-ssml '--from mac')"

if ((failures > 0)); then exit 1; fi
