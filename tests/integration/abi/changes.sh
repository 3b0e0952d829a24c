#!/usr/bin/env bash
# changes.sh SOURCE COMPILER: builds changed libZnXml, and checks what scripts/check-abi says of them.
set -euo pipefail

source=$1 compiler=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# check EXPECTED-STATUS WHAT SONAME SED-SCRIPT: for libZnXml built from a header and a source that the
# sed script has changed.
check() {
    local expected=$1 what=$2 soname=$3 script=$4 status=0
    rm -rf "${work:?}"/*
    mkdir "$work/lib" "$work/src"
    cp "$source/framework/ZnExport.h" "$work/src"
    sed "$script" "$source/framework/ZnXml.h" >"$work/src/ZnXml.h"
    sed "$script" "$source/tests/integration/store/ForeignZnXml.cpp" >"$work/src/ZnXml.cpp"
    "$compiler" -std=c++17 -g -O2 -fPIC -fvisibility=hidden -fvisibility-inlines-hidden -shared \
        "$work/src/ZnXml.cpp" -Wl,-soname,"$soname" -o "$work/lib/libZnXml.so"
    "$source/scripts/check-abi" "$work/lib" >"$work/log" 2>&1 || status=$?
    [ "$status" = "$expected" ] || { echo "$what: status $status, not $expected"; cat "$work/log"; exit 1; }
}

check 0 "unchanged" libZnXml.so.1 ''
check 0 "added function" libZnXml.so.1 's/^bool ZnXml::Load/ZN_API int Added() { return 1; }\n&/'
check 1 "changed parameter" libZnXml.so.1 's/LoadPolicyShareMemory(int/LoadPolicyShareMemory(long/'
check 1 "missing function" libZnXml.so.1 's/GetXmlContent(const char\* \(key\|\/\*key\*\/\), int&/Renamed(const char* \1, int\&/'
check 1 "larger class" libZnXml.so.1 's/std::unique_ptr<Impl> impl_;/& int added_ = 0;/'
check 0 "larger class with a new SONAME" libZnXml.so.2 's/std::unique_ptr<Impl> impl_;/& int added_ = 0;/'
