"""References to registers as text, as mrvctl reads and prints them."""
from __future__ import annotations

import re

from . import _names
from .naming import Block, Entry, Instance, Register, Table

_NUMBER = "0X[0-9A-F]+|0|[1-9][0-9]*"
_REFERENCE = re.compile(rf"(\w+)\.({_NUMBER}):(?:({_NUMBER})|([A-Z]\w+))(?:\[({_NUMBER})\])?")
_BLOCKS: dict[str, Block[Instance]] = {
    name.replace("_", ""): block for name, block in vars(_names).items() if isinstance(block, Block)}


def reg(text: str) -> Register | Table | Entry:
    """The register, table or table entry of a text: HI.2:40, HI.2:HI_DHS_LVIF, HI.2:HI_DHS_LVIF[5]."""
    match = _REFERENCE.fullmatch(text.upper())
    if match is None:
        raise ValueError(f"'{text}' is not a register; use for example HI.2:40 or HI.2:HI_DHS_LVIF[5]")
    block_name, instance_number, number, name, index = match.groups()
    block = _BLOCKS.get(block_name.replace("_", ""))
    if block is None:
        raise ValueError(f"'{block_name}' is not a block: {', '.join(_BLOCKS)}")
    instance = block[int(instance_number, 0)]
    named = instance[int(number, 0)] if number else _register_named(instance, name)
    return named if index is None else Entry(named.location, int(index, 0))


def _register_named(instance: Instance, name: str) -> Register | Table:
    block = instance.block.name
    found = getattr(instance, name.removesuffix("_OFFSET").removeprefix(f"{block}_"), None)
    if not isinstance(found, (Register, Table)):
        raise ValueError(f"block {block} has no register {name}; "
                         f"use a name, or a number from 0 to {instance.block.registers - 1}")
    return found
