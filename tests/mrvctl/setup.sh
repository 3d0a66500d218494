# Puts the build's programs into the path and starts the switch of a transcript, which ends with it. To be
# sourced. BUILD is another build than build/target, MORVANED the program of another one.
# shellcheck shell=sh

BUILD=${BUILD:-$TESTDIR/../../build/target}
PATH=$BUILD/bin:$PATH
export MORVANE_SWITCH="$PWD/switch" MORVANE_SWITCH_WAIT=20000
"${MORVANED:-morvaned}" --socket "$MORVANE_SWITCH" >morvaned.log 2>&1 &
service=$!
# Anything that is printed after the last command fails the transcript.
trap 'kill $service; wait $service || cat morvaned.log' EXIT
