  $ . "$TESTDIR/setup.sh"

A register is named by its block instance and by its name or number. Names may be in lower case and
without _OFFSET; numbers are decimal, hexadecimal or binary.

  $ mrvctl write HI.2 HI_DHS_LVIF 0x1234
  HI.2 HI_DHS_LVIF_OFFSET <- 0x00001234: written
  $ mrvctl read hi.2 hi_dhs_lvif
  HI.2 HI_DHS_LVIF_OFFSET = 0x00001234 (4660)
  $ mrvctl read HI.0b10 0x5b5
  HI.2 HI_DHS_LVIF_OFFSET = 0x00001234 (4660)

COUNT reads registers with consecutive numbers, also if their addresses are not consecutive.

  $ mrvctl write HI.2 309 7
  HI.2 HI_HI0_DHS_LVIF_TCAM_OFFSET <- 0x00000007: written
  $ mrvctl --calls read HI.2 308 3
  sse_call2(SYSSRV_REG_READ_CASE, 236, 200, {TYPE_READ_DHS, module=0, asic=0x0, addr=0x102004d0, data=0x0, mask=0xffffffff, num=1, context=0, read mrvctl:0}) = 0 {num=1, words=[00000000]} <*> (glob)
  sse_call2(SYSSRV_REG_READ_CASE, 236, 200, {TYPE_READ_DHS, module=0, asic=0x0, addr=0x10201900, data=0x0, mask=0xffffffff, num=1, context=0, read mrvctl:0}) = 0 {num=1, words=[00000007]} <*> (glob)
  sse_call2(SYSSRV_REG_READ_CASE, 236, 200, {TYPE_READ_DHS, module=0, asic=0x0, addr=0x102004d8, data=0x0, mask=0xffffffff, num=1, context=0, read mrvctl:0}) = 0 {num=1, words=[00000000]} <*> (glob)
  HI.2 308: 3 words
    0: 00000000 00000007 00000000
  $ mrvctl read HI.2 308 1
  HI.2 308: 1 word
    0: 00000000

An asterisk reads the register of every instance.

  $ mrvctl write HF.7 3 9
  HF.7 HF_DHS_LVIF_MEM_OFFSET <- 0x00000009: written
  $ mrvctl read HF.* HF_DHS_LVIF_MEM
  HF.0 HF_DHS_LVIF_MEM_OFFSET = 0x00000000 (0)
  HF.1 HF_DHS_LVIF_MEM_OFFSET = 0x00000000 (0)
  HF.2 HF_DHS_LVIF_MEM_OFFSET = 0x00000000 (0)
  HF.3 HF_DHS_LVIF_MEM_OFFSET = 0x00000000 (0)
  HF.4 HF_DHS_LVIF_MEM_OFFSET = 0x00000000 (0)
  HF.5 HF_DHS_LVIF_MEM_OFFSET = 0x00000000 (0)
  HF.6 HF_DHS_LVIF_MEM_OFFSET = 0x00000000 (0)
  HF.7 HF_DHS_LVIF_MEM_OFFSET = 0x00000009 (9)
  $ mrvctl read SI.* 5
  SI.0 5 = 0x00000000 (0)

A field is written under a mask. The value is not shifted.

  $ mrvctl write HI.2 7 0xAABBCCDD
  HI.2 7 <- 0xaabbccdd: written
  $ mrvctl write-field HI.2 7 0x11223344 0x00FF0FF0
  HI.2 7 <- 0x11223344 mask 0x00ff0ff0 (bits 0x11003004 of the value are outside the mask): written
  $ mrvctl write-field HI.2 7 0x00000003 0x0000000f
  HI.2 7 <- 0x00000003 mask 0x0000000f: written
  $ mrvctl read HI.2 7
  HI.2 7 = 0xaa22c343 (2854404931)

A raw address is written unchecked. Some addresses are commands.

  $ mrvctl --calls write --raw 0x1020001c 0
  sse_call2(SYSSRV_REG_WRITE_CASE, 236, 196, {TYPE_WRITE, module=0, asic=0x0, addr=0x1020001c, data=0x0, mask=0xffffffff, num=0, context=0, write mrvctl:0}) = 0 <*> (glob)
  address 0x1020001c <- 0x00000000: written
  $ mrvctl write-field --raw 0x1020001c 0xff 0xf
  address 0x1020001c <- 0x000000ff mask 0x0000000f (bits 0x000000f0 of the value are outside the mask): written
  $ mrvctl read HI.2 7
  HI.2 7 = 0x0000000f (15)
  $ mrvctl write --raw 0xFFFFFFE4 0
  address 0xffffffe4 (KEL_ASIC_CMD_CLEAR_DROP_COUNTERS) <- 0x00000000: written

