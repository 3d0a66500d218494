#!/usr/bin/env python3
"""Writes _names.py and _reference.py of the Python package: generate.py INCLUDE_DIRECTORY PACKAGE_DIRECTORY.

Blocks, registers, tables, commands, port types, records of the QoS statistics and the reference of each
function come from the headers, so that the Python code repeats none of them.
"""
import re
import struct
import sys
from pathlib import Path

REGISTER_ENUM = re.compile(r"typedef enum kel_asic_(\w+)_reg_t KEL_ENUM32 \{(.*?)\}", re.DOTALL)
REGISTER = re.compile(r"^  (\w+)_OFFSET = (\d+)", re.MULTILINE)
BLOCK_ROW = re.compile(r'\{KEL_ASIC_BLK_\w+, "(\w+)", KEL_ASIC_(\w+)_NUM_ENUM,')
TABLE_ROW = re.compile(r"\{KEL_ASIC_BLK_(\w+), (\w+)_OFFSET, (\w+)_OFFSET, (\d+), (\w+)\}")
COMMAND = re.compile(r"^#define KEL_ASIC_CMD_(\w+) UINT32_C\((\w+)\)", re.MULTILINE)
PORT_TYPE = re.compile(r"^  CARDCFG_PORT_TYPE_(\w+) = (\d+)", re.MULTILINE)
MAGIC = re.compile(r"^#define KEL_ASIC_PGM_MAGIC UINT32_C\((\w+)\)", re.MULTILINE)
RECORD = re.compile(r"/\*\* ([^*]*?) \*/\ntypedef struct kel_asic_(qos_\w*stats|qos_drops)_t \{(.*?)\}",
                    re.DOTALL)
RECORD_SIZE = r"KEL_SIZE_IS\(kel_asic_{}_t, (\d+)\)"
FIELD = re.compile(r"^  (\w+) (\w+)((?:\[\d+\])*); +/\*\*< (\d+): (.*?) \*/", re.MULTILINE | re.DOTALL)
FUNCTION = re.compile(r"/\*\*\n((?: \*[^\n]*\n)+?) \*/\n\w+ (lib_mrv_asic_\w+)\(")
FORMATS = {"kel_asic_counter_t": "Q", "port_flow_ctrl_t": "H", "uint8_t": "B"}
HOOK = "KEL_ASIC_DHS_BY_HOOK"


def python_name(c_name):
    """qos_pause_stats -> QosPauseStats"""
    return "".join(word.capitalize() for word in c_name.split("_"))


def nested_tuple(shape):
    return "int" if not shape else f"tuple[{nested_tuple(shape[1:])}, ...]"


class Headers:
    """What the headers declare."""

    def __init__(self, directory):
        self.interface = (directory / "kel_asic_intf.h").read_text()
        self.ports = (directory / "platform/card_config.h").read_text()
        block_rows = BLOCK_ROW.findall((directory / "kel_asic_blocks.h").read_text())
        table_rows = TABLE_ROW.findall((directory / "kel_asic_dhs_tables.h").read_text())
        counts = dict(re.findall(r"KEL_ASIC_(\w+)_NUM_ENUM = (\d+)", self.interface))
        self.blocks = [(name, int(counts[enum])) for name, enum in block_rows]
        self.registers = {block.upper(): [(name, int(number)) for name, number in REGISTER.findall(body)]
                          for block, body in REGISTER_ENUM.findall(self.interface)}
        numbers = {name: number for rows in self.registers.values() for name, number in rows}
        self.tables = [(block, numbers[first], numbers[last], 0 if words == HOOK else int(highest) + 1)
                       for block, first, last, highest, words in table_rows]

        missing = [name for name, value in vars(self).items() if not value]
        if missing:
            sys.exit(f"generate.py: no {missing[0]} in the headers of {directory}")

    def is_table(self, block, number):
        return any(row[0] == block and row[1] <= number <= row[2] for row in self.tables)


def write_blocks(headers):
    for number, (name, count) in enumerate(headers.blocks):
        yield f"\n\nclass {name}Instance(Instance):"
        yield f'    """An instance of block {name}: its registers by name, and by number."""'
        yield "    __slots__ = ()"
        tables = "".join(f"({first}, {last}, {entries}), "
                         for block, first, last, entries in headers.tables if block == name)
        yield f'    block = BlockInfo({number}, "{name}", {count}, ({tables}))'
        for full_name, register in headers.registers[name]:
            kind = "TableName" if headers.is_table(name, register) else "RegisterName"
            yield f"    {full_name.removeprefix(name + '_')} = {kind}({register})"
    yield "\n"
    yield from (f"{name} = Block({name}Instance)" for name, _ in headers.blocks)


