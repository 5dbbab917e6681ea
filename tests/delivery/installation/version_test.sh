#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# version_test.sh ROOT VERSION PREFIX: everything installed under PREFIX reports VERSION, which the
# project() line of ROOT/CMakeLists.txt sets and ROOT/CHANGELOG.md describes.
set -euo pipefail

root=$1
version=$2
prefix=$3
major=${version%%.*}
failures=0

expect() {
  [[ $2 == "$3" ]] && return
  echo "$1: expected \"$2\", found \"$3\"" >&2
  failures=$((failures + 1))
}

expect 'project() line' 1 "$(grep -c "^project(KavrelSpeech VERSION $version " "$root/CMakeLists.txt")"
# The first release in the change log. Only the section of unreleased changes comes before it.
expect 'CHANGELOG.md' "$version" \
  "$(sed -n 's/^## \[\([0-9][0-9.]*\)\] - [0-9]\{4\}-[0-9][0-9]-[0-9][0-9]$/\1/p' "$root/CHANGELOG.md" | head -n 1)"

for program in kavrel-say kavrel-ssml; do
  expect "$program --version" "$program $version" "$("$prefix/bin/$program" --version)"
done
expect 'kavrel-synth --version' "kavrel-synth $version" "$("$prefix/libexec/kavrel/kavrel-synth" --version)"
for library in SpeechManager kavrel; do
  file=$prefix/lib/lib$library.so.$version
  expect "SONAME of $file" "lib$library.so.$major" \
    "$(readelf -d "$file" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')"
done
for module in speechmanager kavrel; do
  expect "pkg-config $module" "$version" \
    "$(PKG_CONFIG_PATH=$prefix/lib/pkgconfig pkg-config --modversion "$module")"
done
expect 'the CMake package' 1 \
  "$(grep -c "^set(PACKAGE_VERSION \"$version\")" "$prefix/lib/cmake/SpeechManager/SpeechManagerConfigVersion.cmake")"
# The plug-in is loaded by name, so its file name has no version.
plugin=$prefix/lib/speechmanager/Synthesizers/KavrelSpeech.so
expect "SONAME of $plugin" '' "$(readelf -d "$plugin" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')"

((failures == 0))
