  $ . "$TESTDIR/setup.sh"

A read with --watch prints a line for each word that changes, until ^C.

  $ shown() { until grep -qs -e "$1" seen || ! kill -0 $!; do sleep 0.01; done; }
  $ change() {  # READ SHOWN WRITE
  >   rm -f seen
  >   env --default-signal=INT mrvctl $1 --watch 0.1 >seen &
  >   shown "$2" && mrvctl $3 >written && shown "bits\|changed" && kill -INT $! && wait $!
  >   sed -n 's/^..:..:..\|"time":"[^"]*"/TIME/p' seen
  > }
  $ change 'read HI.2:40..41' '  0:' 'write HI.2:41 0x80000005'
  TIME HI.2:41 0x00000000 -> 0x80000005, bits 0x80000005
  $ head -n 2 seen
  HI.2:40..41: 2 words
    0: 00000000 00000000
  $ change 'read XL.*:3' XL.7:3 'write XL.7:3 9'
  TIME XL.7:3 0x00000000 -> 0x00000009, bits 0x00000009
  $ change 'dhs-read HI.2:HI_DHS_LVIF[5..6]' ' 6 ' 'dhs-write HI.2:HI_DHS_LVIF[6] 1'
  TIME HI.2:HI_DHS_LVIF[6] 0x00000000 -> 0x00000001, bits 0x00000001
  $ change '--json dhs-read HF.0:HF_DHS_POL[3..4]' POL 'dhs-write HF.0:HF_DHS_POL[4] 0 0 7 0 0 0 0 0'
  {"command":"dhs-read",TIME,"register":"HF.0:HF_DHS_POL[4].2","before":0,"data":7,"changed":7}
  $ mrvctl read HI.2:40 --watch 0.1 --count 2
  HI.2:40 = 0x00000000 (0)
  $ mrvctl read HI.2:40 --watch 0.1 --expect 0
  read HI.2:40 --watch 0.1 --expect 0: give either --expect or --watch
  [2]
  $ mrvctl dhs-read HI.2:HI_DHS_LVIF[0] --count 2
  dhs-read HI.2:HI_DHS_LVIF[0] --count 2: --count is for --watch
  [2]
