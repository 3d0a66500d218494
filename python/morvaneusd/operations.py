"""Initialisation, raw writes and commands, batches and programs."""
from __future__ import annotations

import os
from array import array
from collections.abc import Iterable
from pathlib import Path
from typing import Union

from . import _native
from ._names import PROGRAM_MAGIC
from .errors import Error
from .naming import Register
from .ports import Port
from .reference import reference

ALL_BITS = 0xFFFFFFFF
_opened = ""  # the platform
_switch: str | None = None  # its address; "" if the platform chose it; None: not connected
Step = Union[tuple[Register, int], tuple[Register, int, int]]


def _platform_file() -> str:
    """The library of the platform: MORVANE_PLATFORM, else the virtual platform next to the library."""
    name = os.environ.get("MORVANE_PLATFORM", "")
    if name:
        return f"./{name}" if "/" not in name and Path(name).exists() else name
    library = Path(_native.library_file())
    sibling = library.with_name(library.name.replace("libmorvaneusd", "libmorvaneplatform"))
    return str(sibling) if sibling.exists() else sibling.name


def _connect(switch: str | None) -> None:
    """Connects to a switch, for an error that names the cause; the platform would do it at the first call."""
    address = switch or os.environ.get("MORVANE_SWITCH")
    if not address:
        return
    error = _native.connect(None if address == "none" else address)
    if error is None and switch is not None:
        raise ValueError("the platform has no switch to choose")
    if error:
        raise OSError(error, f"no switch at {address}: {os.strerror(error)}")


@reference("lib_mrv_asic_init")
def init(slot: int = 0, platform: str | None = None, switch: str | None = None) -> None:
    """Opens the platform and initialises the library for the ASIC of the card in a slot.

    platform: the library of the platform (default: MORVANE_PLATFORM, or the virtual platform)
    switch: socket of the morvaned that has the switch, or none (default: MORVANE_SWITCH)
    """
    global _opened, _switch
    file = platform or _opened or _platform_file()
    if _opened not in ("", file):
        raise ValueError(f"this process has opened another platform, {_opened}")
    _native.open_platform(file)
    _opened = file
    if switch is not None or _switch is None:
        _connect(switch)
        _switch = switch or ""
    _native.init(slot)


def leave(switch: str) -> None:
    """Replaces a switch by a private one until the next init(), if this process is on it."""
    global _switch
    if _switch == switch:
        _switch = None
        _native.connect(None)


@reference("lib_mrv_asic_write")
def write_raw(address: int, value: int, *, module: int = 0, asic: int = 0) -> None:
    """Writes to a register address, which is not checked."""
    _native.write_raw(address, (module, asic), value)


@reference("lib_mrv_asic_write_field")
def write_field_raw(address: int, value: int, mask: int, *, module: int = 0, asic: int = 0) -> None:
    """Writes to bits of a register address, which is not checked."""
    _native.write_field_raw(address, (module, asic), value, mask)


def send_command(command: int, port: Port, value: int = 0) -> None:
    """Sends a command to a port: the driver service takes some addresses as commands."""
    if max(port.type, port.number) > 0xFF or port.asic > 0xFFFF:
        raise ValueError(f"{port} does not fit into a command")
    _native.send_command(command, port, value)


class batch(_native.BatchScope):
    """A scope whose writes are sent together at its end, also if an exception ends it.

        with batch("port 2"):
            HI[2].DHS_LVIF[5] = [7]

    The library cannot drop writes: an exception gets a note that they were sent. If the platform
    refuses them, the end of the scope raises Error. A read in a batch sends the writes before it, and
    so does each 513th word. Until its end the batch keeps other threads out of the library.

    name: its name, which the service gets, up to 31 characters
    reorder: whether the service may reorder the writes
    """

    def __init__(self, name: str, reorder: bool = False):
        self.name = name
        self.reorder = reorder

    def _ended(self, error: BaseException | None, lost: int) -> None:
        if error is not None:
            error.add_note(f"batch {self.name!r}: the writes before this exception were sent")
        if lost:
            raise Error(lost, "commit of batch", self.name)


@reference("lib_mrv_asic_pgm")
def run(steps: Iterable[Step], *, module: int = 0, asics: Iterable[int] = (0,)) -> None:
    """Runs a register program: a register and its value per step, or a register, value and mask.

    module, asics: all steps are written there; the numbers of the ASICs are 0 to 30
    """
    words = array("I")
    for register, value, *mask in steps:
        if register.location[0] not in (0, module):
            raise ValueError(f"{register} is in a program for module {module}")
        words.extend((PROGRAM_MAGIC, *register.location[2:], value, *(mask or (ALL_BITS,))))
    asic_map = 0
    for number in asics:
        if not 0 <= number <= 30:
            raise ValueError(f"{number} is not an ASIC number from 0 to 30")
        asic_map |= 1 << number
    _native.run((module, asic_map), words)
