#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# comma_test.sh HOST PLUGIN: speech does not depend on the decimal point of the locale. Builds the
# locale that it needs.
set -euo pipefail

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
localedef --inputfile=de_DE --charmap=ISO-8859-1 "$folder/comma" 2>"$folder/log" ||
  { cat "$folder/log"; exit 1; }
LOCPATH=$folder "$1" comma "$2" comma
