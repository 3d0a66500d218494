#!/bin/sh
# scripts/includes accepts a small tree, and reports each error that is planted in it.
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

layers ' ' >"$work/CONTRIBUTING.md"
plant low/a.h '#include <string>'
plant low/d.h '#include "a.h"'
plant high/b.h '#include "low/d.h"'
plant low/main.cc ''
plant high/main.cc '#include "b.h"'
expect 0 ''

plant high/e.h '#include "e.h"'
expect 1 'a circle: high/e.h -> high/e.h'

plant high/d.h ''
plant high/e.h ''
plant low/a.h '#include "low/d.h"'
plant low/c.cc '#include "b.h"
  #  include <high/b.h>'
plant other/f.cc ''
expect 1 'low/c.cc:1: low must not include high/b.h
low/c.cc:2: low must not include high/b.h
low/d.h: high/d.h has the same name
other/f.cc: its directory is not in the table of CONTRIBUTING.md
a circle: low/d.h -> low/a.h -> low/d.h'

layers ' `high` ' >"$work/CONTRIBUTING.md"
expect 1 'CONTRIBUTING.md: a circle: low -> high -> low'
