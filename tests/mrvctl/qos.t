  $ . "$TESTDIR/setup.sh"
  $ traffic() { mrvctl switch traffic "$@" >traffic; }

Of 90 frames of class 1 that arrive at a host port, 9 find their queue full.

  $ traffic hif:3 --class 1 --frames 90 --excess 9
  $ traffic hif:3 --class 7 --frames 6 --excess 4 --direction h2n
  $ mrvctl pause on hif:3
  link pause on for hif:3
  $ mrvctl qos show hif:3 >shown
  $ grep -E 'by class|discarded|^  writes|^  reads|flow' shown
    flow control                0x0001
  by class               0       1       2       3       4       5       6       7
    writes               0      90       0       0       0       0       0       6
    reads                0      81       0       0       0       0       0       2
  writes discarded                  13
  multicast discarded                0
  $ grep -E '^drops|row 0' shown
  drops n2h              0       1       2       3       4       5       6       7
    row 0                0       9       0       0       0       0       0       0
  drops h2n              0       1       2       3       4       5       6       7
    row 0                0       0       0       0       0       0       0       4

Clearing the drop counters leaves the other statistics; clearing those of the port leaves link pause.

  $ mrvctl clear-drops
  drop counters of module 0, ASIC 0 cleared
  $ mrvctl qos show hif:3 | grep -E 'discarded|row 0'
  writes discarded                  13
  multicast discarded                0
    row 0                0       0       0       0       0       0       0       0
    row 0                0       0       0       0       0       0       0       0
  $ mrvctl qos clear hif:3
  QoS statistics of hif:3 cleared
  $ mrvctl qos show hif:3 | grep -E 'flow|^  writes'
    flow control                0x0001
    writes               0       0       0       0       0       0       0       0

A type clears all of its ports, clear-all those of all types.

  $ for port in hif:7 nif:7; do traffic $port --class 1 --frames 5; done
  $ mrvctl --json qos clear nif
  {"command":"qos clear","port":"nif","ports":8}
  $ mrvctl --json qos clear bif
  {"command":"qos clear","file":null,"line":null,"error":{"code":null,"name":"FAILED","text":"no bif ports"}}
  [1]
  $ mrvctl qos show nif:7 --nonzero | tail -n 1
  every counter is zero
  $ mrvctl qos show hif:7 --nonzero | tail -n +3
  by class               0       1       2       3       4       5       6       7
    writes               0       5       0       0       0       0       0       0
    reads                0       5       0       0       0       0       0       0
  $ mrvctl qos clear-all
  QoS statistics of all ports cleared
  $ mrvctl qos show hif:7 --nonzero | tail -n 1
  every counter is zero

Frames of a class in the no-drop map are not dropped but paused by PFC. Link pause stops all classes, by XOFF.

  $ mrvctl nodrop 8
  no-drop map 0x08, classes 3
  $ traffic hif:31 --class 3 --frames 100 --excess 10
  $ mrvctl pause on hif:31
  link pause on for hif:31
  $ traffic hif:31 --class 4 --frames 50 --excess 20
  $ mrvctl qos show hif:31 --nonzero | sed -n '4,7p; /XOFF sent/p; /reads/p'
    XOFF                             0           1
    XON                              0           1
    PFC                              0           2
    flow control                0x0001
    XOFF sent            0       0       0       1       0       0       0       0
    reads                0       0       0     100      50       0       0       0

