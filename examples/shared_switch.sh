#!/bin/sh
# A switch that several processes share: one writes, another reads, a third shows the ports, a fourth
# lists the clients. Needs morvaned and mrvctl in the path; removes its files at the end.
set -eu
folder=
service=
watcher=
trap 'kill $watcher $service 2>/dev/null || true; wait; rm -rf "$folder"' EXIT  # ^C reaches them too
# Not every shell does that when a signal ends it. A process that has just started gets it a moment later.
trap 'sleep 0.1; exit 1' INT TERM HUP
folder=$(mktemp -d)
export MORVANE_SWITCH="$folder/socket"
morvaned --socket "$MORVANE_SWITCH" 2>"$folder/log" &
service=$!

mrvctl write HI.2:40 7
mrvctl read HI.2:40 --expect 7
mrvctl qos show hif:3 --watch 1 >/dev/null &
watcher=$!
until mrvctl switch clients | grep -q 'QoS statistics'; do
  kill -0 "$watcher"
done
mrvctl switch clients
