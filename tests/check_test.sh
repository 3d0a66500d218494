#!/bin/bash
# Whether mrvctl check finds what is wrong, and nothing where all is right:
#   check_test.sh MRVCTL SOURCE VIRTUAL_PLATFORM WRONG_PLATFORM EXAMPLE_PLATFORM
set -u
mrvctl=$1 source=$2 virtual=$3 wrong=$4 example=$5
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

everything=(--read HI.2:5 --scratch HI.2:40..47 --scratch-table HF.0:HF_DHS_POL --port hif:3 --all-ports
  --sp-timer 7 --faults)

# expect CLAUSES BREACH PLATFORM [ARGUMENT...]: complains unless these clauses alone are broken.
expect() {
  local expected=$1 breach=$2 platform=$3 tap status found
  tap=$work/$2.tap
  shift 3
  MORVANE_WRONG=$breach "$mrvctl" --platform "$platform" check --time-limit 5 "$@" >"$tap" 2>/dev/null
  status=$?
  found=$(sed -n 's/^  clause: //p' "$tap" | sort -uV | paste -sd ' ')
  [[ $found == "$expected" ]] || echo "$breach on $platform: broken are '$found', not '$expected'"
  [[ $status == $([[ $found ]] && echo 1 || echo 0) ]] || echo "$breach on $platform: status $status"
  [[ $(sed -n '2s/^1\.\.//p' "$tap") == "$(grep -cE '^(not )?ok ' "$tap")" ]] || echo "$tap is incomplete"
}

started=0
complaints=$(
  expect "" none "$virtual" "${everything[@]}"
  ! grep SKIP "$work/none.tap"
  expect "" unbroken "$wrong" "${everything[@]}"
  breaches=$(grep -oE '"P[0-9]+_[^"]*' "$source/tests/wrong_platform.cc" | tr -d '"')
  for breach in $breaches; do
    ((++started % 4)) || wait
    expect "$(grep -oE 'P[0-9]+' <<<"$breach" | sort -uV | paste -sd ' ')" "$breach" "$wrong" "${everything[@]}" &
  done
  wait
  sed -n 's/^- \*\*\(P[0-9]*\)\*\*.*/\1/p' "$source/docs/porting.md" | while read -r clause; do
    grep -qE "(^|_)${clause}_" <<<"$breaches" || echo "no platform breaks $clause"
  done
  sed -n 's/^ok \([0-9]*\) .*/\1/p' "$work/none.tap" | while read -r number; do
    grep -q "^not ok $number " "$work"/P*.tap || echo "no platform fails check $number"
  done
  expect "P1 P6 P13 P20 P22 P23 P24 P25 P26 P27" example "$example" --read HI.2:5 --scratch HI.2:40..47 --port hif:3
  MORVANE_WRONG=P23_hangs timeout -s INT 2 "$mrvctl" --platform "$wrong" check >"$work/bail" 2>&1 &&
    echo "an interrupted check succeeds"
  grep -q '^Bail out! interrupted' "$work/bail" || cat "$work/bail"
  exit 0
) || complaints+="the test did not come to its end"
echo "$complaints"
[[ ! $complaints ]]
