#!/usr/bin/env bash
# expect.sh STATUS REGEX COMMAND...: runs the command. Succeeds if it exits with STATUS and its output,
# of any number of lines, matches the extended regular expression.
set -euo pipefail

expected=$1 regex=$2 status=0
shift 2
output=$("$@" 2>&1) || status=$?
if [ "$status" != "$expected" ] || ! [[ $output =~ $regex ]]; then
    echo "$output"
    echo "exit status $status; expected: $expected, with output that matches $regex"
    exit 1
fi
