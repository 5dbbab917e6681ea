#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# Tests an installation: install_test.sh WHAT BUILD FOLDER. `install` installs the build tree BUILD
# under FOLDER/prefix; the others use that. Only voices and plug-ins of the installation are used.
set -euo pipefail

here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
what=$1
build=$2
folder=$3
prefix=$folder/prefix
export KAVREL_AUDIO=none
unset SPEECH_VOICE_PATH SPEECH_SYNTHESIZER_PATH LD_LIBRARY_PATH

fail() {
  echo "$*" >&2
  exit 1
}

# check_sound FILE SIZE: FILE is a readable sound file of at least SIZE bytes.
check_sound() {
  [[ -s $1 && $(head -c 4 "$1") == FORM && $(stat -c %s "$1") -ge $2 ]] ||
    fail "$1 is not an audio file of at least $2 bytes"
}

flags() { PKG_CONFIG_PATH="$1/lib/pkgconfig" pkg-config "${@:2}" speechmanager; }

# Builds the client with the given compiler command and lets it speak.
build_and_run() {
  local -a libraries
  read -ra libraries <<<"$(flags "$prefix" --cflags --libs)"
  "$@" -Wall -Wextra -Werror -o "$folder/client" "$here/project/installed_client.c" "${libraries[@]}"
  rm -f "$folder/client.aiff"
  LD_LIBRARY_PATH=$prefix/lib "$folder/client" "$folder/client.aiff"
  check_sound "$folder/client.aiff" 20000
}

# build_and_test_clients FOLDER LIBRARIES: most clients wait most of the time, so many run at once.
build_and_test_clients() {
  cmake --build "$1" >/dev/null
  LD_LIBRARY_PATH=$2 ctest --test-dir "$1" --no-tests=error --output-on-failure --parallel 6
}

speak_from() {
  rm -f "$folder/spoken.aiff"
  "$1/bin/kavrel-say" -o "$folder/spoken.aiff" 'From where it was put.'
  check_sound "$folder/spoken.aiff" 20000
}

case $what in
  install)
    rm -rf "$prefix"
    cmake --install "$build" --prefix "$prefix" >"$folder/install.log"
    if grep -rIlF "$build" "$prefix"; then fail 'The files above name the build folder.'; fi
    ;;
  c) build_and_run cc -std=c11 ;;
  cxx) build_and_run c++ -std=c++20 -x c++ ;;
  cmake)
    rm -rf "$folder/project"
    cmake -S "$here/project" -B "$folder/project" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
    cmake --build "$folder/project" >/dev/null
    rm -f "$folder/client.aiff"
    "$folder/project/client" "$folder/client.aiff"
    check_sound "$folder/client.aiff" 20000
    ;;
  clients)
    # The programs in tests/speech/clients, each with its own test.
    rm -rf "$folder/clients"
    PKG_CONFIG_PATH=$prefix/lib/pkgconfig cmake -S "$here/../../speech/clients" -B "$folder/clients" \
      -G Ninja >/dev/null
    build_and_test_clients "$folder/clients" "$prefix/lib"
    ;;
  package-clients)
    # The same with the CMake package; CMake tells the programs where the library is.
    rm -rf "$folder/package-clients"
    cmake -S "$here/../../speech/clients" -B "$folder/package-clients" -G Ninja \
      -DSPEECH_CLIENTS_FIND=package -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
    build_and_test_clients "$folder/package-clients" ''
    ;;
  speak) speak_from "$prefix" ;;
  moved)
    rm -rf "$folder/elsewhere"
    cp -a "$prefix" "$folder/elsewhere"
    mv "$prefix" "$prefix.away"
    trap 'mv "$prefix.away" "$prefix"' EXIT
    speak_from "$folder/elsewhere"
    [[ $(flags "$folder/elsewhere" --cflags) == *"/elsewhere/"* ]] || fail 'pkg-config names another folder'
    ;;
  missing)
    # The program that speaks is not there: the message says which.
    rm -rf "$folder/incomplete"
    cp -a "$prefix" "$folder/incomplete"
    rm "$folder/incomplete/libexec/kavrel/kavrel-synth"
    for voice in Corin Maren; do
      status=0
      "$folder/incomplete/bin/kavrel-say" -v "$voice" -o "$folder/unspoken.aiff" hello \
        2>"$folder/missing.log" || status=$?
      ((status == 1)) || fail "kavrel-say exited with $status"
      expected="libkavrel: cannot start $folder/incomplete/libexec/kavrel/kavrel-synth: No such file or directory"
      grep -qxF "$expected" "$folder/missing.log" || fail "$expected: not in $(<"$folder/missing.log")"
    done
    ;;
  archive)
    # An archive that is extracted somewhere, then moved.
    rm -rf "$folder/archive" "$folder/extracted"
    mkdir -p "$folder/archive" "$folder/extracted"
    (cd "$build" && cpack -G TGZ -B "$folder/archive" >"$folder/archive.log")
    tar -C "$folder/archive" -xzf "$folder"/archive/*.tar.gz
    mv "$folder"/archive/kavrel-speech-*/usr "$folder/extracted/a folder"
    speak_from "$folder/extracted/a folder"
    "$here/linked_test.sh" "$folder/extracted/a folder"
    ;;
  package)
    rm -rf "$folder/package"
    mkdir -p "$folder/package"
    (cd "$build" && cpack -G DEB -B "$folder/package" >"$folder/package.log")
    package=$(echo "$folder"/package/*.deb)
    dpkg-deb --info "$package" | tee "$folder/package.info"
    # All but the data are libraries, which dpkg-shlibdeps has found.
    for needed in libespeak-ng1 espeak-ng-data libseccomp2 libcubeb0 libpulse0; do
      grep -q "^ Depends:.* $needed\\b" "$folder/package.info" || fail "The package does not depend on $needed."
    done
    dpkg-deb -x "$package" "$folder/package/root"
    "$here/linked_test.sh" "$folder/package/root"
    for page in kavrel-say kavrel-ssml; do
      [[ -e $folder/package/root/usr/share/man/man1/$page.1 ]] || fail "The package has no page $page(1)."
    done
    # Every header of the source tree.
    for headers in platform/include=speechmanager engine/include=kavrel; do
      diff -r "$here/../../../${headers%=*}" "$folder/package/root/usr/include/${headers#*=}" ||
        fail 'The package has other headers than the source tree.'
    done
    speak_from "$folder/package/root/usr"
    ;;
  *) fail "unknown test $what" ;;
esac
