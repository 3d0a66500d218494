"""The exception of the package."""
from __future__ import annotations

from typing import Any

from . import _native
from .naming import asic_text, register_text
from .ports import port_text


class Error(OSError):
    """An operation that the library or the driver service refused.

    errno: the error number of the service call; EINVAL for a refused argument; 0 if there is none
    code: the result of the library
    name: the name of the code
    operation: the operation
    register: the register, address, port or batch, as text; None if there is none
    """

    def __init__(self, code: int, operation: str, register: str | None = None, text: str | None = None):
        name, number, message = _native.explain(code)
        text = text or f"{operation} {register}: {message}"
        super().__init__(number, text.replace("lib_mrv_asic_init", "init()"))
        self.code = code
        self.name = name
        self.operation = operation
        self.register = register

    def __str__(self) -> str:
        return str(self.strerror)

    def __reduce__(self) -> tuple[Any, ...]:
        return type(self), (self.code, self.operation, self.register, self.strerror)


def error_about(code: int, operation: str, subject: Any, text: str) -> Error:
    """The error of an operation of the native part, about its first argument."""
    if operation == "init":
        subject = f"slot {subject}"
    elif operation == "run":  # the text names the step
        subject = None
    elif isinstance(subject, int):
        subject = _native.address_text(subject)
    elif isinstance(subject, tuple):
        texts: dict[int, Any] = {2: asic_text, 4: port_text, 5: register_text}
        subject = texts[len(subject)](subject)
    return Error(code, operation, subject, text)
