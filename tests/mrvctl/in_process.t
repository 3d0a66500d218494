Without MORVANE_SWITCH and --switch each process has its own virtual switch, which is lost when it ends.

  $ PATH=${BUILD:=$TESTDIR/../../build/target}/bin:$PATH
  $ mrvctl write HI.2:5 7
  HI.2:5 <- 0x00000007: written (private switch, gone when this command ends)
  $ mrvctl read HI.2:5
  HI.2:5 = 0x00000000 (0)
  $ mrvctl switch clients
  switch clients: not connected to a morvaned; use --switch PATH or set MORVANE_SWITCH
  [1]

So a script starts on an empty switch. The examples do, as text and as JSON.

  $ for name in session bringup ports refusals; do
  >   mrvctl -f "$TESTDIR/../../examples/$name.mrv" >printed && test -s printed || echo "$name"
  >   mrvctl --json -f "$TESTDIR/../../examples/$name.mrv" >printed && test -s printed || echo "$name"
  > done

The card of the switch can be changed. With this one the service answers only 5 words of a table.

  $ mrvctl -f - <<E | grep -v '^[a-z][a-z]*  '
  > dhs-write HF.0:HF_DHS_POL 0 1 2 3 4 5 6 7 8
  > switch card 266
  > nodrop 0x21
  > switch
  > dhs-read HF.0:HF_DHS_POL 0 --addresses
  > expect-fail dump HF.0:HF_DHS_POL[0..1]
  > switch card 65535
  > E
  HF.0:HF_DHS_POL[0]: 1 entry of 8 words: written
  software card identifier 266
  no-drop map 0x21, classes 0 5
  software card identifier  266
  no-drop class map         0x21
  SP timer                  0
  clears of drop counters   0
  SFP failures reported     0
  HF.0:HF_DHS_POL[0]: 1 entry of 8 words, 5 of 8 words answered
    index  address     words
        0  0x1c059a00  00000001 00000002 00000003 00000004 00000005 -------- -------- --------
  failed as expected: dump HF.0:HF_DHS_POL[0..1]: HF.0:HF_DHS_POL: 10 of 16 words answered
  software card identifier 65535
  $ mrvctl switch card 266
  software card identifier 266 (private switch, gone when this command ends)
  $ mrvctl switch | grep clients
  clients                   1

--platform uses another platform library. One without / is looked up in this directory first.

  $ cp "$BUILD/lib/libexample_platform.so" libwrong_platform.so
  $ mkfifo output; export EXAMPLE_SERVICE=$PWD/service
  $ example_service service >output & read -r _ <output
  $ mrvctl --calls --platform libwrong_platform.so -f - <<E
  > write HI.3:40 5
  > expect-fail read HI.4:40
  > switch fault add EPERM
  > E
  sse_call2(SYSSRV_REG_WRITE_CASE, 236, 196, {TYPE_WRITE, module=0, asic=0x0, addr=0x080000a0, data=0x5, mask=0xffffffff, num=0, context=1, write stdin:1}) = 0 <*> (glob)
  HI.3:40 <- 0x00000005: written
  failed as expected: read HI.4:40: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): block HI has instances 0 to 3
  stdin:3: switch fault add EPERM: this platform has no vp_add_fault: it is not a virtual platform
  [1]
  $ kill $!
  $ mrvctl --platform /no/such/file info
  init: no platform: /no/such/file: cannot open shared object file: No such file or directory
  [1]
  $ MORVANE_PLATFORM=$PWD/output mrvctl info
  init: no platform: /*/output: not a regular file (glob)
  [1]
  $ mrvctl --platform libm.so.6 info
  init: the platform does not have the function sse_call2
  [1]
  $ mrvctl --platform /no/such/file error EIO
  0x82230005  EIO: the service call failed with an I/O error, or with a positive answer

A switch that morvaned does not serve:

  $ export MORVANE_SWITCH_WAIT=0
  $ mrvctl --switch /no/switch read HI.2:5
  init: no switch at /no/switch: No such file or directory
  [1]
  $ mrvctl --switch @ read HI.2:5
  init: no switch at @: Invalid argument (its address, MORVANE_SWITCH_WAIT, MORVANE_SWITCH_TIMEOUT or MORVANE_SWITCH_USER)
  [1]
  $ MORVANE_SWITCH=/no/switch mrvctl switch clients
  init: no switch at /no/switch: No such file or directory
  [1]

Version and help need no switch. Without a command there is only a hint.

  $ mrvctl --version
  mrvctl [0-9.]+ (re)
  $ mrvctl --help | head -n 1
  Read, write and monitor a Morvane switching ASIC
  $ mrvctl >/dev/null 2>&1
  [2]
