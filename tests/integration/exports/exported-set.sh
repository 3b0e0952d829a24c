#!/usr/bin/env bash
# exported-set.sh EXPORTED-SYMBOLS LIST LIBRARY: checks that the library exports exactly the symbols
# of the list. Shows those missing from the library as "<" and those missing from the list as ">".
set -euo pipefail

diff <(grep -v '^#' "$2") <("$1" "$3")