def write_enumeration(name, text, values):
    yield f"\n\nclass {name}(IntEnum):"
    yield f'    """{text}"""'
    yield from (f"    {value_name} = {value}" for value_name, value in values)


def layout(name, fields, sizes):
    """The format of a record for struct, with its padding; each field must be at the offset of its comment."""
    text = "<"
    for type_name, field, shape, offset, _ in fields:
        text += f"{offset - struct.calcsize(text)}x" if offset > struct.calcsize(text) else ""
        if struct.calcsize(text) != offset:
            sys.exit(f"generate.py: field {field} of {name} does not begin at {offset}")
        count = 1
        for length in shape:
            count *= length
        text += f"{count}{FORMATS[type_name]}" if type_name in FORMATS else f"{sizes[type_name]}s"
    return text + f"{sizes[f'kel_asic_{name}_t'] - struct.calcsize(text)}x"


def write_records(headers):
    sizes, layouts = {}, []
    for comment, name, body in RECORD.findall(headers.interface):
        sizes[f"kel_asic_{name}_t"] = int(re.search(RECORD_SIZE.format(name), headers.interface)[1])
        fields = [(type_name, field, [int(length) for length in re.findall(r"\d+", shape)], int(offset),
                   re.sub(r"; \d+ (bytes )?of padding( follow)?", "", " ".join(text.split())))
                  for type_name, field, shape, offset, text in FIELD.findall(body)]
        yield f"\n\nclass {python_name(name)}(NamedTuple):"
        yield '    """' + re.sub(r"\. \d+ bytes[^\n]*", ".", comment) + "\n"
        yield from (f"    {field}: {text}" for _, field, _, _, text in fields)
        yield '    """'
        for type_name, field, shape, _, _ in fields:
            record = type_name.removeprefix("kel_asic_").removesuffix("_t")
            yield f"    {field}: {nested_tuple(shape) if type_name in FORMATS else python_name(record)}"
        layouts.append((python_name(name), layout(name, fields, sizes), [
            tuple(shape) if type_name in FORMATS else
            python_name(type_name.removeprefix("kel_asic_").removesuffix("_t"))
            for type_name, _, shape, _, _ in fields]))
    yield "\n\n# For each record its format, and for each field the lengths of its array or its record."
    yield "LAYOUTS: dict[type, tuple[str, tuple[tuple[int, ...] | type, ...]]] = {"
    for name, text, kinds in layouts:
        shapes = "".join(f"{kind}, " for kind in kinds)
        yield f'    {name}: ("{text}", ({shapes})),'
    yield "}"


def reference(comment):
    """The description of a function, without its arguments in C and its results."""
    text = "\n".join(line[3:].rstrip() for line in comment.splitlines())
    return text.partition("\n@")[0].replace("::", "").strip()


def write_references(headers):
    yield '"""The descriptions of the functions in the header. Written by generate.py."""'
    yield "REFERENCE = {"
    for comment, name in FUNCTION.findall(headers.interface):
        yield f"    {name!r}:"
        yield f"        {reference(comment)!r},"
    yield "}"


def write_names(headers):
    names = [name for name, _ in headers.blocks]
    records = [python_name(name) for _, name, _ in RECORD.findall(headers.interface)]
    yield '"""The names of the library\'s headers. Written by generate.py."""'
    yield "from enum import IntEnum"
    yield "from typing import NamedTuple\n"
    yield "from .naming import Block, BlockInfo, Instance, RegisterName, TableName\n"
    yield "__all__ = ["
    yield from (f'    "{name}",' for name in [*names, "Command", "PortType", *records])
    yield "]"
    yield f"\nPROGRAM_MAGIC = {MAGIC.search(headers.interface)[1]}"
    yield from write_blocks(headers)
    yield from write_enumeration("Command", "Addresses that the driver service takes as commands.",
                                 COMMAND.findall(headers.interface))
    yield from write_enumeration("PortType", "Types of port.", [
        row for row in PORT_TYPE.findall(headers.ports) if row[0] != "MAX"])
    yield from write_records(headers)


def main():
    headers = Headers(Path(sys.argv[1]))
    for module, lines in (("_names", write_names), ("_reference", write_references)):
        (Path(sys.argv[2]) / f"{module}.py").write_text("\n".join(lines(headers)) + "\n")


if __name__ == "__main__":
    main()
