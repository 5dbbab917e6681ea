#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# sbom_test.sh ROOT VERSION PREFIX BUILD: the bill of materials of the present tree is valid, and no
# file installed under PREFIX contains the path of the sources or of the build folder.
set -euo pipefail

here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
root=$1
version=$2
prefix=$3
build=$4
sbom=$(mktemp)
trap 'rm -f "$sbom"' EXIT

SOURCE_DATE_EPOCH=1767322800 "$root/scripts/sbom" "$root" "$version" "$prefix" >"$sbom"
python3 "$here/check_sbom.py" "$sbom" "$root"
if grep -rlaF -e "$root/" -e "$build/" "$prefix"; then
  echo 'These installed files contain the path of the source folder or the build folder.' >&2
  exit 1
fi
