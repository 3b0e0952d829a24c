#!/usr/bin/env bash
# needed.sh MAJOR LIBRARY: checks that the library links exactly the seven service libraries of the
# framework by name, so that they can be replaced.
set -euo pipefail

diff <(printf "libZn%s.so.$1\n" Crypto FileSys Ini Json Logger SysInfo Xml) \
    <(objdump -p "$2" | awk '$1 == "NEEDED" && $2 ~ /^libZn/ { print $2 }' | LC_ALL=C sort)
