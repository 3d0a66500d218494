#!/bin/bash
# Whether mrvctl check finds what is wrong, and nothing where all is right; on a shared switch, whether
# it puts back what it found: check_test.sh MRVCTL SOURCE VIRTUAL_PLATFORM WRONG_PLATFORM EXAMPLE_PLATFORM
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

find_breaches() {
  local breach clause number breaches
  breaches=$(grep -oE '"P[0-9]+_[^"]*' "$source/tests/wrong_platform.cc" | tr -d '"')
  for breach in $breaches; do
    while (($(jobs -pr | wc -l) >= 8)); do wait -n; done
    expect "$(grep -oE 'P[0-9]+' <<<"$breach" | sort -uV | paste -sd ' ')" "$breach" "$wrong" "${everything[@]}" &
  done
  wait
  sed -n 's/^- \*\*\(P[0-9]*\)\*\*.*/\1/p' "$source/docs/porting.md" | while read -r clause; do
    grep -qE "(^|_)${clause}_" <<<"$breaches" || echo "no platform breaks $clause"
  done
  sed -n 's/^ok \([0-9]*\) .*/\1/p' "$work/right.tap" | while read -r number; do
    grep -q "^not ok $number " "$work"/P*.tap || echo "no platform fails check $number"
  done
}

# On a switch that lives on, what stood there stands there again, however the checks end.
put_back() {
  local lines=$'write HI.2 40 17\nwrite HI.2 47 34\ndhs-write HF.0 HF_DHS_POL 1 1 2 3 4 5 6 7 8\npause on hif 3'
  expect "" served "$virtual" "${everything[@]}"
  ! grep SKIP "$work/served.tap"
  "$mrvctl" -f - <<<"$lines" >/dev/null
  expect "" written "$virtual" "${everything[@]}"
  expect "P22 P25 P26" P22_P25_P26_crashes "$wrong" "${everything[@]}"
  for seconds in 60 1; do
    MORVANE_WRONG=hangs_in_a_field_write timeout --foreground -s INT "$seconds" \
      "$mrvctl" --platform "$wrong" check --time-limit 2 --scratch HI.2:40..47 >"$work/hung.$seconds" 2>&1
  done
  [[ $(grep -c 'seen: "none"' "$work/hung.60") == 3 ]] || cat "$work/hung.60"
  grep -q '^Bail out! interrupted' "$work/hung.1" || cat "$work/hung.1"
  lines=$'read HI.2 40 8\ndhs-read HF.0 HF_DHS_POL 0 2\nqos show hif 3'
  "$mrvctl" -f - <<<"$lines" | grep -oE '^ +[01]: .*|^ +[01]  0.*|flow.*' | diff - <(
    echo '  0: 00000011 00000000 00000000 00000000 00000000 00000000 00000000 00000022'
    echo '      0  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000'
    echo '      1  00000001 00000002 00000003 00000004 00000005 00000006 00000007 00000008'
    echo 'flow control 0x0001'
  )
}

complaints=$(
  if [[ ${MORVANE_SWITCH-} ]]; then
    put_back
  else
    expect "" right "$virtual" "${everything[@]}"
    ! grep SKIP "$work/right.tap"
    expect "" unbroken "$wrong" "${everything[@]}"
    find_breaches
    (cd "$work" && LC_ALL=C && grep -E '^not ok|^  (expected|seen): ' P*.tap) |
      sed '/crashes.tap:  seen/d; s/[0-9.]* ms at best/ms at best/' | "$source/tests/as_printed.sh" breaches.txt
    expect "P1 P6 P13 P20 P22 P23 P24 P25 P26 P27" example "$example" --read HI.2:5 --scratch HI.2:40..47 --port hif:3
  fi
  exit 0
) || complaints+="the test did not come to its end"
echo "$complaints"
[[ ! $complaints ]]
