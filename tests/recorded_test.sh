#!/bin/sh
# Runs each test of a program once more, with the recorder loaded: it must change nothing, and leave a
# readable recording of the calls: recorded_test.sh PROGRAM RECORDER MRVCTL
set -eu
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/recordings"
"$1" --gtest_list_tests >"$folder/list"
awk '/^[^ ]/ { suite = $1; next } { print suite $1 }' "$folder/list" >"$folder/tests"
test -s "$folder/tests"
while read -r test; do
  LD_PRELOAD=$2 MORVANE_RECORD=$folder/recordings MORVANE_RECORD_SIZE=65536 \
    "$1" --gtest_filter="$test" </dev/null
done <"$folder/tests"
"$3" calls "$folder/recordings"/*.mrec >"$folder/calls" 2>"$folder/gaps"
cat "$folder/gaps"
test "$(wc -l <"$folder/calls")" -gt 1 && test ! -s "$folder/gaps"
