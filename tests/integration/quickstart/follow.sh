#!/usr/bin/env bash
# follow.sh PAGE: follows a quick start by running its "sh" blocks one after the other in one shell,
# in an empty directory. A "text" block shows what the sh block before it prints.
set -e  # like a shell that stops at the first failure, without other options

page=$(realpath "$1")
blocks=$(mktemp -d)
work=$(mktemp -d)
trap 'rm -rf "$blocks" "$work"' EXIT
export HOME=$work

# Each sh block becomes a file NN.sh, the text block after it NN.txt.
awk -v directory="$blocks" '
    /^```/ && file != "" { close(file); file = ""; next }
    /^```sh$/ { file = sprintf("%s/%02d.sh", directory, ++count); next }
    /^```text$/ { file = sprintf("%s/%02d.txt", directory, count); printf "" >file; next }
    file != "" { print >file }' "$page"
[ -e "$blocks/01.sh" ] || { echo "$page has no sh blocks"; exit 1; }

cd "$work"
for block in "$blocks"/*.sh; do
    status=0
    # shellcheck source=/dev/null
    . "$block" >"$blocks/output" 2>&1 || status=$?
    if [ $status -ne 0 ]; then
        echo "this failed with status $status:"
        cat "$block" "$blocks/output"
        exit 1
    fi
    if [ -e "${block%.sh}.txt" ]; then
        diff "${block%.sh}.txt" "$blocks/output" || {
            echo "the page (<) shows something else than the output (>) of:"
            cat "$block"
            exit 1
        }
    fi
done
echo "followed ${page##*/}"
