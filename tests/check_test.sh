#!/bin/bash
# Whether mrvctl check finds what is wrong, and nothing where all is right; on a shared switch, whether
# it puts back what it found: check_test.sh MRVCTL SOURCE VIRTUAL_PLATFORM WRONG_PLATFORM EXAMPLE_PLATFORM
set -u
mrvctl=$1 source=$2 virtual=$3 wrong=$4 example=$5
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

everything=(--read HI.2:5 --scratch HI.2:40..47 --scratch-table HF.0:HF_DHS_POL --port hif:3 --all-ports
  --sp-timer 7 --faults)

# Where the result of some breaches is.
tap() { echo "$work/${1%% *}.tap"; }

# expect CLAUSES BREACHES PLATFORM [ARGUMENT...]: complains unless these clauses alone are broken.
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

# Breaches that no check sees two of are run together, as what was printed has them; or each alone.
find_breaches() {
  local groups group
  mapfile -t groups < <(sed -n 's/^== //p' "$source/tests/printed/breaches.txt")
  [[ ! ${EACH_ALONE-} ]] || mapfile -t groups < <(tr ' ' '\n' <<<"${groups[*]}")
  for group in "${groups[@]}"; do
    while (($(jobs -pr | wc -l) >= 4)); do wait -n; done
    expect "$(grep -oE 'P[0-9]+' <<<"$group" | sort -uV | paste -sd ' ')" "$group" "$wrong" "${everything[@]}" &
  done
  wait
  diff <(grep -oE '"P[0-9]+_[^"]*' "$source/tests/wrong_platform.cc" | tr -d '"' | sort) \
    <(tr ' ' '\n' <<<"${groups[*]}" | sort)
  comm -23 <(sed -n 's/^- \*\*\(P[0-9]*\)\*\*.*/\1/p' "$source/docs/porting.md" | sort) \
    <(grep -oE 'P[0-9]+' <<<"${groups[*]}" | sort -u) | sed 's/^/no platform breaks /'
  comm -23 <(sed -n 's/^ok \([0-9]*\) .*/\1/p' "$work/right.tap" | sort) \
    <(sed -n 's/^not ok \([0-9]*\) .*/\1/p' "$work"/P*.tap | sort -u) | sed 's/^/no platform fails check /'
  [[ ! ${EACH_ALONE-} ]] || return
  for group in "${groups[@]}"; do
    echo "== $group"
    grep -aE '^not ok|^  (expected|seen): ' "$(tap "$group")"
  done | sed '/ended by signal 11/d; /ended itself with status 1"/d; s/[0-9.]* ms at best/ms at best/' |
    "$source/tests/as_printed.sh" breaches.txt
}

# interrupt BREACHES FILE: ^C in the check that hangs, whose results so far go into the file.
interrupt() {
  local tries
  MORVANE_WRONG=$1 env --default-signal=INT \
    "$mrvctl" --platform "$wrong" check --time-limit 60 --scratch HI.2:40..47 >"$2" 2>&1 &
  for ((tries = 0; tries < 1000; ++tries)); do
    grep -qE '^(not )?ok 34 ' "$2" && break
    sleep 0.02
  done
  sleep 0.2
  kill -INT $!
  wait $!
}

# On a switch that lives on, what stood there stands there again, however the checks end.
put_back() {
  local lines=$'write HI.2 40 17\nwrite HI.2 47 34\ndhs-write HF.0 HF_DHS_POL 1 1 2 3 4 5 6 7 8\npause on hif 3'
  expect "" served "$virtual" "${everything[@]}"
  ! grep SKIP "$work/served.tap"
  "$mrvctl" -f - <<<"$lines" >/dev/null
  expect "" written "$virtual" "${everything[@]}"
  expect "P22 P25 P26" P22_P25_P26_crashes "$wrong" "${everything[@]}"
  MORVANE_WRONG=hangs_in_a_field_write \
    "$mrvctl" --platform "$wrong" check --time-limit 2 --scratch HI.2:40..47 >"$work/hung" 2>&1
  interrupt hangs_in_a_field_write "$work/stopped"
  [[ $(grep -c 'seen: "none"' "$work/hung") == 1 ]] || cat "$work/hung"
  grep -q '^Bail out! interrupted$' "$work/stopped" || cat "$work/stopped"
  lines=$'read HI.2 40 8\ndhs-read HF.0 HF_DHS_POL 0 2\nqos show hif 3'
  "$mrvctl" -f - <<<"$lines" | grep -oE '^ +[01]: .*|^ +[01]  0.*|flow.*' | diff - <(
    echo '  0: 00000011 00000000 00000000 00000000 00000000 00000000 00000000 00000022'
    echo '      0  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000'
    echo '      1  00000001 00000002 00000003 00000004 00000005 00000006 00000007 00000008'
    echo 'flow control 0x0001'
  )
  interrupt 'hangs_in_a_field_write takes_no_17' "$work/left"
  grep -q 'seen: "result -1, .*; not put back: 0x102000a0 <- 0x11"$' "$work/left" || cat "$work/left"
  grep -q '^Bail out! interrupted; not put back: 0x102000a0 <- 0x11$' "$work/left" || cat "$work/left"
}

complaints=$(
  if [[ ${MORVANE_SWITCH-} ]]; then
    put_back
  else
    expect "" right "$virtual" "${everything[@]}"
    ! grep SKIP "$work/right.tap"
    expect "" unbroken "$wrong" "${everything[@]}"
    expect "P11" has_nothing "$wrong"  # no register that an option could name
    grep -q 'expected: "a block with an instance"' "$work/has_nothing.tap" || cat "$work/has_nothing.tap"
    find_breaches
    expect "P1 P6 P13 P20 P22 P23 P24 P25 P26 P27" example "$example" --read HI.2:5 --scratch HI.2:40..47 --port hif:3
  fi
  exit 0
) || complaints+="the test did not come to its end"
echo "$complaints"
[[ ! $complaints ]]
