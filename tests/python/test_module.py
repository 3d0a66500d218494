"""The Python module on the virtual platform. Its controls are called with ctypes, in the same process."""
import ctypes
import errno
import os
import pickle
import re
import signal
import subprocess
import sys
import sysconfig
import threading
from array import array
from pathlib import Path

import numpy
import pytest

import morvaneusd
from morvaneusd import HF, HI, RS_EDMA, Command, Error, batch, hif, nif, reg

PLATFORM = morvaneusd.operations._platform_file()
controls = ctypes.CDLL(PLATFORM)
WATCHER = ctypes.CFUNCTYPE(None, ctypes.c_uint32, ctypes.c_void_p, ctypes.c_void_p)
TRANSACTION = 0x40000003
TABLE = HF[0].DHS_POL


class Call(ctypes.Structure):
    _fields_ = [("case", ctypes.c_uint32), ("driver", ctypes.c_uint32), ("record", ctypes.c_void_p),
                ("length", ctypes.c_uint32), ("result", ctypes.c_int), ("error", ctypes.c_int)]


@pytest.fixture(autouse=True)
def calls():
    """A switch in its initial state, and the list of its service calls as (case, record)."""
    morvaneusd.init()
    assert controls.vp_reset() == 0
    seen = []

    def watch(phase, call, _user):
        if phase == 0:
            call = Call.from_address(call)
            seen.append((call.case, ctypes.string_at(call.record, call.length)))
    watcher = WATCHER(watch)
    controls.vp_watch(watcher, None)
    yield seen
    controls.vp_watch(None, None)


def caller_of(record):
    file, function = record[68:196].rstrip(b"\0").decode(), record[36:68].rstrip(b"\0").decode()
    return file, int.from_bytes(record[32:36], "little"), function


def here():
    frame = sys._getframe(1)
    return frame.f_code.co_filename[-127:], frame.f_lineno, frame.f_code.co_name


def test_names():
    assert reg("hi.2:hi_dhs_lvif_offset") == HI[2].DHS_LVIF == HI[2].table(1461)
    assert reg("RS_EDMA.0:0x10") == reg("RSEDMA.0:16") == RS_EDMA[0][16]
    assert str(reg("HI.2:DHS_LVIF[5]")) == "HI.2:HI_DHS_LVIF[5]"
    assert str(HI[2].on(module=1)[40]) == "HI.2:40 of module 1, ASIC 0"
    assert HI[2][1461] != HI[2].DHS_LVIF and HI[2**32][0] != HI[0][0]
    assert {reg("HI.2:1461[5]"), HI[2].table(1461)} == {reg("HI.2:HI_DHS_LVIF[5]"), HI[2].DHS_LVIF} != {reg("HI.2:1461[6]")}
    for text in ("HI", "HI.2", "HI.x:1", "AB.2:1", "HI.2:HF_DHS_POL", "HI.2:1[x]", "HI.2:40..47"):
        with pytest.raises(ValueError):
            reg(text)
    with pytest.raises(IndexError):
        HI[2][1584]
    assert not hasattr(HI[2], "DHS_POL")
    assert "DHS_LVIF" in dir(HI[2])
    for name in ("DHS_LVIF", "no_register"):
        with pytest.raises(AttributeError):  # nothing would be written
            setattr(HI[2], name, [7])
    with pytest.raises(TypeError):
        list(HI)


def test_registers(calls):
    register = HI[2][40]
    register.write(numpy.uint32(0x1234))
    register.write_field(0xF0, 0xFF)
    assert register.read() == 0x12F0
    HI[2].on(module=1)[40].write(7)
    assert HI[2].read_block(40, 2).tolist() == [0x12F0, 0]
    address = int.from_bytes(calls[0][1][12:16], "little")
    morvaneusd.write_raw(address, 1)
    morvaneusd.write_field_raw(address, 2, 2)
    assert register.read() == 3
    morvaneusd.run([(register, 8), (HI[2][41], 0xFF, 0xF)])
    assert HI[2].read_block(register, 2) == array("I", [8, 0xF])
    sent = len(calls)
    for wrong in (lambda: morvaneusd.run([(register, 8)], asics=[31]), lambda: HI[3].read_block(register, 2),
                  lambda: morvaneusd.run([(HI[2].on(module=1)[40], 8)]), lambda: HF[2].read_block(register, 2)):
        with pytest.raises(ValueError):
            wrong()
    assert len(calls) == sent


