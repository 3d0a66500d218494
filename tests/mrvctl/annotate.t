  $ . "$TESTDIR/setup.sh"

Addresses in a trace log, or in any other text, get the names of their registers.

  $ mrvctl annotate <<E
  > rreg 0x102000A0,00x102000a0 rreg=0x1c059a44 0x102000a0mask 0x102000a1 0x28
  > 0xFFFFFFE4 x
  > E
  rreg 0x102000A0 (HI.2:40),00x102000a0 rreg=0x1c059a44 (HF.0:HF_DHS_POL[2].1) 0x102000a0mask 0x102000a1 0x28
  0xFFFFFFE4 (KEL_ASIC_CMD_CLEAR_DROP_COUNTERS) x
  $ printf 'x 0x102000a0\r\n' >log
  $ mrvctl annotate log
  x 0x102000a0 (HI.2:40)
  $ mrvctl --json annotate log
  {"command":"annotate","text":"x 0x102000a0 (HI.2:40)"}
  $ mrvctl annotate missing
  annotate missing: cannot open missing: No such file or directory
  [1]
