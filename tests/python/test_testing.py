"""A switch for each test: its programs, its commands, its end, and the report of a failed test."""
import os
import shutil
import subprocess
import sys
from pathlib import Path

import pytest

import morvaneusd
from morvaneusd import HI, hif
from morvaneusd.testing import Switch, SwitchError

pytest_plugins = "pytester"

SCRIPT = """from morvaneusd import *
init()
HI[2][40].write(3)
with batch("two"):
    HI[2][41].write(4)
    HI[2][42].write(5)
"""


@pytest.mark.parametrize("register, data, line", [("HI.2:40", 3, 3), ("HI.2:41", 4, 5), (HI[2][42], 5, 6)])
def test_last_write_names_the_line_of_a_script(switch, tmp_path, register, data, line):
    script = tmp_path / "script.py"
    script.write_text(SCRIPT)
    switch.run([sys.executable, script])
    written = switch.last_write(register)["written"]
    assert (written["data"], written["file"], written["line"]) == (data, str(script)[-127:], line)


def test_commands(switch, tmp_path):
    assert switch.calls() == [] and switch.changes() == []
    switch.fault("EIO", register=HI[2][40], writes=True, times=1)
    with pytest.raises(morvaneusd.Error):
        HI[2][40].write(1)
    switch.traffic("hif:3", class_=3, frames=100, excess=0)
    assert morvaneusd.get_qos_stats(hif(3)).ss_dhs.wr_rcvd_cnt[3] == 100
    there = HI[2].on(module=1)[41]
    there.write(2)
    assert "+ write HI.2:41 0x00000002  (module 1)" in switch.changes()
    assert switch.mrvctl("read", there)[0]["words"] == [2]
    switch.traffic(hif(7, module=1), class_=1, frames=5)
    assert "+ switch set hif:7 wr_rcvd_cnt[1] 5  (module 1)" in switch.changes()
    switch.save(tmp_path / "saved")
    switch.reset()
    assert switch.changes() == []
    switch.restore(tmp_path / "saved")
    assert switch.changes() == [] and HI[2].on(module=1)[41].read() == 2
    with pytest.raises(SwitchError, match="EWRONG"):
        switch.fault("EWRONG")
    with pytest.raises(SwitchError, match="no recordings"):
        switch.last_write("HI.2:40")


def test_programs():
    with Switch() as switch, Switch() as other:
        assert switch.run(["mrvctl", "read", "HI.2:40"], stdout=subprocess.PIPE).stdout == "HI.2:40 = 0x00000000 (0)\n"
        switch.run(["mrvctl", "write", "HI.2:40", "7"])
        assert [len(each.changes()) for each in (switch, other)] == [1, 0]
        assert switch.calls(last=1)[0]["data"] == switch.last_write("HI.2:40")["written"]["data"] == 7
        with pytest.raises(SwitchError, match="no write"):
            switch.last_write("HI.2:40", module=1)
        with pytest.raises(subprocess.CalledProcessError):
            switch.run(["mrvctl", "read", "HI.2:40", "--expect", "8"], stderr=subprocess.DEVNULL)
        assert switch.run(["/usr/bin/env"], env={"A": "B"}, stdout=subprocess.PIPE).stdout.startswith("A=B\n")
        with pytest.raises(FileNotFoundError):
            switch.run(["no_such_program"])
        assert switch.run(["true"], stderr=subprocess.PIPE).stderr == ""
        running = switch.popen(["sleep", "1000"])
        shell = switch.popen(["sh", "-c", "echo $$; exec sleep 1000"], stdout=subprocess.PIPE)
        assert int(shell.stdout.readline()) == shell.pid  # so that kill() ends the program
    assert running.returncode == -15
    assert not switch.directory.exists()


def test_process_on_two_switches():
    with Switch() as first, Switch() as second:
        first.init()
        second.init()
        first.close()
        HI[2][40].write(9)
        assert second.changes() == ["+ write HI.2:40 0x00000009"]


def test_killed_process_leaves_no_morvaned():
    script = """if True:
        import os
        from morvaneusd.testing import Switch
        switch = Switch()
        print(switch.address, flush=True)
        os.kill(os.getpid(), 9)"""
    killed = subprocess.run([sys.executable, "-c", script], stdout=subprocess.PIPE, text=True)  # and morvaned's output
    address = Path(killed.stdout.strip())
    assert address.is_absolute() and not address.exists()
    shutil.rmtree(address.parent)


@pytest.mark.parametrize("service, message", [
    ("echo broken >&2", "did not start:\nbroken"),
    ("trap '' TERM; echo 12:00:00 ready >&2; exit 3", "ended with status 3")])
def test_service_that_fails(tmp_path, monkeypatch, service, message):
    (tmp_path / "morvaned").write_text(f"#!/bin/sh\n{service}\n")
    (tmp_path / "morvaned").chmod(0o755)
    monkeypatch.setenv("PATH", str(tmp_path), prepend=os.pathsep)
    with pytest.raises(SwitchError, match=message), Switch():
        pass


def test_report_of_a_failed_test(pytester):
    pytester.makepyfile("""
        import pytest
        def test_fails(switch):
            switch.fault("EIO", register="HI.2:41")
            switch.run(["mrvctl", "write", "HI.2:40", "7"])
            switch.run(["mrvctl", "write", "HI.2:41", "8"])
        def test_without_mrvctl(switch, monkeypatch):
            monkeypatch.setenv("PATH", "")
            assert 0
        @pytest.fixture
        def prepared(switch):
            switch.run(["mrvctl", "write", "HI.2:42", "9"])
            assert 0
        def test_not_prepared(prepared):
            pass
        def test_passes(switch):
            assert switch.changes() == []
    """)
    result = pytester.runpytest_subprocess("-p", "no:cacheprovider")
    result.assert_outcomes(failed=2, passed=1, errors=1)
    result.stdout.fnmatch_lines(["+ write HI.2:42 0x00000009", "*switch: failed calls*", "* write  * HI.2:41  * EIO *",
                                 "*switch: changes of the state*", "+ write HI.2:40 0x00000007",
                                 "*switch: failed calls*", "the program mrvctl is not in the PATH"])
    result.stdout.no_fnmatch_line("+*HI.2:41*")
