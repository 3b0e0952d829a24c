#!/usr/bin/env bash
# needed.sh MAJOR LIBRARY: of the framework's libraries, the library asks the loader for the seven
# services by name, so that others can be put in their place, and for nothing else.
set -euo pipefail

diff <(printf "libZn%s.so.$1\n" Crypto FileSys Ini Json Logger SysInfo Xml) \
    <(objdump -p "$2" | awk '$1 == "NEEDED" && $2 ~ /^libZn/ { print $2 }' | LC_ALL=C sort)
