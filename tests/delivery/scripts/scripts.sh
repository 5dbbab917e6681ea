#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# Tests of ./say and ./check: scripts.sh ROOT
#
# They run a copy of the scripts. PATH has replacements for the programs that install, configure,
# build and test: each records its call and does what the test case needs.
# Variables in single quotes belong to a replacement; each case runs in its own shell.
# shellcheck disable=SC2016,SC2030,SC2031
set -uo pipefail

root=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

# ---- Setup

# program NAME: creates a program that records its arguments and then runs the script on standard
# input.
program() {
  {
    echo '#!/bin/bash'
    echo 'echo "${0##*/} $*" >>"$CALLS"'
    cat
  } >"$stage/bin/$1"
  chmod +x "$stage/bin/$1"
}

# Creates a tree without a build, on a machine with all packages.
new_stage() {
  stage=$(mktemp -d "$work/stage XXXX")
  tree="$stage/tree"
  mkdir -p "$stage/bin" "$tree/scripts"
  cp "$root/say" "$root/check" "$root/CMakePresets.json" "$tree/"
  cp "$root"/scripts/{setup.sh,counting.sh,packages.txt} "$tree/scripts/"
  export CALLS="$stage/calls" STAGE="$stage" TREE="$tree"
  program dpkg-query <<<'echo installed'
  program apt-get </dev/null
  program sudo <<<'exec "$@"'
  program cmake <<<'mkdir -p "$TREE/build/release" && : >"$TREE/build/release/build.ninja"'
  program ninja <<'END'
bin="$TREE/build/release/bin"
mkdir -p "$bin"
printf '#!/bin/sh\necho "spoken in $PWD: $*"\n' >"$bin/kavrel-say"
chmod +x "$bin/kavrel-say"
echo 'much build output'
END
}

# Creates a ctest with a report of tests, failures and skipped tests, and with an exit status.
ctest_reporting() {
  program ctest <<END
while [ "\$1" != --output-junit ]; do shift; done
cat >"\$2" <<XML
<?xml version="1.0" encoding="UTF-8"?>
<testsuite name="Linux"
	tests="$1"
	failures="$2"
	disabled="0"
	skipped="$3"
	hostname=""
	time="1"
>
	<testcase name="one" failures="99"/>
</testsuite>
XML
exit $4
END
}

# Runs a script of the tree; sets out, err and status. Clears the list of calls first.
run() {
  : >"$CALLS"
  PATH="$stage/bin:$PATH" "$tree/$1" "${@:2}" >"$stage/out" 2>"$stage/err" </dev/null
  status=$?
  out=$(<"$stage/out")
  err=$(<"$stage/err")
}

expect() {
  local what=$1
  shift
  if "$@"; then return; fi
  failures=$((failures + 1))
  printf 'FAILED: %s: %s\n  status %s\n  out: %s\n  err: %s\n  calls:\n%s\n' \
    "$current" "$what" "$status" "$out" "$err" "$(<"$CALLS")"
}

called() { grep -q -- "$1" "$CALLS"; }
not_called() { ! called "$1"; }
is() { [[ $1 == "$2" ]]; }
contains() { [[ $1 == *"$2"* ]]; }

# ---- Cases

say_builds_and_passes_its_arguments() {
  run say -v Maren 'two words' ''
  expect 'succeeds' is "$status" 0
  expect 'standard output is the program'"'"'s' is "$out" "spoken in $PWD: -v Maren two words "
  expect 'configures without tests' called '^cmake --preset release .*-DKAVREL_TESTS=OFF'
  expect 'builds no more than it needs' called '^ninja .* kavrel-say$'
  expect 'installs nothing' not_called '^apt-get'
}

say_keeps_the_callers_folder() {
  cd / || return
  run say x
  expect 'runs where it was called' is "$out" 'spoken in /: x'
}

say_works_through_a_link() {
  ln -s "$tree/say" "$stage/link"
  : >"$CALLS"
  out=$(PATH="$stage/bin:$PATH" "$stage/link" x 2>"$stage/err")
  status=$?
  expect 'finds its tree' is "$out" "spoken in $PWD: x"
}

say_does_little_the_second_time() {
  run say x
  run say y
  expect 'speaks' contains "$out" ': y'
  expect 'says nothing' is "$err" ''
  expect 'does not look at packages' not_called '^dpkg-query'
  expect 'does not configure' not_called '^cmake'
}

say_checks_again_when_the_packages_change() {
  run say x
  echo 'another-package speak' >>"$tree/scripts/packages.txt"
  run say x
  expect 'asks for the new one' called '^dpkg-query .*another-package'
}

say_does_not_need_what_only_check_needs() {
  run say x
  expect 'does not ask for it' not_called 'libgtest-dev'
}