def test_tables():
    TABLE[3] = range(8)
    TABLE[-1] = array("I", [5] * 8)
    assert (TABLE[3], TABLE[63], len(TABLE)) == (list(range(8)), [5] * 8, 64)
    TABLE[4:6] = [[1] * 8, [2] * 8]
    assert TABLE[3:6] == [list(range(8)), [1] * 8, [2] * 8]
    reg("HF.0:HF_DHS_POL[4]").write([9] * 8)
    assert reg("HF.0:HF_DHS_POL[4]").read() == [9] * 8
    hooked = HI[0].HI0_DHS_LVIF_TCAM
    hooked[1] = [3, 4]
    assert hooked[0:2] == list(hooked)[0:2] == [[0, 0], [3, 4]]
    TABLE.write(7, [numpy.full(8, 7, numpy.uint32), [numpy.uint32(8)] * 8])
    assert TABLE[7:9] == [[7] * 8, [8] * 8]
    for index, rows in ((3, [1] * 7), (3, [bytes(32)]), (slice(3, 5), [1] * 8), (slice(3, 5), [[1] * 7, [1] * 9])):
        with pytest.raises(ValueError):
            TABLE[index] = rows
    with pytest.raises(ValueError, match="row 1 has 9 words"):
        TABLE.write(0, [[1] * 8, [1] * 9])
    assert TABLE[62:] == list(TABLE)[-2:] == [[0] * 8, [5] * 8]
    for index in (64, -65):
        with pytest.raises(IndexError):
            TABLE[index]
    with pytest.raises(TypeError, match="items of 4 bytes"):
        TABLE[3] = numpy.arange(8)
    for wrong in (slice(0, 4, 2), slice(1, None)):
        with pytest.raises(ValueError):
            hooked[wrong]


def test_buffers(calls):
    for words in (array("I", [7] * 16), memoryview(array("I", [7] * 16)), (ctypes.c_uint32 * 16)(*[7] * 16),
                  numpy.full((2, 8), 7, numpy.uint32)):
        TABLE.write(1, words)
        HI[0].read_block_into(0, words)
        assert bytes(words) == bytes(64)
        TABLE.read_into(1, words)
        assert bytes(words) == bytes([7, 0, 0, 0] * 16)
    sent = len(calls)
    for words in (bytes(32), bytearray(32), array("i", [1] * 8), array("Q", [1] * 4), array("f", [1] * 8), [1] * 8, None,
                  memoryview(array("I", [1] * 16))[::2], memoryview(array("I", [1] * 8)).toreadonly(),
                  array("I", [1] * 9)):
        with pytest.raises((TypeError, ValueError)):
            TABLE.read_into(0, words)
    for wrong in (-1, 2**32, 1.5, None):
        with pytest.raises((TypeError, OverflowError)):
            HI[2][40].write(wrong)
    assert len(calls) == sent


def test_caller(calls):
    HI[2][40].write(1); place = here()
    assert caller_of(calls.pop()[1]) == place
    reg("HF.0:HF_DHS_POL[4]").read(); place = here()
    assert caller_of(calls.pop()[1]) == place
    exec(compile("\n\nHI[2][40].read()", "/" + "é" * 100 + "x.py", "exec"))
    assert caller_of(calls.pop()[1]) == ("é" * 61 + "x.py", 3, "<module>")


def test_batch(calls):
    with pytest.raises(KeyError) as raised, batch("port 2", reorder=True):
        HI[2][40].write(1)
        TABLE[0] = [1] * 8
        morvaneusd.link_pause_enable(hif(2))
        with pytest.raises(Error) as nested, batch("another"):
            pass
        raise KeyError
    assert nested.value.errno == errno.EBUSY
    assert raised.value.__notes__ == ["batch 'port 2': the writes before this exception were sent"]
    (case, record), = calls
    assert (case, record[:6], record[32:40]) == (TRANSACTION, b"port 2", bytes([1, 0, 0, 0, 10, 0, 0, 0]))
    for name in ("", "a\0b", 1):
        with pytest.raises((Error, ValueError, TypeError)), batch(name):
            pass


@pytest.mark.parametrize("interrupt", [lambda: None, lambda: HI[2][40].read(),
                                       lambda: [HI[2][40].write(1) for _ in range(512)]])
def test_lost_commit(interrupt):
    with pytest.raises(Error) as lost, batch("port 2"):
        HI[2][40].write(1)
        controls.vp_fail_next_call(errno.ETIMEDOUT)
        interrupt()
    assert (lost.value.errno, lost.value.register) == (errno.ETIMEDOUT, "port 2")
    with batch("port 2"):
        HI[2][40].write(1)
        controls.vp_fail_next_call(errno.ETIMEDOUT)
        with pytest.raises(Error):
            morvaneusd.prog_sp_timer(1)


