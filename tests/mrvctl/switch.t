  $ . "$TESTDIR/setup.sh"

A switch can be told from outside what to do. Here the third write to a register fails, once, in any process.

  $ mrvctl switch fault add EIO --register HI.2:41 --writes --skip 2
  fault: EIO for writes, HI.2:41
  $ mrvctl -f - --keep-going <<E
  > write HI.2:41 1
  > write HI.2:40 2
  > begin late
  > write HI.2:41 3
  > commit
  > begin again
  > write HI.2:5 4
  > write HI.2:41 5
  > commit
  > write HI.2:41 6
  > read HI.2:5
  > read HI.2:40..41
  > E
  HI.2:41 <- 0x00000001: written
  HI.2:40 <- 0x00000002: written
  transaction "late" is open
  HI.2:41 <- 0x00000003: queued
  transaction "late" is sent: 1 write
  transaction "again" is open
  HI.2:5 <- 0x00000004: queued
  HI.2:41 <- 0x00000005: queued
  stdin:9: commit: service call failed: Input/output error, or a positive answer (0x82230005): transaction "again" failed: 2 writes lost
  HI.2:41 <- 0x00000006: written
  HI.2:5 = 0x00000000 (0)
  HI.2:40..41: 2 words
    0: 00000002 00000006
  [1]
  $ mrvctl switch fault list
  number  effect                calls                             turn          times  matched  hits
       1  EIO                   writes, HI.2:41                   each after 2      1        3     1

A fault can be a delay, a wrong answer, or a short one. It can be limited to some calls.

  $ cat >faults.mrv <<E
  > switch fault clear 1
  > switch fault add --short 2 --register HI.*:40..47 --every 2 --forever
  > switch fault add etimedout --delay 100us..200us --seed 7 --port hif:3 --times 2
  > switch fault add --answer 3 --operation qos-get --client mrvctl
  > switch fault add --delay 1ms --client 1 --caller fdb_
  > E
  $ mrvctl -f faults.mrv
  fault 1 removed
  fault: 2 words for HI.0:40 to HI.0:47 in 32 instances
  fault: ETIMEDOUT after 100 us to 200 us, seed 7 for hif:3
  fault: answer 3 for qos-get, program mrvctl
  fault: delay 1 ms for caller fdb_, process 1
  $ mrvctl read HI.2:40..43
  HI.2:40..43: 2 of 4 words answered
    0: 00000002 00000006 -------- --------
  $ mrvctl read HI.3:40..43
  HI.3:40..43: 4 words
    0: 00000000 00000000 00000000 00000000
  $ mrvctl pause on hif:3
  pause on hif:3: service call failed: Connection timed out (0x8223006E)
  [1]
  $ mrvctl pause on nif:3
  link pause on for nif:3
  $ mrvctl qos clear hif:3
  qos clear hif:3: service call failed: Connection timed out (0x8223006E)
  [1]
  $ mrvctl qos show hif:3 | head -n 1
  qos show hif:3: service call failed: Input/output error, or a positive answer (0x82230005)
  $ mrvctl switch fault list
  number  effect                                    calls                               turn    times  matched  hits
       2  2 words                                   HI.0:40 to HI.0:47 in 32 instances  1 of 2      -        2     1
       3  ETIMEDOUT after 100 us to 200 us, seed 7  hif:3                               each        2        2     2
       4  answer 3                                  qos-get, program mrvctl             each        1        1     1
       5  delay 1 ms                                caller fdb_, process 1              each        1        0     0
  $ mrvctl --module 1 --json switch fault add --delay 1.5s --register HF.0:HF_DHS_POL[1..2] --writes
  {"command":"switch fault add","effect":"delay 1500 ms","calls":"writes, HF.0:HF_DHS_POL[1] to HF.0:HF_DHS_POL[2].7, module 1"}
  $ mrvctl --json switch fault clear
  {"command":"switch fault clear","number":null}

Steady traffic follows the time of the switch, which can be stopped.

  $ cat >traffic.mrv <<E
  > switch time stop
  > switch traffic hif:3 --class 3 --rate 1000 --excess 10
  > switch traffic nif:1 --class 1 --rate 3 --direction h2n
  > switch time +2500ms
  > switch traffic stop hif:3
  > switch time +5s
  > E
  $ mrvctl -f traffic.mrv | sed 's/time [0-9.]* s/time T s/'
  time T s, stopped
  hif:3: 1000 frames per second of class 3 n2h, 10 of them in excess
  nif:1: 3 frames per second of class 1 h2n, 0 of them in excess
  time T s, stopped
  hif:3: steady traffic stopped
  time T s, stopped
  $ mrvctl qos show hif:3 | grep -E 'writes received|reads sent|discarded'
    writes received              0       0       0    2500       0       0       0       0
    reads sent                   0       0       0    2475       0       0       0       0
  writes discarded                  25
  multicast discarded                0
  $ mrvctl qos show nif:1 | grep 'writes received'
    writes received              0      22       0       0       0       0       0       0
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
  [2]
  $ mrvctl switch fault add EIO --register HI.40:5
  switch fault add EIO --register HI.40:5: the ASIC has no register HI.40:5
  [2]
  $ mrvctl switch fault clear 9
  switch fault clear 9: no such fault: 9
  [1]

--calls shows the call that failed.

  $ mrvctl --calls --module 2 -f - <<E 2>&1 | grep sse
  > switch fault add EPERM
  > expect-fail qos clear nif:3
  > E
  sse_call2(SYSSRV_MEM_READ_CASE, 236, 1140, {QOS_STATS_CLEAR, module=2, asic=0, port=nif:3, opts=0x0}) = -1 EPERM (Operation not permitted) <*> (glob)
