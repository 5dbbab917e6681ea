#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# release_test.sh ROOT FOLDER: scripts/release makes the same bytes from the same commit in two
# folders, and fails for a tree with uncommitted changes. Builds the project twice.
set -euo pipefail

here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
root=$1
folder=$2/release
# Disable the compiler cache, whose objects may have been compiled in other folders.
export CCACHE_DISABLE=1
unset SOURCE_DATE_EPOCH KAVREL_PACKAGE_CONTACT

fail() {
  echo "$*" >&2
  exit 1
}

# Creates a repository with the present tree in one commit, which is the same every time.
new_repository() {
  mkdir -p "$1"
  tar -C "$root" --exclude=./build --exclude=./.git -c . | tar -x -C "$1"
  local -x GIT_AUTHOR_DATE='2026-01-02T03:04:05Z' GIT_COMMITTER_DATE='2026-01-02T03:04:05Z'
  git -C "$1" init -q -b main
  git -C "$1" add -A
  git -C "$1" -c user.name=Test -c user.email=test@localhost -c commit.gpgsign=false \
    commit -q -m 'The tree'
}

rm -rf "$folder"
one=$folder/one
two="$folder/a longer path/two"
new_repository "$one"
new_repository "$two"

touch "$one/not committed"
if "$one/scripts/release" "$folder/refused" 2>"$folder/refused.log"; then
  fail 'A tree with changes was released.'
fi
grep -q 'not committed' "$folder/refused.log" || fail 'The error message does not name the change.'
[[ ! -e $folder/refused ]] || fail 'A rejected release leaves files.'
rm "$one/not committed"

"$one/scripts/release" "$folder/first"
# The second build uses another time, another folder for temporary files and another umask.
sleep 1
mkdir "$folder/tmp"
(umask 077 && TMPDIR=$folder/tmp "$two/scripts/release" "$folder/second")
diff -r "$folder/first" "$folder/second" || fail 'Two builds of one commit differ.'

(cd "$folder/first" && sha256sum --quiet -c SHA256SUMS)
for kind in tar.gz deb spdx.json; do
  compgen -G "$folder/first/*.$kind" >/dev/null || fail "The release has no .$kind file."
done
python3 "$here/check_sbom.py" "$folder"/first/*.spdx.json "$one"

# No time in the package is the time of the build.
package=("$folder"/first/*.deb)
if TZ=UTC dpkg-deb -c "${package[0]}" | grep -v ' 2026-01-02 '; then fail 'The package has other times.'; fi
