#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# mutate_test.sh ROOT: scripts/mutate reports what a test program misses, and changes no file.
set -uo pipefail

root=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
tree=$work/tree
mkdir "$tree"
cd "$tree" || exit 1

cat >CMakeLists.txt <<'END'
cmake_minimum_required(VERSION 3.25)
project(tiny CXX)
add_executable(tiny_tests steps.cpp tiny_tests.cpp)
END
cat >steps.h <<'END'
#pragma once
extern int calls;
constexpr int kFirst = 1;
int steps(int from, int to);
inline bool isFirst(int step) {
  return step == kFirst;
}
END
cat >steps.cpp <<'END'
#include "steps.h"

#if 1 < 2
static_assert(1 < 2, "not 1 < 2");
#endif
int calls = 0;

// Counts the steps: 1 < 2.
int steps(int from, int to) {
  ++calls;
  if (from > to) return 0;
  int count = 0;
  while (from < to) {
    ++from;
    ++count;
  }
  return count;
}
END
cat >tiny_tests.cpp <<'END'
#include "steps.h"

int main() {
  return steps(1, 4) == 3 && steps(2, 2) == 0 && steps(4, 1) == 0 && isFirst(1) ? 0 : 1;
}
END

# The sum of all files outside the build folder, with their names.
sum_of_tree() { find . -path ./build -prune -o -type f -print0 | sort -z | xargs -0 sha256sum | sha256sum; }
before=$(sum_of_tree)

mutate() { "$root/scripts/mutate" --root "$tree" --program tiny_tests --limit 5 "$@"; }

expect() {
  "${@:2}" && return
  echo "FAILED: $1"
  failures=$((failures + 1))
}
expect_text() { expect "$1" grep -qF -- "$3" <<<"$2"; }
expect_no_text() { expect "$1" test -z "$(grep -F -- "$3" <<<"$2")"; }

# Two survive: no test reads `calls`, and the early return changes nothing.
output=$(mutate -j 2 --sample 0 --log "$work/log" steps.cpp)
expect 'survivors give status 1' test $? -eq 1
expect_text 'the survivor without a test' "$output" \
  $'steps.cpp:10: steps: delete a statement'
expect_text 'its change' "$output" '- ++calls;'
expect_no_text 'a change that a test sees is reported' "$output" '- return count;'
expect_no_text 'a change that a test sees is reported' "$output" '- int count = 0;'
expect 'a mutant that does not end is killed' \
  grep -q '"hangs".*"removed": "++from;", "added": ";"' "$work/log"
expect 'mutants are killed' test "$(grep -c '"killed", "by": "tiny_tests"' "$work/log")" -ge 4
expect_text 'the counts' "$output" ' killed ('

listed=$(mutate --list steps.cpp)
expect_no_text 'comments are changed' "$listed" 'Counts the steps'
expect_no_text 'preprocessor lines are changed' "$listed" '#if'
expect_no_text 'assertions are changed' "$listed" 'static_assert'
expect_text 'a condition is weakened' "$listed" '+ while (from <= to) {'
expect_text 'a constant is changed' "$listed" '+ int count = (0 + 1);'

# All survivors with a reason: none is left.
{
  grep -A2 '^steps.cpp:' <<<"$output" | sed -E 's/^steps.cpp:[0-9]+: ([^:]*): .*/steps.cpp: \1/' |
    sed -E 's/^(  \+.*)/\1\n  equivalent: no result depends on it.\n/; /^--$/d'
} >"$work/accepted"
output=$(mutate -j 2 --sample 0 --accepted "$work/accepted" steps.cpp)
expect 'accepted survivors give status 0' test $? -eq 0
expect_text 'they are counted' "$output" ', 0 survived.'

printf 'steps.cpp: steps\n  - ++gone;\n  + ;\n  equivalent: no longer there.\n' >"$work/outdated"
output=$(mutate --list --accepted "$work/outdated" steps.cpp)
expect 'an outdated acceptance gives status 1' test $? -eq 1
expect_text 'it is named' "$output" '- ++gone;'

# A header: every source that includes it is compiled.
output=$(mutate --sample 0 steps.h)
expect_text 'a header' "$output" '3 mutants: 3 killed'

# Same seed, same sample.
mutate --sample 3 --seed 7 --log "$work/one" steps.cpp >"$work/out"
mutate --sample 3 --seed 7 --log "$work/other" steps.cpp >"$work/out"
expect 'a seed gives one sample' cmp "$work/one" "$work/other"

# An interrupted run leaves nothing. Jobs of a script ignore SIGINT unless it is reset.
mkfifo "$work/log-of-interrupted"
exec 3<>"$work/log-of-interrupted"
env --default-signal=INT "$root/scripts/mutate" --root "$tree" --program tiny_tests --sample 0 \
  --log "$work/log-of-interrupted" steps.cpp >"$work/out" &
interrupted=$!
read -r _ <&3 # the first mutant is done
kill -INT "$interrupted"
wait "$interrupted"
expect 'an interrupted run fails' test $? -ne 0
expect 'no copies are left' test -z "$(find build -name 'mutants-*')"

expect 'the tree is unchanged' test "$(sum_of_tree)" = "$before"
expect 'the sources are unchanged' test "$(find . -name build -prune -o -type f -print | wc -l)" -eq 4

exit $((failures > 0))
