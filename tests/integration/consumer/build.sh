#!/usr/bin/env bash
# build.sh WAY WORK LIBRARY-DIRECTORY COMPILER STANDARD: builds programs of other projects, and runs
# them. The installation in WORK is made by install.sh.
#   find_package      examples/consumer, with the installed CMake package
#   pkg-config        examples/consumer-make, with the installed pkg-config files
#   own-logger        examples/own-logger, run with the program of find_package
#   readme            the program of the README, with the installed pkg-config file
#   targets           nothing: checks the installed CMake package
#   add_subdirectory, FetchContent      with the source tree as a part of the other project
set -euo pipefail

way=$1 work=$2 libdir=$3 compiler=$4 standard=$5
here=$(cd "$(dirname "$0")" && pwd)
source=$(cd "$here/../../.." && pwd)
prefix=$work/prefix
build=$work/$way-${compiler##*/}-$standard
export ZN_POLICY_STORE=$work/store PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig

# cmake_build DIRECTORY [OPTION...]
cmake_build() {
    local directory=$1
    shift
    cmake -S "$directory" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
        -DCMAKE_CXX_STANDARD="$standard" "$@" >"$build.log" || { cat "$build.log"; exit 1; }
    cmake --build "$build" >"$build.log" || { cat "$build.log"; exit 1; }
}

# expect OUTPUT COMMAND...
expect() {
    local expected=$1 output
    shift
    output=$("$@")
    [ "$output" = "$expected" ] || { echo "$* printed '$output', not '$expected'"; exit 1; }
}

rm -rf "$build"
consumer=$build/consumer
case $way in
    targets) cmake_build "$here/targets" -DCMAKE_PREFIX_PATH="$prefix"; exit ;;
    find_package) cmake_build "$source/examples/consumer" -DCMAKE_PREFIX_PATH="$prefix" ;;
    add_subdirectory) cmake_build "$here/included" -DZNPOLICY_SOURCE="$source" ;;
    FetchContent) cmake_build "$here/included" -DZNPOLICY_SOURCE="$source" -DFETCHCONTENT=ON ;;
    pkg-config)
        mkdir "$build"
        cp -R "$source/examples/consumer" "$source/examples/consumer-make" "$build"
        make --silent -C "$build/consumer-make" CXX="$compiler" STANDARD="$standard" \
            LDFLAGS="-Wl,-rpath,$prefix/$libdir"
        consumer=$build/consumer-make/consumer
        ;;
    readme)
        mkdir "$build"
        awk '/^```/ { in_program = $0 ~ /cpp$/; next } in_program' "$source/README.md" >"$build/program.cpp"
        # shellcheck disable=SC2046  # options, to be split
        "$compiler" "-std=c++$standard" "$build/program.cpp" -o "$build/program" \
            $(pkg-config --cflags --libs znpolicy) -Wl,-rpath,"$prefix/$libdir"
        expect 7 "$build/program"
        exit
        ;;
    own-logger)
        cmake_build "$source/examples/own-logger" -DCMAKE_PREFIX_PATH="$prefix"
        [ -e "$build/libZnLogger.so.1" ] || { echo "no libZnLogger.so.1 was built"; exit 1; }
        # The library logs the missing policy, and the program fails.
        LD_LIBRARY_PATH=$build "$work/find_package-${compiler##*/}-$standard/consumer" 4711 \
            2>"$build/stderr" && { echo "read a policy that does not exist"; exit 1; }
        grep -q '^product: level 1, ReadIdtPolicy: ' "$build/stderr" ||
            { echo "the product's logger was not used:"; cat "$build/stderr"; exit 1; }
        exit
        ;;
esac
expect "data transport flag 7, 2 items" "$consumer" 1001
