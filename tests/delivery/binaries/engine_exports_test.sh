#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# engine_exports_test.sh LIBRARY HEADER...: the engine's library exports exactly the functions and
# variables that its headers declare.
set -euo pipefail

library=$1
shift
# The headers without comments, on one line: a declaration may have a line break before its name.
text=$(cat "$@" | sed 's@//.*@@' | tr '\n' ' ' | sed 's@/\*[^*]*\*\+\([^/*][^*]*\*\+\)*/@ @g')
# A name that ends in _t is a type, as in "kavrel_result_t (*done)(...)".
functions=$(grep -oE '\b(kavrel|cst|ts|mutex)_[a-z0-9_]+ ?\(' <<<"$text" | tr -d '( ' | grep -v '_t$')
variables=$(grep -oE '\bextern [A-Za-z_ ]+[ *]cst_[a-z0-9_]+;' <<<"$text" | sed 's/.*[ *]\(.*\);/\1/')
declared=$(printf '%s\n' "$functions" "$variables" | LC_ALL=C sort -u)
exported=$(nm -D --defined-only -f posix "$library" | cut -d ' ' -f 1 | LC_ALL=C sort)
(($(wc -l <<<"$declared") > 20)) || { echo "only few declarations were found: $declared" >&2; exit 1; }
diff <(echo "$declared") <(echo "$exported")
