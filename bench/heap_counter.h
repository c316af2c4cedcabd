// Counts the bytes that operator new hands out in a benchmark program that links heap_counter.cpp,
// so that memory figures are measured, not estimated.
#pragma once

#include <cstddef>

size_t KestrelBenchAllocatedBytes();
