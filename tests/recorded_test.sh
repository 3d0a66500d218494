#!/bin/sh
# Runs each test of a program once more, with the recorder loaded: it must change nothing, and leave a
# readable recording of the calls: recorded_test.sh PROGRAM RECORDER READER
set -eu
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
"$1" --gtest_list_tests | awk '/^[^ ]/ { suite = $1; next } { print suite $1 }' >"$folder.tests"
while read -r test; do
  LD_PRELOAD=$2 MORVANE_RECORD=$folder MORVANE_RECORD_SIZE=65536 "$1" --gtest_filter="$test"
done <"$folder.tests"
rm "$folder.tests"
"$3" --read "$folder"/*.mrec
