  $ . "$TESTDIR/setup.sh"
  $ cp "$TESTDIR"/../../examples/recordings/*.mrec .

A recording is read on a machine without the platform library: with the register map in a file, or with addresses.

  $ mrvctl dump-map >switch.map
  $ mrvctl calls . >expected
  $ export MORVANE_PLATFORM=/no/such/file
  $ mrvctl calls . --map switch.map | cmp - expected
  $ mrvctl last-write HI.2:HI_DHS_LVIF . --map switch.map | cut -c -41
  HI.2:HI_DHS_LVIF[0] <- 0x0000000f mask 0x
  $ mrvctl --json calls . --register 0x102000a4 2>&1 | grep -o '^mrvctl.*\|"address":270532772,"register":null'
  mrvctl: no register map: no platform: /no/such/file: cannot open shared object file: No such file or directory; addresses are printed, and writes that were never sent are omitted: use --map FILE
  "address":270532772,"register":null
  "address":270532772,"register":null
  $ mrvctl last-write 0x10204b00 .
  mrvctl: no register map: no platform: /no/such/file: cannot open shared object file: No such file or directory; addresses are printed, and writes that were never sent are omitted: use --map FILE
  0x10204b00 <- 0x0000000f mask 0x000000ff  2026-11-25 10:25:40.697682  mrvctl.20637  write-field  ok  write-field examples/refusals.mrv:24 context 24
  $ mrvctl last-write HI.2:HI_DHS_LVIF .
  last-write HI.2:HI_DHS_LVIF .: no register map: no platform: /no/such/file: cannot open shared object file: No such file or directory; to find HI.2:HI_DHS_LVIF use --map FILE, or its address
  [1]

No other file is a map, nor is a part of one.

  $ wrong() { sed "$1" switch.map >wrong.map; mrvctl calls . --map wrong.map; }
  $ wrong '$d'
  calls . --map wrong.map: wrong.map: not a complete register map: it does not end with 'end'
  [1]
  $ wrong 's/^block HI/blok HI/'
  calls . --map wrong.map: wrong.map:5322: not a line of a register map, which 'mrvctl dump-map' writes
  [1]
  $ wrong 's/^register HI 40 .*/register HI 1584 0/'
  calls . --map wrong.map: wrong.map:5363: '1584' is not a number from 0 to 1583, in decimal, hexadecimal (0x) or binary (0b)
  [1]
  $ wrong 's/^register HI 40 .*/register HI 40 0xg/'
  calls . --map wrong.map: wrong.map:5363: '0xg' is not a number from 0 to 4294967295 (0xFFFFFFFF), in decimal, hexadecimal (0x) or binary (0b)
  [1]
  $ mrvctl calls . --map refusals.mrec
  calls . --map refusals.mrec: refusals.mrec:1: not a line of a register map, which 'mrvctl dump-map' writes
  [1]
  $ mrvctl calls . --map missing
  calls . --map missing: cannot open missing: No such file or directory
  [1]

Packets go to standard output, but not to a terminal. --force replaces a file.

  $ mrvctl calls refusals.mrec --map switch.map --pcap - | cmp - "$TESTDIR/calls.pcapng"
  $ echo old >old.pcapng
  $ mrvctl calls refusals.mrec --map switch.map --pcap old.pcapng --force
  38 packets written to old.pcapng
  $ cmp old.pcapng "$TESTDIR/calls.pcapng"
  $ mkfifo pipe
  $ mrvctl calls refusals.mrec --map switch.map --pcap pipe --force
  calls refusals.mrec --map switch.map --pcap pipe --force: cannot make pipe: File exists
  [1]
  $ TERM=dumb script -qec 'mrvctl calls . --map switch.map --pcap -' /dev/null
  calls . --map switch.map --pcap -: packets are not for a terminal: pipe or redirect the output\r (esc)
  [1]
  $ printf 'calls . --force\ncalls . --summary --columns time\n' | mrvctl -f -
  stdin:1: calls . --force: --force is for --pcap
  stdin:2: calls . --summary --columns time: --last and --columns are for the table of calls
  [2]
