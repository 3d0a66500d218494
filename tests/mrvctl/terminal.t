  $ . "$TESTDIR/setup.sh"

At a terminal the cells of the drop grids have colours: by tens, hundreds, ten thousands, and millions.

  $ class=1
  $ for drops in 99 100 9999 10000 999999 1000000; do
  >   mrvctl switch traffic hif:1 --class $((class += 1)) --frames 1000000 --excess $drops
  > done >/dev/null 2>&1
  $ at_terminal() { script -qec "$*" /dev/null </dev/null | tr -d '\r'; }
  $ TERM=xterm at_terminal mrvctl qos show hif:1 | grep -m 1 'row 0'
    row 0         \x1b[2m       0\x1b[0m\x1b[2m       0\x1b[0m\x1b[33m      99\x1b[0m\x1b[1;33m     100\x1b[0m\x1b[1;33m    9999\x1b[0m\x1b[31m   10000\x1b[0m\x1b[31m  999999\x1b[0m\x1b[1;31m 1000000\x1b[0m (esc)
  $ TERM=xterm NO_COLOR= at_terminal mrvctl qos show hif:1 | grep -c '\[31m  999999'
  1
  $ TERM=xterm NO_COLOR=1 at_terminal mrvctl qos show hif:1 | grep -m 1 'row 0'
    row 0                0       0      99     100    9999   10000  999999 1000000
  $ TERM=dumb at_terminal mrvctl qos show hif:1 | grep -m 1 'row 0'
    row 0                0       0      99     100    9999   10000  999999 1000000
  $ TERM=xterm mrvctl qos show hif:1 | grep -m 1 'row 0'
    row 0                0       0      99     100    9999   10000  999999 1000000

A view of all ports takes the screen, repaints it after each interval, and gives it back at q. A terminal
without a size has 80 columns.

  $ type_when_shown() {
  >   rm -f seen; keys=$1 part=$2; shift 2
  >   (until grep -qs "$part" seen; do sleep 0.01; done; printf "$keys") | script -qefc "exec $*" seen >/dev/null
  > }
  $ TERM=xterm type_when_shown q 'frames a second' mrvctl qos top --interval 0.1
  $ grep -o -a 'frames in all\|1049[hl]\|  #[# ]*[0-9]*%' seen
  1049h
  frames in all
    ##   34%
  1049l

Without a screen it prints lines, until ^C.

  $ TERM=dumb type_when_shown '\003' 'XOFF sent' mrvctl qos top --interval 30
  $ grep -c -a 'ports by drops\|1049' seen
  1

With --dry-run each line that is typed is only checked.

  $ type_in() { TERM=xterm script -qec "$*" /dev/null | tr -d '\r' | grep '^stdin\|^HI'; }
  $ printf 'write HI.2:40 x\nread HI.2:6\n' | type_in mrvctl --dry-run -f -
  stdin:1: write HI.2:40 x: DATA: 'x' is not a number from 0 to 4294967295 (0xFFFFFFFF), in decimal, hexadecimal (0x) or binary (0b)
