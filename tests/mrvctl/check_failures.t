  $ . "$TESTDIR/setup.sh"

A failed check names the clause of docs/porting.md that the platform does not satisfy.

  $ wrong="--platform $BUILD/lib/libwrong_platform.so"
  $ export MORVANE_WRONG=P23_takes_any_case
  $ mrvctl $wrong check 2>&1 | grep -A 5 '^not ok\|failed'
  not ok 22 - an unknown case is refused
    ---
    clause: P23
    expected: "case 0x40000004 refused"
    seen: "result 0"
    ...
  --
  check: 1 of 68 checks failed
  $ mrvctl $wrong --json check | grep -o '{"number":22[^}]*}' | sed 's/"seconds":[^,]*/.../'
  {"number":22,"name":"an unknown case is refused","clause":"P23","result":"not ok",...,"expected":"case 0x40000004 refused","seen":"result 0"}

A failure that equals an earlier one refers to it. A refusal is no success if a valid call is refused too.

  $ seen() { MORVANE_WRONG=$1 mrvctl $wrong check 2>/dev/null | grep '^  seen\|^  same' | sort | uniq -c; }
  $ seen P22_P23_P25_has_no_statistics
        3   same as: 22
        3   seen: "result -1, errno 38 (Function not implemented)"
  $ seen has_nothing
        1   seen: "none has one"
  $ MORVANE_WRONG=has_nothing mrvctl $wrong check 2>/dev/null | grep -o '# SKIP.* the .*' | sort | uniq -c
        6 # SKIP needs --read, as the limits have no port
        1 # SKIP the map has no plain register

Two processes share a switch: what one of them writes the other one reads.

  $ MORVANE_WRONG=loses_writes_of_children mrvctl $wrong check --scratch HI.2:40..47 2>/dev/null | grep '^not ok\|  clause\|  expected'
  not ok 49 - two processes share the switch
    clause: P34
    expected: "each process to read what it wrote"

No check passes without a service. `--platform` is used rather than MORVANE_PLATFORM.

  $ MORVANE_PLATFORM=/no/such/platform MORVANE_WRONG= mrvctl $wrong check | grep -c '^ok'
  68
  $ MORVANE_PLATFORM="$BUILD/lib/libexample_platform.so" mrvctl check >result
  check: no service: result -1, errno 2 (No such file or directory)
  [1]
  $ MORVANE_WRONG=has_no_service mrvctl $wrong check 2>/dev/null | grep -v '^[#T1]'
  Bail out! no service: result -1, errno 107 (Transport endpoint is not connected)

A platform that hangs fails the check; its values are put back.

  $ mrvctl -f - >set <<E
  > write HI.2:40 17
  > write HI.2:47 34
  > E
  $ mrvctl dump HI.2:0..60 >before
  $ export MORVANE_WRONG=hangs_in_a_field_write
  $ mrvctl $wrong check --time-limit 1 --scratch HI.2:40..47 2>/dev/null | grep -A 4 '^not ok 50' | grep expected
    expected: "an answer within 1 s"
  $ mrvctl dump HI.2:0..60 | diff before -

So they are when the check is interrupted. A value that cannot be put back is reported.

  $ interrupted() {
  >   rm -f seen
  >   env --default-signal=INT mrvctl $wrong check --scratch HI.2:40..47 --junit junit.xml >result 2>seen &
  >   until grep -qs hanging seen || ! kill -0 $!; do sleep 0.01; done
  >   kill -INT $!; wait $!
  >   tail -n 1 result
  > }
  $ interrupted
  Bail out! interrupted
  $ mrvctl dump HI.2:0..60 | diff before -
  $ MORVANE_WRONG="hangs_in_a_field_write takes_no_17"
  $ interrupted
  Bail out! interrupted; not put back: 0x102000a0 <- 0x11

JUnit has the results of checks that failed, were skipped or did not run.

  $ head -n 4 junit.xml | sed 's/time="[0-9.]*[1-9][0-9]*"/time/'; grep -m 1 '<skipped' junit.xml; grep -m 1 '&' junit.xml; tail -n 5 junit.xml
  <?xml version="1.0" encoding="UTF-8"?>
  <testsuites tests="68" failures="14" errors="19" skipped="7" time>
   <testsuite name="mrvctl check" tests="68" failures="14" errors="19" skipped="7" time>
    <testcase classname="porting.P16" name="the register map describes an ASIC" time/>
      <skipped message="needs --read"/>
      <failure message="clause P22: expected result 0 of the write that puts 0x11 back at 0x102000a0; seen result -1, errno 1 (Operation not permitted); not put back: 0x102000a0 &lt;- 0x11"/>
    <testcase classname="porting.P6" name="the library takes no word too many from an answer" time="0.000000">
      <error message="it did not run"/>
    </testcase>
   </testsuite>
  </testsuites>
