  $ . "$TESTDIR/setup.sh"

A register is BLOCK.INST:REGISTER, in one word or two. REGISTER is a name, in any case and with or
without _OFFSET, or a number: decimal, hexadecimal or binary.

  $ mrvctl write SS.0:SS_CFG_CG 0x1234
  SS.0:SS_CFG_CG <- 0x00001234: written
  $ mrvctl --calls read ss.0 ss_cfg_cg_offset
  sse_call2(SYSSRV_REG_READ_CASE, 236, 196, {TYPE_READ, module=0, asic=0x0, addr=0x04000000, data=0x0, mask=0xffffffff, num=0, context=0, read mrvctl:0}) = 0 {data=0x1234} <*> (glob)
  SS.0:SS_CFG_CG = 0x00001234 (4660)
  $ mrvctl --json read SS.0b0:0x2b
  {"command":"read","register":"SS.0:43","address":67109036,"words":[0],"transaction_sent":false}

A range, or COUNT, reads registers with consecutive numbers, also if their addresses are not
consecutive. An asterisk reads the register of every instance.

  $ mrvctl write HI.2:309 7
  HI.2:309 <- 0x00000007: written
  $ mrvctl --calls read HI.2:308..310
  sse_call2(SYSSRV_REG_READ_CASE, 236, 200, {TYPE_READ_DHS, module=0, asic=0x0, addr=0x102004d0, data=0x0, mask=0xffffffff, num=1, context=0, read mrvctl:0}) = 0 {num=1, words=[00000000]} <*> (glob)
  sse_call2(SYSSRV_REG_READ_CASE, 236, 200, {TYPE_READ_DHS, module=0, asic=0x0, addr=0x10201900, data=0x0, mask=0xffffffff, num=1, context=0, read mrvctl:0}) = 0 {num=1, words=[00000007]} <*> (glob)
  sse_call2(SYSSRV_REG_READ_CASE, 236, 200, {TYPE_READ_DHS, module=0, asic=0x0, addr=0x102004d8, data=0x0, mask=0xffffffff, num=1, context=0, read mrvctl:0}) = 0 {num=1, words=[00000000]} <*> (glob)
  HI.2:308..310: 3 words
    0: 00000000 00000007 00000000
  $ mrvctl read HI.2 308 1
  HI.2:308: 1 word
    0: 00000000
  $ mrvctl write XL.7:3 9
  XL.7:3 <- 0x00000009: written
  $ mrvctl read 'XL.*:3..4' | grep -A1 XL.[67]
  XL.6:3..4: 2 words
    0: 00000000 00000000
  XL.7:3..4: 2 words
    0: 00000009 00000000
  $ mrvctl --json read 'XL.*:3' --expect 0 | tail -n 1
  {"command":"read","file":null,"line":null,"error":{"code":null,"name":"FAILED","text":"XL.7:3: word 0 is 0x00000009, expected 0x00000000"}}
  $ mrvctl --json find 'SI.*:5..6'
  {"command":"find","register":"SI.0:5","address":402653204}
  {"command":"find","register":"SI.0:6","address":402653208}

A table is read and written with dhs-read and dhs-write; its number is a register like any other.

  $ mrvctl read HI.2:HI_DHS_LVIF
  read HI.2:HI_DHS_LVIF: 'HI.2:HI_DHS_LVIF' is a table; use dhs-read
  [2]
  $ mrvctl write HI.2:HI_DHS_LVIF[5] 1
  write HI.2:HI_DHS_LVIF[5] 1: 'HI.2:HI_DHS_LVIF[5]' is a table; use dhs-write
  [2]
  $ mrvctl write HI.2:1461 0x5
  HI.2:1461 <- 0x00000005: written
  $ mrvctl dhs-read HI.2:HI_DHS_LVIF[0..1]
  HI.2:HI_DHS_LVIF[0..1]: 2 entries of 1 word
    index  words
        0  00000005
        1  00000000

A field is written under a mask. A value that is not shifted is refused, or with --force cut to the mask.

  $ mrvctl write HI.2:7 0xAABBCCDD
  HI.2:7 <- 0xaabbccdd: written
  $ mrvctl write-field HI.2:7 0x11223344 0x00FF0FF0 --force
  HI.2:7 <- 0x11223344 mask 0x00ff0ff0 (bits 0x11003004 of the value are outside the mask): written
  $ mrvctl read HI.2:7
  HI.2:7 = 0xaa22c34d (2854404941)

A raw address is written unchecked. Some addresses are commands.

  $ mrvctl --calls write --raw 0x1020001c 0
  sse_call2(SYSSRV_REG_WRITE_CASE, 236, 196, {TYPE_WRITE, module=0, asic=0x0, addr=0x1020001c, data=0x0, mask=0xffffffff, num=0, context=0, write mrvctl:0}) = 0 <*> (glob)
  address 0x1020001c <- 0x00000000: written
  $ mrvctl write-field --raw 0x1020001c 0xff 0xf --force
  address 0x1020001c <- 0x000000ff mask 0x0000000f (bits 0x000000f0 of the value are outside the mask): written
  $ mrvctl read HI.2:7
  HI.2:7 = 0x0000000f (15)
  $ mrvctl write --raw 0xFFFFFFE4 0
  address 0xffffffe4 (KEL_ASIC_CMD_CLEAR_DROP_COUNTERS) <- 0x00000000: written