def test_errors():
    with pytest.raises(Error, match=r"^read HR.0:26 .*: block HR has no register 26: SYSERR_") as refused:
        reg("HR.0:26").read()
    error = pickle.loads(pickle.dumps(refused.value))
    assert (error.errno, error.code, error.name, error.operation, error.register) == (
        errno.EINVAL, 0x42230003, "SYSERR_KEL_ASIC_INVALID_ARG", "read", "HR.0:26")
    assert str(error) == str(refused.value)
    for failing, register in ((lambda: morvaneusd.write_raw(16, 1), "0x00000010"),
                              (lambda: morvaneusd.send_command(Command.LINK_PAUSE_ENABLE, hif(3)),
                               "KEL_ASIC_CMD_LINK_PAUSE_ENABLE"),
                              (lambda: morvaneusd.link_pause_enable(hif(99, module=1)), "hif:99 of module 1, ASIC 0"),
                              (lambda: TABLE.read(99, 1), "HF.0:HF_DHS_POL"),
                              (lambda: morvaneusd.run([]), None),
                              (morvaneusd.clear_all_drop_counters, None)):
        controls.vp_answer_next_call(1)
        with pytest.raises(OSError) as failed:
            failing()
        assert failed.value.register == register
        controls.vp_remove_fault(0)
    with pytest.raises(ValueError, match="another platform"):
        morvaneusd.init(platform="other.so")
    with pytest.raises(OSError, match="no switch at /too/too/.*: File name too long"):
        morvaneusd.init(switch="/too" * 99)
    for operation, text in (("HI[2][40].read()", "call init() first"), ("HI[2][40].write(1)", "that init() succeeded"),
                            ("init()", "no platform: other.so: cannot open")):
        run = subprocess.run([sys.executable, "-c", f"from morvaneusd import *; {operation}"], text=True,
                             env={**os.environ, "MORVANE_PLATFORM": "other.so"}, capture_output=True, check=False)
        assert text in run.stderr


def test_ports(calls):
    for number, (port, field, value) in enumerate([
            (hif(3), "flow_ctrl", 1), (hif(3), "tx_pfc_xoff_cnt[7]", 2**40), (nif(1), "tx_xoff_status", 1),
            (hif(3), "wr_rcvd_err_cnt", 3), (hif(3), "tout_cnt", 4), (nif(1), "h2n_drops[5][6]", 5)]):
        controls.vp_set_field(0, 0, port.type, port.number, field.encode(), ctypes.c_uint64(value))
        name, *indices = field.replace("]", "").split("[")
        found = next(getattr(record, name) for record in morvaneusd.get_qos_stats(port) if hasattr(record, name))
        for index in indices:
            found = found[int(index)]
        assert found == value
    morvaneusd.clear_qos_stats(hif(3))
    morvaneusd.clear_all_qos_stats()
    calls.clear()
    morvaneusd.link_pause_disable(hif(5))
    morvaneusd.send_command(Command.LINK_PAUSE_DISABLE, hif(5))
    morvaneusd.sfp_validation_failed(nif(2))
    morvaneusd.set_nodrop_class_map(0x0F)
    morvaneusd.prog_sp_timer(7)
    words = [tuple(int.from_bytes(record[i:i + 4], "little") for i in (8, 12, 16)) for _, record in calls]
    assert words == [(0x305, 0xFFFFFFF4, 0), (0x305, 0xFFFFFFF4, 0), (0x202, 0xFFFFFFF0, 0),
                     (0xF, 0xFFFFFFFC, 0), (0, 0, 7)]


def test_threads(calls):
    controls.vp_delay_calls(300, 1)
    thread = threading.Thread(target=HI[2][40].read)
    thread.start()
    turns = 0
    while thread.is_alive():
        turns += 1
    assert turns > 1000

    calls.clear()
    other = threading.Thread(target=HI[2][40].write, args=(1,))
    with batch("alone"):
        other.start()
        for _ in range(400):
            HI[2][41].write(2)
    other.join()
    assert [(case, record[36:38]) for case, record in calls if case == TRANSACTION] == [
        (TRANSACTION, bytes([400 & 0xFF, 400 >> 8]))]


