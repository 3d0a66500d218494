  $ . "$TESTDIR/setup.sh"

In a transaction, writes are queued. The commit sends them in one service call.

  $ mrvctl --calls --module 2 -f - <<E
  > begin boot --reorder
  > write HI.2:5 7
  > write-field HI.2:6 7 0xf
  > dhs-write HI.2:HI_DHS_LVIF 0 1 2
  > commit
  > read HI.2:5 2
  > E
  transaction "boot" is open, in any order
  HI.2:5 <- 0x00000007: queued
  HI.2:6 <- 0x00000007 mask 0x0000000f: queued
  HI.2:HI_DHS_LVIF[0..1]: 2 entries of 1 word: queued
  sse_call2(SYSSRV_MEM_WRITE_CASE, 236, 10280, {name="boot", reorder=1, num=4, [{2, 0x0, 0x10200014, 0x7, 0xffffffff}, {2, 0x0, 0x10200018, 0x7, 0xf}, {2, 0x0, 0x10204b00, 0x1, 0xffffffff}, {2, 0x0, 0x10204b04, 0x2, 0xffffffff}]}) = 0 <*> (glob)
  transaction "boot" is sent: 4 writes
  sse_call2(SYSSRV_REG_READ_CASE, 236, 204, {TYPE_READ_DHS, module=2, asic=0x0, addr=0x10200014, data=0x0, mask=0xffffffff, num=2, context=6, read stdin:6}) = 0 {num=2, words=[00000007 00000007]} <*> (glob)
  HI.2:5..6: 2 words
    0: 00000007 00000007

More than 512 writes are sent by 512 at a time.

  $ seq 0 599 >600.dhs
  $ mrvctl --calls -f - <<E 2>&1 | grep -o 'name=.*num=[0-9]*\|.*transaction .*'
  > begin load
  > dhs-write HI.0:HI_DHS_LVIF 0 --from 600.dhs
  > commit
  > E
  transaction "load" is open
  name="load", reorder=0, num=512
  name="Contd XN..", reorder=0, num=88
  transaction "Contd XN.." is sent: 88 writes

A read sends the writes made so far, and leaves the transaction open under another name.

  $ mrvctl -f - <<E
  > begin 'a b'
  > write HI.2:5 1
  > read HI.2:5 --expect 1
  > write HI.2:5 2
  > read HI.2:5
  > commit
  > E
  transaction "a b" is open
  HI.2:5 <- 0x00000001: queued
  HI.2:5 = 0x00000001 (1)
    (transaction "a b" was sent first: 1 write)
  HI.2:5 <- 0x00000002: queued
  HI.2:5 = 0x00000002 (2)
    (transaction "<Interrupted>" was sent first: 1 write)
  nothing is left to send: a read has sent the transaction
  $ mrvctl commit
  no transaction is open: nothing is sent
  $ mrvctl --json -f - <<E
  > begin a-name-of-more-than-31-characters
  > write HI.2:5 3
  > commit
  > E
  {"command":"begin","name":"a-name-of-more-than-31-characte","reorder":false}
  {"command":"write","register":"HI.2:5","data":3,"queued":true}
  {"command":"commit","name":"a-name-of-more-than-31-characte","writes":1}

The library does not report that a commit failed; mrvctl does. A refused transaction writes nothing.

  $ mrvctl -f - <<E
  > begin a
  > write HI.2:5 9
  > write --raw 0x01200640 1
  > commit
  > E
  transaction "a" is open
  HI.2:5 <- 0x00000009: queued
  address 0x01200640 <- 0x00000001: queued
  stdin:4: commit: service call failed: Bad address (0x8223000E): transaction "a" failed: 2 writes lost
  [1]
  $ mrvctl read HI.2:5
  HI.2:5 = 0x00000003 (3)
  $ mrvctl -f - <<E
  > begin load
  > switch fault add EPERM
  > expect-fail dhs-write HI.0:HI_DHS_LVIF 0 --from 600.dhs
  > commit
  > E
  transaction "load" is open
  fault: EPERM for all calls
  failed as expected: dhs-write HI.0:HI_DHS_LVIF 0 --from 600.dhs: service call failed: Operation not permitted (0x82230001): transaction "load" failed: 512 writes lost
  transaction "Contd XN.." is sent: 88 writes
  $ { echo begin x; yes write HI.2:5 3 | head -n 512; echo 'switch fault add EPERM'; echo write HI.2:5 4; } | mrvctl -f - 2>&1 | grep lost
  stdin:515: write HI.2:5 4: service call failed: Operation not permitted (0x82230001): transaction "x" failed: 512 writes lost
  end: transaction "Contd XN.." was never committed: 1 write lost
  $ mrvctl -f - <<E
  > begin a
  > write HI.2:5 1
  > switch fault add EPERM
  > expect-fail read HI.2:5
  > write HI.2:5 2
  > commit
  > E
  transaction "a" is open
  HI.2:5 <- 0x00000001: queued
  fault: EPERM for all calls
  failed as expected: read HI.2:5: service call failed: Operation not permitted (0x82230001): transaction "a" failed: 1 write lost
  HI.2:5 <- 0x00000002: queued
  transaction "<Interrupted>" is sent: 1 write
  $ mrvctl --platform "$BUILD/lib/librefusing_platform.so" -f - <<E
  > begin x
  > write HI.2:5 1
  > write HI.2:6 1
  > expect-fail read HI.2:5 --expect 7
  > commit
  > E
  transaction "x" is open
  HI.2:5 <- 0x00000001: queued
  HI.2:6 <- 0x00000001: queued
  failed as expected: read HI.2:5 --expect 7: service call failed: Operation not permitted (0x82230001): transaction "x" failed: 2 writes lost
  stdin:5: commit: service call failed: Operation not permitted (0x82230001): transaction "<Interrupted>" failed: 0 writes lost
  [1]

A transaction that is still open at the end is lost. A second one cannot be opened.

  $ mrvctl begin ''
  begin : an empty name opens no transaction
  [2]
  $ mrvctl begin x
  transaction "x" is open
  end: transaction "x" was never committed: 0 writes lost
  [1]
  $ mrvctl -f - <<E
  > begin a
  > write HI.2:5 1
  > expect-fail begin b
  > expect-fail read HI.32:5
  > expect-fail check
  > E
  transaction "a" is open
  HI.2:5 <- 0x00000001: queued
  failed as expected: begin b: transaction "a" is open with 1 write; commit it first
  failed as expected: read HI.32:5: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): block HI has instances 0 to 31
  failed as expected: check: a transaction is open: commit it first
  end: transaction "a" was never committed: 1 write lost
  [1]
  $ mrvctl read HI.2:5
  HI.2:5 = 0x00000002 (2)
