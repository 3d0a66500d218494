  $ . "$TESTDIR/setup.sh"
  $ ln -s "$TESTDIR/../../examples" examples

Each example of the help runs. That of the monitor has no end.

  $ listed() { mrvctl "$@" --help | sed -n '/^Commands:/,/^$/s/^.\{17\}\([a-z][-a-z]*\) .*/\1/p'; }
  $ examples() { mrvctl "$@" --help | sed -n '/^Example/,/^$/s/^  //p'; }
  $ try() { examples "$@" >lines; sh -e lines >out 2>&1 </dev/null || cat lines out; wc -l <lines >>counts; }
  $ try
  $ for command in $(listed); do try $command; done
  $ for group in qos switch 'switch fault'; do for command in $(listed $group | grep -v monitor); do try $group $command; done; done
  $ grep -c '^0' counts
  0
  [1]

Help has a command and a short form, in scripts too. That of morvaned begins with what it does. A suggestion is made
only if it is close.

  $ mrvctl --help | awk 'END { print NR <= 60 }'
  1
  $ mrvctl help >help && mrvctl --help | cmp - help
  $ morvaned --help | head -n 1
  Serve one virtual switch to several processes over a Unix socket
  $ morvaned -V
  morvaned [0-9.]+ (re)
  $ mrvctl '?' pause on
  help pause on: unknown command 'on'
  [2]
  $ printf '? qos show\nhelp\n' | mrvctl -f - | grep -E '^(Show the QoS|Usage|  Tr)'
  Show the QoS statistics of a port
  Usage: mrvctl qos show [OPTIONS] PORT
    Transactions    begin commit
  $ mrvctl raed HI.2:40
  mrvctl: unknown command 'raed'; did you mean 'read'?
  Try 'mrvctl --help'.
  [2]
