  $ . "$TESTDIR/setup.sh"

The state of a switch can be saved, and restored on any other one. The file is a script.

  $ mrvctl -f - <<E >/dev/null
  > write HI.2:41 0x1234
  > dhs-write HI.2:HI_DHS_LVIF[5] 7
  > dhs-write HF.7:HF_DHS_POL[63] 0 0 0 0 0 0 0 8
  > pause on hif:3
  > sp-timer 500
  > clear-drops
  > sfp-failed nif:2
  > switch traffic hif:3 --class 3 --frames 100 --excess 10
  > switch traffic nif:7 --class 1 --frames 100 --excess 10 --direction h2n
  > switch card 5
  > module 3
  > write XL.7:5 0xffffffff
  > E
  $ mrvctl switch save monday
  monday: 781 bytes
  $ cat monday
  # The state of a virtual Morvane, for mrvctl switch restore
  switch card 5
  module 0
  switch set asic sp_timer 500
  switch set asic drop_clears 1
  switch set asic sfp_failures 1
  switch set asic last_sfp_port_type 2
  switch set asic last_sfp_port 2
  switch set hif:3 flow_ctrl 1
  switch set hif:3 tx_xoff_cnt 1
  switch set hif:3 tx_xon_cnt 1
  switch set hif:3 wr_rcvd_cnt[3] 100
  switch set hif:3 rd_sent_cnt[3] 100
  switch set nif:7 wr_rcvd_cnt[1] 100
  switch set nif:7 wr_discard_cnt 10
  switch set nif:7 rd_sent_cnt[1] 90
  switch set nif:7 h2n_drops[0][1] 10
  write HI.2:41 0x00001234
  dhs-write HI.2:HI_DHS_LVIF[5] 0x00000007
  dhs-write HF.7:HF_DHS_POL[63] 0x00000000 0x00000000 0x00000000 0x00000000 0x00000000 0x00000000 0x00000000 0x00000008
  module 1
  module 2
  module 3
  write XL.7:5 0xffffffff
  $ mrvctl switch reset
  the switch is empty
  $ mrvctl switch restore monday
  the switch has the state of monday
  $ mrvctl switch save again
  again: 781 bytes
  $ cmp monday again
  $ mrvctl switch reset
  the switch is empty
  $ mrvctl -f monday | tail -n 1
  XL.7:5 <- 0xffffffff: written
  $ mrvctl switch save again
  again: 781 bytes
  $ cmp monday again

Each counter and each setting is saved.

  $ for field in flow_ctrl rx_xoff_cnt rx_xon_cnt tx_xoff_cnt tx_xon_cnt tx_pfc_xoff_cnt[7] rx_pfc_xoff_cnt[0] \
  >   tx_pfc_cnt rx_pfc_cnt rx_xoff_status tx_xoff_status wr_rcvd_cnt[3] wr_discard_cnt wr_discard_mcast_cnt \
  >   wr_rcvd_err_cnt rd_sent_cnt[1] flush_cnt tout_cnt n2h_drops[5][7] h2n_drops[0][1]; do
  >   echo "switch set nif:0 $field $((number += 7))"
  > done >counters
  $ mrvctl switch restore counters
  the switch has the state of counters
  $ mrvctl switch save again
  again: 794 bytes
  $ grep set again | diff - counters
  $ mrvctl switch card 5 9
  software card identifier 5
  $ mrvctl switch save again
  again: 796 bytes
  $ grep card again
  switch card 5 9
  switch set nif:0 wr_discard_cnt 91
  switch set nif:0 wr_discard_mcast_cnt 98

The last line for a register counts, also with the value 0.

  $ printf 'write HI.2:41 5\nwrite HI.2:41 0\n' >twice && mrvctl switch restore twice && mrvctl switch save zero
  the switch has the state of twice
  zero: 110 bytes
  $ mrvctl switch restore again
  the switch has the state of again

A file with a wrong line changes nothing. Entry 1088 of HI_DHS_LVIF_TCAM would be in the next table.

  $ for line in 'write HI.2:41' 'write HI.2:HI_DHS_LVIF[0] 1' 'dhs-write HI.2:41 1' 'write HI.40:1 1' \
  >   'dhs-write HI.2:HI_DHS_LVIF_TCAM[1088] 1' 'write HI.2:41 x' 'module 4' 'switch set hif:32 flow_ctrl 1' \
  >   'switch set hif:0 flow_ctrl 65536' 'switch set asic nothing 1' 'read HI.2:41' 'switch card 65536'; do
  >   (cat monday; echo "$line") >wrong
  >   mrvctl switch restore wrong && echo "$line"
  > done 2>&1 | uniq
  switch restore wrong: wrong:25: not a line of a saved state; nothing is changed
  $ mrvctl switch save same && cmp same again
  same: 796 bytes
  $ mrvctl switch set hif:3 flow_ctrl 65536
  switch set hif:3 flow_ctrl 65536: Numerical result out of range
  [1]
  $ mrvctl switch set hif:3 n2h_drops[6][0] 1
  switch set hif:3 n2h_drops[6][0] 1: hif:3 has no field n2h_drops[6][0]
  [1]

The service keeps its state in a file.

  $ morvaned --socket ./kept --state state 2>log &
  $ mrvctl --switch ./kept write HI.2:41 7
  HI.2:41 <- 0x00000007: written
  $ morvaned --socket ./other --state state
  morvaned: --state: another morvaned uses state
  [1]
  $ kill -USR1 $! && until grep -q 41 state 2>/dev/null; do :; done
  $ mrvctl --switch ./kept write HI.2:42 8
  HI.2:42 <- 0x00000008: written
  $ kill $! && wait $!
  $ grep HI state
  write HI.2:41 0x00000007
  write HI.2:42 0x00000008
  $ mkdir gone
  $ morvaned --socket ./kept --state gone/state 2>log &
  $ mrvctl --switch ./kept read HI.2:41
  HI.2:41 = 0x00000000 (0)
  $ rm -r gone && kill $! && wait $!
  [1]
  $ sed -n '$s/^[0-9:]* //p' log
  state not saved: gone/state.new: No such file or directory
  $ echo oops >>state; morvaned --socket ./kept --state state
  morvaned: --state: state:9: not a line of a saved state
  [1]
  $ mkfifo pipe && ln -s nothing link
  $ for other in pipe link .; do morvaned --socket ./kept --state $other; done
  morvaned: --state: pipe: not a regular file
  morvaned: --state: link: not a regular file
  morvaned: --state: .: not a regular file
  [1]
