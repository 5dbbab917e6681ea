# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
#
# Runs ctest and counts results from its report, for ./check and .ci/run. To be sourced.

passed=0
failed=0
not_run=0

# The number in an attribute of the report's first element: count_of ATTRIBUTE REPORT
count_of() { sed -n "s/^[[:space:]]*$1=\"\([0-9]*\)\".*/\1/p;/<testcase/q" "$2"; }

# Runs ctest with the arguments given and adds its results to passed, failed and not_run:
# run_ctest REPORT ARGUMENT…
run_ctest() {
  local report=$1 status=0 these=0 broken=0 unused=0
  shift
  rm -f "$report"
  ctest --output-on-failure --no-tests=error "$@" --output-junit "$report" || status=$?
  if [[ -e $report ]]; then
    broken=$(count_of failures "$report")
    unused=$(($(count_of skipped "$report") + $(count_of disabled "$report")))
    these=$(($(count_of tests "$report") - broken - unused))
  fi
  # A run that did not come to its end has failed, whatever was counted.
  if ((broken == 0 && (status != 0 || these == 0))); then
    note 'the tests did not run to their end'
    broken=1
  fi
  passed=$((passed + these))
  failed=$((failed + broken))
  not_run=$((not_run + unused))
}

# Prints the line that closes a run of all stages; returns 0 when nothing failed.
print_counts() {
  if ((not_run > 0)); then echo "$not_run not run"; fi
  echo "$passed passed, $failed failed"
  ((failed == 0 && passed > 0))
}
