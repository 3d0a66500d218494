  $ . "$TESTDIR/setup.sh"

A monitor shows the calls of all clients as they happen. Its recordings are those that the recorder makes in the same
processes, except for the times and the callers in transactions.

  $ mkdir monitored recorded
  $ mrvctl switch monitor --out monitored --size 131072 --count 104 >shown 2>&1 &
  $ monitor=$!
  $ until grep -qs TIME shown || ! kill -0 $monitor; do sleep 0.01; done
  $ cat >calls.mrv <<E
  > write HI.2:40 7
  > write HI.2:41 0x5
  > write-field HI.2:41 0xf0 0xff
  > read HI.2:40..43
  > dhs-write HI.2:HI_DHS_LVIF[0] 1 2 3
  > qos show hif:3
  > begin three
  > write HI.2:5 1
  > write HI.2:6 2
  > commit
  > nodrop 3
  > sp-timer 9
  > qos clear hif:3
  > clear-drops
  > expect-fail write --raw 4 1
  > read HI.2:40
  > E
  $ for i in 1 2 3 4 5 6 7 8; do mrvctl record recorded --size 65536 -- mrvctl -f calls.mrv >log.$i & pids="$pids $!"; done
  $ wait $monitor $pids
  $ tail -n 1 shown
  104 calls shown, 0 lost
  $ calls() { mrvctl --json calls "$1" | sed -E 's/"(time|time_ns|duration_ns)":[^,]*,//g; s/("lost":false),[^}]*/\1/g'; }
  $ for file in recorded/*; do calls "$file" >one; calls "monitored/${file#*/}" | cmp - one; done
  $ wc -l <one
  13
  $ mrvctl calls monitored --since -10m | grep -c mrvctl
  104

The filters are those of calls. Without --count, ^C or SIGTERM ends it.

  $ mrvctl --json switch monitor --failed --register HI.2 >shown &
  $ monitor=$!
  $ until grep -qs address shown || ! kill -0 $monitor; do sleep 0.01; done
  $ mrvctl write HI.2:40 7
  HI.2:40 <- 0x00000007: written
  $ mrvctl switch fault add EIO
  fault: EIO for all calls
  $ mrvctl write HI.2:41 7
  write HI.2:41 7: service call failed: Input/output error, or a positive answer (0x82230005)
  [1]
  $ until grep -qs EIO shown || ! kill -0 $monitor; do sleep 0.01; done
  $ kill $monitor; wait $monitor
  $ sed -E 's/"time".*"operation"/"operation"/; s/"case".*"outcome"/"outcome"/' shown
  {"command":"switch monitor","address":"*/switch"} (glob)
  {"command":"switch monitor","operation":"write","outcome":"EIO","failed":true}
  {"command":"switch monitor","shown":1,"lost":0}
  $ mrvctl switch monitor --out /dev/null
  switch monitor --out /dev/null: cannot record in /dev/null: Not a directory
  [1]
  $ mrvctl --switch none switch monitor
  switch monitor: a private switch has no other clients; --calls shows the calls of a command, 'mrvctl calls' those of a recording
  [1]