A read can check what it finds.

  $ mrvctl read HI.2:7 --expect 0xf
  HI.2:7 = 0x0000000f (15)
  $ mrvctl read HI.2:6 2 --expect 0,14
  read HI.2:6 2 --expect 0,14: word 1 is 0x0000000f, expected 0x0000000e
  [1]

Registers that do not exist:

  $ mrvctl --keep-going -f - <<E
  > read HI.0:1584
  > read HR.0:26
  > read HR.0:20 7
  > read NI.0:1100 50
  > write-field HI.2:5 1 0
  > write-field --raw 1 2 3
  > E
  stdin:1: read HI.0:1584: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): block HI has registers 0 to 1583
  stdin:2: read HR.0:26: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): block HR has no register 26
  stdin:3: read HR.0:20 7: HR.0:20..26: block HR has no register 26
  stdin:4: read NI.0:1100 50: NI.0:1100..1149: block NI has registers 0 to 1105
  stdin:5: write-field HI.2:5 1 0: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): a mask of 0 selects no bit
  stdin:6: write-field --raw 1 2 3: service call failed: Bad address (0x8223000E)
  [2]
  $ mrvctl --asic 1 read HI.0:5
  read HI.0:5: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): ASIC numbers are 0 to 0
  [2]

Arguments that are not understood; none of the commands runs:

  $ mrvctl read HI.2:HI_DHS_LVIX
  mrvctl: REGISTER: block HI has no register HI_DHS_LVIX (or give a number from 0 to 1583); did you mean 'HI_DHS_LVIF'?
  Try 'mrvctl read --help'.
  [2]
  $ mrvctl -f - <<E
  > read HI.2:HF_DHS_POL
  > read NI.2 FOO
  > read QX.2 5
  > read HI 5
  > read HI:5
  > read HI.2:5..6 2
  > write HI.2:5..6 1
  > write HI.2:HI_DHS_LVIF[5 1
  > dhs-read HI.2:40..41[5]
  > dhs-write HF.0:HF_DHS_POL[0].1 5
  > read HI.2x:5
  > read HI.2:5 1048577
  > read HI.2:5 2 --expect 7
  > write HI.2:5
  > write HI.2:5 -1
  > write-field HI.2:7 5 0xf0
  > write-field HI.2:7 0x55 0xf0
  > E
  stdin:1: read HI.2:HF_DHS_POL: REGISTER: register HF_DHS_POL is in block HF, not in HI
  stdin:2: read NI.2 FOO: REGISTER: no register of block NI has a name; give a number from 0 to 1105
  stdin:3: read QX.2 5: REGISTER: 'QX' is not a block; 'mrvctl info' lists all; did you mean 'QS'?
  stdin:4: read HI 5: 'HI' has no register; use for example HI.2:40
  stdin:5: read HI:5: REGISTER: 'HI:5' has no instance; use for example HI.2:40, or HI.*:40 for all
  stdin:6: read HI.2:5..6 2: give either a range of registers or COUNT
  stdin:7: write HI.2:5..6 1: 'HI.2:5..6' is not a single register; use for example HI.2:40
  stdin:8: write HI.2:HI_DHS_LVIF[5 1: 'HI.2:HI_DHS_LVIF[5' is not a table entry; use for example HI.2:HI_DHS_LVIF[5]
  stdin:9: dhs-read HI.2:40..41[5]: TABLE: 'HI.2:40..41[5]' has more than one range
  stdin:10: dhs-write HF.0:HF_DHS_POL[0].1 5: 'HF.0:HF_DHS_POL[0].1' is not an entry of one table
  stdin:11: read HI.2x:5: REGISTER: '2x' is not a number from 0 to 4294967295 (0xFFFFFFFF), in decimal, hexadecimal (0x) or binary (0b)
  stdin:12: read HI.2:5 1048577: COUNT: '1048577' is not a number from 0 to 1048576, in decimal, hexadecimal (0x) or binary (0b)
  stdin:13: read HI.2:5 2 --expect 7: 2 words to read, but 1 expected
  stdin:14: write HI.2:5: missing DATA
  stdin:15: write HI.2:5 -1: DATA: '-1' is not a number from 0 to 4294967295 (0xFFFFFFFF), in decimal, hexadecimal (0x) or binary (0b)
  stdin:16: write-field HI.2:7 5 0xf0: VALUE 0x5 has bits 0x5 outside MASK 0xf0; for 5 in the field write 0x50, or use --force to ignore them
  stdin:17: write-field HI.2:7 0x55 0xf0: VALUE 0x55 has bits 0x5 outside MASK 0xf0; use --force to ignore them
  [2]
