#pragma once

#include <cstdint>

// Heap allocations made through operator new in this process (the library's
// included) since it started.
uint64_t AllocationCount();
