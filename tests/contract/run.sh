#!/usr/bin/env bash
# run.sh PROGRAMS DIR: runs the contract tests, which are in the directory PROGRAMS, of those of the
# seven service libraries that are in DIR. Exits with 1 if one of them breaks its contract, and with
# 2 if DIR has none.
set -euo pipefail

programs=$1 libraries=$(cd "$2" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
if [ -z "${ZN_PUBLISH-}" ]; then
    # Where the default libZnXml reads, and how policies get there.
    export ZN_POLICY_STORE=$work/store ZN_PUBLISH="$programs/znpolicy policy publish --quiet"
fi

tested=0 broken=()
for service in ZnLogger ZnXml ZnIni ZnFileSys ZnJson ZnCrypto ZnSysInfo; do
    [ -e "$libraries/lib$service.so.1" ] || continue
    tested=$((tested + 1))
    LD_LIBRARY_PATH=$libraries${LD_LIBRARY_PATH+:$LD_LIBRARY_PATH} \
        "$programs/${service}ContractTest" --gtest_brief=1 2>"$work/log" ||
        { broken+=("lib$service"); cat "$work/log"; }
done
[ "$tested" -gt 0 ] || { echo "no service library (such as libZnXml.so.1) in $2" >&2; exit 2; }
for library in "${broken[@]}"; do
    echo "$library breaks its contract; framework/${library#lib}.h describes it"
done
[ ${#broken[@]} -eq 0 ] || exit 1
echo "$tested libraries keep their contracts"
