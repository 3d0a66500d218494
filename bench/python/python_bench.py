#!/usr/bin/env python3
"""What an operation of the Python module costs: python_bench.py PYTHON_CALLS_LIBRARY.

A read is compared with the same call through ctypes; 1000 words of a table are compared with the C call,
whose limit grows by half a microsecond. Repetitions run interleaved; a ratio is their median.
"""
import ctypes
import statistics
import sys
import time
import timeit
from array import array

import morvaneusd

CALLS, REPETITIONS, WORDS = 5000, 21, 1000
library = ctypes.CDLL(morvaneusd._native.library_file())
calls = ctypes.CDLL(sys.argv[1])


def module_read():
    register = morvaneusd.HI[2][40]
    for _ in range(CALLS):
        register.read()


def ctypes_read():
    """The quickest that a script can do: the arguments are converted once, and the caller is a constant."""
    read = library.lib_mrv_asic_read
    read.argtypes = [ctypes.c_int, *[ctypes.c_uint32] * 4, ctypes.c_void_p, ctypes.c_uint32, ctypes.c_char_p,
                     ctypes.c_int, ctypes.c_char_p]
    value = ctypes.c_uint32()
    address, file, function = ctypes.byref(value), __file__.encode(), b"ctypes_read"
    for _ in range(CALLS):
        if read(0, 0, 3, 2, 40, address, 0, file, 1, function) != 0:
            raise OSError
        value.value


words = array("I", bytes(4 * WORDS))


def module_read_entries():
    table = morvaneusd.HI[2].DHS_LVIF
    for _ in range(CALLS):
        table.read_into(0, words)


def c_read_entries():
    calls.read_entries(ctypes.c_void_p(words.buffer_info()[0]), WORDS, CALLS)


def nanoseconds(operations):
    return timeit.timeit(operations, timer=time.process_time, number=1) * 1e9 / CALLS


def report(name, operations, baseline_operations, limit_of):
    """Prints a row; limit_of is the longest time for a baseline."""
    pairs = [(nanoseconds(operations), nanoseconds(baseline_operations)) for _ in range(REPETITIONS)]
    duration, baseline = (statistics.median(column) for column in zip(*pairs))
    ratio = statistics.median(one / other for one, other in pairs)
    limit = limit_of(baseline) / baseline
    print(f"{name:34} {duration:12.1f} {baseline:12.1f} {ratio:8.3f} {limit:8.2f}{'  ABOVE' if ratio > limit else ''}")


def main():
    morvaneusd.init()
    print(f"{'operation':34} {'ns':>12} {'baseline ns':>12} {'ratio':>8} {'at most':>8}")
    report("read, with ctypes", module_read, ctypes_read, lambda baseline: 0.3 * baseline)
    report(f"read of {WORDS} table words, in C", module_read_entries, c_read_entries,
           lambda baseline: 1.2 * baseline + 500)


main()
