"""Docstrings from the library's header."""
from collections.abc import Callable
from typing import Any, TypeVar

from ._reference import REFERENCE

Function = TypeVar("Function", bound=Callable[..., Any])


def reference(name: str) -> Callable[[Function], Function]:
    """Adds to the docstring of a function what the header says about the function of the library."""

    def add(function: Function) -> Function:
        own = f"{function.__doc__}\n\n" if function.__doc__ else ""
        function.__doc__ = f"{own}{REFERENCE[name]}\n\nThe function of the library: {name}"
        return function

    return add
