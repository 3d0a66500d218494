  $ . "$TESTDIR/setup.sh"
  $ cp "$TESTDIR"/../../examples/recordings/*.mrec .

The calls of two recorded processes, by time:

  $ mrvctl calls refusals.mrec bringup.mrec
  TIME                        PROCESS           DURATION  OPERATION      REGISTER                        VALUE                       RESULT      CALLER
  2026-11-25 10:25:40.651919  mrvctl.20634        23.0us  transaction    "bring-up"                      69 writes                   ok          SS.0:SS_CFG_CG <- 0x00000001, SS.0:SS_CFG_CG_WR <- 0x00000100 mask 0x0000ff00, HI.0:100 <- 0x00000003, ...
  2026-11-25 10:25:40.651954  mrvctl.20634         0.7us  read-run       SS.0:SS_CFG_CG                  2: 00000001 00000100        ok          read examples/bringup.mrv:12 context 12
  2026-11-25 10:25:40.651967  mrvctl.20634         0.2us  read           NI.0:12                         0x80000000                  ok          read examples/bringup.mrv:13 context 13
  2026-11-25 10:25:40.651996  mrvctl.20634         0.3us  read-run       HF.0:HF_DHS_TCAM[16]            48: 00000001 0a000000 ...   ok          dhs-read examples/bringup.mrv:14 context 14
  2026-11-25 10:25:40.652009  mrvctl.20634         0.2us  read-run       HF.0:HF_DHS_POL[0]              16: 00000001 000f4240 ...   ok          dhs-read examples/bringup.mrv:15 context 15
  2026-11-25 10:25:40.697387  mrvctl.20637         7.6us  write          HI.2:HI_DHS_LVIF[0]             0x00001234                  ok          write examples/refusals.mrv:4 context 4
  2026-11-25 10:25:40.697427  mrvctl.20637         0.1us  write          0x00000010                      0x00000001                  EFAULT      write examples/refusals.mrv:5 context 5
  2026-11-25 10:25:40.697511  mrvctl.20637         0.1us  write-field    KEL_ASIC_CMD_LINK_PAUSE_ENABLE  0x00000001 mask 0x00000001  EFAULT      write-field examples/refusals.mrv:6 context 6
  2026-11-25 10:25:40.697528  mrvctl.20637         0.5us  read-run       NI.0:1100                       -                           EFAULT      read examples/refusals.mrv:7 context 7
  2026-11-25 10:25:40.697545  mrvctl.20637         0.2us  read-run       HI.31:HI_DHS_LVIF[1020]         -                           EFAULT      dhs-read examples/refusals.mrv:8 context 8
  2026-11-25 10:25:40.697594  mrvctl.20637         0.2us  transaction    "half"                          2 writes lost               EFAULT      HI.2:41 <- 0x00000007, 0x00000014 <- 0x00000007
  2026-11-25 10:25:40.697622  mrvctl.20637         0.2us  read           HI.2:41                         0x00000000                  ok          read examples/refusals.mrv:15 context 15
  2026-11-25 10:25:40.697631  mrvctl.20637         0.1us  qos-get        nif:9                           -                           ENXIO
  2026-11-25 10:25:40.697646  mrvctl.20637         0.1us  qos-clear      cif:0                           -                           ENXIO
  2026-11-25 10:25:40.697659  mrvctl.20637         0.1us  command        SFP_VALIDATION_FAILED hif:99    -                           ENXIO       lib_mrv_asic_sfp_validation_fai asic/morvane/common/lib/morvaneusd_intf:88
  2026-11-25 10:25:40.697676  mrvctl.20637         0.2us  read           HI.2:HI_DHS_LVIF[0]             0x00001234                  ok          read examples/refusals.mrv:23 context 23
  2026-11-25 10:25:40.697682  mrvctl.20637         0.1us  write-field    HI.2:HI_DHS_LVIF[0]             0x0000000f mask 0x000000ff  ok          write-field examples/refusals.mrv:24 context 24
  2026-11-25 10:25:40.697690  mrvctl.20637         0.1us  read           HI.2:HI_DHS_LVIF[0]             0x0000120f                  ok          read examples/refusals.mrv:25 context 25
  2026-11-25 10:25:40.697696  mrvctl.20637         0.6us  command        LINK_PAUSE_ENABLE hif:3         -                           ok          lib_mrv_asic_link_pause_enable asic/morvane/common/lib/morvaneusd_intf:61
  2026-11-25 10:25:40.697702  mrvctl.20637         0.1us  command        NODROP_CLASS_MAP 0x08           -                           ok          lib_mrv_asic_set_nodrop_class_m asic/morvane/common/lib/morvaneusd_intf:77
  2026-11-25 10:25:40.697706  mrvctl.20637         0.2us  qos-get        hif:3                           -                           ok          writes=0, reads=0, n2h_drops=0, h2n_drops=0
  2026-11-25 10:25:40.697801  mrvctl.20637         0.1us  sp-timer       SP timer                        time 100                    ok
  2026-11-25 10:25:40.697804  mrvctl.20637         2.7us  command        CLEAR_DROP_COUNTERS             -                           ok          lib_mrv_asic_clear_all_drop_cou asic/morvane/common/lib/morvaneusd_intf:118
  2026-11-25 10:25:40.697809  mrvctl.20637         1.1us  qos-clear-all  all ports                       -                           ok

Only some of them: by result, register, table entry, caller, time, or the last ones.

  $ shown() { mrvctl calls "$@" | sed '1d; s/  .*us  / ... /'; }
  $ shown refusals.mrec bringup.mrec --failed --last 1
  2026-11-25 10:25:40.697659 ... command        SFP_VALIDATION_FAILED hif:99    -                           ENXIO       lib_mrv_asic_sfp_validation_fai asic/morvane/common/lib/morvaneusd_intf:88
  $ shown refusals.mrec --register HI.2:41
  2026-11-25 10:25:40.697594 ... transaction    "half"                          2 writes lost               EFAULT      HI.2:41 <- 0x00000007
  2026-11-25 10:25:40.697622 ... read           HI.2:41                         0x00000000                  ok          read examples/refusals.mrv:15 context 15
  $ shown refusals.mrec bringup.mrec --register 'HF.0:HF_DHS_TCAM[17]' --writes
  2026-11-25 10:25:40.651919 ... transaction    "bring-up"                      69 writes                   ok          HF.0:HF_DHS_TCAM[17] <- 0x00000002, HF.0:HF_DHS_TCAM[17].1 <- 0x0a000100, HF.0:HF_DHS_TCAM[17].2 <- 0xffffff00, ...
  $ shown refusals.mrec --register HI.31 --caller mrv:8
  2026-11-25 10:25:40.697545 ... read-run       HI.31:HI_DHS_LVIF[1020]         -                           EFAULT      dhs-read examples/refusals.mrv:8 context 8
  $ TZ=TST-5TDT-5:30,J329/0,J330/0 shown refusals.mrec --since '2026-11-25 15:55:40.697804'
  2026-11-25 15:55:40.697804 ... command        CLEAR_DROP_COUNTERS             -                           ok          lib_mrv_asic_clear_all_drop_cou asic/morvane/common/lib/morvaneusd_intf:118
  2026-11-25 15:55:40.697809 ... qos-clear-all  all ports                       -                           ok
  $ for options in '--slower 7' '--since 2026-01-01' '--until @1795602340.697511481' '--since -10000d' \
  >   '--since @1795602340.697809572' '--since @1795602340.697809573' '--until 2026-01-01'; do
  >   echo "$options: $(mrvctl calls refusals.mrec $options | grep -c mrvctl)"
  > done
  --slower 7: 1
  --since 2026-01-01: 19
  --until @1795602340.697511481: 3
  --since -10000d: 19
  --since @1795602340.697809572: 1
  --since @1795602340.697809573: 0
  --until 2026-01-01: 0

A table by operation:

  $ mrvctl calls refusals.mrec bringup.mrec --summary
  OPERATION      CALLS  FAILED   TOTAL  MEDIAN     99%  SLOWEST  SLOWEST CALL
  transaction        2       1  23.2us   0.2us  23.0us   23.0us  "bring-up", call 1 of mrvctl.20634
  write              2       1   7.8us   0.1us   7.6us    7.6us  HI.2:HI_DHS_LVIF[0], call 1 of mrvctl.20637, write examples/refusals.mrv:4 context 4
  command            4       1   3.6us   0.1us   2.7us    2.7us  CLEAR_DROP_COUNTERS, call 18 of mrvctl.20637, lib_mrv_asic_clear_all_drop_cou asic/morvane/common/lib/morvaneusd_intf:118
  read-run           5       2   2.0us   0.3us   0.7us    0.7us  SS.0:SS_CFG_CG, call 2 of mrvctl.20634, read examples/bringup.mrv:12 context 12
  qos-clear-all      1       0   1.1us   1.1us   1.1us    1.1us  all ports, call 19 of mrvctl.20637
  read               4       0   0.7us   0.2us   0.2us    0.2us  HI.2:41, call 7 of mrvctl.20637, read examples/refusals.mrv:15 context 15
  qos-get            2       1   0.4us   0.1us   0.2us    0.2us  hif:3, call 16 of mrvctl.20637
  write-field        2       1   0.3us   0.1us   0.1us    0.1us  KEL_ASIC_CMD_LINK_PAUSE_ENABLE, call 3 of mrvctl.20637, write-field examples/refusals.mrv:6 context 6
  sp-timer           1       0   0.1us   0.1us   0.1us    0.1us  SP timer, call 17 of mrvctl.20637
  qos-clear          1       1   0.1us   0.1us   0.1us    0.1us  cif:0, call 9 of mrvctl.20637
  $ mrvctl --json calls refusals.mrec --summary | cut -c 1-260
  {"command":"calls","summary":[{"operation":"write","calls":2,"failed":1,"total_ns":7871,"median_ns":190,"p99_ns":7681,"slowest_ns":7681,"slowest":"HI.2:HI_DHS_LVIF[0], call 1 of mrvctl.20637, write examples/refusals.mrv:4 context 4"},{"operation":"command","ca

Each call as JSON, here the first of each operation:

  $ mrvctl --json calls refusals.mrec | head -n 1
  {"command":"calls","time":"2026-11-25T10:25:40.697387385Z","time_ns":1795602340697387385,"program":"mrvctl","pid":20637,"number":1,"duration_ns":7681,"operation":"write","case":1073741825,"driver":236,"length":196,"module":0,"asic":0,"address":270551808,"register":"HI.2:HI_DHS_LVIF[0]","data":4660,"mask":4294967295,"context":4,"func":"write","file":"examples/refusals.mrv","line":4,"result":0,"errno":null,"outcome":"ok","failed":false}
  $ mrvctl --json calls refusals.mrec bringup.mrec | sed 's/.*"operation":/"operation":/' |
  >   awk -F '[",:]+' '!seen[$3]++' | cut -c 1-420
  "operation":"transaction","case":1073741827,"driver":236,"length":10280,"name":"bring-up","reorder":0,"num":69,"entries":[{"module":0,"asic":0,"address":67108864,"register":"SS.0:SS_CFG_CG","data":1,"mask":4294967295,"lost":false},{"module":0,"asic":0,"address":67108868,"register":"SS.0:SS_CFG_CG_WR","data":256,"mask":65280,"lost":false},{"module":0,"asic":0,"address":268435856,"register":"HI.0:100","data":3,"mask":4
  "operation":"read-run","case":1073741824,"driver":236,"length":204,"module":0,"asic":0,"address":67108864,"register":"SS.0:SS_CFG_CG","num":2,"answered":2,"words":[1,256],"cut":false,"context":12,"func":"read","file":"examples/bringup.mrv","line":12,"result":0,"errno":null,"outcome":"ok","failed":false}
  "operation":"read","case":1073741824,"driver":236,"length":196,"module":0,"asic":0,"address":335544368,"register":"NI.0:12","data":2147483648,"mask":4294967295,"context":13,"func":"read","file":"examples/bringup.mrv","line":13,"result":0,"errno":null,"outcome":"ok","failed":false}
  "operation":"write","case":1073741825,"driver":236,"length":196,"module":0,"asic":0,"address":270551808,"register":"HI.2:HI_DHS_LVIF[0]","data":4660,"mask":4294967295,"context":4,"func":"write","file":"examples/refusals.mrv","line":4,"result":0,"errno":null,"outcome":"ok","failed":false}
  "operation":"write-field","case":1073741825,"driver":236,"length":196,"module":0,"asic":0,"address":4294967288,"register":"KEL_ASIC_CMD_LINK_PAUSE_ENABLE","data":1,"mask":1,"context":6,"func":"write-field","file":"examples/refusals.mrv","line":6,"result":-1,"errno":14,"outcome":"EFAULT","failed":true}
  "operation":"qos-get","case":1073741826,"driver":236,"length":1140,"module":0,"asic":0,"port":"nif:9","opts":0,"stats":null,"result":-1,"errno":6,"outcome":"ENXIO","failed":true}
  "operation":"qos-clear","case":1073741826,"driver":236,"length":1140,"module":0,"asic":0,"port":"cif:0","opts":0,"result":-1,"errno":6,"outcome":"ENXIO","failed":true}
  "operation":"command","case":1073741825,"driver":236,"length":196,"module":0,"asic":867,"address":4294967280,"register":"KEL_ASIC_CMD_SFP_VALIDATION_FAILED","data":0,"mask":4294967295,"context":0,"func":"lib_mrv_asic_sfp_validation_fai","file":"asic/morvane/common/lib/morvaneusd_intf","line":88,"result":-1,"errno":6,"outcome":"ENXIO","failed":true}
  "operation":"sp-timer","case":1073741910,"driver":236,"length":196,"module":0,"asic":0,"data":100,"result":0,"errno":null,"outcome":"ok","failed":false}
  "operation":"qos-clear-all","case":1073741826,"driver":236,"length":1140,"module":0,"asic":0,"port":null,"opts":0,"result":0,"errno":null,"outcome":"ok","failed":false}

As packets for Wireshark, in a file that only the user can read, and that must not exist:

  $ mrvctl calls refusals.mrec bringup.mrec --pcap new.pcapng
  48 packets written to new.pcapng
  $ mrvctl calls refusals.mrec --pcap calls.pcapng >/dev/null
  $ ls -l calls.pcapng | cut -c 1-10
  -rw-------
  $ cmp calls.pcapng "$TESTDIR/calls.pcapng"
  $ mrvctl calls refusals.mrec --pcap calls.pcapng
  calls refusals.mrec --pcap calls.pcapng: cannot make calls.pcapng: File exists
  [1]
  $ (trap '' XFSZ; ulimit -f 8; mrvctl calls refusals.mrec --pcap full.pcapng 2>&1) | cat
  calls refusals.mrec --pcap full.pcapng: cannot write full.pcapng

Calls that are still to come, until ^C:

  $ mkdir live; touch followed
  $ mrvctl record live -- mrvctl qos show hif:1 --watch 0.1 --count 3 >/dev/null &
  $ until ls live/*.mrec >/dev/null 2>&1 || ! kill -0 $!; do sleep 0.01; done
  $ env --default-signal=INT mrvctl calls --follow live/*.mrec >followed &
  $ until [ "$(grep -c qos-get followed)" = 3 ] || ! kill -0 $!; do sleep 0.01; done
  $ kill -INT $!; wait $!

A recording of a process that died in a call, one with an unknown kind of note, and recordings of the same
and of another boot after the clock was set. The calls of one boot keep their order.

  $ python3 "$TESTDIR/craft_recordings.py" refusals.mrec
  $ shown died.mrec
  2026-11-25 10:25:40.697387  mrvctl.20637             -  write          HI.2:HI_DHS_LVIF[0]             0x00001234                  in-flight   write examples/refusals.mrv:4 context 4
  $ shown kinds.mrec --last 1
  kinds.mrec: 1 note of a kind that is not known
  2026-11-25 10:25:40.697809 ... qos-clear-all  all ports                       -                           ok
  $ for other in died boot set_clock; do shown bringup.mrec $other.mrec --last 1; done
  2026-11-25 10:25:40.697387  mrvctl.20637             -  write          HI.2:HI_DHS_LVIF[0]             0x00001234                  in-flight   write examples/refusals.mrv:4 context 4
  2026-11-25 10:25:40.652009 ... read-run       HF.0:HF_DHS_POL[0]              16: 00000001 000f4240 ...   ok          dhs-read examples/bringup.mrv:15 context 15
  2026-11-25 10:25:40.697809 ... qos-clear-all  all ports                       -                           ok
  $ cp refusals.mrec twin1.mrec; cp refusals.mrec twin2.mrec
  $ mrvctl calls refusals.mrec twin1.mrec twin2.mrec --pcap merged.pcapng >/dev/null
  $ od -An -v -tu4 -w4 merged.pcapng |
  >   awk '{ word[NR] = $1 } END { for (i = 1; i < NR; i += word[i + 1] / 4) if (word[i] == 6) print word[i + 2] }' |
  >   head -n 9 | paste -sd ' '
  0 1 2 0 1 2 0 1 2

Arguments that are not understood:

  $ mrvctl --switch /no/switch calls /dev/null
  calls /dev/null: /dev/null is not a recording: it is not a regular file
  [1]
  $ mrvctl -f - <<E
  > calls refusals.mrec --since -30000d
  > calls refusals.mrec --since 25:00
  > calls refusals.mrec --summary --follow
  > E
  stdin:1: calls refusals.mrec --since -30000d: --since: '30000' is not a number from 0 to *, in decimal, hexadecimal (0x) or binary (0b) (glob)
  stdin:2: calls refusals.mrec --since 25:00: --since: '25:00' is not a time; use for example 2026-11-25 03:00:00, 03:00, 10m, '5 min ago' or @1764060000
  stdin:3: calls refusals.mrec --summary --follow: --follow, --summary and --pcap exclude each other
  [2]
