#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>

// Heap allocations made through operator new in this process (the library's
// included) since it started.
uint64_t AllocationCount();

// Reports the allocations made since before, per iteration, as "allocs/call".
void ReportAllocations(benchmark::State& state, uint64_t before);
