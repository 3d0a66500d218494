#!/bin/bash
# mrvctl check reports the violations that breaches.txt lists for each platform, and no others:
# check_test.sh MRVCTL SOURCE VIRTUAL_PLATFORM WRONG_PLATFORM
set -u
mrvctl=$1 source=$2 virtual=$3 wrong=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

everything=(--read HI.2:5 --read-all --scratch HI.2:40..47 --scratch-table HF.0:HF_DHS_POL --port hif:3,nif:3 --all-ports
  --sp-timer 7 --faults)

clauses() { grep -oE '\<P[0-9]+' <<<"${1//_/ }" | sort -u; }

# The violations of a result in TAP, one per line, with the number of other checks that report the same.
violations() {
  awk -F '^  [a-z ]+: ' '
    /^not ok/ { n = $1; sub(/^not ok /, "", n); n += 0 }
    /^  clause/ { clause = $2 }
    /^  expected/ { order[++count] = n; line[n] = clause " " $2 }
    /^  seen/ { line[n] = line[n] "; " $2 }
    /^  same as/ { same[$2]++ }
    END { for (i = 1; i <= count; i++) print "  " line[order[i]] (same[order[i]] ? " (+" same[order[i]] ")" : "") }' "$1" |
    tr -d '"' | sed 's/[0-9.]* ms at best/N ms at best/; s/0x\w* \(from a read under signals; \).*/WORD \1WORD/'
}

# expect PARAGRAPH PLATFORM: fails unless the indented lines are exactly the violations for the breaches in the others.
expect() {
  local breaches expected platform=$2 tap found status
  breaches=$(grep -v '^ ' <<<"$1" | paste -sd ' ')
  expected=$(grep '^ ' <<<"$1")
  tap=$work/${breaches%% *}.tap
  MORVANE_WRONG=$breaches "$mrvctl" --slot 5 --module 2 --platform "$platform" check "${everything[@]}" \
    >"$tap" 2>/dev/null
  status=$?
  found=$(violations "$tap")
  [[ ${EACH_ALONE-} ]] || diff -U 0 --label "$breaches" --label "$platform" <(echo "$expected") <(echo "$found")
  [[ $(clauses "$breaches") == "$(clauses "$found")" ]] || echo "$breaches: broken are $(clauses "$found" | paste -sd ' ')"
  [[ $status == $([[ $found ]] && echo 1 || echo 0) ]] || echo "$breaches on $platform: status $status"
  [[ $(sed -n '2s/^1\.\.//p' "$tap") == "$(grep -cE '^(not )?ok ' "$tap")" ]] || echo "$tap is incomplete"
}

# With EACH_ALONE each breach runs separately, and only its clauses are compared.
find_breaches() {
  local runs names run
  mapfile -td '' runs < <(awk -v RS= -v ORS='\0' '!/^#/' "$source/tests/breaches.txt")
  mapfile -t names < <(printf '%s\n' "${runs[@]}" | grep -v '^ ' | tr ' ' '\n')
  [[ ! ${EACH_ALONE-} ]] || runs=("${names[@]}")
  for run in "${runs[@]}"; do
    while (($(jobs -pr | wc -l) >= 4)); do wait -n; done
    expect "$run" "$wrong" &
  done
  wait
  diff <(grep -oE '"P[0-9]+_[^"]*' "$source/tests/wrong_platform.cc" | tr -d '"' | sort -u) <(printf '%s\n' "${names[@]}" | sort)
  comm -23 <(sed -n 's/^- \*\*\(P[0-9]*\)\*\*.*/\1/p' "$source/docs/porting.md" | grep -v 'P30\|P34' | sort) \
    <(clauses "${names[*]}") | sed 's/^/no platform breaks /'
  comm -23 <(sed -n '/SKIP/!s/^ok \([0-9]*\) .*/\1/p' "$work/right.tap" | sort) \
    <(sed -n 's/^not ok \([0-9]*\) .*/\1/p' "$work"/P*.tap | sort -u) | sed 's/^/no platform fails check /'
}

complaints=$(
  expect right "$virtual"
  # Only on a switch that morvaned serves can two processes share it.
  [[ $(grep -c SKIP "$work/right.tap") == 1 ]] || grep SKIP "$work/right.tap"
  expect unbroken "$wrong"
  find_breaches
  exit 0
) || complaints+="the test did not come to its end"
echo "$complaints"
[[ ! $complaints ]]
