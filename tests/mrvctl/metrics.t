  $ . "$TESTDIR/setup.sh"
  $ project=$TESTDIR/../.. numbering="--platform $BUILD/lib/librefusing_platform.so"

The counters of ports for Prometheus:

  $ mrvctl switch traffic hif:3 --class 2 --frames 9007199254740995 --excess 4
  hif:3: 9007199254740995 frames of class 2 n2h, 4 of them in excess
  $ mrvctl qos metrics hif:3 --nonzero >metrics
  $ grep -E '_total.* [1-9]|drops_n2h' metrics
  morvane_port_writes_received_total{module="0",asic="0",port_type="hif",port="3",class="2"} 3
  morvane_port_writes_discarded_total{module="0",asic="0",port_type="hif",port="3"} 4
  morvane_port_reads_sent_total{module="0",asic="0",port_type="hif",port="3",class="2"} 9007199254740991
  # HELP morvane_port_drops_n2h_total drops n2h (drops.n2h_drops)
  # TYPE morvane_port_drops_n2h_total counter
  morvane_port_drops_n2h_total{module="0",asic="0",port_type="hif",port="3",row="0",class="2"} 4
  $ grep -c row= metrics
  1

docs/metrics.md lists their names, types and labels, in their order. The dashboard and alerts use no others.

  $ mrvctl qos metrics nif:3 | awk '
  >   /^# TYPE/ { family = $3; type = $4; next }
  >   /^#/ || family == "" { next }
  >   { gsub(/^[^{]*{|}.*|="[^"]*"/, ""); sub(/module,asic(,port_type,port)?/, type); print family, $0; family = "" }' >printed
  $ sed -n 's/^| `\(morvane_[a-z0-9_]*\)` | \([a-z]*\) |\([^|]*\)|.*/\1 \2,\3/p' "$project/docs/metrics.md" |
  >   tr -d '`' | sed 's/, */,/g; s/[ ,]*$//' >listed
  $ diff listed printed
  $ cut -d ' ' -f 1 listed | sort >names
  $ grep -ohE 'morvane_(up|build|port)[a-z0-9_]*' "$project"/share/prometheus/* "$project"/share/grafana/* |
  >   sort -u | comm -13 names -

Each counter has its metric. This platform answers each with another number.

  $ mrvctl $numbering qos metrics nif:5 |
  >   grep -vE '(class|priority)="[1-7]"|row="[1-5]"|^#' | sed 's/module.*port="5"//'
  morvane_build_info{module="0",asic="0",version="*"} 1 (glob)
  morvane_up{module="0",asic="0"} 1
  morvane_port_up{} 1
  morvane_port_flow_control{} 262
  morvane_port_xoff_state_receive{} 5
  morvane_port_xoff_state_transmit{} 1
  morvane_port_pause_xoff_received_total{} 518
  morvane_port_pause_xon_received_total{} 1030
  morvane_port_pause_xoff_sent_total{} 1542
  morvane_port_pause_xon_sent_total{} 2054
  morvane_port_pfc_xoff_sent_total{,priority="0"} 2566
  morvane_port_pfc_xoff_received_total{,priority="0"} 6662
  morvane_port_pfc_sent_total{} 10758
  morvane_port_pfc_received_total{} 11270
  morvane_port_writes_received_total{,class="0"} 12037
  morvane_port_writes_discarded_total{} 16133
  morvane_port_multicast_writes_discarded_total{} 16645
  morvane_port_writes_received_with_error_total{} 17157
  morvane_port_reads_sent_total{,class="0"} 17669
  morvane_port_queue_flushes_total{} 21765
  morvane_port_queue_timeouts_total{} 22277
  morvane_port_drops_n2h_total{,row="0",class="0"} 22784
  morvane_port_drops_h2n_total{,row="0",class="0"} 47360
  $ mrvctl $numbering qos metrics nif:5 |
  >   grep -E '(class|priority)="7"' | grep -v 'row="[0-4]"' | sed 's/module.*port="5",//'
  morvane_port_pfc_xoff_sent_total{priority="7"} 6150
  morvane_port_pfc_xoff_received_total{priority="7"} 10246
  morvane_port_writes_received_total{class="7"} 15621
  morvane_port_reads_sent_total{class="7"} 21253
  morvane_port_drops_n2h_total{row="5",class="7"} 46848
  morvane_port_drops_h2n_total{row="5",class="7"} 71424
  $ mrvctl $numbering --json qos metrics nif:5 | cut -c 1-133
  {"command":"qos metrics","module":0,"asic":0,"ports":[{"port":"nif:5","up":true,"stats":{"pause":{"flow_ctrl":262,"rx_xoff_cnt":518,"

All ports, or those of a type, each once:

  $ mrvctl qos metrics | grep -c '^morvane_port_up{'
  40
  $ mrvctl --calls qos metrics hif nif:3 hif:3 hif nif:3 2>&1 >metrics | grep -c 'QOS_STATS_GET.*opts=0x0'
  33
  $ grep -c '^morvane_port_up{' metrics
  33

A file is replaced when all ports are read, and kept when one of them fails.

  $ (umask 027; mrvctl qos metrics --output m.prom; ls -l m.prom | cut -c 1-10)
  m.prom: metrics of 40 ports
  -rw-r-----
  $ echo kept >m.prom
  $ mrvctl -f - <<E
  > switch fault add EIO
  > qos metrics --output m.prom
  > E
  fault: EIO for all calls
  stdin:2: qos metrics --output m.prom: service call failed: Input/output error, or a positive answer (0x82230005): hif:0
  [1]
  $ mkfifo fifo && mrvctl qos metrics --output fifo
  qos metrics --output fifo: fifo: is not a plain file
  [1]
  $ mrvctl qos metrics --output /nosuch/m.prom
  qos metrics --output /nosuch/m.prom: /nosuch/m.prom: No such file or directory
  [1]
  $ (trap '' XFSZ; ulimit -f 0; mrvctl qos metrics --output m.prom 2>&1) | cat
  qos metrics --output m.prom: m.prom: File too large
  $ cat m.prom*
  kept
  $ test -p fifo

A port that the switch does not have is down; a service that does not answer is down too.

  $ mrvctl qos metrics hif:40 hif:41 nif:1 2>&1 | grep -v '^#' | grep 'up{\|service'
  morvane_up{module="0",asic="0"} 1
  morvane_port_up{module="0",asic="0",port_type="hif",port="40"} 0
  morvane_port_up{module="0",asic="0",port_type="hif",port="41"} 0
  morvane_port_up{module="0",asic="0",port_type="nif",port="1"} 1
  qos metrics hif:40 hif:41 nif:1: service call failed: No such device or address (0x82230006): hif:40 (and 1 more)
  $ echo 'switch fault add EIO
  > qos metrics' | mrvctl -f - 2>&1 | grep -v '^#'
  fault: EIO for all calls
  morvane_build_info{module="0",asic="0",version="*"} 1 (glob)
  morvane_up{module="0",asic="0"} 0
  stdin:2: qos metrics: service call failed: Input/output error, or a positive answer (0x82230005): hif:0
  $ mrvctl qos metrics cif
  qos metrics cif: no cif ports
  [1]
  $ mrvctl --asic 1 --json qos metrics
  {"command":"qos metrics","file":null,"line":null,"error":{"code":1109590019,"name":"SYSERR_KEL_ASIC_INVALID_ARG","text":"SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): ASIC numbers are 0 to 0"}}
  [2]

For the types that have no limit, ports are read until the service lacks one. EINVAL says so too.

  $ CIF_PORTS=2:22 mrvctl $numbering qos metrics cif | grep 'up{'
  morvane_up{module="0",asic="0"} 1
  morvane_port_up{module="0",asic="0",port_type="cif",port="0"} 1
  morvane_port_up{module="0",asic="0",port_type="cif",port="1"} 1
  $ CIF_PORTS=2:5 mrvctl $numbering qos metrics cif 2>&1 | grep 'up{\|service'
  # HELP morvane_up whether the service of the ASIC answers
  morvane_up{module="0",asic="0"} 1
  # HELP morvane_port_up whether the service answers for the port
  morvane_port_up{module="0",asic="0",port_type="cif",port="0"} 1
  morvane_port_up{module="0",asic="0",port_type="cif",port="1"} 1
  morvane_port_up{module="0",asic="0",port_type="cif",port="2"} 0
  qos metrics cif: service call failed: Input/output error, or a positive answer (0x82230005): cif:2

Arguments that are not understood:

  $ mrvctl -f - <<E
  > qos metrics hif:3:1
  > qos metrics --output ""
  > E
  stdin:1: qos metrics hif:3:1: '3:1' is not a number from 0 to 255, in decimal, hexadecimal (0x) or binary (0b)
  stdin:2: qos metrics --output : --output: value must not be empty
  [2]
