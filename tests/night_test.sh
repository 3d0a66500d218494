#!/bin/sh
# docs/night-with-a-fault.md shows what its script prints, and --short is the beginning of it. Times,
# process numbers and the order of a summary differ from run to run. Argument: the project's folder.
set -eu
root=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

steady() {
  sed -E 's/[0-9]{4}-[0-9-]+ [0-9:.]+/TIME/; s/[0-9.]+us/US/g; s/(night_[a-z]+)\.[0-9]+/\1.PID/
    s/ +/ /g; s#[^ ]*examples/##' |
    awk '/ US US US US / { print $1, $2, $3 | "sort"; next } { close("sort"); print }'
}

night() {
  "$root/examples/night_with_a_fault.sh" "$@" >"$work/printed" 2>&1
  steady <"$work/printed"
}

awk '$0 == "```console" { on = 1; next } /^```$/ { on = 0 } on' \
  "$root/docs/night-with-a-fault.md" | steady >"$work/page"
night "$work/kept" >"$work/whole"
diff "$work/page" "$work/whole"
find "$work/kept" | grep -q '/tuesday/night_stats\..*\.mrec$'
night --short >"$work/short"
sed '/last-write/{n;q}' "$work/page" | diff - "$work/short"
