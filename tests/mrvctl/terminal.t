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

Recorded calls fit the terminal: columns are as wide as necessary, and cut if there is no space.

  $ recordings=$TESTDIR/../../examples/recordings
  $ at_terminal "stty cols 80; mrvctl calls $recordings/bringup.mrec"
  TIME         PROCESS    US OPERATION REGISTER       VALUE       RESULT CALLER
  10:25:40.651 mrvc~634 23.0 tran~tion "bring-up"     69 writes   ok     SS.0:SS_~
  10:25:40.651 mrvc~634  0.7 read-run  SS.0:SS_CFG_CG 2: 0000000~ ok     ~p.mrv:12
  10:25:40.651 mrvc~634  0.2 read      NI.0:12        0x80000000  ok     ~p.mrv:13
  10:25:40.651 mrvc~634  0.3 read-run  HF.0:HF~AM[16] 48: 000000~ ok     ~p.mrv:14
  10:25:40.652 mrvc~634  0.2 read-run  HF.0:HF~POL[0] 16: 000000~ ok     ~p.mrv:15
  $ for width in 1 20 79 80 81 100 132 200; do
  >   at_terminal "stty cols $width; mrvctl calls $recordings; mrvctl calls --summary $recordings" |
  >     awk -v width=$width 'length > width || !NF { print width ": " $0 }'
  > done
  $ at_terminal "stty cols 40; mrvctl calls $recordings --last 2 --columns register,caller,time"
  REGISTER       CALLER   TIME
  CLEAR_D~UNTERS ~ntf:118 10:25:40.697
  all ports               10:25:40.697
  $ at_terminal "stty cols 40; mrvctl calls $recordings --last 2 --columns register,caller,time --wide" >wide
  $ mrvctl calls $recordings --last 2 --columns register,caller,time | tee narrow | cmp - wide
  $ cat narrow
  REGISTER                        CALLER                                    TIME
  CLEAR_DROP_COUNTERS             lib_mrv_asic_clear_all_drop_cou asic/morvane/common/lib/morvaneusd_intf:118  2026-11-25 10:25:40.697804
  all ports                                                                 2026-11-25 10:25:40.697809
  $ printf 'begin a\nwrite HI.2:5 1\ndhs-write HI.2:HI_DHS_LVIF[0] 1 2\ncommit\n' >a.mrv; mrvctl record a -- mrvctl -f a.mrv >/dev/null
  $ at_terminal "stty cols 80; mrvctl calls a --columns register,value,caller"
  REGISTER VALUE    CALLER
  "a"      3 writes write a.mrv:2, dhs-write a.mrv:3
  $ at_terminal "stty cols 80; mrvctl last-write HI.2:HI_DHS_LVIF $recordings"
  HI.2:HI_DHS_LVIF[0] <- 0x0000000f mask 0x000000ff  2026-11-25 10:25:40.697682
    mrvctl.20637  write-field  ok  write-field examples/refusals.mrv:24 context 24
  $ mrvctl calls $recordings --columns time,date
  mrvctl: --columns: 'date' is not one of the columns time, process, duration, operation, register, value, result, caller
  Try 'mrvctl calls --help'.
  [2]

A view of all ports takes the screen, repaints it after each interval, and gives it back at q. A terminal
without a size has 80 columns.

  $ type_when_shown() {
  >   rm -f seen; keys=$1 part=$2; shift 2
  >   (timeout 60 sh -c 'until grep -qs "$0" seen; do sleep 0.01; done' "$part"; printf "$keys") | script -qefc "exec $*" seen >/dev/null
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
  $ grep -c -a '\^C.$' seen
  1

A shell that was stopped shows its prompt again.

  $ TERM=dumb type_when_shown '\032quit\n' 'mrv> ' "bash -mc 'mrvctl --switch none shell --plain; fg'"
  $ grep -c -a 'mrv> ' seen
  2

With --dry-run each line that is typed is only checked.

  $ type_in() { TERM=dumb script -qec "$*" /dev/null | tr -d '\r' | grep '^stdin\|^HI'; }
  $ for colour in NO_COLOR= NO_COLOR=1 TERM=dumb; do TERM=xterm at_terminal env $colour mrvctl read HI.32:5; done | cut -c -20
  \x1b[31mread HI.32:5: S (esc)
  read HI.32:5: SYSERR
  read HI.32:5: SYSERR
  $ NO_COLOR=1 mrvctl --color always read HI.32:5 2>&1 | cut -c -20
  \x1b[31mread HI.32:5: S (esc)
  $ mrvctl --color red read HI.32:5
  mrvctl: --color: 'red' is not auto, always or never
  Try 'mrvctl read --help'.
  [2]
  $ printf 'write HI.2:40 x\nread HI.2:6\n' | type_in mrvctl --dry-run -f -
  stdin:1: write HI.2:40 x: DATA: 'x' is not a number from 0 to 4294967295 (0xFFFFFFFF), in decimal, hexadecimal (0x) or binary (0b)

A shell begins with the switch that it works on.

  $ at_terminal mrvctl shell --plain | head -n 1
  switch */switch (glob)
