#!/bin/sh
# Runs a command on the switch of a separate morvaned: with_morvaned.sh MORVANED COMMAND...
# Fails where the command does, and where the service does not end cleanly.
set -eu
morvaned=$1
shift
folder=$(mktemp -d)
"$morvaned" --socket "$folder/socket" 2>"$folder/log" &
service=$!
trap '[ -z "$service" ] || kill -KILL "$service" 2>/dev/null || true; rm -rf "$folder"' EXIT
status=0
ended=0
MORVANE_SWITCH=$folder/socket MORVANE_SWITCH_WAIT=20000 "$@" || status=$?
kill "$service"
wait "$service" || ended=$?
service=
if [ "$ended" -ne 0 ] || [ -e "$folder/socket" ]; then
  echo "$0: morvaned did not end cleanly:" >&2
  cat "$folder/log" >&2
  status=1
fi
exit "$status"
