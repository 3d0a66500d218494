// Runs the registered benchmarks, pair by pair, and prints a table of ratios.
#ifndef RATIO_REPORT_H
#define RATIO_REPORT_H

#include <cstdio>

// The table has a separate output: what is measured may write to standard output, which goes
// nowhere from then on.
FILE *take_standard_output();

// Benchmarks come in pairs, NAME/library and NAME/baseline, whose repetitions run interleaved; the
// ratio of a pair is the median of the ratios of its repetitions. A pair may be named
// NAME@BAR/library, where BAR is the ratio that the operation must keep, or with a plus sign the
// nanoseconds that it may take longer.
int run_ratio_benchmarks(FILE *out, int argc, char **argv);

#endif
