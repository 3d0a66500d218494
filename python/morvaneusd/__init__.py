"""The Morvane switching ASIC: registers by name, tables, batches, programs, ports and QoS statistics.

    from morvaneusd import HI, batch, init

    init()
    HI[2][40].write(0x1234)
    print(HI[2].DHS_LVIF[3:8])
    with batch("port 2"):
        HI[2].DHS_LVIF[5] = [7]

HI[2] is an instance of block HI, HI[2].DHS_LVIF a register of it by name, HI[2][40] by number.
Each request carries its caller to the driver service: the file, line and function outside this package.
A failed operation raises Error. Threads may use the package at the same time; they take turns.
"""
import os
import sys

# The native part provides the functions of the platform, also to a recorder, which must find them.
_flags = sys.getdlopenflags()
sys.setdlopenflags(os.RTLD_NOW | os.RTLD_GLOBAL)
try:
    from . import _native
finally:
    sys.setdlopenflags(_flags)

from . import _names
from ._names import *
from .errors import Error
from .naming import Block, Entry, Instance, Register, Table
from .operations import batch, init, run, send_command, write_field_raw, write_raw
from .ports import (Port, clear_all_drop_counters, clear_all_qos_stats, clear_qos_stats, get_qos_stats, hif,
                    link_pause_disable, link_pause_enable, nif, prog_sp_timer, set_nodrop_class_map,
                    sfp_validation_failed)
from .references import reg

__all__ = [
    "Block", "Entry", "Error", "Instance", "Port", "Register", "Table", "batch", "clear_all_drop_counters",
    "clear_all_qos_stats", "clear_qos_stats", "get_qos_stats", "hif", "init", "link_pause_disable",
    "link_pause_enable", "nif", "prog_sp_timer", "reg", "run", "send_command", "set_nodrop_class_map",
    "sfp_validation_failed", "write_field_raw", "write_raw"]
__all__ += _names.__all__

_native.set_package_directory(os.path.dirname(__file__) + os.sep)
os.register_at_fork(before=_native.before_fork, after_in_parent=_native.after_fork,
                    after_in_child=_native.after_fork)
