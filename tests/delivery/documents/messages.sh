#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# messages.sh ROOT: docs/messages.md lists every error message of the command line tools.
#
# Finds the string literals in statements that throw Failure or std::invalid_argument, or that call a
# function that does. Messages are composed of literals and variables; each literal of six characters
# or more must be on the page.
set -uo pipefail

root=$1
page="$root/docs/messages.md"
failures=0

fail() {
  failures=$((failures + 1))
  printf 'FAILED: %s\n' "$*"
}

# Prints "FILE: LITERAL" for each literal of each statement. Literals that follow each other directly
# are one. Statements without literals pass on a message from elsewhere.
literals_of() {
  awk '
    function examine(statement,    rest, part, gap, current) {
      rest = statement
      current = ""
      while (match(rest, /"([^"\\]|\\.)*"/)) {
        gap = substr(rest, 1, RSTART - 1)
        part = substr(rest, RSTART + 1, RLENGTH - 2)
        rest = substr(rest, RSTART + RLENGTH)
        gsub(/\\"/, "\"", part)
        if (gap !~ /^[ \t]*$/) {
          show(current)
          current = ""
        }
        current = current part
      }
      show(current)
    }
    function show(literal) { if (length(literal) >= 6) print FILENAME ": " literal }
    FNR == 1 { statement = "" }
    { sub(/^[ \t]*\/\/.*/, "") }
    statement == "" && match($0, /(Failure|invalid_argument|ExtrasError|[^a-zA-Z_]fail|[^a-zA-Z_>]check)\(/) {
      $0 = substr($0, RSTART)
      statement = " "
    }
    statement != "" {
      statement = statement " " $0
      if ($0 ~ /;[ \t}]*(\/\/.*)?$/) {
        examine(statement)
        statement = ""
      }
    }' "$@"
}

mapfile -t sources < <(find "$root/tools" \( -name '*.cpp' -o -name '*.h' \) | sort)
count=0
while IFS= read -r found; do
  count=$((count + 1))
  literal=${found#*: }
  # Blanks and punctuation at the ends join the literal to variables.
  literal=${literal#"${literal%%[![:space:]]*}"}
  literal=${literal%"${literal##*[![:space:]]}"}
  grep -qF -- "$literal" "$page" || fail "$page lacks \"$literal\" of ${found%%: *}"
done < <(literals_of "${sources[@]}")

# A search that finds nothing must not pass.
((count >= 30)) || fail "found only $count messages"
if ((failures > 0)); then exit 1; fi
