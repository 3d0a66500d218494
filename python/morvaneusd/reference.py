"""Docstrings from the library's header."""
from collections.abc import Callable
from typing import Any, TypeVar

from ._reference import REFERENCE

Function = TypeVar("Function", bound=Callable[..., Any])


def reference(name: str) -> Callable[[Function], Function]:
    """Adds the description of a function of the library to the docstring of a function."""

    def add(function: Function) -> Function:
        own = f"{function.__doc__}\n\n" if function.__doc__ else ""
        function.__doc__ = f"{own}{REFERENCE[name]}\n\nThe function of the library: {name}"
        return function

    return add
