  $ . "$TESTDIR/setup.sh"

Steady traffic follows the time of the switch, which can be stopped.

  $ cat >traffic.mrv <<E
  > switch time stop
  > switch traffic hif:3 --class 3 --rate 1000 --excess 10
  > switch traffic hif:3 --class 5 --rate 10
  > switch traffic hif:3 --class 5 --rate 20
  > switch traffic nif:1 --class 1 --rate 3 --direction h2n
  > switch time +2500ms
  > switch traffic stop hif:3
  > switch time +5s
  > E
  $ mrvctl -f traffic.mrv | sed 's/time [0-9.]* s/time T s/'
  time T s, stopped
  hif:3: 1000 frames per second of class 3 n2h, 10 of them in excess
  hif:3: 10 frames per second of class 5 n2h, 0 of them in excess
  hif:3: 20 frames per second of class 5 n2h, 0 of them in excess
  nif:1: 3 frames per second of class 1 h2n, 0 of them in excess
  time T s, stopped
  hif:3: steady traffic stopped
  time T s, stopped
  $ mrvctl qos show hif:3 | grep -E '^  writes|^  reads|discarded'
    writes               0       0       0    2500       0      50       0       0
    reads                0       0       0    2475       0      50       0       0
  writes discarded                  25
  multicast discarded                0
  $ mrvctl qos show nif:1 | grep '^  writes'
    writes               0      22       0       0       0       0       0       0
  $ mrvctl switch traffic stop
  all ports: steady traffic stopped
  $ mrvctl switch time run | grep -o running
  running

The switch and its settings. The generation shows that it was emptied.

  $ mrvctl nodrop 8
  no-drop map 0x08, classes 3
  $ mrvctl switch
  switch                    */switch (glob)
  process                   * (glob)
  generation                *, * s old (glob)
  time                      *.* s, running (glob)
  clients                   1
  faults                    0
  flows                     0
  software card identifier  1
  library                   */libmorvaneusd.so.* (glob)
  platform                  */libmorvaneplatform.so.* (glob)
  modules                   4
  no-drop class map         0x08
  SP timer                  0
  clears of drop counters   0
  SFP failures reported     0
  $ mrvctl --json switch | grep -o 'generation":[0-9]*' >before
  $ mrvctl switch reset
  the switch is empty
  $ mrvctl --json switch | grep -o 'generation":[0-9]*' | cmp -s before -
  [1]
  $ mrvctl read HI.2:40
  HI.2:40 = 0x00000000 (0)

Its other clients:

  $ mrvctl switch clients
  process  program          user            calls  failures  last call
  $ mrvctl read HI.2:40 --watch 3600 >seen &
  $ until grep -qs HI.2 seen || ! kill -0 $!; do sleep 0.01; done
  $ mrvctl --json switch clients | grep -o '"calls":[0-9]*\|"last_case":[^,]*'
  "calls":1
  "last_case":"register read"
  $ { kill $!; wait $!; } 2>/dev/null
  [143]

Arguments that are not understood:

  $ mrvctl -f - <<E
  > switch fault add
  > switch fault add ENOSUCH
  > switch fault add EIO --answer 3
  > switch fault add EIO --operation reed
  > switch fault add --delay 2ms..1ms
  > switch fault add --delay 2h
  > switch fault add EIO --caller 12345678901234567890123456789012
  > switch traffic hif:3 --class 1
  > switch traffic hif:3 --class 1 --rate 1 --excess 2
  > switch traffic --class 1 --frames 1
  > switch time 5s
  > switch fault
  > switch clients --count 2
  > switch monitor --count 0
  > E
  stdin:1: switch fault add: give ERRNO, --answer, --short or --delay
  stdin:2: switch fault add ENOSUCH: ERRNO: 'ENOSUCH' is not the name of an errno or a number from 1 to 4095; did you mean 'ENOSPC'?
  stdin:3: switch fault add EIO --answer 3: give one of ERRNO, --answer and --short
  stdin:4: switch fault add EIO --operation reed: --operation: 'reed' is not an operation; did you mean 'read'?
  stdin:5: switch fault add --delay 2ms..1ms: --delay: the second delay is shorter than the first
  stdin:6: switch fault add --delay 2h: --delay: '2h' is not a duration of at most 3600 s; use for example 200ms, 1.5s or 300us
  stdin:7: switch fault add EIO --caller 12345678901234567890123456789012: --caller: at most 31 characters
  stdin:8: switch traffic hif:3 --class 1: give either --frames or --rate
  stdin:9: switch traffic hif:3 --class 1 --rate 1 --excess 2: more excess than frames
  stdin:10: switch traffic --class 1 --frames 1: give a PORT and its --class
  stdin:11: switch time 5s: '5s' is not a change: +TIME, like +5s, stop or run
  stdin:12: switch fault: missing COMMAND
  stdin:13: switch clients --count 2: --count is for --watch
  stdin:14: switch monitor --count 0: --count: '0' is not a number from 1 to 4294967295 (0xFFFFFFFF), in decimal, hexadecimal (0x) or binary (0b)
  [2]
  $ mrvctl switch fault add EIO --register HI.40:5
  switch fault add EIO --register HI.40:5: the ASIC has no register HI.40:5
  [2]
  $ mrvctl switch fault clear 9
  switch fault clear 9: no such fault: 9
  [1]

A switch for one command of a shell script.

  $ with_switch() { MORVANED=${MORVANED:-$BUILD/bin/morvaned} "$TESTDIR/../../share/with_switch" "$@"; }
  $ with_switch sh -c 'mrvctl read HI.2:40; [ -S "$MORVANE_SWITCH" ] && echo "$MORVANE_SWITCH" >used; exit 7'
  HI.2:40 = 0x00000000 (0)
  [7]
  $ ls -d "$(dirname "$(cat used)")" 2>/dev/null
  [2]
  $ printf '%s\n' '#!/bin/sh' "trap '' TERM" 'echo "$FIRST" >&2; echo no memory >&2; exit 3' >fails && chmod +x fails
  $ FIRST= MORVANED=./fails with_switch touch started
  with_switch: morvaned did not start: no memory
  [1]
  $ FIRST='12:00:00 ready' MORVANED=./fails with_switch true
  with_switch: morvaned ended with exit status 3: no memory
  [1]
  $ with_switch --wrong
  with_switch: expected a COMMAND; try 'with_switch --help'
  [2]
  $ with_switch --help | tail -1
    with_switch sh -c 'mrvctl write HI.2:40 7 && mrvctl read HI.2:40'
  $ test ! -e started
