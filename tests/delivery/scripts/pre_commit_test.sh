#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# pre_commit_test.sh ROOT: scripts/pre-commit stops a commit because of staged contents only.
set -uo pipefail

root=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
cd "$work" || exit 1
git init -q
cp "$root/.clang-format" .
mkdir scripts
cp "$root/scripts/pre-commit" scripts/
ln -s ../../scripts/pre-commit .git/hooks/pre-commit

commit() {
  git -c user.name=Test -c user.email=test@localhost -c commit.gpgsign=false \
    commit -q -m 'A change' 2>"$work/.git/err"
}

# stops WHAT MESSAGE: the commit fails with the message. Nothing is staged afterwards.
stops() {
  if commit || ! grep -qF -- "$2" .git/err; then
    echo "FAILED: a commit with $1: $(<.git/err)"
    failures=$((failures + 1))
  fi
  git reset -q --hard
}

passes() {
  commit && return
  echo "FAILED: a commit with $1 is rejected: $(<.git/err)"
  failures=$((failures + 1))
  git reset -q --hard
}

spdx='SPDX-License-Identifier: Apache-2.0'
git add .clang-format scripts
passes 'the hook itself'

printf '// %s\nint one();\n' "$spdx" >good.cpp
printf '#!/bin/sh\n# %s\necho one\n' "$spdx" >good
git add good.cpp good
passes 'correct files'

printf '// %s\nint   one( ) ;\n' "$spdx" >bad.cpp
git add bad.cpp
stops 'a file that is not formatted' 'bad.cpp: is not formatted'

printf 'int one();\n' >bad.cpp
git add bad.cpp
stops 'a source without a licence' 'bad.cpp: has no SPDX'

# The variable is part of the script.
# shellcheck disable=SC2016
printf '#!/bin/sh\n# %s\necho $1\n' "$spdx" >bad
git add bad
stops 'a careless script' 'bad: has shellcheck findings'

# Changes that are not staged are ignored.
printf '// %s\nint two();\n' "$spdx" >good.cpp
git add good.cpp
printf 'int   two' >good.cpp
passes 'a correct file with incorrect changes in the working tree'

exit $((failures > 0))
