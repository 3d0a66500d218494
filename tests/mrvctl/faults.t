  $ . "$TESTDIR/setup.sh"

Faults can be added from another process. Here the third write to a register fails, once, in any process.

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
  $ mrvctl qos clear nif:3
  QoS statistics of nif:3 cleared
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
  $ echo 'write HI.2:40 1' >poll.mrv
  $ mrvctl switch fault add EPERM --caller poll.m --forever
  fault: EPERM for caller poll.m
  $ mrvctl write HI.2:40 1
  HI.2:40 <- 0x00000001: written
  $ mrvctl -f poll.mrv
  poll.mrv:1: write HI.2:40 1: service call failed: Operation not permitted (0x82230001)
  [1]
  $ mrvctl switch fault clear
  all faults removed

A fault for the port of another ASIC leaves this one alone.

  $ mrvctl --asic 1 switch fault add EIO --port hif:4
  fault: EIO for hif:4, ASIC 1
  $ mrvctl pause on hif:4
  link pause on for hif:4