A read can check what it finds.

  $ mrvctl read HI.2 7 --expect 0xf
  HI.2 7 = 0x0000000f (15)
  $ mrvctl read HI.2 6 2 --expect 0,14
  read HI.2 6 2 --expect 0,14: word 1 is 0x0000000f, expected 0x0000000e
  [1]
  $ mrvctl read HI.* 5 --expect 1
  read HI.* 5 --expect 1: HI.0 5: word 0 is 0x00000000, expected 0x00000001
  [1]

Registers that do not exist:

  $ mrvctl read HI.32 5
  read HI.32 5: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): block HI has instances 0 to 31
  [1]
  $ mrvctl --keep-going -f - <<E
  > read HI.0 1584
  > read HR.0 26
  > read HR.0 20 7
  > read NI.0 1100 50
  > write-field HI.2 5 1 0
  > write-field --raw 1 2 3
  > E
  stdin:1: read HI.0 1584: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): block HI has registers 0 to 1583
  stdin:2: read HR.0 26: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): number 26 of block HR is a hole: no register
  stdin:3: read HR.0 20 7: word 6 of the run: number 26 of block HR is a hole: no register
  stdin:4: read NI.0 1100 50: word 6 of the run: block NI has registers 0 to 1105
  stdin:5: write-field HI.2 5 1 0: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): a mask of 0 selects no bit
  stdin:6: write-field --raw 1 2 3: service call failed: Bad address (0x8223000E)
  [1]
  $ mrvctl --asic 1 read HI.0 5
  read HI.0 5: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): ASIC numbers are 0 to 0
  [1]

Arguments that are not understood; none of the commands runs:

  $ mrvctl read HI.2 HI_DHS_LVIX
  read HI.2 HI_DHS_LVIX: block HI has no register HI_DHS_LVIX; nearest: HI_DHS_LVIF, HI_DHS_LVIF_TCAM, HI_HI0_DHS_LVIF_TCAM (or give a number from 0 to 1583)
  [2]
  $ mrvctl read HI.2
  mrvctl: REGISTER is required
  (mrvctl --help and mrvctl COMMAND --help say more)
  [2]
  $ mrvctl -f - <<E
  > read HI.2 HF_DHS_POL
  > read NI.2 FOO
  > read QX.2 5
  > read HI 5
  > read HI.2x 5
  > read HI.2 4294967296
  > read HI.2 0x
  > read HI.2 5 1048577
  > read HI.2 5 2 --expect 7
  > read HI.2 40 --expect 010
  > write HI.2 5
  > write HI.2 5 -1
  > write HI.* 5 1
  > E
  stdin:1: read HI.2 HF_DHS_POL: register HF_DHS_POL is one of block HF, not of HI
  stdin:2: read NI.2 FOO: no register of block NI has a name; give a number from 0 to 1105
  stdin:3: read QX.2 5: no block 'QX'; nearest: QS, SS, HR
  stdin:4: read HI 5: 'HI' names no block instance; write it like HI.2
  stdin:5: read HI.2x 5: '2x' is no number from 0 to 4294967295 (0xFFFFFFFF), in decimal, hexadecimal (0x) or binary (0b)
  stdin:6: read HI.2 4294967296: '4294967296' is no number from 0 to 4294967295 (0xFFFFFFFF), in decimal, hexadecimal (0x) or binary (0b)
  stdin:7: read HI.2 0x: '0x' is no number from 0 to 4294967295 (0xFFFFFFFF), in decimal, hexadecimal (0x) or binary (0b)
  stdin:8: read HI.2 5 1048577: COUNT: '1048577' is no number from 0 to 1048576, in decimal, hexadecimal (0x) or binary (0b)
  stdin:9: read HI.2 5 2 --expect 7: 2 words to read, but 1 expected
  stdin:10: read HI.2 40 --expect 010: --expect: '010' begins with 0: hexadecimal is written 0x010
  stdin:11: write HI.2 5: 2 arguments given, where 3 are needed (see --help)
  stdin:12: write HI.2 5 -1: '-1' is no number from 0 to 4294967295 (0xFFFFFFFF), in decimal, hexadecimal (0x) or binary (0b)
  stdin:13: write HI.* 5 1: '*' is no number from 0 to 4294967295 (0xFFFFFFFF), in decimal, hexadecimal (0x) or binary (0b)
  [2]
