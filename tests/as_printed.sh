#!/bin/sh
# Holds standard input against what was printed before, and shows the difference: as_printed.sh NAME
# With RENEW=1 it becomes what was printed: look at the change before it is committed.
printed=$(dirname -- "$0")/printed/$1
if [ "${RENEW-}" ]; then
  exec cat >"$printed"
fi
exec diff -a "$printed" -
