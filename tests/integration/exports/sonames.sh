#!/usr/bin/env bash
# sonames.sh MAJOR LIBRARY...: checks that the SONAME of each library is lib<Name>.so.<MAJOR>.
set -euo pipefail

major=$1
shift
status=0
for library in "$@"; do
    file=$(basename "$library")
    expected=${file%%.so*}.so.$major
    actual=$(objdump -p "$library" | awk '$1 == "SONAME" { print $2 }')
    if [ "$actual" != "$expected" ]; then
        echo "$library: SONAME is '$actual', not '$expected'"
        status=1
    fi
done
exit $status
