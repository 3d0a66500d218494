  $ . "$TESTDIR/setup.sh"

Live views need counters that rise. On this platform each counter rises with each reading, by a number of its
own.

  $ numbering="--platform $BUILD/lib/librefusing_platform.so"

A view of one port shows the counters that rose, with their rates, after the statistics:

  $ mrvctl $numbering qos show nif:5 --watch 0.1 --count 2 >shown
  $ grep -c '^nif:5, module 0, ASIC 0' shown
  2
  $ sed -n '/^rising/,$s/ *[0-9.]*$//p' shown | sed -n '1,4p;9p;$p'
  rising, per second
    pause XOFF received
    pause XON received
    pause XOFF sent
    PFC XOFF sent [3]
    drops h2n [5][7]
  $ mrvctl qos show nif:5 --watch 0.1 --count 2 | grep -c rising
  0
  [1]

A rate is the difference of two readings, divided by the time between them.

  $ mrvctl $numbering --json qos show nif:5 --watch 0.1 --count 2 | python3 -c '
  > import json, sys
  > first, second = map(json.loads, sys.stdin)
  > print("rates" in first)
  > for group, name in ("ss_dhs", "wr_rcvd_cnt"), ("drops", "n2h_drops"):
  >     print(first["stats"][group][name][2], second["stats"][group][name][2])
  >     rates = second["rates"][group][name][2]
  >     print([round(rate * second["seconds"]) for rate in (rates if isinstance(rates, list) else [rates])])'
  False
  13061 26122
  [13061]
  [30976, 31488, 32000, 32512, 33024, 33536, 34048, 34560] [61952, 62976, 64000, 65024, 66048, 67072, 68096, 69120]
  [30976, 31488, 32000, 32512, 33024, 33536, 34048, 34560]
  $ mrvctl $numbering --json qos top --once --interval 0.1 | python3 -c '
  > import json, sys
  > ports = json.load(sys.stdin)["ports"]
  > port = next(port for port in ports if port["port"] == "nif:5")
  > rates = port.pop("rates")
  > print(len(ports), port)
  > print({name: round(rate / rates["timeouts"] * 22277) for name, rate in rates.items()})'
  40 {'port': 'nif:5', 'up': True, 'xoff_receive': True, 'xoff_transmit': True, 'dropped_share': 1.0}
  {'writes': 110632, 'reads': 155688, 'discards': 16133, 'drops_n2h': 1671168, 'drops_h2n': 2850816, 'pfc': 22028, 'pause': 5144, 'errors': 17157, 'multicast_discards': 16645, 'flushes': 21765, 'timeouts': 22277}

^C ends a view, and the script goes on.

  $ end_when_shown() {
  >   rm -f seen; signal=$1; shift
  >   env --default-signal=INT mrvctl "$@" >seen 2>&1 &
  >   until grep -qs '^  XOFF sent\|^drops h2n' seen || ! kill -0 $!; do sleep 0.01; done
  >   { kill -$signal $!; wait $!; } 2>/dev/null  # a shell may print the signal, or not
  > }
  $ printf 'begin x\nwrite HI.2:5 1\nqos show hif:1 --watch 30\ncommit\n' >open.mrv
  $ end_when_shown INT -f open.mrv
  $ tail -n 1 seen
  transaction "x" is sent: 1 write

