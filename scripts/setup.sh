# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
#
# What ./say and ./check share: the packages they need, and the release build in build/release.
# To be sourced by a script that has set `root` to the project's folder and `name` to its own name.
# Nothing here writes to standard output, nor changes the working directory.

# root and name are the sourcing script's.
# shellcheck disable=SC2154
build="$root/build/release"
log="$build/$name.log"

note() { printf '%s: %s\n' "$name" "$*" >&2; }

# Runs a command with its output in the log; shows the log and ends the script when it fails.
logged() {
  local what=$1
  shift
  "$@" >"$log" 2>&1 && return
  tail -n 100 "$log" >&2
  # What is installed may have changed since it was looked at.
  rm -f "$root/build/packages-"*
  note "$what failed; all of it is in $log"
  exit 1
}

# The packages for the uses given, one a line.
packages_for() {
  local package use
  while read -r package use; do
    if [[ $package != '#'* && " $* " == *" $use "* ]]; then printf '%s\n' "$package"; fi
  done <"$root/scripts/packages.txt"
}

# Which of the packages are not installed.
missing_of() {
  local package status
  for package in "$@"; do
    status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) || status=''
    if [[ $status != installed ]]; then printf '%s\n' "$package"; fi
  done
}

apt_get() {
  local -a as_root=()
  if ((EUID != 0)); then as_root=(sudo); fi
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q "$@"
}

# The package lists are fetched only when what they say does not do.
install_packages() {
  apt_get install -y --no-install-recommends "$@" && return
  apt_get update && apt_get install -y --no-install-recommends "$@"
}

# Installs what is missing for the uses given. Looks only when the list has changed since the last
# time that all of it was there.
ensure_packages() {
  local stamp="$root/build/packages-$name" list
  list=$(packages_for "$@")
  if [[ -e $stamp && $(<"$stamp") == "$list" ]]; then return; fi
  local -a wanted missing
  mapfile -t wanted <<<"$list"
  mapfile -t missing < <(missing_of "${wanted[@]}")
  if ((${#missing[@]} > 0)); then
    if ((EUID != 0)) && ! type -P sudo >/dev/null; then
      note "without root or sudo these packages cannot be installed: ${missing[*]}"
      exit 1
    fi
    note "installing ${missing[*]}"
    logged 'installing packages' install_packages "${missing[@]}"
  fi
  printf '%s\n' "$list" >"$stamp"
}

# One set-up at a time in one tree; the lock goes with the process that holds it. `release_lock`
# gives it up before the script becomes another program.
take_lock() {
  mkdir -p "$build"
  exec {lock}>"$root/build/lock"
  flock "$lock"
}
release_lock() { exec {lock}>&-; }

configure() { logged 'configuring' cmake --preset release -S "$root" "$@"; }
