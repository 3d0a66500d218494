#!/bin/sh
# scripts/includes accepts a small tree, and fails on each error that is planted in it.
# Argument: scripts/includes.
set -eu
includes=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

layers() { printf '# Work\n\n## Layers\n\n| `low` |%s| x |\n| `high` | `low` | x |\n\n## More\n' "$1"; }

plant() {
  mkdir -p "$work/$(dirname "$1")"
  printf '%s\n' "$2" >"$work/$1"
}

tree() {
  rm -rf "${work:?}"/*
  layers ' ' >"$work/CONTRIBUTING.md"
  plant low/a.h '#include <string>'
  plant low/d.h '#include "a.h"'
  plant high/b.h '#include "low/d.h"'
  plant low/main.cc ''
  plant high/main.cc '#include "b.h"'
}

# expect STATUS TEXT: the exit status of the script, and what it prints.
expect() {
  status=0
  printed=$("$includes" "$work") || status=$?
  [ "$status $printed" = "$1 $2" ] || {
    echo "expected: $1 $2"
    echo "but got:  $status $printed"
    exit 1
  }
}

tree
expect 0 ''

while IFS='|' read -r file content error; do
  tree
  plant "$file" "$content"
  expect 1 "$error"
done <<'CASES'
low/c.cc|#include "b.h"|low/c.cc:1: low must not include high/b.h
low/c.cc|  #  include <high/b.h>|low/c.cc:1: low must not include high/b.h
low/a.h|#include "d.h"|a circle: low/d.h -> low/a.h -> low/d.h
high/e.h|#include "e.h"|a circle: high/e.h -> high/e.h
other/f.cc||other/f.cc: its directory is not in the table of CONTRIBUTING.md
high/d.h||low/d.h: high/d.h has the same name
CASES

tree
layers ' `high` ' >"$work/CONTRIBUTING.md"
expect 1 'CONTRIBUTING.md: a circle: low -> high -> low'