The view of all ports begins with the totals. The first port in the order shows its classes.

  $ end_when_shown INT $numbering qos top --interval 30
  $ sed -n '1,4p; 41,$p' seen | sed 's/^>/*/'
  module 0, ASIC 0  40 ports by drops  frames in all
    PORT    WRITES   READS    DISC     N2H     H2N     PFC   PAUSE  XOFF DROPPED
  * nif:2     221k    311k   32.3k   3343k   5702k   44.0k   10.2k  rx   ####100%
    nif:3     221k    311k   32.3k   3343k   5702k   44.0k   10.2k  rx tx####100%
    hif:4     111k    156k   16.1k   1671k   2851k   22.0k    5148  rx   ####100%
    hif:5     111k    156k   16.1k   1671k   2851k   22.0k    5144  rx tx####100%
  
  nif:2, class          0       1       2       3       4       5       6       7
    writes          24.1k   25.1k   26.1k   27.1k   28.2k   29.2k   30.2k   31.2k
    reads           35.3k   36.4k   37.4k   38.4k   39.4k   40.5k   41.5k   42.5k
    drops n2h        396k    403k    409k    415k    421k    427k    433k    439k
    drops h2n        691k    697k    704k    710k    716k    722k    728k    734k
    XOFF received   13.3k   14.3k   15.4k   16.4k   17.4k   18.4k   19.5k   20.5k
    XOFF sent        5122    6146    7170    8194    9218   10.2k   11.3k   12.3k
  
  $ end_when_shown INT $numbering qos top --interval 30 --sort PAUSE
  $ sed -n '1s/every.*//p; 3,5p; 42,44p' seen | sed 's,^>,*,' | cut -c -64
  * nif:4     221k    311k   32.3k   3342k   5702k   44.1k   10.3k
    nif:5     221k    311k   32.3k   3342k   5702k   44.1k   10.3k
    nif:6     221k    311k   32.3k   3343k   5702k   44.1k   10.3k
    hif:0     111k    156k   16.1k   1671k   2851k   22.0k    5132
  
  nif:4, class          0       1       2       3       4       5 
  $ end_when_shown INT $numbering qos top --interval 30 --sort writes
  $ sed -n '1s/every.*//p; 3,5p; 42,44p' seen | sed 's,^>,*,' | cut -c -64
  * nif:7     221k    311k   32.3k   3343k   5702k   44.0k   10.3k
    nif:6     221k    311k   32.3k   3343k   5702k   44.1k   10.3k
    nif:5     221k    311k   32.3k   3342k   5702k   44.1k   10.3k
    hif:0     111k    156k   16.1k   1671k   2851k   22.0k    5132
  
  nif:7, class          0       1       2       3       4       5 

Ports without traffic come in the order of their numbers, and have no share of drops.

  $ mrvctl qos top --once --interval 0.1 | sed -n '4p;34,36p' | tr -s ' ' | sed 's, $,,'
   hif:1 0 0 0 0 0 0 0
   hif:31 0 0 0 0 0 0 0
   nif:0 0 0 0 0 0 0 0
   nif:1 0 0 0 0 0 0 0

Each of the 40 ports is read twice, without options. Two more reads find that there are no ports of the other types.

  $ mrvctl --calls qos top --once --interval 0.1 2>&1 | grep -c 'opts=0x0'
  82

A port that drops frames now comes before one that dropped more earlier.

  $ mrvctl switch traffic hif:31 --class 1 --frames 90000000 --excess 90000000 >traffic
  $ mrvctl switch traffic hif:4 --class 1 --rate 1000 --excess 1000 >traffic
  $ mrvctl qos top --once --interval 0.1 | sed -n '3,5s/^..\(hif:[0-9]*\).*/\1/p' | paste -sd ' '
  hif:4 hif:31 hif:0

SIGTERM and a closed pipe end mrvctl. The open transaction is lost.

  $ end_when_shown TERM -f open.mrv
  [143]
  $ tail -n 1 seen
  mrvctl: transaction "x" was never committed: 1 write lost
  $ sed '3{h;d};$G' open.mrv >sent.mrv
  $ end_when_shown TERM -f sent.mrv
  [143]
  $ grep -c mrvctl: seen
  0
  [1]
  $ sed -i s/30/0.1/ open.mrv
  $ mrvctl -f open.mrv | head -n 1
  transaction "x" is open
  mrvctl: transaction "x" was never committed: 1 write lost

A view that cannot read a port at all fails.

  $ printf 'switch fault add EPERM\nqos top\n' | mrvctl -f -
  fault: EPERM for all calls
  stdin:2: qos top: service call failed: Operation not permitted (0x82230001): hif:0
  [1]
  $ mrvctl -f - <<E
  > qos top --sort size
  > qos top --interval 0
  > qos show hif:3 --watch 3601
  > E
  stdin:1: qos top --sort size: --sort: 'size' is none of drops, pause, writes
  stdin:2: qos top --interval 0: --interval: '0' is not a time from 0.1 to 3600 seconds
  stdin:3: qos show hif:3 --watch 3601: --watch: '3601' is not a time from 0.1 to 3600 seconds
  [2]
