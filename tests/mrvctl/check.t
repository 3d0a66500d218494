  $ . "$TESTDIR/setup.sh"

Without options the conformance tests only look at what needs no register and no port, in one module.

  $ mrvctl --calls --module 2 check 2>calls >result
  $ grep -o 'module=[02],' calls | sort -u
  module=2,
  $ head -n 3 result
  TAP version 14
  1..70
  # version 2 of the clauses in docs/porting.md
  $ sed -n 's/^ok .* - [^#]*//p' result | sort | uniq -c
       28 
        8 # SKIP needs --port
        2 # SKIP needs --port, --all-ports
        7 # SKIP needs --read
        3 # SKIP needs --read, --faults
        1 # SKIP needs --read-all
       16 # SKIP needs --scratch
        3 # SKIP needs --scratch-table
        2 # SKIP needs --sp-timer

With everything allowed none is skipped. Registers, tables and ports are as they were before.

  $ everything="--read HI.2:5 --read-all --scratch HI.2:40..47 --scratch-table HF.0:HF_DHS_POL --port hif:3 --all-ports
  >   --sp-timer 7 --faults"
  $ mrvctl --json check $everything | cut -c 1-146
  {"command":"check","planned":70,"ran":70,"failed":0,"skipped":0,"checks":[{"number":1,"name":"the register map describes an ASIC","clause":"P16","
  $ mrvctl -f - >set <<E
  > write HI.2:40 17
  > write HI.2:47 34
  > dhs-write HF.0:HF_DHS_POL 1 1 2 3 4 5 6 7 8
  > pause on hif:3
  > E
  $ look() { mrvctl dump HI.2:0..60; mrvctl dump HF.0:HF_DHS_POL; mrvctl qos show hif:3 | grep -o 'flow.*'; }
  $ look >before
  $ mrvctl check $everything | grep '^not ok\|SKIP'
  ok 65 - a clear of the drop counters is a command # SKIP the port has counted nothing that could be cleared
  $ look | diff before -

Without `--scratch` nothing is written: a request of an unknown type is refused.

  $ mkdir looks
  $ mrvctl record looks -- mrvctl check --read HI.2:5 --read-all >result
  $ mrvctl calls looks/*.mrec | grep -q ' read '
  $ mrvctl calls --writes looks/*.mrec | sed 1d | grep -v 'type-99 .* EINVAL'
  [1]

A failed check names the clause of docs/porting.md that the platform does not satisfy.

  $ wrong="--platform $BUILD/lib/libwrong_platform.so"
  $ export MORVANE_WRONG=P23_takes_any_case
  $ mrvctl $wrong check --junit junit.xml 2>&1 | grep -A 5 '^not ok\|failed'
  not ok 22 - an unknown case is refused
    ---
    clause: P23
    expected: "case 0x40000004 refused"
    seen: "result 0"
    ...
  --
  check --junit junit.xml: 1 of 70 checks failed
  $ mrvctl $wrong --json check | grep -o '{"number":22[^}]*}' | sed 's/"seconds":[^,]*/.../'
  {"number":22,"name":"an unknown case is refused","clause":"P23","result":"not ok",...,"expected":"case 0x40000004 refused","seen":"result 0"}
  $ head -n 2 junit.xml | sed 's/time="[^"]*"/.../'
  <?xml version="1.0" encoding="UTF-8"?>
  <testsuites tests="70" failures="1" errors="0" skipped="42" ...>
  $ grep -A 2 'an unknown case' junit.xml | sed 's/time="[^"]*"/.../'
    <testcase classname="porting.P23" name="an unknown case is refused" ...>
      <failure message="clause P23: expected case 0x40000004 refused; seen result 0"/>
    </testcase>

A failure that equals an earlier one refers to it.

  $ seen() { MORVANE_WRONG=$1 mrvctl $wrong check 2>/dev/null | grep '^  seen\|^  same' | sort | uniq -c; }
  $ seen P11_mixes_up_limits
       16   same as: 6
        1   seen: "block XL has an array and no instance, block HF has instances and no array"
  $ seen has_nothing
        1   seen: "none has one"

Two processes share a switch: what one of them writes the other one reads.

  $ MORVANE_WRONG=loses_writes_of_children mrvctl $wrong check --scratch HI.2:40..47 2>/dev/null | grep '^not ok\|  clause'
  not ok 51 - two processes share the switch
    clause: P34

No check passes without a service. `--platform` is used rather than MORVANE_PLATFORM.

  $ MORVANE_PLATFORM=/no/such/platform MORVANE_WRONG= mrvctl $wrong check | grep -c '^ok'
  70
  $ MORVANE_PLATFORM="$BUILD/lib/libexample_platform.so" mrvctl check >result
  check: no service: result -1, errno 2 (No such file or directory)
  [1]
  $ MORVANE_WRONG=has_no_service mrvctl $wrong check 2>/dev/null | grep -v '^[#T1]'
  Bail out! no service: result -1, errno 107 (Transport endpoint is not connected)

A platform that crashes or hangs fails the check; its values are put back.

  $ MORVANE_WRONG=P22_P25_P26_crashes mrvctl $wrong check $everything 2>/dev/null | grep -c '^not ok'
  4
  $ export MORVANE_WRONG=hangs_in_a_field_write
  $ mrvctl $wrong check --time-limit 1 --scratch HI.2:40..47 2>/dev/null | grep -A 4 '^not ok 39' | grep expected
    expected: "an answer within 1 s"
  $ look | diff before -

So they are when the check is interrupted. A value that cannot be put back is reported.

  $ interrupted() {
  >   rm -f seen
  >   env --default-signal=INT mrvctl $wrong check --scratch HI.2:40..47 >result 2>seen &
  >   until grep -qs hanging seen || ! kill -0 $!; do sleep 0.01; done
  >   kill -INT $!; wait $!
  >   tail -n 1 result
  > }
  $ interrupted
  Bail out! interrupted
  $ look | diff before -
  $ MORVANE_WRONG="hangs_in_a_field_write takes_no_17"
  $ interrupted
  Bail out! interrupted; not put back: 0x102000a0 <- 0x11

  $ mrvctl write HI.2:40 17
  HI.2:40 <- 0x00000011: written
  $ MORVANE_WRONG=takes_no_17 mrvctl $wrong check --scratch HI.2:40 --junit junit.xml >result 2>&1
  [1]
  $ grep -m 1 '&' junit.xml
      <failure message="clause P22: expected result 0 of the write that puts 0x11 back at 0x102000a0; seen result -1, errno 1 (Operation not permitted); not put back: 0x102000a0 &lt;- 0x11"/>

In a transaction nothing is checked. Options that are not understood:

  $ printf 'begin a\ncheck\n' | mrvctl -f - 2>&1 | grep check
  stdin:2: check: a transaction is open: commit it first
  $ mrvctl check --port cif:0 | grep '^  seen' | sort -u
  check --port cif:0: 3 of 70 checks failed
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
