"""References to registers as text, as mrvctl reads and prints them."""
from __future__ import annotations

import re

from . import _names
from .naming import Block, Entry, Instance, Register, Table, TableName, _Name

_REFERENCE = re.compile(r"(\w+)\.(\w+):(\w+)(?:\[(\w+)\])?")
_BLOCKS: dict[str, Block[Instance]] = {
    name.replace("_", ""): block for name, block in vars(_names).items() if isinstance(block, Block)}


def reg(text: str) -> Register | Table | Entry:
    """The register, table or table entry of a text: HI.2:40, HI.2:HI_DHS_LVIF, HI.2:HI_DHS_LVIF[5]."""
    match = _REFERENCE.fullmatch(text.upper().replace("X", "x") if "0X" in text.upper() else text.upper())
    if match is None:
        raise ValueError(f"'{text}' is not a register; use for example HI.2:40 or HI.2:HI_DHS_LVIF[5]")
    block_name, instance_number, name, index = match.groups()
    block = _BLOCKS.get(block_name.replace("_", ""))
    if block is None:
        raise ValueError(f"'{block_name}' is not a block: {', '.join(_BLOCKS)}")
    instance = block[int(instance_number, 0)]
    number, is_table = _register_number(instance, name)
    if index is not None:
        return Entry(instance.location(number), int(index, 0))
    return instance.table(number) if is_table else instance[number]


def _register_number(instance: Instance, name: str) -> tuple[int, bool]:
    """The number of a register, and whether this is the name of a table."""
    if name[0].isdigit():
        return int(name, 0), False
    block = instance.block.name
    kind = vars(type(instance)).get(name.removesuffix("_OFFSET").removeprefix(f"{block}_"))
    if not isinstance(kind, _Name):
        raise ValueError(f"block {block} has no register {name}; "
                         f"use a name, or a number from 0 to {instance.block.registers - 1}")
    return kind.number, isinstance(kind, TableName)
