  $ . "$TESTDIR/setup.sh"

The virtual switch fails or delays the next calls of a process on request, to show how a client bears it.

  $ mrvctl -f - <<E
  > fail etimedout
  > expect-fail read HI.2:5
  > read HI.2:5
  > fail 5
  > expect-fail write HI.2:5 1
  > delay 0 2
  > E
  the next service call fails with ETIMEDOUT (Connection timed out)
  failed as expected: read HI.2:5: service call failed: Connection timed out (0x8223006E)
  HI.2:5 = 0x00000000 (0)
  the next service call fails with EIO (Input/output error)
  failed as expected: write HI.2:5 1: service call failed: Input/output error, or a positive answer (0x82230005)
  the next 2 service calls take 0 ms longer
  $ mrvctl --calls -f - <<E 2>&1 | sed 's/<0.0[2-9].*>/<20 ms or more>/'
  > delay 20
  > read HI.2:5
  > E
  the next service call takes 20 ms longer
  sse_call2(SYSSRV_REG_READ_CASE, 236, 196, {TYPE_READ, module=0, asic=0x0, addr=0x10200014, data=0x0, mask=0xffffffff, num=0, context=2, read stdin:2}) = 0 {data=0x0} <20 ms or more>
  HI.2:5 = 0x00000000 (0)

Other processes are not affected.

  $ mrvctl --json fail 5
  {"command":"fail","errno":5,"name":"EIO"}
  $ mrvctl read HI.2:5
  HI.2:5 = 0x00000000 (0)
  $ mrvctl --json delay 86400000
  {"command":"delay","milliseconds":86400000,"calls":1}
  $ mrvctl read HI.2:5
  HI.2:5 = 0x00000000 (0)

--calls shows the call that failed.

  $ mrvctl --calls --module 2 -f - <<E 2>&1 | grep sse
  > fail EPERM
  > expect-fail qos clear nif:3
  > traffic nif:3 --class 0 --frames 5
  > qos show nif:3 --opts 9
  > E
  sse_call2(SYSSRV_MEM_READ_CASE, 236, 1140, {QOS_STATS_CLEAR, module=2, asic=0, port=nif:3, opts=0x0}) = -1 EPERM (Operation not permitted) <*> (glob)
  sse_call2(SYSSRV_MEM_READ_CASE, 236, 1140, {QOS_STATS_GET, module=2, asic=0, port=nif:3, opts=0x9}) = 0 {writes=5, reads=5, n2h_drops=0, h2n_drops=0} <*> (glob)

The processes on the switch, with the calls that each has made:

  $ mrvctl -f - <<E | tail -n 2
  > read HI.2:5
  > expect-fail write --raw 1 1
  > clients
  > E
  process  program          user            calls  failures  last call
    *  mrvctl           *  2         1  register write, EFAULT, * s ago (glob)
  $ mrvctl --json clients
  {"command":"clients","clients":[{"process":*,"program":"mrvctl","user":*,"user_name":"*","calls":0,"failures":0,"age":*,"last_case":null,"last_errno":null,"last_age":null}]} (glob)

Arguments that are not understood:

  $ mrvctl -f - <<E
  > fail ENOSUCH
  > fail 4096
  > delay 86400001
  > clients --count 2
  > E
  stdin:1: fail ENOSUCH: ERRNO: 'ENOSUCH' is not the name of an errno or a number from 1 to 4095; did you mean 'ENOSPC'?
  stdin:2: fail 4096: ERRNO: '4096' is not a number from 1 to 4095, in decimal, hexadecimal (0x) or binary (0b)
  stdin:3: delay 86400001: MILLISECONDS: '86400001' is not a number from 0 to 86400000, in decimal, hexadecimal (0x) or binary (0b)
  stdin:4: clients --count 2: --count is for --watch
  [2]
