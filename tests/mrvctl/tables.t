  $ . "$TESTDIR/setup.sh"

A table has entries of one or more words. This one has 64 entries of 8 words:

  $ mrvctl dhs HF | grep -w 'number\|HF_DHS_POL'
  number  words  indices       register
     116      8  0 to 63       HF.*:HF_DHS_POL
  $ mrvctl dhs-write HF.0:HF_DHS_POL 1 1 2 3 4 5 6 7 8 0x11 0x12 0x13 0x14 0x15 0x16 0x17 0x18
  HF.0:HF_DHS_POL[1..2]: 2 entries of 8 words: written
  $ mrvctl dhs-read HF.0:HF_DHS_POL 0 3
  HF.0:HF_DHS_POL[0..2]: 3 entries of 8 words
    index  words
        0  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
        1  00000001 00000002 00000003 00000004 00000005 00000006 00000007 00000008
        2  00000011 00000012 00000013 00000014 00000015 00000016 00000017 00000018
  $ mrvctl dhs-read HF.0:HF_DHS_POL 2 --addresses
  HF.0:HF_DHS_POL[2]: 1 entry of 8 words
    index  address     words
        2  0x1c059a40  00000011 00000012 00000013 00000014 00000015 00000016 00000017 00000018

Entries come from a file, one per line, or per line of a CSV file, and are compared with one.

  $ cat >two.dhs <<E
  > # TCAM results
  > 0x1 10  # first
  > 
  > 0xB 2
  > E
  $ printf '\357\273\277key, "word 1"\n1, 0xa\n11,0x2\n' >two.CSV
  $ mrvctl --calls dhs-write NF.0:NF_DHS_RESULT 1022 --from two.dhs
  sse_call2(SYSSRV_REG_WRITE_CASE, 236, 212, {TYPE_WRITE_DHS, module=0, asic=0x0, addr=0x200830f0, data=0x0, mask=0xffffffff, num=4, words=[00000001 0000000a 0000000b 00000002], context=0, dhs-write mrvctl:0}) = 0 <*> (glob)
  NF.0:NF_DHS_RESULT[1022..1023]: 2 entries of 2 words: written
  $ mrvctl dhs-read NF.0:NF_DHS_RESULT 1022 --expect-from two.CSV
  NF.0:NF_DHS_RESULT[1022..1023]: 2 entries of 2 words, as expected
  $ mrvctl dhs-write NF.0:NF_DHS_RESULT 1 --from - <<E
  > key,word
  > 1,0x2
  > 3,4
  > E
  NF.0:NF_DHS_RESULT[1..2]: 2 entries of 2 words: written
  $ mrvctl dhs-read NF.0:NF_DHS_RESULT 1 --expect-from two.dhs
  dhs-read NF.0:NF_DHS_RESULT 1 --expect-from two.dhs: word 1 of entry 0 is 0x00000002, expected 0x0000000a
  [1]

More than 256 words go to the service in parts, and are read back in parts.

  $ seq 0 599 >600.dhs
  $ mrvctl --calls dhs-write HI.0:HI_DHS_LVIF 424 --from 600.dhs 2>&1 | grep -o 'addr=.*num=[0-9]*\|.*written'
  addr=0x100051a0, data=0x0, mask=0xffffffff, num=256
  addr=0x100055a0, data=0x0, mask=0xffffffff, num=256
  addr=0x100059a0, data=0x0, mask=0xffffffff, num=88
  HI.0:HI_DHS_LVIF[424..1023]: 600 entries of 1 word: written
  $ mrvctl --calls dhs-read HI.0:HI_DHS_LVIF 424 --expect-from 600.dhs 2>&1 | grep -o 'num=[0-9]*, c\|.*expected'
  num=600, c
  HI.0:HI_DHS_LVIF[424..1023]: 600 entries of 1 word, as expected

  $ mrvctl --json dhs-read HF.0:HF_DHS_POL 1 --addresses
  {"command":"dhs-read","register":"HF.0:HF_DHS_POL[1]","entry_size":8,"answered_words":8,"transaction_sent":false,"entries":[{"index":1,"address":470129184,"words":[1,2,3,4,5,6,7,8]}]}

