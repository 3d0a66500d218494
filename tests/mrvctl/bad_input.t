  $ . "$TESTDIR/setup.sh"

A file that is not a recording hides no other file. It is reported, and the exit status is 1.

  $ cp "$TESTDIR/../../examples/recordings/bringup.mrec" .
  $ echo junk >junk.mrec
  $ mrvctl calls --last 1 junk.mrec bringup.mrec missing >calls
  calls: junk.mrec is not a recording
  calls: cannot open missing: No such file or directory
  calls --last 1 junk.mrec bringup.mrec missing: 2 of 3 files could not be read
  [1]
  $ cut -c 29-64 calls
  PROCESS           DURATION  OPERATIO
  mrvctl.20634         0.2us  read-run
  $ mrvctl --json calls --last 1 junk.mrec bringup.mrec | grep -o '"text":.*\|"operation":"[^"]*"'
  "text":"junk.mrec is not a recording"}}
  "operation":"read-run"
  "text":"1 of 2 files could not be read"}}
  $ mrvctl last-write HF.0:HF_DHS_POL[0] bringup.mrec junk.mrec
  last-write: junk.mrec is not a recording
  HF.0:HF_DHS_POL[0].7 <- 0x00000001  * (glob)
  last-write HF.0:HF_DHS_POL[0] bringup.mrec junk.mrec: 1 of 2 files could not be read
  [1]

With --follow, a file is reported when it goes away, and the others are followed.

  $ cp bringup.mrec gone.mrec
  $ env --default-signal=INT mrvctl calls --follow gone.mrec bringup.mrec >followed 2>errors &
  $ until grep -qs read-run followed; do kill -0 $! || break; done
  $ rm gone.mrec
  $ until grep -qs gone errors; do kill -0 $! || break; done
  $ kill -INT $!
  $ wait $!
  [1]
  $ cat errors
  calls: cannot open gone.mrec: No such file or directory
  calls --follow gone.mrec bringup.mrec: 1 of 2 files could not be read

A FIFO that no process writes to is refused. A pipe is read.

  $ mkfifo fifo
  $ mrvctl -f fifo
  mrvctl: cannot open fifo: a FIFO that no process writes to
  [1]
  $ mrvctl annotate fifo
  annotate fifo: cannot open fifo: a FIFO that no process writes to
  [1]
  $ echo 'from 0x10200000 on' | mrvctl annotate /dev/stdin
  from 0x10200000 (HI.2:0) on

Control characters and bytes that are not UTF-8 are printed as escapes. JSON contains them as they are.

  $ printf '\033[A\302\233 \377\200\365\220\200\200é\340\244\225\n' >typed
  $ mrvctl -f typed
  typed:1: \\x1b[A\\xc2\\x9b \\xff\\x80\\xf5\\x90\\x80\\x80\xc3\xa9\xe0\xa4\x95: unknown command '\\x1b[A\\xc2\\x9b' (esc)
  [2]
  $ mrvctl --json -f typed | grep -o '"text".*'
  "text":"unknown command '\\u001b[A\xc2\x9b'"}} (esc)
  $ mrvctl "$(printf 'read\r\033[31m')"
  mrvctl: unknown command 'read\x0d\x1b[31m'
  Try 'mrvctl --help'.
  [2]
  $ printf 'begin "\033[1m\\"bold"\ncommit\n' | mrvctl --calls -f -
  transaction "\x1b[1m"bold" is open
  sse_call2(SYSSRV_MEM_WRITE_CASE, 236, 10280, {name="\x1b[1m"bold", reorder=0, num=0, []}) = 0 <*> (glob)
  transaction "\x1b[1m"bold" is sent: 0 writes

A script cannot select a module that the library does not have.

  $ echo 'module 4' | mrvctl -f -
  stdin:1: module 4: MODULE: '4' is not a number from 0 to 3, in decimal, hexadecimal (0x) or binary (0b)
  [2]

A platform whose register map lacks tables crashes no command.

  $ wrong() { MORVANE_WRONG=$1 mrvctl --platform "$BUILD/lib/libwrong_platform.so" find 0x10200000; }
  $ wrong P17_has_no_bases
  find 0x10200000: the register map has no base table
  [1]
  $ wrong has_no_offsets
  find 0x10200000: the register map has no register table
  [1]
  $ wrong P11_P17_has_257_ports
  find 0x10200000: the register map has no bases for block HI
  [1]
  $ wrong P18_lacks_an_array
  find 0x10200000: the register map has no registers for block HF
  [1]
