  $ . "$TESTDIR/setup.sh"

A script has one command per line. Words may be quoted, and # starts a comment.

  $ printf "# two registers\nwrite HI.2:5 0b101 # five\r\n\nread 'HI.2' \"5\" --expect 5\n" >two.mrv
  $ mrvctl -f two.mrv
  HI.2:5 <- 0x00000005: written
  HI.2:5 = 0x00000005 (5)
  $ mrvctl --dry-run -f two.mrv
  two.mrv: 2 commands, nothing is run
  $ mrvctl --json --dry-run read HI.2:5
  {"command":"dry-run","script":"read HI.2:5","commands":1}
  $ printf '\357\273\277# nothing\n\n  # at all\n' | mrvctl -f -

Files that it names are looked up next to the script.

  $ mkdir folder
  $ echo 'HI 2 5 9' >folder/nine.pgm
  $ echo 'pgm nine.pgm' | tee folder/nine.mrv
  pgm nine.pgm
  $ mrvctl -f folder/nine.mrv
  1 step for ASIC 0: written

It stops at the first failure, and runs no command unless all are understood.

  $ cat >fails.mrv <<E
  > switch fault add etimedout
  > read HI.2:5
  > read HI.2:6
  > pgm no.pgm
  > E
  $ mrvctl -f fails.mrv
  fault: ETIMEDOUT for all calls
  fails.mrv:2: read HI.2:5: service call failed: Connection timed out (0x8223006E)
  [1]
  $ mrvctl --keep-going -f fails.mrv
  fault: ETIMEDOUT for all calls
  fails.mrv:2: read HI.2:5: service call failed: Connection timed out (0x8223006E)
  HI.2:6 = 0x00000000 (0)
  fails.mrv:4: pgm no.pgm: cannot open no.pgm: No such file or directory
  [1]
  $ mrvctl --json --keep-going -f fails.mrv
  {"command":"switch fault add","effect":"ETIMEDOUT","calls":"all calls"}
  {"command":"read","file":"fails.mrv","line":2,"error":{"code":2183331950,"name":"ETIMEDOUT","text":"service call failed: Connection timed out (0x8223006E)"}}
  {"command":"read","register":"HI.2:6","address":270532632,"words":[0],"transaction_sent":false}
  {"command":"pgm","file":"fails.mrv","line":4,"error":{"code":null,"name":"FAILED","text":"cannot open no.pgm: No such file or directory"}}
  [1]
  $ mrvctl -f - <<E
  > write HI.2:5 1
  > read 'HI.2:5
  > raed HI.2:5
  > expect-fail raed
  > read HI.2:5 --help
  > E
  stdin:2: read 'HI.2:5: a quote (') is not closed
  stdin:3: raed HI.2:5: unknown command 'raed'; did you mean 'read'?
  stdin:4: expect-fail raed: unknown command 'raed'; did you mean 'read'?
  stdin:5: read HI.2:5 --help: unexpected argument: --help
  [2]

  $ echo 'record /tmp true' | mrvctl -f -
  stdin:1: record /tmp true: record runs another program in place of the tool: not from a script
  [2]

The exit status is that of the first failure.

  $ printf 'pgm no.pgm\nread HI.32:5\n' | mrvctl --keep-going -f -
  stdin:1: pgm no.pgm: cannot open no.pgm: No such file or directory
  stdin:2: read HI.32:5: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): block HI has instances 0 to 31
  [1]

expect-fail succeeds if its command fails.

  $ mrvctl expect-fail read HI.32:5
  failed as expected: read HI.32:5: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): block HI has instances 0 to 31
  $ mrvctl expect-fail read HI.2:5
  HI.2:5 = 0x00000009 (9)
  expect-fail read HI.2:5: the command succeeded, but a failure was expected
  [1]
  $ mrvctl --json expect-fail read HI.2:5
  {"command":"expect-fail","file":null,"line":null,"error":{"code":null,"name":"FAILED","text":"the command succeeded, but a failure was expected"}}
  [1]

A command line that is not understood:

  $ mrvctl info a b
  mrvctl: unexpected argument: a b
  Try 'mrvctl info --help'.
  [2]
  $ mrvctl --json info a
  {"command":"info","file":null,"line":null,"error":{"code":null,"name":"USAGE","text":"unexpected argument: a"}}
  [2]
  $ mrvctl --json
  {"command":null,"file":null,"line":null,"error":{"code":null,"name":"USAGE","text":"no command"}}
  [2]
  $ mrvctl --json -f
  {"command":null,"file":null,"line":null,"error":{"code":null,"name":"USAGE","text":"--file: missing FILE"}}
  [2]
  $ mrvctl -f /dev/null info
  mrvctl: give either a command or a script
  Try 'mrvctl info --help'.
  [2]
  $ mrvctl -f /no/such/file
  mrvctl: cannot open /no/such/file: No such file or directory
  [1]
  $ mrvctl -f /tmp
  /tmp: cannot read /tmp: Is a directory
  [1]
  $ mrvctl -f - </tmp
  stdin: cannot read stdin: Is a directory
  [1]
  $ mrvctl --slot 256 info
  mrvctl: --slot: '256' is not a number from 0 to 255, in decimal, hexadecimal (0x) or binary (0b)
  Try 'mrvctl info --help'.
  [2]

Output that cannot be written is a failure.

  $ mrvctl info >/dev/full
  output: the results could not be written
  [1]

quit ends a script, or a shell. Without a terminal the shell has no prompt, and asks nothing.

  $ printf 'begin x\nwrite HI.2:5 9\nshell\nquit\nread HI.2:5\n' | mrvctl shell
  transaction "x" is open
  HI.2:5 <- 0x00000009: queued
  stdin:3: shell: a shell does not run in a script or in another shell
  end: transaction "x" was never committed: 1 write lost
  [2]
  $ printf 'quit\nread HI.2:5\n' >quit.mrv; mrvctl -f quit.mrv

In a shell, and with --interactive, each line of a pipe is answered before the next one is written.

  $ mkfifo asked answered
  $ mrvctl --json --interactive -f - <asked >answered &
  $ exec 3>asked 4<answered
  $ ask() { echo "$*" >&3; read -r answer <&4; echo "$answer"; }
  $ ask write HI.2:5 9
  {"command":"write","register":"HI.2:5","data":9,"queued":false}
  $ ask raed HI.2:5
  {"command":"raed","file":"stdin","line":2,"error":{"code":null,"name":"USAGE","text":"unknown command 'raed'; did you mean 'read'?"}}
  $ ask read HI.2:5
  {"command":"read","register":"HI.2:5","address":270532628,"words":[9],"transaction_sent":false}
  $ exec 3>&-; wait $!
  [2]
  $ mrvctl --interactive read HI.2:5
  mrvctl: --interactive is for -f -
  Try 'mrvctl --help'.
  [2]
