#!/usr/bin/env bash
# build.sh WAY WORK LIBRARY-DIRECTORY COMPILER STANDARD: builds the program of another project in one
# of three ways, and runs it. The installation in WORK is made by install.sh.
#   find_package      with the installed CMake package
#   pkg-config        with the installed pkg-config files
#   add_subdirectory, FetchContent      with the source tree as a part of the other project
set -euo pipefail

way=$1 work=$2 libdir=$3 compiler=$4 standard=$5
here=$(cd "$(dirname "$0")" && pwd)
prefix=$work/prefix
build=$work/$way-${compiler##*/}-$standard

# cmake_build SOURCE [OPTION...]
cmake_build() {
    local source=$1
    shift
    cmake -S "$here/$source" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
        -DCMAKE_CXX_STANDARD="$standard" "$@" >"$build.log" || { cat "$build.log"; exit 1; }
    cmake --build "$build" --target program >"$build.log" || { cat "$build.log"; exit 1; }
}

rm -rf "$build"
case $way in
    find_package) cmake_build installed -DCMAKE_PREFIX_PATH="$prefix" ;;
    add_subdirectory) cmake_build included -DZNPOLICY_SOURCE="$here/../../.." ;;
    FetchContent) cmake_build included -DZNPOLICY_SOURCE="$here/../../.." -DFETCHCONTENT=ON ;;
    pkg-config)
        mkdir "$build"
        export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
        # shellcheck disable=SC2046  # options, to be split
        "$compiler" "-std=c++$standard" "$here/program.cpp" -o "$build/program" \
            $(pkg-config --cflags --libs znpolicy znpolicy-store) -Wl,-rpath,"$prefix/$libdir"
        ;;
esac

answer=$(ZN_POLICY_STORE=$work/store "$build/program")
[ "$answer" = '7 2' ] || { echo "the program printed '$answer', not '7 2'"; exit 1; }