The tables fit into 80 columns: large counters divide them.

  $ traffic hif:1 --class 2 --frames 99123456789012 --excess 12345678901234
  $ mrvctl qos show hif:1 --nonzero | sed -n '/n2h/,$p'
  drops n2h                     0              1              2              3
    row 0                       0              0 12345678901234              0
  $ traffic hif:2 --class 2 --frames 18446744073709551615
  $ mrvctl qos show hif:2 | grep '.\{81\}'
  [1]
  $ mrvctl --json qos show hif:2 | grep -o '"wr_rcvd_cnt[^]]*'
  "wr_rcvd_cnt":[0,0,18446744073709551615,0,0,0,0,0

Every counter has its place. This platform answers each with another number.

  $ numbering="--platform $BUILD/lib/librefusing_platform.so"
  $ mrvctl $numbering qos show hif:3 | grep -v 'row [234]'
  hif:3, module 0, ASIC 0
  
  pause                       received        sent
    XOFF                           512        1536
    XON                           1024        2048
    PFC                          11264       10752
    side in XOFF                   yes         yes
    flow control                0x0100
  
  PFC by priority        0       1       2       3       4       5       6       7
    XOFF received     6656    7168    7680    8192    8704    9216    9728   10240
    XOFF sent         2560    3072    3584    4096    4608    5120    5632    6144
  
  by class               0       1       2       3       4       5       6       7
    writes           12035   12547   13059   13571   14083   14595   15107   15619
    reads            17667   18179   18691   19203   19715   20227   20739   21251
  
  writes discarded               16131
  multicast discarded            16643
  received with an error         17155
  queue flushes                  21763
  queue timeouts                 22275
  
  drops n2h              0       1       2       3       4       5       6       7
    row 0            22790   23302   23814   24326   24838   25350   25862   26374
    row 1            26886   27398   27910   28422   28934   29446   29958   30470
    row 5            43270   43782   44294   44806   45318   45830   46342   46854
  
  drops h2n              0       1       2       3       4       5       6       7
    row 0            47366   47878   48390   48902   49414   49926   50438   50950
    row 1            51462   51974   52486   52998   53510   54022   54534   55046
    row 5            67846   68358   68870   69382   69894   70406   70918   71430
  $ mrvctl $numbering --json qos show hif:3 | tr '{' '\n'
  
  "command":"qos show","module":0,"asic":0,"port":"hif:3","stats":
  "pause":
  "flow_ctrl":256,"rx_xoff_cnt":512,"rx_xon_cnt":1024,"tx_xoff_cnt":1536,"tx_xon_cnt":2048,"tx_pfc_xoff_cnt":[2560,3072,3584,4096,4608,5120,5632,6144],"rx_pfc_xoff_cnt":[6656,7168,7680,8192,8704,9216,9728,10240],"tx_pfc_cnt":10752,"rx_pfc_cnt":11264,"rx_xoff_status":3,"tx_xoff_status":1},"ss_dhs":
  "wr_rcvd_cnt":[12035,12547,13059,13571,14083,14595,15107,15619],"wr_discard_cnt":16131,"wr_discard_mcast_cnt":16643,"wr_rcvd_err_cnt":17155,"rd_sent_cnt":[17667,18179,18691,19203,19715,20227,20739,21251]},"oq":
  "flush_cnt":21763,"tout_cnt":22275},"drops":
  "n2h_drops":[[22790,23302,23814,24326,24838,25350,25862,26374],[26886,27398,27910,28422,28934,29446,29958,30470],[30982,31494,32006,32518,33030,33542,34054,34566],[35078,35590,36102,36614,37126,37638,38150,38662],[39174,39686,40198,40710,41222,41734,42246,42758],[43270,43782,44294,44806,45318,45830,46342,46854]],"h2n_drops":[[47366,47878,48390,48902,49414,49926,50438,50950],[51462,51974,52486,52998,53510,54022,54534,55046],[55558,56070,56582,57094,57606,58118,58630,59142],[59654,60166,60678,61190,61702,62214,62726,63238],[63750,64262,64774,65286,65798,66310,66822,67334],[67846,68358,68870,69382,69894,70406,70918,71430]]}}}

Ports that the switch does not have, and arguments that are not understood:

  $ mrvctl qos show hif:40
  qos show hif:40: service call failed: No such device or address (0x82230006)
  [1]
  $ mrvctl --module 1 clear-drops
  clear-drops: the library clears the drop counters of module 0, ASIC 0 only
  [2]
  $ mrvctl switch traffic nif:8 --class 1 --frames 1
  switch traffic nif:8 --class 1 --frames 1: module 0, ASIC 0 has no port nif:8
  [1]
  $ mrvctl -f - <<E
  > switch traffic hif:3 --class 8 --frames 1
  > qos show fif 0
  > qos show hif:0 --count 3
  > E
  stdin:1: switch traffic hif:3 --class 8 --frames 1: --class: '8' is not a number from 0 to 7, in decimal, hexadecimal (0x) or binary (0b)
  stdin:2: qos show fif 0: PORT: 'fif' is not a number from 0 to 4294967295 (0xFFFFFFFF), in decimal, hexadecimal (0x) or binary (0b), and none of hif, nif, cif, bif
  stdin:3: qos show hif:0 --count 3: --count is for --watch
  [2]
