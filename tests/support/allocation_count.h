// How often this process takes memory from the heap.
#pragma once

// The number of blocks taken so far by malloc, calloc, realloc, aligned_alloc and the C++ operators, in every
// library of the process.
long allocationCount();
