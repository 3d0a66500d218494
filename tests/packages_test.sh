#!/bin/bash
# Installs the packages of both architectures, uses what they bring as its users do, and removes them:
# packages_test.sh FOLDER CLIENT.C, as root of a system that may be changed.
set -euo pipefail
folder=$1 client=$2
export DEBIAN_FRONTEND=noninteractive
names=(libmorvaneusd1 libmorvaneplatform1 libmorvaneusd-dev libmorvanerecord)
programs=(morvaned mrvctl python3-morvaneusd)
work=$(mktemp -d)

# The libraries in both word sizes, the programs in one.
dpkg --install "$folder"/lib*.deb "$folder"/{morvaned,mrvctl,python3-morvaneusd}_*_amd64.deb >"$work/log" 2>&1 ||
  { cat "$work/log"; exit 1; }

for word in 32:i386-linux-gnu 64:x86_64-linux-gnu; do
  # shellcheck disable=SC2046  # a list of flags
  gcc -m${word%:*} "$client" -o "$work/client" $(PKG_CONFIG_LIBDIR=/usr/lib/${word#*:}/pkgconfig \
    pkg-config --cflags --libs morvaneusd morvaneplatform)
  mrvctl record "$work" -- "$work/client" >/dev/null
  # Python has one word size, and a switch for programs of both.
  /usr/bin/python3 -c 'import sys
from morvaneusd.testing import Switch
with Switch() as switch:
    switch.run(sys.argv[1:], capture_output=True)
    print(switch.last_write("SS.0:SS_CFG_CG")["program"])' "$work/client" | grep -qx client
done
mrvctl calls "$work"/client.*.mrec >"$work/calls"
grep -q 'SS.0:SS_CFG_CG' "$work/calls"

mrvctl record "$work" -- /usr/bin/python3 -c 'from morvaneusd import *; init(); SS[0].CFG_CG.write(3)'
mrvctl calls "$work"/python3.*.mrec | grep -q 'SS.0:SS_CFG_CG  *0x00000003  *ok  *<module> <string>:1$'

# The service, as its unit starts it, for its group only.
useradd --groups morvaned switch-member
useradd switch-stranger
cp /usr/lib/systemd/system/morvaned.service "$work"
start=$(sed -n 's/^ExecStart=//p' "$work/morvaned.service")
export MORVANE_SWITCH=/run/morvaned.test/socket MORVANE_SWITCH_USER=morvaned
install -d -o morvaned -g morvaned /run/morvaned.test
OPTIONS="--socket $MORVANE_SWITCH"
# shellcheck disable=SC2086  # a command line
setpriv --reuid morvaned --regid morvaned --clear-groups ${start/\$OPTIONS/$OPTIONS} 2>"$work/service" &
runuser -u switch-member -- mrvctl write HI.2:5 7 >/dev/null
runuser -u switch-member -- mrvctl read HI.2:5 | grep -q 00000007
if MORVANE_SWITCH_WAIT=0 runuser -u switch-stranger -- mrvctl read HI.2:5 >/dev/null 2>&1; then
  echo "a stranger reads the switch"
  exit 1
fi
kill $!
wait $!

# A service at the default address is found, and is not if none is wanted.
morvaned 2>"$work/service" &
until [ -S /run/morvaned.sock ]; do kill -0 $!; done
env -u MORVANE_SWITCH mrvctl switch | grep -q '^switch  */run/morvaned.sock$'
MORVANE_SWITCH=none mrvctl switch | grep -q '^switch  *private'
kill $!
wait $!
env -u MORVANE_SWITCH mrvctl switch | grep -q '^switch  *private'

# What is installed goes, and what was switched on.
systemctl --quiet enable morvaned.socket mrvctl-metrics@{0,3}.timer
mapfile -t installed < <(dpkg -L "${names[@]}" "${names[@]/%/:i386}" "${programs[@]}" 2>/dev/null | sort -u)
for arch in amd64 i386; do
  all+=("${names[@]/%/:$arch}")
done
dpkg --purge "${all[@]}" "${programs[@]}" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
left=$(for path in "${installed[@]}"; do [ ! -f "$path" ] || echo "$path"; done
  find /usr/lib/python3 -name 'morvaneusd*'
  find /etc/systemd -name 'morvaned*' -o -name 'mrvctl*')
[ -z "$left" ] || { echo "left behind: $left"; exit 1; }
getent passwd morvaned >/dev/null
