#!/usr/bin/env bash
# changes.sh SOURCE COMPILER: builds changed libZnXml, and checks what scripts/check-abi says of them and
# of directories.
set -euo pipefail

source=$1 compiler=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# build SONAME SED-SCRIPT: builds libZnXml from a header and a source that the sed script has changed.
build() {
    local soname=$1 script=$2
    rm -rf "${work:?}"/*
    mkdir "$work/lib" "$work/src"
    cp "$source/framework/ZnExport.h" "$work/src"
    sed "$script" "$source/framework/ZnXml.h" >"$work/src/ZnXml.h"
    sed "$script" "$source/tests/integration/store/ForeignZnXml.cpp" >"$work/src/ZnXml.cpp"
    "$compiler" -std=c++17 -g -O2 -fPIC -fvisibility=hidden -fvisibility-inlines-hidden -shared \
        "$work/src/ZnXml.cpp" -Wl,-soname,"$soname" -o "$work/lib/libZnXml.so"
}

# expect STATUS TEXT WHAT: checks what scripts/check-abi says of $work/WHAT.
expect() {
    local expected=$1 text=$2 what=$3 status=0
    "$source/scripts/check-abi" "$work/$what" >"$work/log" 2>&1 || status=$?
    if [ "$status" != "$expected" ] || ! grep -qF "$text" "$work/log"; then
        echo "status $status, not $expected with \"$text\":"
        cat "$work/log"
        exit 1
    fi
}

# check EXPECTED-STATUS WHAT SONAME SED-SCRIPT: for a changed libZnXml.
check() {
    echo "$2"
    build "$3" "$4"
    expect "$1" "libZnXml: " lib/libZnXml.so
}

check 0 "unchanged" libZnXml.so.1 ''
check 0 "added function" libZnXml.so.1 's/^bool ZnXml::Load/ZN_API int Added() { return 1; }\n&/'
check 1 "changed parameter" libZnXml.so.1 's/LoadPolicyShareMemory(int/LoadPolicyShareMemory(long/'
check 1 "missing function" libZnXml.so.1 's/GetXmlContent(const char\* \(key\|\/\*key\*\/\), int&/Renamed(const char* \1, int\&/'
check 1 "larger class" libZnXml.so.1 's/std::unique_ptr<Impl> impl_;/& int added_ = 0;/'
check 0 "larger class with a new SONAME" libZnXml.so.2 's/std::unique_ptr<Impl> impl_;/& int added_ = 0;/'

echo "directories"
build libZnXml.so.1 ''
mv "$work/lib/libZnXml.so" "$work/lib/libZnXml.so.1.2.3"
expect 1 "libZnXml: compatible" lib
expect 1 "libZnIni: MISSING" lib
mv "$work/lib/libZnXml.so.1.2.3" "$work/lib/libZnOther.so"
expect 1 "libZnOther: NOT RECORDED" lib
expect 1 "libZnOther: NOT RECORDED" lib/libZnOther.so
rm "$work/lib/libZnOther.so"
expect 1 "libZnXml: MISSING" lib
