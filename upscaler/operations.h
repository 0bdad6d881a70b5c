// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_OPERATIONS_H
#define UPSCALER_OPERATIONS_H

// The operations, by the names of their member functions. upscaler.cpp defines the functions from
// this list. Tests, benchmarks and fuzzers iterate over it, so none of them can miss one.
#define UPSCALER_OPERATIONS(X) \
    X(fsrResize)               \
    X(neaResize)               \
    X(casSharpen)              \
    X(casResize)               \
    X(casvUpscale)             \
    X(casTUpscale)

#endif  // UPSCALER_OPERATIONS_H
