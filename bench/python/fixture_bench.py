#!/usr/bin/env python3
"""What the fixture switch adds to a test. Tests with and without it run alternately; each time is a median."""
import statistics
import time

import pytest

TESTS, LIMIT = 41, 25  # ms
durations = {"test_with_switch": [], "test_without": []}
numbered = pytest.mark.parametrize("number", range(TESTS))


@numbered
def test_with_switch(switch, number):
    pass


@numbered
def test_without(number):
    pass


class Timer:
    def pytest_collection_modifyitems(self, items):
        items.sort(key=lambda item: item.callspec.params["number"])

    def pytest_runtest_logstart(self):
        self.start = time.perf_counter()

    def pytest_runtest_logreport(self, report):
        assert report.passed, report.longreprtext

    def pytest_runtest_logfinish(self, location):
        durations[location[2].partition("[")[0]].append((time.perf_counter() - self.start) * 1000)


def main():
    if pytest.main([__file__, "-p", "no:terminal", "-p", "no:cacheprovider"], plugins=[Timer()]) != 0:
        raise SystemExit("the tests failed")
    with_switch, without = (statistics.median(durations[name]) for name in ("test_with_switch", "test_without"))
    added = with_switch - without
    print(f"test with the fixture switch {with_switch:.2f} ms, without {without:.2f} ms: {added:.2f} ms more "
          f"(at most {LIMIT}){'  ABOVE' if added > LIMIT else ''}")


if __name__ == "__main__":
    main()
