# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
#
# Functions of ./say and ./check: install packages, configure and build in build/release.
# The script that sources this file sets `root` to the project's folder and `name` to its own name.
# Nothing here writes to standard output or changes the working directory.

# The sourcing script sets root and name.
# shellcheck disable=SC2154
build="$root/build/release"
log="$build/$name.log"

# Writes one line to standard error.
note() { printf '%s: %s\n' "$name" "$*" >&2; }

# run_logged WHAT COMMAND...: runs a command with its output in the log. If it fails, shows the end of
# the log and exits.
run_logged() {
  local what=$1
  shift
  "$@" >"$log" 2>&1 && return
  tail -n 100 "$log" >&2
  # The cause may be a package that has been removed: check all packages the next time.
  rm -f "$root/build/packages-"*
  note "$what failed; see $log"
  exit 1
}

# Prints the packages for the given uses, one per line.
packages_for() {
  local package use
  while read -r package use; do
    if [[ $package != '#'* && " $* " == *" $use "* ]]; then printf '%s\n' "$package"; fi
  done <"$root/scripts/packages.txt"
}

# Prints those of the given packages that are not installed.
missing_packages() {
  local package status
  for package in "$@"; do
    status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) || status=''
    if [[ $status != installed ]]; then printf '%s\n' "$package"; fi
  done
}

# Runs apt-get as root.
apt_get() {
  local -a as_root=()
  if ((EUID != 0)); then as_root=(sudo); fi
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q "$@"
}

# Updates the package lists only if the installation fails without: an update takes long.
install_packages() {
  apt_get install -y --no-install-recommends "$@" && return
  apt_get update && apt_get install -y --no-install-recommends "$@"
}

# Installs missing packages for the given uses. Checks only if the list has changed since the last time
# that all of them were installed.
ensure_packages() {
  local stamp="$root/build/packages-$name" list
  list=$(packages_for "$@")
  if [[ -e $stamp && $(<"$stamp") == "$list" ]]; then return; fi
  local -a wanted missing
  mapfile -t wanted <<<"$list"
  mapfile -t missing < <(missing_packages "${wanted[@]}")
  if ((${#missing[@]} > 0)); then
    if ((EUID != 0)) && ! type -P sudo >/dev/null; then
      note "cannot install packages without root or sudo: ${missing[*]}"
      exit 1
    fi
    note "installing ${missing[*]}"
    run_logged 'installing packages' install_packages "${missing[@]}"
  fi
  printf '%s\n' "$list" >"$stamp"
}

# One setup at a time per tree. The lock is released when the process exits; release_lock releases it
# before the script executes another program.
take_lock() {
  mkdir -p "$build"
  exec {lock}>"$root/build/lock"
  flock "$lock"
}
release_lock() { exec {lock}>&-; }

configure() { run_logged 'configuring' cmake --preset release -S "$root" "$@"; }
