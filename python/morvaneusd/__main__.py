"""A prompt with the blocks as names: python3 -i -m morvaneusd [--switch PATH]."""
import argparse
import os
import re
import rlcompleter
from typing import Any

import morvaneusd
from morvaneusd import *


class _Completer(rlcompleter.Completer):
    """Completes registers too: HI[2].DHS_."""

    def attr_matches(self, text: str) -> list[str]:
        match = re.fullmatch(r"((\w+)\[\d+\])\.(\w*)", text)
        block = vars(morvaneusd).get(match[2]) if match else None
        if match is None or not isinstance(block, Block):
            return super().attr_matches(text)
        return [f"{match[1]}.{name}" for name in dir(block[0])
                if name.startswith(match[3]) and (match[3] or not name.startswith("_"))]


def completions(text: str) -> list[str]:
    """The completions of what is before the cursor."""
    return _Completer(globals()).attr_matches(text)


def _start() -> None:
    parser = argparse.ArgumentParser(
        prog="python3 -i -m morvaneusd", description="A Python prompt with the registers of the switch.",
        epilog="example: python3 -i -m morvaneusd --switch /run/morvaned.sock")
    parser.add_argument("--switch", metavar="PATH", help="socket of a morvaned (default: MORVANE_SWITCH)")
    switch = parser.parse_args().switch
    if switch is not None:
        os.environ["MORVANE_SWITCH"] = switch
    os.environ["PYTHONINSPECT"] = "1"  # the prompt, also without -i
    init()
    try:
        import readline
    except ImportError:
        return
    completer: Any = _Completer(globals())
    readline.set_completer(completer.complete)
    readline.set_completer_delims(" \t\n`~!@#$%^&*()-=+{}\\|;:'\",<>/?")
    readline.parse_and_bind("tab: complete")


_start()
