  $ . "$TESTDIR/setup.sh"

A dump is a script that restores what it shows.

  $ mrvctl write HI.2:1460 5
  HI.2:1460 <- 0x00000005: written
  $ mrvctl dhs-write HF.0:HF_DHS_POL 62 1 2 3 4 5 6 7 0xF0000008
  HF.0:HF_DHS_POL[62]: 1 entry of 8 words: written
  $ mrvctl dump HI.2:1459..hi_dhs_lvif
  write HI.2:1459 0x00000000
  write HI.2:1460 0x00000005
  write HI.2:1461 0x00000000  # HI_DHS_LVIF
  $ mrvctl dump HF.0:HF_DHS_POL[61..62]
  dhs-write HF.0:HF_DHS_POL[61] 0x00000000 0x00000000 0x00000000 0x00000000 0x00000000 0x00000000 0x00000000 0x00000000
  dhs-write HF.0:HF_DHS_POL[62] 0x00000001 0x00000002 0x00000003 0x00000004 0x00000005 0x00000006 0x00000007 0xf0000008
  $ mrvctl dump HF.0:HF_DHS_POL | sed '2,63d'
  dhs-write HF.0:HF_DHS_POL[0] 0x00000000 0x00000000 0x00000000 0x00000000 0x00000000 0x00000000 0x00000000 0x00000000
  dhs-write HF.0:HF_DHS_POL[63] 0x00000000 0x00000000 0x00000000 0x00000000 0x00000000 0x00000000 0x00000000 0x00000000

  $ mrvctl dump HI.2 >before
  $ mrvctl write HI.2:1460 6
  HI.2:1460 <- 0x00000006: written
  $ mrvctl -f before | grep -c written
  1584
  $ mrvctl dump HI.2 | diff before -

Without an instance, or only the registers with a name:

  $ mrvctl dump QS --named | grep -c '^write QS.[0-7]:.*QS_DHS_'
  112
  $ mrvctl dump 'HF.*:117' | grep -c '^write HF.[0-7]:HF_DHS_POL_00 '
  8
  $ mrvctl dump HF.0:HF_DHS_POL..116
  write HF.0:116 0x00000000  # HF_DHS_POL
  $ mrvctl dump NI --named
  # NI: no register

Numbers without a register are left out. Only what was asked for is read.

  $ mrvctl --calls dump HR.0:25..27
  sse_call2(SYSSRV_REG_READ_CASE, 236, 200, {TYPE_READ_DHS, module=0, asic=0x0, addr=0x08000064, data=0x0, mask=0xffffffff, num=1, context=0, dump mrvctl:0}) = 0 {num=1, words=[00000000]} <*> (glob)
  sse_call2(SYSSRV_REG_READ_CASE, 236, 200, {TYPE_READ_DHS, module=0, asic=0x0, addr=0x0800006c, data=0x0, mask=0xffffffff, num=1, context=0, dump mrvctl:0}) = 0 {num=1, words=[00000000]} <*> (glob)
  write HR.0:25 0x00000000
  write HR.0:27 0x00000000

In a transaction a dump sends the writes made so far first.

  $ mrvctl -f - <<E
  > begin a
  > write HI.2:1463 6
  > dump HI.2:1463..1463
  > commit
  > E
  transaction "a" is open
  HI.2:1463 <- 0x00000006: queued
  # (transaction "a" was sent first: 1 write)
  write HI.2:1463 0x00000006
  nothing is left to send: a read has sent the transaction

  $ mrvctl --json dump HI.2:1460..1461
  {"command":"dump","lines":[{"command":"write","register":"HI.2:1460","data":5},{"command":"write","register":"HI.2:1461","data":0}]}

Registers and entries that do not exist:

  $ mrvctl --keep-going -f - <<E
  > dump HI.32
  > dump HF.0:HF_DHS_POL[63..64]
  > E
  stdin:1: dump HI.32: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): block HI has instances 0 to 31
  stdin:2: dump HF.0:HF_DHS_POL[63..64]: indices are 0 to 63
  [2]
  $ mrvctl -f - <<E
  > dump HI.2:9..8
  > dump HI.*:0..1584
  > dump HF.0:HF_DHS_POL --named
  > E
  stdin:1: dump HI.2:9..8: REGISTER: '9..8' ends before it begins
  stdin:2: dump HI.*:0..1584: block HI has registers 0 to 1583
  stdin:3: dump HF.0:HF_DHS_POL --named: --named is for registers, and 'HF.0:HF_DHS_POL' is a table
  [2]
