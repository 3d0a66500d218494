  $ . "$TESTDIR/setup.sh"

The blocks of the ASIC, with the number of their registers and instances:

  $ mrvctl info
  driver               Morvane (236)
  highest ASIC number  0
  trace                off (create /bootflash/kel_lib_debug to enable it)
  
  block   registers  with a name  instances
  SS           3933           34          8
  HR            544           15          4
  NR            842           56          2
  HI           1584            3         32
  NI           1106            0          8
  SI            786            0          1
  HF            246           18          8
  NF            753           17          2
  CI            169            1          1
  BI            184            0          4
  CC             36            0          1
  PC             38            0          1
  RSEDMA        364            0          1
  RSPCIE        309            0          1
  MISC          243            0          1
  CH            651            0          1
  MB             43            0          1
  QS            289           14          8
  XL            184            0          8
  $ mrvctl --json info | cut -c 1-230
  {"command":"info","driver":"Morvane","driver_id":236,"max_asic":0,"trace":false,"blocks":[{"block":"SS","registers":3933,"named":34,"instances":8},{"block":"HR","registers":544,"named":15,"instances":4},{"block":"NR","registers":8

The registers of a block that have a name:

  $ mrvctl regs HI
  block HI: 1584 registers, 0 to 1583
  number  hex    register
     309  0x135  HI_HI0_DHS_LVIF_TCAM_OFFSET
    1250  0x4e2  HI_DHS_LVIF_TCAM_OFFSET
    1461  0x5b5  HI_DHS_LVIF_OFFSET
  1581 others have no name
  $ mrvctl regs rs_edma
  block RSEDMA: 364 registers, 0 to 363
  none of them has a name
  $ mrvctl --json regs HF | cut -c 1-100
  {"command":"regs","block":"HF","registers":246,"named":[{"vreg":0,"register":"HF_DHS_SVIF_MEM_OFFSET

Search by a part of the name, in any case, or by an address:

  $ mrvctl find dhs_lvif
  block   number  register                     address
  HI         309  HI_HI0_DHS_LVIF_TCAM_OFFSET  0x10001900 to 0x11f01900, in 32 instances
  HI        1250  HI_DHS_LVIF_TCAM_OFFSET      0x10003a00 to 0x11f03a00, in 32 instances
  HI        1461  HI_DHS_LVIF_OFFSET           0x10004b00 to 0x11f04b00, in 32 instances
  HF           3  HF_DHS_LVIF_MEM_OFFSET       0x1c030600 to 0x1c730600, in 8 instances
  $ mrvctl find HF_DHS_POL
  block   number  register              address
  HF         116  HF_DHS_POL_OFFSET     0x1c059a00 to 0x1c759a00, in 8 instances
  HF         117  HF_DHS_POL_00_OFFSET  0x1c0001d4 to 0x1c7001d4, in 8 instances
  HF         118  HF_DHS_POL_01_OFFSET  0x1c0001d8 to 0x1c7001d8, in 8 instances
  HF         119  HF_DHS_POL_02_OFFSET  0x1c0001dc to 0x1c7001dc, in 8 instances
  $ mrvctl find 0x102000a0
  0x102000a0  HI.2 40
  $ mrvctl find 0x10204b04
  0x10204b04  HI.2 HI_DHS_LVIF [1]
  $ mrvctl --json find 0x10204b04
  {"command":"find","block":"HI","instance":2,"register":"HI_DHS_LVIF_OFFSET","vreg":1461,"address":270551812,"entry":1,"word":0}
  $ mrvctl find 0xFFFFFFE4
  0xffffffe4  KEL_ASIC_CMD_CLEAR_DROP_COUNTERS

The table registers, with the words of an entry and the indices:

  $ mrvctl dhs HF
  block   number  words  indices       register
  HF           0      1  0 to 16383    HF_DHS_SVIF_MEM_OFFSET
  HF           1      2  0 to 16383    HF_DHS_SVIF_MEM_LO_OFFSET
  HF           3      1  0 to 4095     HF_DHS_LVIF_MEM_OFFSET
  HF         108     16  0 to 2047     HF_DHS_TCAM_OFFSET
  HF         109      1  0 to 1023     HF_DHS_RESULT_OFFSET
  HF         110      4  0 to 1023     HF_DHS_RESULT_00_OFFSET
  HF         116      8  0 to 63       HF_DHS_POL_OFFSET
  HF         225      2  0 to 1023     HF_DHS_RESULT_LO_OFFSET
  HF         226      2  0 to 1023     HF_DHS_RESULT_HI_OFFSET
  $ mrvctl dhs | wc -l
  138
  $ mrvctl --json dhs SS | cut -c 1-150
  {"command":"dhs","tables":[{"block":"SS","vreg":2690,"entry_size":1,"highest_index":1023,"register":"SS_DHS_DD_OFFSET"},{"block":"SS","vreg":2692,"ent

What a result means, by number, name or errno:

  $ mrvctl error 0x42230003
  0x42230003  SYSERR_KEL_ASIC_INVALID_ARG: a bad argument, or no register at that address
  $ mrvctl error etimedout
  0x8223006E  ETIMEDOUT: the service call failed: Connection timed out
  $ mrvctl error syserr_kel_asic_uninit
  0x4223002E  SYSERR_KEL_ASIC_UNINIT: the library is not initialised (or a general error of a transceiver)
  $ mrvctl --json error 0
  {"code":0,"name":"success","meaning":"no error","command":"error"}
  $ mrvctl error 7
  0x00000007  unknown code: no result of the library; perhaps one of the register map's
  $ mrvctl error | head -n 3
  0x42230000  SYSERR_KEL_ASIC_UNKNOWN: not known what went wrong
  0x42230001  SYSERR_KEL_ASIC_FAILURE: a failure
  0x42230002  SYSERR_KEL_ASIC_MALLOC: no memory
  $ mrvctl error | grep -c '0x8223'
  131

None of these commands needs a switch, or makes a service call.

  $ mrvctl --switch /no/switch regs HI | tail -n 1
  1581 others have no name
  $ mrvctl --calls info | wc -l
  24

Names that do not exist:

  $ mrvctl find lvix
  find lvix: no name of a register has 'lvix' in it
  [1]
  $ mrvctl find 3
  find 3: no register has the address 0x00000003
  [1]
  $ mrvctl -f - <<E
  > regs QX
  > dhs QX
  > find
  > error SYSERR_KEL_ASIC_UNINI
  > error 4294967296
  > E
  stdin:1: regs QX: no block 'QX'; nearest: QS, SS, HR
  stdin:2: dhs QX: no block 'QX'; nearest: QS, SS, HR
  stdin:3: find: TEXT|ADDRESS is required
  stdin:4: error SYSERR_KEL_ASIC_UNINI: CODE: no result 'SYSERR_KEL_ASIC_UNINI'; nearest: SYSERR_KEL_ASIC_UNINIT, SYSERR_KEL_ASIC_UNKNOWN, SYSERR_KEL_ASIC_FAILURE
  stdin:5: error 4294967296: CODE: '4294967296' is no number from 0 to 4294967295 (0xFFFFFFFF), in decimal, hexadecimal (0x) or binary (0b)
  [2]
