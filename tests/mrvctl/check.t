  $ . "$TESTDIR/setup.sh"

Without options the conformance tests only look at what needs no register and no port, in one module.

  $ mrvctl --calls --module 2 check 2>calls >result
  $ grep -o 'module=[02],\|[^ ]* mrvctl:0' calls | sort -u
  check mrvctl:0
  module=2,
  $ head -n 3 result
  TAP version 14
  1..68
  # version 2 of the clauses in docs/porting.md
  $ sed -n 's/^ok .* - [^#]*//p' result | sort | uniq -c
       28 
        8 # SKIP needs --port
        2 # SKIP needs --port, --all-ports
        6 # SKIP needs --read
        3 # SKIP needs --read, --faults
        1 # SKIP needs --read-all
       15 # SKIP needs --scratch
        3 # SKIP needs --scratch-table
        2 # SKIP needs --sp-timer

With everything allowed none is skipped. Registers, tables and ports are as they were before.

  $ everything="--read HI.2:5 --read-all --scratch HI.2:40..47 --scratch-table HF.0:HF_DHS_POL --port hif:3 --all-ports
  >   --sp-timer 7 --faults"
  $ mrvctl --json check $everything | cut -c 1-146
  {"command":"check","planned":68,"ran":68,"failed":0,"skipped":0,"checks":[{"number":1,"name":"the register map describes an ASIC","clause":"P16","
  $ mrvctl -f - >set <<E
  > write HI.2:40 17
  > write HI.2:47 34
  > dhs-write HF.0:HF_DHS_POL 1 1 2 3 4 5 6 7 8
  > pause on hif:3
  > E
  $ look() { mrvctl dump HI.2:0..60; mrvctl dump HF.0:HF_DHS_POL; mrvctl qos show hif:3 | grep -o 'flow.*'; }
  $ look >before
  $ mrvctl check $everything | grep '^not ok\|SKIP'
  ok 63 - a clear of the drop counters is a command # SKIP the port has counted nothing that could be cleared
  $ look | diff before -

Without `--scratch` nothing is written: requests of an unknown type or case are refused.

  $ mkdir looks
  $ mrvctl record looks -- mrvctl check --read HI.2:5 --read-all >result
  $ mrvctl calls looks/*.mrec | grep -q ' read '
  $ mrvctl calls --writes looks/*.mrec | sed 1d | grep -v 'type-99 .* EINVAL'
  [1]
  $ mrvctl calls looks/*.mrec --columns operation,register,result | grep 'case-0x40000004'
  case-0x40000004  -                               ENOSYS

In a transaction nothing is checked. Options that are not understood:

  $ printf 'begin a\ncheck\n' | mrvctl -f - 2>&1 | grep check
  stdin:2: check: a transaction is open: commit it first
  $ mrvctl check --port cif:0 | grep '^  seen' | sort -u
  check --port cif:0: 3 of 68 checks failed
    seen: "result -1, errno 6 (No such device or address), port cif:0"
  $ mrvctl check --junit /no/such/file 2>&1 >result
  check --junit /no/such/file: cannot write /no/such/file: No such file or directory
  [1]
  $ mrvctl --keep-going -f - <<E
  > check --scratch HI.2:40..41,HI.32:5
  > check --port nif:8
  > E
  stdin:1: check --scratch HI.2:40..41,HI.32:5: --scratch: HI.32:5: block HI has instances 0 to 31
  stdin:2: check --port nif:8: --port: nif:8: the limits have 8 ports of type nif
  [2]
  $ mrvctl -f - <<E
  > check --scratch-table HI.2:5
  > check --scratch HI.2:0..512
  > check --port hif:256
  > E
  stdin:1: check --scratch-table HI.2:5: --scratch-table: HI.2:5 is not a table; 'mrvctl dhs' lists the tables
  stdin:2: check --scratch HI.2:0..512: --scratch: more than 512 scratch registers
  stdin:3: check --port hif:256: --port: '256' is not a number from 0 to 255, in decimal, hexadecimal (0x) or binary (0b)
  [2]
