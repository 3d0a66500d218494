#!/bin/sh
# A night with a fault. Three processes of a control plane work on one switch, all recorded: one loads
# tables, one reads statistics, one tunes ports. A table entry is overwritten and a transaction is
# lost, and no process reports it. The script finds both faults, and runs the night without them.
#   night_with_a_fault.sh [--short] [DIRECTORY]
# --short shows only the faults. The recordings stay in DIRECTORY, if it is given.
# Needs morvaned, mrvctl and the night_* programs of this directory in the path; removes its files at the end.
set -eu
exec 2>&1  # as a terminal shows it
short=
[ "${1-}" != --short ] || { short=yes && shift; }
given=${1-}
work=$given
service=
stats=
clean_up() {
  # shellcheck disable=SC2086  # either may be none
  kill $stats $service 2>/dev/null || true  # what ^C has reached too is gone
  wait
  [ -n "$given" ] || rm -rf "$work"
}
trap clean_up EXIT
# Not every shell does that when a signal ends it. A process that has just started gets it a moment later.
trap 'sleep 0.1; exit 1' INT TERM HUP
[ -n "$work" ] || work=$(mktemp -d)
mkdir -p "$work"
cd "$work"

# say COMMAND: prints the command and runs it, as if it was typed.
say() {
  echo "\$ $1"
  eval "$1"
}

# new_switch NAME: replaces the switch with an empty one.
new_switch() {
  [ -z "$service" ] || { kill "$service" && wait "$service" && service=; }
  say "morvaned --socket $1 2>>service.log &"
  service=$!
  say "export MORVANE_SWITCH=$1"
}

# night NAME REGISTER ADDRESS: the processes of a night, recorded in the directory NAME.
night() {
  mkdir "$1"
  new_switch "$1/switch"
  say "mrvctl record $1 -- night_stats 4 20 10 >>$1/log &"
  stats=$!
  say "mrvctl record $1 -- night_tables $3 | mrvctl record $1 -- night_ports $2 64 0 1 2 3 >>$1/log"
  wait "$stats"
  stats=
}

night monday 1461 0x01200640
say 'mrvctl dhs-read HI.2:HI_DHS_LVIF[0..3]'
say 'mrvctl dhs-read HF.0:HF_DHS_POL[0..1]'
say 'mrvctl calls --summary monday'
say 'mrvctl calls --wide --failed monday'
say 'mrvctl find 0x01200640' || true  # it is none
say 'mrvctl last-write HI.2:HI_DHS_LVIF monday'
[ -z "$short" ] || exit 0

say 'mrvctl calls --wide --writes --register HI.2:HI_DHS_LVIF[0] monday'
new_switch again
say 'mrvctl replay --check monday/night_tables.*.mrec'
say 'mrvctl replay --check monday/night_ports.*.mrec'
say 'mrvctl dhs-read HI.2:HI_DHS_LVIF[0..3]'

night tuesday 1416 0x10200640
say 'mrvctl calls --summary tuesday'
say 'mrvctl dhs-read HI.2:HI_DHS_LVIF[0..3]'
say 'mrvctl dhs-read HF.0:HF_DHS_POL[0..1]'
