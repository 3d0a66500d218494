  $ . "$TESTDIR/setup.sh"
  $ cp "$TESTDIR"/../../examples/recordings/*.mrec .

The requests of a recording are sent again, writes and commands too. On an empty switch nothing differs.

  $ mrvctl replay --check bringup.mrec
  5 calls replayed, 0 differences; 0 skipped (truncated in the recording)
  $ mrvctl read SS.0:SS_CFG_CG
  SS.0:SS_CFG_CG = 0x00000001 (1)
  $ mrvctl replay --check refusals.mrec --speed recorded
  19 calls replayed, 0 differences; 0 skipped (truncated in the recording)

The first differences are shown. Statistics need not be compared.

  $ mrvctl switch traffic hif:3 --class 1 --frames 5
  hif:3: 5 frames of class 1 n2h, 0 of them in excess
  $ mrvctl replay --check refusals.mrec
  call 16 of mrvctl.20637: qos-get hif:3: ss_dhs.wr_rcvd_cnt[1]: recorded 0, now 5
  call 16 of mrvctl.20637: qos-get hif:3: ss_dhs.rd_sent_cnt[1]: recorded 0, now 5
  19 calls replayed, 2 differences; 0 skipped (truncated in the recording)
  replay --check refusals.mrec: the answers differ from the recording
  [1]
  $ mrvctl replay --check refusals.mrec --ignore qos
  19 calls replayed, 0 differences; 0 skipped (truncated in the recording)
  $ printf 'switch fault add EPERM\nreplay --check refusals.mrec --ignore qos\n' | mrvctl -f -
  fault: EPERM for all calls
  call 1 of mrvctl.20637: write HI.2:HI_DHS_LVIF[0]: result: recorded ok, now EPERM
  call 11 of mrvctl.20637: read HI.2:HI_DHS_LVIF[0]: data: recorded 0x00001234, now 0x0000120f
  19 calls replayed, 2 differences; 0 skipped (truncated in the recording)
  stdin:2: replay --check refusals.mrec --ignore qos: the answers differ from the recording
  [1]
  $ printf 'switch fault add EPERM\nreplay --check refusals.mrec --ignore qos\n' | mrvctl --json -f - | cut -c 1-300
  {"command":"switch fault add","effect":"EPERM","calls":"all calls"}
  {"command":"replay","files":["refusals.mrec"],"sent":19,"skipped":0,"differences":2,"first_differences":[{"program":"mrvctl","pid":20637,"number":1,"operation":"write","register":"HI.2:HI_DHS_LVIF[0]","field":"result","recorded":"ok","now":"EPERM"},{"program":"mrvctl","pid":20637,"number":11,"operat
  {"command":"replay","file":"stdin","line":2,"error":{"code":null,"name":"FAILED","text":"the answers differ from the recording"}}
  $ mkdir calls
  $ mrvctl record calls -- mrvctl read HI.2:5
  HI.2:5 = 0x00000000 (0)
  $ cp calls/*.mrec read.mrec
  $ mrvctl write HI.2:5 1
  HI.2:5 <- 0x00000001: written
  $ mrvctl replay --check read.mrec
  call 1 of mrvctl.*: read HI.2:5: data: recorded 0x00000000, now 0x00000001 (glob)
  1 call replayed, 1 difference; 0 skipped (truncated in the recording)
  replay --check read.mrec: the answers differ from the recording
  [1]
  $ (echo switch fault add EPERM; echo replay --check read.mrec) | mrvctl -f -
  fault: EPERM for all calls
  call 1 of mrvctl.*: read HI.2:5: result: recorded ok, now EPERM (glob)
  call 1 of mrvctl.*: read HI.2:5: data: recorded 0x00000000, now nothing (glob)
  1 call replayed, 2 differences; 0 skipped (truncated in the recording)
  stdin:2: replay --check read.mrec: the answers differ from the recording
  [1]

Without --check answers and failures do not matter.

  $ printf 'switch fault add EIO\nreplay bringup.mrec\nwrite HI.2:40 7\n' | mrvctl -f -
  fault: EIO for all calls
  5 calls replayed; 0 skipped (truncated in the recording)
  HI.2:40 <- 0x00000007: written
  $ python3 "$TESTDIR/craft_recordings.py" refusals.mrec
  $ mrvctl replay kinds.mrec
  18 calls replayed; 0 skipped (truncated in the recording)
  kinds.mrec: 1 note of a kind that is not known

  $ mrvctl -f - <<E
  > begin x
  > write HI.2:5 1
  > replay bringup.mrec
  > E
  transaction "x" is open
  HI.2:5 <- 0x00000001: queued
  stdin:3: replay bringup.mrec: a transaction is open: commit it first
  end: transaction "x" was never committed: 1 write lost
  [1]

Several recordings, or a directory of them, are merged by time. --reset empties the virtual switch first.

  $ mrvctl write HI.2:41 5
  HI.2:41 <- 0x00000005: written
  $ mkdir both; mv refusals.mrec bringup.mrec both
  $ mrvctl replay --check both 2>/dev/null
  call 7 of mrvctl.20637: read HI.2:41: data: recorded 0x00000000, now 0x00000005
  24 calls replayed, 1 difference; 0 skipped (truncated in the recording)
  [1]
  $ mrvctl replay --check --reset both/refusals.mrec both/bringup.mrec
  24 calls replayed, 0 differences; 0 skipped (truncated in the recording)
  $ touch both/empty.mrec both/notes; echo damaged >both/other.mrec
  $ mrvctl replay both --reset
  replay: both/other.mrec is not a recording
  replay both --reset: 1 of 4 files could not be read
  [1]
  $ mrvctl read SS.0:SS_CFG_CG
  SS.0:SS_CFG_CG = 0x00000001 (1)

Every address leads back to its register, with the platform and with its map. Records that were truncated in a recording are skipped.

  $ mrvctl info | awk '/^[A-Z]/ && NF == 4 { print $1 "." $4 - 1 ":" $2 - 2 }' >names
  $ sed 's/^/read /' names >reads
  $ mrvctl dhs | awk 'NR > 1 { sub(/[*]/, "0", $NF); print $NF "[" $(NF - 1) "]" }' | tee -a names |
  >   sed 's/^/dhs-read /' >>reads
  $ yes '1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16' | head -n 256 >load.dhs
  $ echo 'dhs-write NF.0:NF_DHS_TCAM 0 --from load.dhs' >>reads
  $ echo 'NF.0:NF_DHS_TCAM[0]' >>names
  $ mkdir all
  $ mrvctl record all -- mrvctl -f reads | wc -l
  434
  $ mrvctl dump-map >map
  $ for options in '' '--map map --platform none'; do
  >   mrvctl --json calls all $options | sed 's/.*"register":"\([^"]*\)".*/\1/' | diff names -
  > done
  $ mrvctl --json calls all/*.mrec | grep -o '"num":4096\|"cut":true'
  "num":4096
  "cut":true
  $ mrvctl replay all/*.mrec
  156 calls replayed; 1 skipped (truncated in the recording)
