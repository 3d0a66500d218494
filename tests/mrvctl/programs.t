  $ . "$TESTDIR/setup.sh"

A program is a file of writes that the library makes in one call. A fifth number is a mask.

  $ cat >good.pgm <<E
  > HI 2 5 0xff
  > hf 0 HF_DHS_POL_00 3 0x1 # a field
  > E
  $ mrvctl --calls pgm good.pgm
  sse_call2(SYSSRV_REG_WRITE_CASE, 236, 196, {TYPE_WRITE, module=0, asic=0x0, addr=0x10200014, data=0xff, mask=0xffffffff, num=0, context=0, pgm mrvctl:0}) = 0 <*> (glob)
  sse_call2(SYSSRV_REG_WRITE_CASE, 236, 196, {TYPE_WRITE_FIELD, module=0, asic=0x0, addr=0x1c0001d4, data=0x3, mask=0x1, num=0, context=0, pgm mrvctl:0}) = 0 <*> (glob)
  2 steps for ASIC 0: written
  $ mrvctl read HI.2:5
  HI.2:5 = 0x000000ff (255)
  $ mrvctl read HF.0:117
  HF.0:HF_DHS_POL_00 = 0x00000001 (1)
  $ mrvctl --json pgm - <<E
  > HI 2 5 1
  > E
  {"command":"pgm","steps":1,"asics":[0],"existing_asics":1,"queued":false}

ASICs that do not exist are skipped, if one of them exists.

  $ mrvctl pgm good.pgm --asics 0,1,0
  2 steps for ASIC 0: written; no such ASIC: 1
  $ mrvctl pgm good.pgm --asic 1
  pgm good.pgm --asic 1: no such ASIC: 1; nothing is written
  [2]

In a transaction its writes are queued.

  $ mrvctl --calls -f - <<E
  > begin a
  > pgm good.pgm
  > commit
  > E
  transaction "a" is open
  2 steps for ASIC 0: queued
  sse_call2(SYSSRV_MEM_WRITE_CASE, 236, 10280, {name="a", reorder=0, num=2, [{0, 0x0, 0x10200014, 0xff, 0xffffffff}, {0, 0x0, 0x1c0001d4, 0x3, 0x1}]}) = 0 <*> (glob)
  transaction "a" is sent: 2 writes

A step that the library would refuse starts no program.

  $ printf 'HI 2 5 1\nHR 0 26 1\nHI 2 6 1\n' >hole.pgm
  $ printf 'HI 2 5 1\nHI 2 6 1 0\n' >mask.pgm
  $ mrvctl --calls --keep-going -f - <<E
  > pgm hole.pgm
  > pgm mask.pgm
  > switch fault add EPERM
  > pgm good.pgm
  > E
  stdin:1: pgm hole.pgm: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): hole.pgm:2: block HR has no register 26; nothing is written
  stdin:2: pgm mask.pgm: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): mask.pgm:2: a mask of 0 selects no bit; nothing is written
  fault: EPERM for all calls
  sse_call2(SYSSRV_REG_WRITE_CASE, 236, 196, {TYPE_WRITE, module=0, asic=0x0, addr=0x10200014, data=0xff, mask=0xffffffff, num=0, context=4, pgm stdin:4}) = -1 EPERM (Operation not permitted) <*> (glob)
  stdin:4: pgm good.pgm: service call failed: Operation not permitted (0x82230001): good.pgm:1: HI.2:5; the steps before the one that failed are written
  [2]

Files that are not understood:

  $ printf 'HI 2 5 1\nHX 2 5 1\n' >block.pgm
  $ echo 'HI 2 5' >short.pgm
  $ mrvctl --keep-going -f - <<E
  > pgm block.pgm
  > pgm short.pgm
  > E
  stdin:1: pgm block.pgm: block.pgm:2: 'HX' is not a block; 'mrvctl info' lists all; did you mean 'HR'?
  stdin:2: pgm short.pgm: short.pgm:1: a step is BLOCK INSTANCE REGISTER DATA [MASK]
  [2]
  $ mrvctl pgm x --asics 0,31
  mrvctl: --asics: '31' is not a number from 0 to 30, in decimal, hexadecimal (0x) or binary (0b)
  Try 'mrvctl pgm --help'.
  [2]
  $ mrvctl pgm good.pgm --asic 0 --asics 0
  pgm good.pgm --asic 0 --asics 0: --asic and --asics exclude each other
  [2]
