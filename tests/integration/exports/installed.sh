#!/usr/bin/env bash
# installed.sh BUILD-DIR README LIBRARY-DIR COMPILER [FLAG...]: installs into a temporary directory,
# compiles the program of the README against the installation with the options of the README, and
# lets it read a policy that the installed znpolicy has published.
set -euo pipefail

build=$1 readme=$2 libdir=$3
shift 3
compile=("$@")

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >"$work/install.log" || { cat "$work/install.log"; exit 1; }

awk '/^```/ { in_program = $0 ~ /cpp$/; next } in_program' "$readme" >"$work/program.cpp"
[ -s "$work/program.cpp" ] || { echo "no program in $readme"; exit 1; }
"${compile[@]}" -std=c++17 "$work/program.cpp" -o "$work/program" \
    -I"$prefix/include/ZnPolicy" -L"$prefix/$libdir" -Wl,-rpath,"$prefix/$libdir" -lZnPolicy

cat >"$work/policy.xml" <<'XML'
<Policy><IntelligentDataTransportFlag>7</IntelligentDataTransportFlag></Policy>
XML
mkdir "$work/store"
"$prefix/bin/znpolicy" --store "$work/store" policy publish 1001 "$work/policy.xml"

answer=$(ZN_POLICY_STORE=$work/store "$work/program")
[ "$answer" = 7 ] || { echo "the program printed '$answer', not 7"; exit 1; }
