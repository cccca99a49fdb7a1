// How often this process takes memory from the heap, and how much of it it has given back.
#pragma once

// The number of blocks taken so far by malloc, calloc, realloc, aligned_alloc and the C++ operators, in every
// library of the process.
long allocationCount();

// The number of those that have not been given back: what a piece of code leaves behind is the difference between
// two readings.
long heldBlocks();
