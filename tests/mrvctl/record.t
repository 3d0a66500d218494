  $ . "$TESTDIR/setup.sh"

Each process of a recorded program leaves a recording of its calls. Only the user can read it.

  $ mrvctl record calls --size 65536 -- mrvctl --module 1 --json write HI.2:5 7
  {"command":"write","register":"HI.2:5","data":7,"queued":false}
  $ ls -l calls | grep -o '^-[-rw]* \|81920\|mrvctl.*' | sed 's/[0-9]*\.mrec/PID.mrec/'
  -rw------- 
  81920
  mrvctl.PID.mrec
  $ mrvctl calls calls/*.mrec | sed '1d; s/.*us  //'
  write          HI.2:5 (module 1)               0x00000007                  ok          write mrvctl:0
  $ printf 'begin "x"\nwrite HI.2:5 7\ncommit\n' | mrvctl record . -- mrvctl -f - | tail -n 1
  transaction "x" is sent: 1 write
  $ mrvctl calls mrvctl.*.mrec | sed '1d; s/.*us  //'
  transaction    "x"                             1 write                     ok          HI.2:5 <- 0x00000007 by write stdin:2 context 2

The exit status is that of the program.

  $ mrvctl record calls -- mrvctl read HI.32:5
  read HI.32:5: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): block HI has instances 0 to 31
  mrvctl record: no call was recorded of mrvctl: it made no service call, or none that it forwards, as it defines sse_call2; see 'A program that contains its platform' in recording.md
  [2]

The program gets the signals that are sent to mrvctl, and its exit status is not ignored.

  $ for signal in INT TERM USR1 ALRM; do
  >   mrvctl record calls -- sh -c "ulimit -t 5; trap 'exit 4' $signal; kill -$signal \$PPID; while :; do :; done" 2>/dev/null
  >   echo $?
  > done | uniq
  4
  $ (trap '' CHLD; mrvctl record calls -- sh -c 'exit 3' 2>/dev/null)
  [3]

The last write to a register: its value, time, process, result and caller.

  $ cp "$TESTDIR"/../../examples/recordings/*.mrec .
  $ mrvctl last-write HI.2:HI_DHS_LVIF refusals.mrec bringup.mrec
  HI.2:HI_DHS_LVIF[0] <- 0x0000000f mask 0x000000ff  2026-11-25 10:25:40.697682  mrvctl.20637  write-field  ok  write-field examples/refusals.mrv:24 context 24
  $ mrvctl last-write 'HF.0:HF_DHS_TCAM[17]' refusals.mrec bringup.mrec
  HF.0:HF_DHS_TCAM[17].15 <- 0x80000002  2026-11-25 10:25:40.651919  mrvctl.20634  transaction  ok  "bring-up"
  $ mrvctl --json last-write HI.2:HI_DHS_LVIF refusals.mrec
  {"command":"last-write","time":"2026-11-25T10:25:40.697682884Z","time_ns":1795602340697682884,"program":"mrvctl","pid":20637,"number":12,"duration_ns":150,"operation":"write-field","case":1073741825,"driver":236,"length":196,"module":0,"asic":0,"address":270551808,"register":"HI.2:HI_DHS_LVIF[0]","data":15,"mask":255,"context":24,"func":"write-field","file":"examples/refusals.mrv","line":24,"result":0,"errno":null,"outcome":"ok","failed":false,"written":{"register":"HI.2:HI_DHS_LVIF[0]","data":15,"mask":255,"context":24,"func":"write-field","file":"examples/refusals.mrv","line":24}}
  $ mrvctl last-write HI.3:41 refusals.mrec bringup.mrec
  last-write HI.3:41 refusals.mrec bringup.mrec: no write to this register in these recordings
  [1]
  $ mrvctl --module 1 last-write HI.2:HI_DHS_LVIF refusals.mrec bringup.mrec
  last-write HI.2:HI_DHS_LVIF refusals.mrec bringup.mrec: no write to this register in these recordings
  [1]
  $ python3 "$TESTDIR/craft_recordings.py" refusals.mrec
  $ mrvctl last-write HI.2:HI_DHS_LVIF died.mrec
  HI.2:HI_DHS_LVIF[0] <- 0x00001234  2026-11-25 10:25:40.697387  mrvctl.20637  write  in-flight  write examples/refusals.mrv:4 context 4
  $ mrvctl last-write HI.2:HI_DHS_LVIF refusals.mrec died.mrec | cut -c -44
  HI.2:HI_DHS_LVIF[0] <- 0x0000000f mask 0x000
  $ mrvctl --json last-write HI.3:41 kinds.mrec
  kinds.mrec: 1 note of a kind that is not known
  {"command":"last-write","losses":["kinds.mrec: 1 note of a kind that is not known"]}
  {"command":"last-write","file":null,"line":null,"error":{"code":null,"name":"FAILED","text":"no write to this register in these recordings"}}
  [1]

Relative times are those of the calls:

  $ for time in -60m 5m 5min '5 minutes ago' '900 s ago' 2d; do
  >   echo "$(mrvctl calls calls --since "$time" | grep -c HI.2) $(mrvctl calls calls --until "$time" | grep -c HI.2)"
  > done | uniq
  1 0
  $ for time in '5 ago' 5 '5 months ago' ago '5 m ag'; do mrvctl calls calls --since "$time"; done 2>&1 | grep -c 'is not a time'
  5

A directory is made if it is missing. --follow sees recordings that appear later.

  $ mrvctl record later -- mrvctl --version
  mrvctl 1.1.0
  mrvctl record: no call was recorded of mrvctl: it made no service call, or none that it forwards, as it defines sse_call2; see 'A program that contains its platform' in recording.md
  $ mrvctl calls later
  calls later: no recordings (*.mrec) in later
  [1]
  $ touch followed; env --default-signal=INT mrvctl calls --follow later >followed &
  $ for register in 40 41; do
  >   mrvctl record later -- mrvctl read HI.2:$register
  >   until grep -q HI.2:$register followed || ! kill -0 $!; do sleep 0.01; done
  > done
  HI.2:40 = 0x00000000 (0)
  HI.2:41 = 0x00000000 (0)
  $ kill -INT $!; wait $!

Programs that cannot be started, and directories that cannot be used:

  $ mrvctl record calls -- /no/such/program -x
  record calls -- /no/such/program -x: cannot run /no/such/program: No such file or directory
  [1]
  $ mrvctl record refusals.mrec true
  record refusals.mrec true: cannot record in refusals.mrec: Not a directory
  [1]
  $ mrvctl --platform /no/such/file record /no/such/folder true
  record /no/such/folder true: cannot record in /no/such/folder: No such file or directory
  [1]
  $ mrvctl record calls
  mrvctl: missing PROGRAM
  Try 'mrvctl record --help'.
  [2]
  $ mrvctl record calls --size 65535 true
  mrvctl: --size: '65535' is not a number from 65536 to 1073741824, in decimal, hexadecimal (0x) or binary (0b)
  Try 'mrvctl record --help'.
  [2]
