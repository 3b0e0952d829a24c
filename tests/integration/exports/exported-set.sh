#!/usr/bin/env bash
# exported-set.sh EXPORTED-SYMBOLS LIST LIBRARY: the library exports every symbol of the list and no
# other. A difference is shown: "<" is missing from the library, ">" is missing from the list.
set -euo pipefail

diff <(grep -v '^#' "$2") <("$1" "$3")
