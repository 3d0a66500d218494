"""A prompt with the blocks as names: python3 -i -m morvaneusd [--switch PATH]."""
import argparse
import os
import re
import rlcompleter
import sys
from typing import Any

from morvaneusd import *


class _Completer(rlcompleter.Completer):
    """Completes registers too: HI[2].DHS_."""

    def attr_matches(self, text: str) -> list[str]:
        match = re.fullmatch(r"(\w+\[\d+\](?:\.\w+)*)\.(\w*)", text)
        if match is None:
            return super().attr_matches(text)
        try:
            value = eval(match[1], globals())
        except Exception:  # of any kind, as in the base class
            return []
        return [f"{match[1]}.{name}" for name in dir(value)
                if name.startswith(match[2]) and not name.startswith("_")]


def completions(text: str) -> list[str]:
    """The completions of what is before the cursor."""
    return _Completer(globals()).attr_matches(text)


def _start() -> None:
    parser = argparse.ArgumentParser(
        prog="python3 -i -m morvaneusd", description="A Python prompt with the registers of the switch.",
        epilog="example: python3 -i -m morvaneusd --switch /run/morvaned.sock")
    parser.add_argument("--switch", metavar="PATH", help="socket of a morvaned (default: MORVANE_SWITCH)")
    try:
        init(switch=parser.parse_args().switch)
    except OSError as error:
        print(f"{error.strerror or error}; correct this and call init()", file=sys.stderr)
    if not sys.flags.inspect:  # which child processes would inherit
        os.environ["PYTHONINSPECT"] = "1"
    os.environ["PYTHON_BASIC_REPL"] = "1"  # the prompt of Python 3.13 ignores the completer
    try:
        import readline
    except ImportError:
        return
    completer: Any = _Completer(globals())
    readline.set_completer(completer.complete)
    readline.set_completer_delims(" \t\n`~!@#$%^&*()-=+{}\\|;:'\",<>/?")
    readline.parse_and_bind("tab: complete")


if __name__ == "__main__":
    _start()
