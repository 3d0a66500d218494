"""The pytest plug-in: the fixture switch, and what happened on the switch in the report of a failed test."""
from __future__ import annotations

import sys
from collections.abc import Generator
from typing import TYPE_CHECKING, Any

import pytest

if TYPE_CHECKING:
    from morvaneusd.testing import Switch


@pytest.fixture
def switch(request: pytest.FixtureRequest) -> Generator[Switch, None, None]:
    """A virtual switch for the test. This process, and the programs that the switch runs, are on it."""
    from morvaneusd.testing import Switch  # which tests without a switch do not load

    with Switch() as new:
        new.init()
        request.node.funcargs["switch"] = new  # for the report, if another fixture fails
        yield new


@pytest.hookimpl(hookwrapper=True)  # type: ignore[misc]
def pytest_runtest_makereport(item: pytest.Item, call: pytest.CallInfo[None]) -> Generator[None, Any, None]:
    """Adds the last failed calls and the changes of each switch that the test has from a fixture."""
    report = (yield).get_result()
    testing = sys.modules.get("morvaneusd.testing")
    if testing is None or not report.failed:
        return
    for name, value in getattr(item, "funcargs", {}).items():
        if isinstance(value, testing.Switch):
            report.sections += [(f"{name}: {title}", text) for title, text in value.report() if text]
