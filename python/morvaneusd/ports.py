"""Ports: what they are, and the operations on them and on the queues of an ASIC."""
from __future__ import annotations

import struct
from typing import Any, NamedTuple

from . import _native
from ._names import LAYOUTS, PortType, QosStats
from .naming import on_asic
from .reference import reference


def port_text(port: tuple[int, int, int, int]) -> str:
    """The text of a port, as mrvctl has it: hif:3."""
    return on_asic(_native.port_text(port), *port[2:])


class Port(NamedTuple):
    """A port of an ASIC."""
    type: int
    number: int
    module: int = 0
    asic: int = 0

    @property
    def name(self) -> str:
        """The text without the ASIC."""
        return _native.port_text(self)

    def __str__(self) -> str:
        return port_text(self)


def hif(number: int, module: int = 0, asic: int = 0) -> Port:
    """A host interface."""
    return Port(PortType.HIF, number, module, asic)


def nif(number: int, module: int = 0, asic: int = 0) -> Port:
    """A network interface."""
    return Port(PortType.NIF, number, module, asic)


def _nested(values: Any, shape: tuple[int, ...]) -> Any:
    """The next values as nested tuples of these lengths."""
    if not shape:
        return next(values)
    return tuple(_nested(values, shape[1:]) for _ in range(shape[0]))


def _record(kind: type, data: bytes) -> Any:
    """The record that has these bytes."""
    layout, fields = LAYOUTS[kind]
    values = iter(struct.unpack(layout, data))
    return kind(*(_nested(values, field) if isinstance(field, tuple) else _record(field, next(values))
                  for field in fields))


@reference("lib_mrv_asic_get_qos_stats")
def get_qos_stats(port: Port, options: int = 0) -> QosStats:
    stats: QosStats = _record(QosStats, _native.get_qos_stats(port, options))
    return stats


@reference("lib_mrv_asic_clear_qos_stats")
def clear_qos_stats(port: Port, options: int = 0) -> None:
    _native.clear_qos_stats(port, options)


@reference("lib_mrv_asic_clear_all_qos_stats")
def clear_all_qos_stats(options: int = 0, *, module: int = 0, asic: int = 0) -> None:
    _native.clear_all_qos_stats((module, asic), options)


@reference("lib_mrv_asic_link_pause_enable")
def link_pause_enable(port: Port) -> None:
    _native.link_pause_enable(port)


@reference("lib_mrv_asic_link_pause_disable")
def link_pause_disable(port: Port) -> None:
    _native.link_pause_disable(port)


@reference("lib_mrv_asic_set_nodrop_class_map")
def set_nodrop_class_map(class_map: int, *, module: int = 0, asic: int = 0) -> None:
    _native.set_nodrop_class_map((module, asic), class_map)


@reference("lib_mrv_asic_sfp_validation_failed")
def sfp_validation_failed(port: Port) -> None:
    _native.sfp_validation_failed(port)


@reference("lib_mrv_asic_prog_sp_timer")
def prog_sp_timer(time: int, *, module: int = 0, asic: int = 0) -> None:
    _native.prog_sp_timer((module, asic), time)


@reference("lib_mrv_asic_clear_all_drop_counters")
def clear_all_drop_counters() -> None:
    _native.clear_all_drop_counters()
