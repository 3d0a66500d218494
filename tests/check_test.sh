#!/bin/bash
# mrvctl check reports the clauses that a platform breaks, and no others:
# check_test.sh MRVCTL SOURCE VIRTUAL_PLATFORM WRONG_PLATFORM
set -u
mrvctl=$1 source=$2 virtual=$3 wrong=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

everything=(--read HI.2:5 --read-all --scratch HI.2:40..47 --scratch-table HF.0:HF_DHS_POL --port hif:3,nif:3 --all-ports
  --sp-timer 7 --faults)

# Where the result of some breaches is.
tap() { echo "$work/${1%% *}.tap"; }

# expect CLAUSES BREACHES PLATFORM [ARGUMENT...]: fails unless exactly these clauses are broken.
expect() {
  local expected=$1 breaches=$2 platform=$3 tap status found
  tap=$(tap "$breaches")
  shift 3
  MORVANE_WRONG=$breaches "$mrvctl" --slot 5 --platform "$platform" check --time-limit 3 "$@" >"$tap" 2>/dev/null
  status=$?
  found=$(sed -n 's/^  clause: //p' "$tap" | sort -uV | paste -sd ' ')
  [[ $found == "$expected" ]] || echo "$breaches on $platform: broken are '$found', not '$expected'"
  [[ $status == $([[ $found ]] && echo 1 || echo 0) ]] || echo "$breaches on $platform: status $status"
  [[ $(sed -n '2s/^1\.\.//p' "$tap") == "$(grep -cE '^(not )?ok ' "$tap")" ]] || echo "$tap is incomplete"
}

# The breaches of a paragraph run together; with EACH_ALONE each runs separately.
find_breaches() {
  local groups group
  mapfile -t groups < <(awk -v RS= '!/^#/ { $1 = $1; print }' "$source/tests/breaches.txt")
  [[ ! ${EACH_ALONE-} ]] || mapfile -t groups < <(tr ' ' '\n' <<<"${groups[*]}")
  for group in "${groups[@]}"; do
    while (($(jobs -pr | wc -l) >= 4)); do wait -n; done
    expect "$(grep -oE 'P[0-9]+' <<<"$group" | sort -uV | paste -sd ' ')" "$group" "$wrong" "${everything[@]}" &
  done
  wait
  diff <(grep -oE '"P[0-9]+_[^"]*' "$source/tests/wrong_platform.cc" | tr -d '"' | sort -u) \
    <(tr ' ' '\n' <<<"${groups[*]}" | sort)
  comm -23 <(sed -n 's/^- \*\*\(P[0-9]*\)\*\*.*/\1/p' "$source/docs/porting.md" | grep -v 'P30\|P34' | sort) \
    <(grep -oE 'P[0-9]+' <<<"${groups[*]}" | sort -u) | sed 's/^/no platform breaks /'
  comm -23 <(sed -n '/SKIP/!s/^ok \([0-9]*\) .*/\1/p' "$work/right.tap" | sort) \
    <(sed -n 's/^not ok \([0-9]*\) .*/\1/p' "$work"/P*.tap | sort -u) | sed 's/^/no platform fails check /'
}

complaints=$(
  expect "" right "$virtual" "${everything[@]}"
  # Only on a switch that morvaned serves can two processes share it.
  [[ $(grep -c SKIP "$work/right.tap") == 1 ]] || grep SKIP "$work/right.tap"
  expect "" unbroken "$wrong" "${everything[@]}"
  expect "P11" has_nothing "$wrong"  # no register that an option could name
  grep -q 'expected: "a block with an instance"' "$work/has_nothing.tap" || cat "$work/has_nothing.tap"
  find_breaches
  exit 0
) || complaints+="the test did not come to its end"
echo "$complaints"
[[ ! $complaints ]]
