#ifndef TLG_BENCHMARKS_COMMON_ALLOCATIONCOUNTER_H
#define TLG_BENCHMARKS_COMMON_ALLOCATIONCOUNTER_H

/// How often memory was allocated in this process so far, in a program that is linked with AllocationCounter.cpp.
long Allocations();

#endif