Entries and tables that do not exist:

  $ mrvctl --keep-going -f - <<E
  > dhs-read HI.2:HI_DHS_LVIF 1024
  > dhs-read HI.2:HI_DHS_LVIF 1000 25
  > dhs-write HI.2:HI_DHS_LVIF 700 --from 600.dhs
  > dhs-read HI.2:5 0
  > E
  stdin:1: dhs-read HI.2:HI_DHS_LVIF 1024: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): indices are 0 to 1023
  stdin:2: dhs-read HI.2:HI_DHS_LVIF 1000 25: entries 1000 to 1024, but indices are 0 to 1023
  stdin:3: dhs-write HI.2:HI_DHS_LVIF 700 --from 600.dhs: entries 700 to 1299, but indices are 0 to 1023
  stdin:4: dhs-read HI.2:5 0: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): HI.2:5 is not a table; 'mrvctl dhs' lists the tables
  [2]

A register map whose entries differ in size would make the library write past the array of the caller:

  $ MORVANE_WRONG=grows_entry_5 mrvctl --platform "$BUILD/lib/libwrong_platform.so" -f - <<E
  > dhs-read HI.0:HI_HI0_DHS_LVIF_TCAM[4]
  > dhs-read HI.0:HI_HI0_DHS_LVIF_TCAM[5]
  > E
  HI.0:HI_HI0_DHS_LVIF_TCAM[4]: 1 entry of 2 words
    index  words
        4  00000000 00000000
  stdin:2: dhs-read HI.0:HI_HI0_DHS_LVIF_TCAM[5]: entry 5 has 256 words, but entry 0 has 2: mrvctl requires entries of one size
  [1]

Data that is not understood:

  $ printf '1 2\n1 2 3\n' >ragged.dhs
  $ printf '1,2\n1,\n' >gap.csv
  $ echo '0000000a 00000002' >dump.dhs
  $ echo '# none' >empty.dhs
  $ mrvctl --keep-going -f - <<E
  > dhs-write NF.0:NF_DHS_RESULT 0 --from ragged.dhs
  > dhs-write NF.0:NF_DHS_RESULT 0 --from gap.csv
  > dhs-write NF.0:NF_DHS_RESULT 0 --from dump.dhs
  > dhs-write NF.0:NF_DHS_RESULT 0 --from empty.dhs
  > dhs-read NF.0:NF_DHS_RESULT 0 3 --expect-from two.dhs
  > dhs-write HF.0:HF_DHS_POL 0 1 2
  > dhs-read HF.0:HF_DHS_TCAM 0 65537
  > E
  stdin:1: dhs-write NF.0:NF_DHS_RESULT 0 --from ragged.dhs: ragged.dhs:2: 3 words, but an entry of this table has 2
  stdin:2: dhs-write NF.0:NF_DHS_RESULT 0 --from gap.csv: gap.csv:2: '' is not a number from 0 to 4294967295 (0xFFFFFFFF), in decimal, hexadecimal (0x) or binary (0b)
  stdin:3: dhs-write NF.0:NF_DHS_RESULT 0 --from dump.dhs: dump.dhs:1: '0000000a' begins with 0: hexadecimal is written 0x0000000a
  stdin:4: dhs-write NF.0:NF_DHS_RESULT 0 --from empty.dhs: empty.dhs has no entry
  stdin:5: dhs-read NF.0:NF_DHS_RESULT 0 3 --expect-from two.dhs: 3 entries to read, but the file has 2
  stdin:6: dhs-write HF.0:HF_DHS_POL 0 1 2: 2 words, but an entry of this table has 8
  stdin:7: dhs-read HF.0:HF_DHS_TCAM 0 65537: entries of 16 words: at most 65536 of them at a time
  [2]
  $ mrvctl -f - <<E
  > dhs-write HF.0:HF_DHS_POL 0
  > dhs-write NF.0:NF_DHS_RESULT 0 1 010
  > E
  stdin:1: dhs-write HF.0:HF_DHS_POL 0: give either the words or --from FILE
  stdin:2: dhs-write NF.0:NF_DHS_RESULT 0 1 010: '010' begins with 0: hexadecimal is written 0x010
  [2]
