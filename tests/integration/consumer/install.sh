#!/usr/bin/env bash
# install.sh BUILD WORK: installs into a directory, moves it to WORK/prefix, and publishes a policy
# with the moved program.
set -euo pipefail

build=$1 work=$2
rm -rf "$work"
mkdir -p "$work/store"
cmake --install "$build" --prefix "$work/installed" >"$work/install.log"
mv "$work/installed" "$work/prefix"
cat >"$work/policy.xml" <<'XML'
<Policy>
    <PolicyName>example</PolicyName>
    <IntelligentDataTransportFlag>7</IntelligentDataTransportFlag>
</Policy>
XML
"$work/prefix/bin/znpolicy" --store "$work/store" policy publish 1001 "$work/policy.xml"
