  $ . "$TESTDIR/setup.sh"

The blocks of the ASIC, with the number of their registers and instances:

  $ mrvctl info | sed '4,/^$/d; /^HI/q'
  driver                    Morvane (236)
  highest ASIC number       0
  trace                     off (create /bootflash/kel_lib_debug to enable it)
  block   registers  with a name  instances
  SS           3933           34          8
  HR            544           15          4
  NR            842           56          2
  HI           1584            3         32
  $ mrvctl --json info | cut -c 1-79
  {"command":"info","driver":"Morvane","driver_id":236,"max_asic":0,"trace":false
  $ mrvctl --json info | grep -o 'instances":[0-9]*' | cut -d: -f2 | paste -sd ' '
  8 4 2 32 8 1 8 2 1 4 1 1 1 1 1 1 1 8 8

The registers of a block that have a name:

  $ mrvctl regs HI
  block HI: 1584 registers, 0 to 1583
  number  hex    register
     309  0x135  HI.*:HI_HI0_DHS_LVIF_TCAM
    1250  0x4e2  HI.*:HI_DHS_LVIF_TCAM
    1461  0x5b5  HI.*:HI_DHS_LVIF
  1581 others have no name
  $ mrvctl regs rs_edma
  block RSEDMA: 364 registers, 0 to 363
  none of them has a name
  $ mrvctl --json regs HF | cut -c 1-100
  {"command":"regs","block":"HF","registers":246,"named":[{"number":0,"register":"HF.*:HF_DHS_SVIF_MEM

Search by a part of the name, in any case, or by an address:

  $ mrvctl find dhs_lvif
  number  register                   address
     309  HI.*:HI_HI0_DHS_LVIF_TCAM  0x10001900 to 0x11f01900, in 32 instances
    1250  HI.*:HI_DHS_LVIF_TCAM      0x10003a00 to 0x11f03a00, in 32 instances
    1461  HI.*:HI_DHS_LVIF           0x10004b00 to 0x11f04b00, in 32 instances
       3  HF.*:HF_DHS_LVIF_MEM       0x1c030600 to 0x1c730600, in 8 instances
  $ mrvctl find HF_DHS_POL
  number  register            address
     116  HF.*:HF_DHS_POL     0x1c059a00 to 0x1c759a00, in 8 instances
     117  HF.*:HF_DHS_POL_00  0x1c0001d4 to 0x1c7001d4, in 8 instances
     118  HF.*:HF_DHS_POL_01  0x1c0001d8 to 0x1c7001d8, in 8 instances
     119  HF.*:HF_DHS_POL_02  0x1c0001dc to 0x1c7001dc, in 8 instances
  $ mrvctl find 0x102000a0
  0x102000a0  HI.2:40
  $ mrvctl find hi.2 40
  0x102000a0  HI.2:40
  $ mrvctl find 0x10204b04
  0x10204b04  HI.2:HI_DHS_LVIF[1]
  $ mrvctl --json find 0x10204b04
  {"command":"find","register":"HI.2:HI_DHS_LVIF[1]","address":270551812}
  $ mrvctl find 0xFFFFFFE4
  0xffffffe4  KEL_ASIC_CMD_CLEAR_DROP_COUNTERS

The table registers, with the words of an entry and the indices:

  $ mrvctl dhs HF
  number  words  indices       register
       0      1  0 to 16383    HF.*:HF_DHS_SVIF_MEM
       1      2  0 to 16383    HF.*:HF_DHS_SVIF_MEM_LO
       3      1  0 to 4095     HF.*:HF_DHS_LVIF_MEM
     108     16  0 to 2047     HF.*:HF_DHS_TCAM
     109      1  0 to 1023     HF.*:HF_DHS_RESULT
     110      4  0 to 1023     HF.*:HF_DHS_RESULT_00
     116      8  0 to 63       HF.*:HF_DHS_POL
     225      2  0 to 1023     HF.*:HF_DHS_RESULT_LO
     226      2  0 to 1023     HF.*:HF_DHS_RESULT_HI
  $ mrvctl dhs | wc -l
  138
  $ mrvctl --json dhs SS | cut -c 1-150
  {"command":"dhs","tables":[{"number":2690,"entry_size":1,"highest_index":1023,"register":"SS.*:SS_DHS_DD"},{"number":2692,"entry_size":2,"highest_inde

What a result means, by number, name or errno:

  $ mrvctl error 0x42230003
  0x42230003  SYSERR_KEL_ASIC_INVALID_ARG: a bad argument, or no register at that address
  $ mrvctl error etimedout
  0x8223006E  ETIMEDOUT: the service call failed: Connection timed out
  $ mrvctl error syserr_kel_asic_uninit
  0x4223002E  SYSERR_KEL_ASIC_UNINIT: the library is not initialised (or a general error of a transceiver)
  $ mrvctl --json error 0
  {"command":"error","code":0,"name":"success","meaning":"no error"}
  $ mrvctl error 7
  0x00000007  unknown code: not a result code of this library (it may come from the register map)
  $ mrvctl error | sed -n '1,2p; /TRACE_LOG/p'
  0x42230000  SYSERR_KEL_ASIC_UNKNOWN: not known what went wrong
  0x42230001  SYSERR_KEL_ASIC_FAILURE: a failure
  0xFFFFFFFF  KEL_ASIC_SYSERR_NO_TRACE_LOG: the trace log cannot be opened or positioned
  $ mrvctl error | grep -c '0x8223'
  131

None of these commands needs a switch, or makes a service call.

  $ mrvctl --switch /no/switch regs HI | tail -n 1
  1581 others have no name
  $ mrvctl --calls info | wc -l
  35

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
  stdin:1: regs QX: BLOCK: 'QX' is not a block; 'mrvctl info' lists all; did you mean 'QS'?
  stdin:2: dhs QX: BLOCK: 'QX' is not a block; 'mrvctl info' lists all; did you mean 'QS'?
  stdin:3: find: missing TEXT
  stdin:4: error SYSERR_KEL_ASIC_UNINI: CODE: 'SYSERR_KEL_ASIC_UNINI' is not a result; 'mrvctl error' lists all; did you mean 'SYSERR_KEL_ASIC_UNINIT'?
  stdin:5: error 4294967296: CODE: '4294967296' is not a number from 0 to 4294967295 (0xFFFFFFFF), in decimal, hexadecimal (0x) or binary (0b)
  [2]
