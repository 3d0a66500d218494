"""Blocks, their instances, and the objects that a register of them is: a register or a table.

_names.py has a class per block, whose attributes are its registers.
"""
from __future__ import annotations

from array import array
from collections.abc import Iterable, Iterator
from typing import Any, Generic, NamedTuple, Self, TypeVar, Union, overload

from . import _native
from .reference import reference

Location = tuple[int, int, int, int, int]  # module, ASIC, block, instance, number
Words = Union[Iterable[int], Iterable[Iterable[int]]]

_instance_classes: dict[int, type[Instance]] = {}


class BlockInfo(NamedTuple):
    """A block as the headers declare it."""
    number: int
    name: str
    registers: int
    tables: tuple[tuple[int, int, int], ...]  # first and last register, number of entries


def asic_text(asic: tuple[int, int]) -> str:
    """The text of a module and an ASIC."""
    return f"module {asic[0]}, ASIC {asic[1]}"


def on_asic(text: str, module: int, asic: int) -> str:
    """The text of something on an ASIC; the first ASIC is not named."""
    return text if module == asic == 0 else f"{text} of {asic_text((module, asic))}"


def register_text(location: Location) -> str:
    """The text of a register, as mrvctl has it: HI.2:HI_DHS_LVIF."""
    return on_asic(_native.register_text(location), *location[:2])


def as_words(values: Any, entry_words: int) -> memoryview:
    """The words of entries: the values if they are a buffer, else a copy of the numbers or rows."""
    try:
        return memoryview(values)
    except TypeError:
        pass
    words = array("I")
    for number, value in enumerate(values):
        try:
            words.append(value)
        except TypeError:
            row = array("I", iter(value))
            if len(row) != entry_words:
                raise ValueError(f"row {number} has {len(row)} words, but an entry has {entry_words}") from None
            words.extend(row)
    return memoryview(words)


class Located:
    """A register of an instance."""
    __slots__ = ("location",)

    def __init__(self, location: Location):
        self.location = location

    @property
    def name(self) -> str:
        """The text without the ASIC."""
        return _native.register_text(self.location)

    @property
    def module(self) -> int:
        return self.location[0]

    @property
    def asic(self) -> int:
        return self.location[1]

    def __str__(self) -> str:
        return on_asic(self.name, self.module, self.asic)

    def __repr__(self) -> str:
        return f"<{type(self).__name__} {self}>"

    def _identity(self) -> tuple[object, ...]:
        return type(self), self.location

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Located) and other._identity() == self._identity()

    def __hash__(self) -> int:
        return hash(self._identity())


class Register(Located):
    """A register: read() and write() move its 32 bits."""
    __slots__ = ()

    @reference("lib_mrv_asic_read")
    def read(self) -> int:
        return _native.read(self.location)

    @reference("lib_mrv_asic_write")
    def write(self, value: int) -> None:
        _native.write(self.location, value)

    @reference("lib_mrv_asic_write_field")
    def write_field(self, value: int, mask: int) -> None:
        _native.write_field(self.location, value, mask)


