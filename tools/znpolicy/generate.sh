#!/bin/sh
# generate.sh PROGRAM DIRECTORY: lets znpolicy print its completions and manual pages.
set -eu
program=$1
directory=$2
rm -rf "$directory"
mkdir -p "$directory/man"
"$program" completion bash >"$directory/znpolicy.bash"
"$program" completion zsh >"$directory/_znpolicy"
"$program" completion fish >"$directory/znpolicy.fish"
pages=$("$program" man)
for page in $pages; do
    "$program" man "$page" >"$directory/man/$page.1"
done
touch "$directory/stamp"
