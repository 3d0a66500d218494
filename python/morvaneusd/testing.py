"""A virtual switch for each test, with the programs of a control plane on it.

    from morvaneusd.testing import Switch

    with Switch() as switch:
        switch.fault("EIO", register="HI.2:40")
        switch.run(["my_program"], check=False)
        print(switch.last_write("HI.2:40")["file"])

The programs morvaned and mrvctl must be in the PATH, and the recorder next to mrvctl's library.
"""
from __future__ import annotations

import difflib
import json
import os
import shlex
import shutil
import subprocess
import tempfile
import warnings
from collections.abc import Iterator, Sequence
from contextlib import ExitStack
from pathlib import Path
from types import TracebackType
from typing import Any, Self, Union

from . import operations
from .naming import Located
from .ports import Port

__tracebackhide__ = True  # in the report of pytest
_PATIENCE = 10  # seconds for a process to end after SIGTERM
_REPORTED_CALLS = 10
_REPORTED_CHANGES = 40

Word = Union[str, "os.PathLike[str]"]


class SwitchError(RuntimeError):
    """A switch that did not start or end cleanly, or a command on it that failed."""


def _text(value: object) -> str:
    return value.name if isinstance(value, (Located, Port)) else str(value)


def _command(words: tuple[object, ...], options: dict[str, Any]) -> Iterator[str]:
    """The words of a command. A register or a port selects its module and ASIC."""
    for value in (*words, *options.values()):
        if isinstance(value, (Located, Port)):
            options = {"module": value.module, "asic": value.asic, **options}
    yield from map(_text, words)
    for name, value in options.items():
        option = "--" + name.strip("_").replace("_", "-")
        if value is True:
            yield option
        elif value is not None and value is not False:
            yield f"{option}={_text(value)}"


def _end(program: subprocess.Popen[Any]) -> None:
    with program:  # closes its pipes
        program.terminate()
        try:
            program.wait(_PATIENCE)
        except subprocess.TimeoutExpired:
            program.kill()


def _program(name: str) -> str:
    """The path of a program, since a given environment may have another PATH."""
    path = shutil.which(name)
    if path is None:
        raise SwitchError(f"the program {name} is not in the PATH")
    return path


