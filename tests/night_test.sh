#!/bin/sh
# docs/night-with-a-fault.md shows the output of its script, and --short prints the beginning of that.
# Argument: the project's directory.
set -eu
root=$1
. "$root/tests/pages.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

night() {
  "$root/examples/night_with_a_fault.sh" "$@" >"$work/printed" 2>&1
  normalise <"$work/printed"
}

block console "$root/docs/night-with-a-fault.md" | normalise >"$work/page"
night "$work/kept" >"$work/whole"
diff "$work/page" "$work/whole"
find "$work/kept" | grep -q '/tuesday/night_stats\..*\.mrec$'
night --short >"$work/short"
sed '/last-write/{n;q}' "$work/page" | diff - "$work/short"
