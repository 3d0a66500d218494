"""Tests of the control plane of night_with_a_fault.sh: three processes on one switch, and a register that fails.

Needs morvaned, mrvctl and the night_* programs of this directory in the PATH: pytest test_night.py
"""
import subprocess

import pytest
from morvaneusd import HI

HOLD = "0x10200640"  # the register that stops the policers
BURST = 1416  # the register of a host port that night_ports writes


@pytest.fixture
def night(switch):
    """Runs the three processes and returns their exit statuses."""
    def run():
        stats = switch.popen(["night_stats", "4", "20", "1"], stdout=subprocess.DEVNULL)
        tables = switch.popen(["night_tables", HOLD], stdout=subprocess.PIPE)
        ports = switch.run(["night_ports", str(BURST), "64", "0", "1", "2"], stdin=tables.stdout, check=False)
        return {"tables": tables.wait(), "ports": ports.returncode, "stats": stats.wait()}
    return run


def bursts():
    return [HI[port][BURST].read() for port in range(3)]


def test_undisturbed_night(night, switch):
    assert night() == {"tables": 0, "ports": 0, "stats": 0}
    assert bursts() == [64, 64, 64]
    assert HI[2].DHS_LVIF[95] == [0x1000 + 95]
    assert switch.calls(failed=True) == []


def test_failing_port_leaves_the_other_processes(night, switch):
    switch.fault("EIO", register=f"HI.1:{BURST}")
    assert night() == {"tables": 0, "ports": 1, "stats": 0}
    assert bursts() == [64, 0, 0]  # night_ports ends at the first port that fails
    written = switch.last_write(f"HI.1:{BURST}")
    assert (written["outcome"], written["program"], written["func"]) == ("EIO", "night_ports", "tune")


def test_lost_interfaces_are_noticed(night, switch):
    switch.fault("ETIMEDOUT", operation="transaction", client="night_tables")
    assert night()["tables"] == 1
    assert [call["name"] for call in switch.calls(failed=True)] == ["interfaces"]


def test_lost_policers_are_in_the_recording_only(night, switch):
    switch.fault("ETIMEDOUT", register="HF.0:HF_DHS_POL")
    assert night() == {"tables": 0, "ports": 0, "stats": 0}
    assert [call["name"] for call in switch.calls(failed=True)] == ["policers"]
