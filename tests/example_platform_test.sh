#!/bin/sh
# The example platform and its service satisfy every clause; only the fault controls are missing:
# with_example_service.sh SERVICE example_platform_test.sh MRVCTL PLATFORM
set -eu
mrvctl=$1 platform=$2
"$mrvctl" --platform "$platform" check --read HI.2:5 --read-all --scratch HI.2:40..47 --scratch-table HF.0:HF_DHS_POL \
  --port hif:3,nif:3 --all-ports --sp-timer 7 --faults >"${EXAMPLE_SERVICE:?}.tap" || status=$?
grep -v '^ok [0-9]* - [^#]*$' "$EXAMPLE_SERVICE.tap"
[ "$(grep -c 'SKIP' "$EXAMPLE_SERVICE.tap")" = "$(grep -c 'SKIP.*no controls for failures' "$EXAMPLE_SERVICE.tap")" ]
exit "${status-0}"