class Table(Located):
    """A table register. table[3] is an entry, a list of words; table[3:8] is a list of entries."""
    __slots__ = ()

    def entry_words(self, index: int = 0) -> int:
        """The number of words of an entry. The register map knows some only after init(): 0 until then."""
        return _native.entry_words(self.location[2], self.location[4], index)

    @property
    def entries(self) -> int | None:
        """The number of entries; None if only the register map knows it."""
        number = self.location[4]
        for first, last, entries in _instance_classes[self.location[2]].block.tables:
            if first <= number <= last:
                return entries or None
        return 0

    def __len__(self) -> int:
        entries = self.entries
        if entries is None:
            raise TypeError(f"only the register map knows the number of entries of {self}")
        return entries

    def __bool__(self) -> bool:
        return True

    def __iter__(self) -> Iterator[list[int]]:
        index = 0
        while index == 0 or self.entry_words(index):
            yield self[index]
            index += 1

    def read(self, first: int, count: int) -> array[int]:
        """Reads consecutive entries into a new array of their words."""
        words = array("I", bytes(4 * count * self.entry_words(first)))
        _native.read_entries(self.location, first, words)
        return words

    @reference("lib_mrv_asic_read_dhs")
    def read_into(self, first: int, words: Any) -> None:
        """Reads as many entries as the buffer has room for."""
        _native.read_entries(self.location, first, words)

    @reference("lib_mrv_asic_write_dhs")
    def write(self, first: int, words: Words) -> None:
        """Writes entries: a buffer, numbers, or rows."""
        _native.write_entries(self.location, first, as_words(words, self.entry_words(first)))

    @overload
    def __getitem__(self, index: int) -> list[int]: ...

    @overload
    def __getitem__(self, index: slice) -> list[list[int]]: ...

    def __getitem__(self, index: int | slice) -> list[int] | list[list[int]]:
        if not isinstance(index, slice):
            return self.read(self._index(index), 1).tolist()
        first, count = self._range(index)
        size = self.entry_words(first)
        words = self.read(first, count).tolist() if count else []
        return [words[i:i + size] for i in range(0, len(words), size)]

    @overload
    def __setitem__(self, index: int, row: Iterable[int]) -> None: ...

    @overload
    def __setitem__(self, index: slice, row: Words) -> None: ...

    def __setitem__(self, index: int | slice, row: Words) -> None:
        first, count = self._range(index) if isinstance(index, slice) else (self._index(index), 1)
        size = self.entry_words(first)
        words = as_words(row, size)
        if words.itemsize == 4 and words.nbytes != 4 * count * size:
            raise ValueError(f"{words.nbytes // 4} words for {count} entries of {self}, which have {size} words each")
        if count:
            _native.write_entries(self.location, first, words)

    def _index(self, index: int) -> int:
        """The number of an entry; negative ones count from the end."""
        end = self.entries
        number = index if index >= 0 else index + len(self)
        if number < 0 or (end is not None and number >= end):
            raise IndexError(f"{self} has {end} entries")
        return number

    def _range(self, entries: slice) -> tuple[int, int]:
        """The first entry of a slice, and the number of its entries."""
        end = self.entries
        if end is None:  # of which a slice cannot be cut
            first, stop, step = entries.start or 0, entries.stop, entries.step or 1
            if stop is None or first < 0 or stop < 0:
                raise ValueError(f"only the register map knows the number of entries of {self}: "
                                 "use a slice with a first and a last entry")
        else:
            first, stop, step = entries.indices(end)
        if step != 1:
            raise ValueError("the entries of a slice are consecutive: omit its step")
        return first, max(0, stop - first)


class Entry(Located):
    """An entry of a table."""
    __slots__ = ("index",)

    def __init__(self, location: Location, index: int):
        super().__init__(location)
        self.index = index

    @property
    def name(self) -> str:
        return f"{super().name}[{self.index}]"

    def _identity(self) -> tuple[object, ...]:
        return *super()._identity(), self.index

    def read(self) -> list[int]:
        return Table(self.location)[self.index]

    def write(self, row: Iterable[int]) -> None:
        Table(self.location)[self.index] = row


class Instance:
    """An instance of a block. instance[40] is a register by its number."""
    block: BlockInfo
    __slots__ = ("_place",)

    def __init__(self, number: int, module: int = 0, asic: int = 0):
        if number < 0:
            raise IndexError(f"block {self.block.name} has no instance {number}")
        self._place = (module, asic, self.block.number, number)

    def __init_subclass__(cls) -> None:
        _instance_classes[cls.block.number] = cls

    def on(self, module: int = 0, asic: int = 0) -> Self:
        """The same instance of another ASIC."""
        return type(self)(self._place[3], module, asic)

    def location(self, number: int) -> Location:
        if not 0 <= number < self.block.registers:
            raise IndexError(f"block {self.block.name} has registers 0 to {self.block.registers - 1}")
        return (*self._place, number)

    def __getitem__(self, number: int) -> Register:
        return Register(self.location(number))

    def table(self, number: int) -> Table:
        """A table by its number."""
        return Table(self.location(number))

    def read_block(self, first: int | Register, count: int) -> array[int]:
        """Reads consecutive registers into a new array."""
        words = array("I", bytes(4 * count))
        self.read_block_into(first, words)
        return words

    @reference("lib_mrv_asic_n_read")
    def read_block_into(self, first: int | Register, words: Any) -> None:
        """Reads as many registers as the buffer has room for."""
        if isinstance(first, Register):
            if first.location[:4] != self._place:
                raise ValueError(f"{first} is not a register of {self}")
            first = first.location[4]
        _native.read_block(self.location(first), words)

    def __repr__(self) -> str:
        return f"<{self.block.name}.{self._place[3]}>"


class _Name:
    """A register of a block, in the class of its instances."""

    def __init__(self, number: int):
        self.number = number


class RegisterName(_Name):
    def __get__(self, instance: Instance, owner: type[Instance]) -> Register:
        return Register(instance.location(self.number))


class TableName(_Name):
    def __get__(self, instance: Instance, owner: type[Instance]) -> Table:
        return Table(instance.location(self.number))


InstanceType = TypeVar("InstanceType", bound=Instance, covariant=True)


class Block(Generic[InstanceType]):
    """A block of the ASIC. HI[2] is an instance of it."""
    __iter__ = None  # only the register map knows how many there are

    def __init__(self, instances: type[InstanceType]):
        self._instances = instances

    def __getitem__(self, instance: int) -> InstanceType:
        return self._instances(instance)

    def __repr__(self) -> str:
        return f"<Block {self._instances.block.name}>"