def test_a_signal_while_a_batch_waits_for_its_turn():
    def interrupt(_number, _frame):
        raise KeyboardInterrupt
    signal.signal(signal.SIGALRM, interrupt)
    controls.vp_delay_calls(300, 1)
    thread = threading.Thread(target=HI[2][40].read)
    thread.start()
    signal.setitimer(signal.ITIMER_REAL, 0.1)
    with pytest.raises(KeyboardInterrupt), batch("interrupted"):
        while True:
            pass
    thread.join()
    other = threading.Thread(target=HI[2][41].write, args=(1,))  # waits forever if the batch is open
    other.start()
    other.join()


def test_end_of_python_while_another_thread_has_a_batch():
    script = """if True:
        import sys, threading
        from morvaneusd import *
        def hold():
            with batch("x"):
                entered.set()
                threading.Event().wait()
        class Last:
            def __del__(self, write=HI[2][40].write):
                write(1)
        entered = threading.Event()
        threading.Thread(target=hold, daemon=True).start()
        entered.wait()
        sys.modules["last"] = Last()"""
    run = subprocess.run([sys.executable, "-c", script], text=True, stderr=subprocess.PIPE, check=True)
    assert "Python shuts down while another thread has a batch" in run.stderr


def test_fork_while_a_thread_is_in_a_call():
    controls.vp_delay_calls(100, 1)
    thread = threading.Thread(target=HI[2][40].read)
    thread.start()
    child = os.fork()
    if child == 0:
        with batch("child"):
            HI[2][40].write(1)
        os._exit(HI[2][40].read())
    assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 1
    thread.join()


def test_prompt():
    run = subprocess.run([sys.executable, "-i", "-m", "morvaneusd", "--switch", "none"], text=True,
                         input="HI[2][40]\ncompletions('HI[2].DHS_')+completions('HI[2].DHS_LVIF.r')\n'PYTHONINSPECT' in os.environ\n", capture_output=True, check=True)
    assert run.stdout == (
        "<Register HI.2:40>\n['HI[2].DHS_LVIF', 'HI[2].DHS_LVIF_TCAM', "
        "'HI[2].DHS_LVIF.read', 'HI[2].DHS_LVIF.read_into']\nFalse\n")


def output_of(*command):
    return subprocess.run(command, text=True, capture_output=True, check=True).stdout


@pytest.mark.skipif("CLIENT" not in os.environ, reason="only on a shared switch")
def test_another_client():
    mrvctl = os.environ["CLIENT"]
    output_of(mrvctl, "write", "HI.2:40", "0x1234")
    assert HI[2][40].read() == 0x1234
    TABLE[3] = range(8)
    entry = output_of(mrvctl, "dhs-read", "HF.0:HF_DHS_POL[3]")
    assert entry.split()[-8:] == [f"{n:08x}" for n in range(8)]


def test_recording(tmp_path):
    script = tmp_path / "script.py"
    script.write_text("from morvaneusd import *\ninit()\nwith batch('port 2'):\n    HI[2][40].write(1)\n")
    mrvctl = os.environ["MRVCTL"]
    output_of(mrvctl, "record", tmp_path, "--", sys.executable, script)
    assert f" <module> {script}:4\n" in output_of(mrvctl, "last-write", "HI.2:40", *tmp_path.glob("*.mrec"))


def test_every_operation_is_described():
    described = set()
    for value in [*vars(morvaneusd).values(), *vars(morvaneusd.Register).values(), *vars(morvaneusd.Table).values(),
                  *vars(morvaneusd.Instance).values()]:
        described.update(re.findall(r"The function of the library: (\w+)", getattr(value, "__doc__", None) or ""))
    assert described == set(morvaneusd.reference.REFERENCE)


def test_page(capsys):
    page = Path(__file__).parents[2].joinpath("docs/python.md").read_text()
    exec(page.split("```python\n")[1].split("```")[0], {})
    assert capsys.readouterr().out == (
        "0x12f0\n" + str([[0, 1, 2, 3, 4, 5, 6, 7], *[[0] * 8] * 4]) + "\n0\n"
        "22 SYSERR_KEL_ASIC_INVALID_ARG HI.99:0\n")


def test_stable_abi():
    native = morvaneusd._native.__file__
    assert native.endswith(".abi3.so")
    undefined = output_of("nm", "--dynamic", "--undefined-only", native)
    headers = subprocess.run(["gcc", "-E", "-DPy_LIMITED_API=0x030B0000", f"-I{sysconfig.get_path('include')}", "-"],
                             input="#include <Python.h>", text=True, capture_output=True, check=True).stdout
    used = set(re.findall(r"\b_?Py\w+", undefined))
    declared = set(re.findall(r"\b_?Py\w+", headers))
    assert "PyFrame_GetCode" in used
    assert "PyFrame_GetBack" not in declared
    assert used <= declared
