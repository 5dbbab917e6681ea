# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
#
# Functions of ./check and .ci/run, to be sourced: run ctest and count the results in its report.
# The sourcing script must define note(), as scripts/setup.sh does.

passed=0
failed=0
not_run=0

# count_of ATTRIBUTE REPORT: prints the number in an attribute of the report's first element.
count_of() { sed -n "s/^[[:space:]]*$1=\"\([0-9]*\)\".*/\1/p;/<testcase/q" "$2"; }

# run_ctest REPORT ARGUMENT...: runs ctest with the arguments and adds its results to passed, failed
# and not_run.
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
  # An incomplete run counts as a failure, even if the report has none.
  if ((broken == 0 && (status != 0 || these == 0))); then
    note 'the tests did not run to their end'
    broken=1
  fi
  passed=$((passed + these))
  failed=$((failed + broken))
  not_run=$((not_run + unused))
}

# Prints the last lines of a run. Returns 0 if at least one test passed and none failed.
print_counts() {
  if ((not_run > 0)); then echo "$not_run not run"; fi
  echo "$passed passed, $failed failed"
  ((failed == 0 && passed > 0))
}