class Switch:
    """A switch in a separate morvaned, which accepts programs when the constructor returns.

    The end of its scope ends the programs that still run, and the morvaned. It raises SwitchError if
    the morvaned did not end with exit status 0.

    The methods of a command take its options by name: fault("EIO", register="HI.2:40", forever=True)
    is mrvctl switch fault add EIO --register HI.2:40 --forever. An option that is a word of Python gets
    an underscore: class_=3. A refused command raises SwitchError.

    directory: temporary files, which the end of the scope removes
    address: the socket, for MORVANE_SWITCH
    """

    def __init__(self) -> None:
        self._temporary = tempfile.TemporaryDirectory(prefix="morvane-")
        self.directory = Path(self._temporary.name)
        self.address = str(self.directory / "switch")
        self._recordings = self.directory / "calls"
        self._recordings.mkdir()
        self._programs: list[subprocess.Popen[Any]] = []
        self._first_state: list[str] | None = None  # of an empty switch
        self._is_open = True
        self._process = os.getpid()
        with ExitStack() as undo:
            undo.callback(self._temporary.cleanup)
            self._service = undo.enter_context(subprocess.Popen(
                [_program("morvaned"), "--socket", self.address, "--stop-at-eof"], text=True,
                stdin=subprocess.PIPE, stderr=subprocess.PIPE))  # it ends if this process is killed
            undo.callback(self._service.kill)
            self._log = self._read_until_ready()
            undo.pop_all()

    def _read_until_ready(self) -> str:
        log = ""
        for line in self._service.stderr or ():
            log += line
            if line.endswith(" ready\n"):
                return log
        raise SwitchError(f"morvaned did not start:\n{log}")

    def init(self, slot: int = 0) -> None:
        """Connects this process to the switch and initialises the library, as morvaneusd.init()."""
        operations.init(slot, switch=self.address)

    def close(self) -> None:
        """Ends the switch, as the end of the scope does."""
        if not self._is_open or os.getpid() != self._process:  # a forked child has no part in it
            return
        self._is_open = False
        with ExitStack() as ends:  # the last one first, and each of them
            ends.callback(self._temporary.cleanup)
            ends.callback(self._end_service)
            ends.callback(operations.leave, self.address)
            for program in self._programs:
                ends.callback(_end, program)
        if self._service.returncode != 0:
            raise SwitchError(f"morvaned ended with status {self._service.returncode}:\n{self._log}")

    def _end_service(self) -> None:
        self._service.terminate()
        try:
            self._log += self._service.communicate(timeout=_PATIENCE)[1]
        except subprocess.TimeoutExpired:
            self._service.kill()
            self._log += self._service.communicate()[1]

    def __enter__(self) -> Self:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None,
                 traceback: TracebackType | None) -> None:
        self.close()

    # mrvctl finds the recorder of a program's word size, and becomes the program.
    def _recorded(self, program: Sequence[Word], options: dict[str, Any]) -> list[Word]:
        if isinstance(program, str):
            raise TypeError("a program is a list of words")
        given = options.get("env")
        options["env"] = {**(os.environ if given is None else given), "MORVANE_SWITCH": self.address}
        name = os.fspath(program[0])
        place = os.path.join(options.get("cwd") or "", name) if os.sep in name else name
        if shutil.which(place, path=options["env"].get("PATH")) is None:
            raise FileNotFoundError(f"no program {name}")
        return [_program("mrvctl"), "record", "--exec", self._recordings, "--", *program]

    def run(self, program: Sequence[Word], *, check: bool = True, text: bool = True,
            **options: Any) -> subprocess.CompletedProcess[Any]:
        """Runs a program on the switch and records its calls, with the options of subprocess.run.

        By default a program that fails raises CalledProcessError, and output is text.
        """
        done = subprocess.run(self._recorded(program, options), check=False, text=text, **options)
        if check:
            done.check_returncode()
        return done

    def popen(self, program: Sequence[Word], *, text: bool = True, **options: Any) -> subprocess.Popen[Any]:
        """Starts a program on the switch and records its calls, with the options of subprocess.Popen."""
        self._programs.append(subprocess.Popen(self._recorded(program, options), text=text, **options))
        return self._programs[-1]

    def mrvctl(self, *words: object, **options: Any) -> list[dict[str, Any]]:
        """Runs a command of mrvctl on the switch: mrvctl("qos", "show", "hif:3"). Returns its objects.

        docs/json.md describes them.
        """
        return self._mrvctl(self.address, *_command(words, options))

    def _mrvctl(self, address: str, *words: object) -> list[dict[str, Any]]:
        command = ["mrvctl", *map(str, words)]
        done = subprocess.run([_program("mrvctl"), "--json", *command[1:]], check=False, text=True,
                              env={**os.environ, "MORVANE_SWITCH": address}, capture_output=True)
        objects = [json.loads(line) for line in done.stdout.splitlines()]
        errors = [found["error"]["text"] for found in objects if "error" in found]
        if done.returncode != 0:
            raise SwitchError(f"{shlex.join(command)}: " + ("\n".join(errors) or done.stderr))
        return objects

    def fault(self, error: str | None = None, **options: Any) -> None:
        """Makes service calls fail, wait or answer wrongly: mrvctl switch fault add."""
        self.mrvctl("switch", "fault", "add", *([] if error is None else [error]), **options)

    def traffic(self, port: object, **options: Any) -> None:
        """Simulates traffic on a port: mrvctl switch traffic."""
        self.mrvctl("switch", "traffic", port, **options)

    def reset(self) -> None:
        """Empties the switch, as after its start."""
        self.mrvctl("switch", "reset")
        self._first_state = None

    def save(self, file: Word) -> None:
        """Saves the state to a file: mrvctl switch save."""
        self.mrvctl("switch", "save", file)

    def restore(self, file: Word) -> None:
        """Replaces the state by a saved one: mrvctl switch restore."""
        self.mrvctl("switch", "restore", file)
        self._first_state = self._state(self.address)

    def _state(self, address: str) -> list[str]:
        """The lines of a saved state, each with its module."""
        file = self.directory / "state"
        self._mrvctl(address, "switch", "save", file)
        module, lines = "", []
        for line in file.read_text().splitlines():
            if line.startswith("module "):
                module = "" if line == "module 0" else f"  ({line})"
            else:
                lines.append(line + module)
        return lines

    def changes(self) -> list[str]:
        """The changes of the state since the start, reset or restore of the switch.

        Each is + or -, and a line of a saved state.
        """
        first = self._state("none") if self._first_state is None else self._first_state
        lines = list(difflib.unified_diff(first, self._state(self.address), n=0))
        return [f"{line[0]} {line[1:]}" for line in lines[2:] if not line.startswith("@@")]

    def calls(self, **options: Any) -> list[dict[str, Any]]:
        """The recorded calls of run() and popen(): calls(failed=True, last=5). See mrvctl calls."""
        if not any(self._recordings.glob("*.mrec")):
            return []
        return self._from_recordings("calls", self._recordings, **options)

    def last_write(self, register: object, **options: Any) -> dict[str, Any]:
        """The last call of run() and popen() that wrote a register. See mrvctl last-write.

        Its "written" has the data and the caller: file, line and func, also inside a batch.
        """
        return self._from_recordings("last-write", register, self._recordings, **options)[0]

    def _from_recordings(self, *words: object, **options: Any) -> list[dict[str, Any]]:
        """The calls that a command shows. Warns of those that the recordings lost."""
        objects = self.mrvctl(*words, **options)
        for loss in (text for found in objects for text in found.get("losses", ())):
            warnings.warn(loss, stacklevel=3)
        return [found for found in objects if "losses" not in found]

    def report(self) -> list[tuple[str, str]]:
        """What a person wants to see after a failure: titles and texts."""
        if not self._is_open:
            return []
        sections = []
        for title, text in (("failed calls", self._failed_calls), ("changes of the state", self._changes)):
            try:
                sections.append((title, text()))
            except (SwitchError, OSError, ValueError) as error:
                sections.append((title, str(error)))
        return sections

    def _failed_calls(self) -> str:
        done = subprocess.run([_program("mrvctl"), "calls", "--failed", f"--last={_REPORTED_CALLS}", self._recordings],
                              check=False, text=True, capture_output=True)
        return done.stdout if done.stdout.count("\n") > 1 else ""  # only the titles of the columns

    def _changes(self) -> str:
        lines = self.changes()
        more = len(lines) - _REPORTED_CHANGES
        return "\n".join(lines[:_REPORTED_CHANGES] + ([f"and {more} more"] if more > 0 else []))