say_configures_again_when_the_presets_change() {
  run say x
  touch -d '+1 hour' "$tree/CMakePresets.json"
  run say x
  expect 'configures' called '^cmake --preset release'
  expect 'leaves the tests as they are' not_called 'KAVREL_TESTS'
}

say_installs_what_is_missing_and_nothing_else() {
  program dpkg-query <<<'case "$*" in *ninja-build) exit 1 ;; *) echo installed ;; esac'
  run say x
  expect 'succeeds' is "$status" 0
  expect 'installs it' called '^apt-get .*install .* ninja-build$'
  expect 'says so' contains "$err" 'say: installing ninja-build'
  expect 'fetches no lists' not_called '^apt-get .*update'
  expect 'keeps standard output clean' is "$out" "spoken in $PWD: x"
}

say_installs_what_was_removed_but_not_purged() {
  program dpkg-query <<<'case "$*" in *ninja-build) echo config-files ;; *) echo installed ;; esac'
  run say x
  expect 'installs it' called '^apt-get .*install .* ninja-build$'
}

say_fetches_the_lists_when_they_are_outdated() {
  program dpkg-query <<<'case "$*" in *ninja-build) exit 1 ;; *) echo installed ;; esac'
  program apt-get <<'END'
case "$*" in
  *update*) : >"$STAGE/updated" ;;
  *) [ -e "$STAGE/updated" ] ;;
esac
END
  run say x
  expect 'succeeds' is "$status" 0
  expect 'fetches them' called '^apt-get .*update'
}

say_fails_when_a_package_cannot_be_installed() {
  program dpkg-query <<<'exit 1'
  program apt-get <<<'echo "no network"; exit 100'
  run say x
  expect 'fails' is "$status" 1
  expect 'shows why' contains "$err" 'no network'
  expect 'builds nothing' not_called '^ninja'
  run say x
  expect 'looks again' called '^dpkg-query'
}

say_shows_why_the_build_failed() {
  program ninja <<<'echo "error: a mistake"; exit 1'
  run say x
  expect 'fails' is "$status" 1
  expect 'shows why' contains "$err" 'error: a mistake'
  expect 'keeps standard output clean' is "$out" ''
}

check_counts_what_passed() {
  ctest_reporting 7 0 0 0
  run check
  expect 'succeeds' is "$status" 0
  expect 'closes with the counts' is "${out##*$'\n'}" '7 passed, 0 failed'
  expect 'configures with tests' called '^cmake --preset release .*-DKAVREL_TESTS=ON'
  expect 'builds everything' called '^ninja -C [^ ]* [^ ]*/build/release$'
  expect 'leaves out the long tests' called '^ctest .*-LE ^full\$'
}

check_fails_when_a_test_fails() {
  ctest_reporting 7 2 0 8
  run check
  expect 'fails' is "$status" 1
  expect 'closes with the counts' is "${out##*$'\n'}" '5 passed, 2 failed'
}

check_does_not_count_a_skipped_test_as_passed() {
  ctest_reporting 7 0 3 0
  run check
  expect 'counts the others' is "${out##*$'\n'}" '4 passed, 0 failed'
  expect 'says so' contains "$out" '3 not run'
}

check_fails_without_tests() {
  ctest_reporting 0 0 0 8
  run check
  expect 'fails' is "$status" 1
  expect 'closes with a failure' is "${out##*$'\n'}" '0 passed, 1 failed'
}

check_fails_when_the_tests_are_aborted() {
  program ctest <<<'exit 70'
  run check
  expect 'fails' is "$status" 1
  expect 'closes with a failure' is "${out##*$'\n'}" '0 passed, 1 failed'
}

check_does_not_use_an_old_report() {
  ctest_reporting 7 0 0 0
  run check
  program ctest <<<'exit 70'
  run check
  expect 'closes with a failure' is "${out##*$'\n'}" '0 passed, 1 failed'
}

check_runs_the_long_tests_when_asked_to() {
  ctest_reporting 7 0 0 0
  run check --full
  expect 'succeeds' is "$status" 0
  expect 'leaves out nothing' not_called '^ctest .*-LE'
}

check_refuses_other_arguments() {
  run check --fast
  expect 'is wrong usage' is "$status" 2
}

check_fails_when_the_build_fails() {
  program ninja <<<'echo "error: a mistake"; exit 1'
  run check
  expect 'fails' is "$status" 1
  expect 'shows why' contains "$err" 'error: a mistake'
  expect 'runs no test' not_called '^ctest'
}

for current in $(compgen -A function | grep -E '^(say|check)_'); do
  new_stage
  # In its own shell, for its folder and variables. The exit status is the number of failures.
  (
    failures=0
    "$current"
    exit "$failures"
  ) || failures=$((failures + $?))
done
if ((failures > 0)); then
  echo "$failures expectations failed"
  exit 1
fi
