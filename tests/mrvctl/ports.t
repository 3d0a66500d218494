  $ . "$TESTDIR/setup.sh"

Commands to the ports of the switch, and the settings that they leave on the virtual one:

  $ mrvctl pause on hif:3
  link pause on for hif:3
  $ mrvctl pause on nif:7
  link pause on for nif:7
  $ mrvctl pause off nif:7
  link pause off for nif:7
  $ mrvctl nodrop 0xF7
  no-drop map 0xf7, classes 0 1 2 4 5 6 7
  $ mrvctl sfp-failed nif:2
  SFP of nif:2 reported as failed
  $ mrvctl sp-timer 65535
  SP timer 65535
  $ mrvctl clear-drops
  drop counters of module 0, ASIC 0 cleared
  $ mrvctl switch | tail -n 4
  no-drop class map         0xf7
  SP timer                  65535
  clears of drop counters   1
  SFP failures reported     1, the last on nif:2
  $ mrvctl qos show hif:3 | grep flow
    flow control                0x0001
  $ mrvctl qos show nif:7 | grep flow
    flow control                0x0000
  $ mrvctl --json switch | grep -o '"nodrop.*'
  "nodrop_class_map":247,"sp_timer":65535,"drop_clears":1,"sfp_failures":1,"last_sfp_port":"nif:2"}
  $ mrvctl --json sfp-failed nif:3
  {"command":"sfp-failed","port":"nif:3","queued":false}

In a transaction they are queued, but the SP timer is set and the drop counters are cleared at once.

  $ mrvctl --calls -f - <<E | grep -v '^[a-z][a-z]*  '
  > begin ports
  > pause on nif:1
  > nodrop 1
  > sfp-failed hif:4
  > sp-timer 4
  > clear-drops
  > commit
  > switch
  > E
  sse_call2(SYSSRV_SP_TIME_CONFIGURE, 236, 196, {module=0, asic=0, time=4}) = 0 <*> (glob)
  sse_call2(SYSSRV_REG_WRITE_CASE, 236, 196, {TYPE_WRITE, module=0, asic=0x0, addr=KEL_ASIC_CMD_CLEAR_DROP_COUNTERS, data=0x0, mask=0xffffffff, num=0, context=0, lib_mrv_asic_clear_all_drop_cou asic/morvane/common/lib/morvaneusd_intf:118}) = 0 <*> (glob)
  sse_call2(SYSSRV_MEM_WRITE_CASE, 236, 10280, {name="ports", reorder=0, num=3, [{0, 0x201, KEL_ASIC_CMD_LINK_PAUSE_ENABLE, 0x0, 0xffffffff}, {0, 0x1, KEL_ASIC_CMD_NODROP_CLASS_MAP, 0x0, 0xffffffff}, {0, 0x304, KEL_ASIC_CMD_SFP_VALIDATION_FAILED, 0x0, 0xffffffff}]}) = 0 <*> (glob)
  transaction "ports" is open
  link pause on for nif:1: queued
  no-drop map 0x01, classes 0: queued
  SFP of hif:4 reported as failed: queued
  SP timer 4
  drop counters of module 0, ASIC 0 cleared
  transaction "ports" is sent: 3 writes
  software card identifier  1
  no-drop class map         0x01
  SP timer                  4
  clears of drop counters   2
  SFP failures reported     3, the last on hif:4

Link pause is for host and network ports, and the module has one ASIC:

  $ mrvctl pause on hif:32
  pause on hif:32: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): ports are hif:0 to hif:31 and nif:0 to nif:7
  [2]
  $ mrvctl --asic 1 pause on hif:1
  pause on hif:1: SYSERR_KEL_ASIC_INVALID_ARG (0x42230003): ASIC numbers are 0 to 0
  [2]
  $ mrvctl -f - <<E
  > pause up hif:3
  > pause on hif
  > nodrop 0x1FF
  > sp-timer 65536
  > E
  stdin:1: pause up hif:3: STATE: 'up' is none of off, on
  stdin:2: pause on hif: PORT: 'hif' has no port number; use for example hif:3
  stdin:3: nodrop 0x1FF: MAP: '0x1FF' is not a number from 0 to 255, in decimal, hexadecimal (0x) or binary (0b)
  stdin:4: sp-timer 65536: TIME: '65536' is not a number from 0 to 65535, in decimal, hexadecimal (0x) or binary (0b)
  [2]
