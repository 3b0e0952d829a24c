#!/usr/bin/env bash
# paths.sh BUILD SOURCE LIBRARY-DIRECTORY: checks the directories that are recorded in installed
# files. Below a system prefix, nothing has a RUNPATH; elsewhere the RUNPATH is relative. No file
# names the directories of the build, except for the source files in the log records of libZnPolicy.
set -euo pipefail

build=$1 source=$2 libdir=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# runpaths PREFIX: the different RUNPATHs below it.
runpaths() {
    find "$1/bin" "$1/$libdir" -type f \( -name 'lib*.so.*' -o -name znpolicy \) -exec objdump -p {} \; |
        awk '$1 == "RUNPATH" || $1 == "RPATH" { print $2 }' | sort -u
}

for prefix in /usr /usr/local; do
    DESTDIR=$work/system cmake --install "$build" --prefix $prefix --strip >/dev/null
    found=$(runpaths "$work/system$prefix")
    [ -z "$found" ] || { echo "installed below $prefix, the RUNPATH is $found"; exit 1; }
done

cmake --install "$build" --prefix "$work/prefix" --strip >/dev/null
found=$(runpaths "$work/prefix")
[ "$found" = "\$ORIGIN:\$ORIGIN/../$libdir" ] || { echo "the RUNPATH is '$found'"; exit 1; }

cd "$work/prefix"
found=$(grep -rlF -e "$source" -e "$build" . | grep -v '/libZnPolicy\.so\.' || true)
[ -z "$found" ] || { echo "these files name $source or $build: $found"; exit 1; }
strings -a "$libdir/libZnPolicy.so.1" | grep -F "$source" |
    grep -v "^$source/BaseAPI/ZnConfigFormat/ZnPolicy/src/[A-Za-z]*\.cpp$" &&
    { echo "libZnPolicy names other files than its own sources"; exit 1; }
exit 0
