#pragma once

#include <cstddef>

namespace quorin::test {

/// Heap allocations of the calling thread since it began, C++'s and C's (also those of
/// libraries). For programs that link `quorin_test_allocations`.
std::size_t allocationsOfThisThread();

/// False under a sanitizer, which has an allocator of its own: then nothing is counted.
bool allocationsAreCounted();

/// Bytes of memory that this process holds: the resident ones; under a sanitizer, which keeps freed
/// blocks for a while, the allocated ones.
std::size_t memoryInUse();

}  // namespace quorin::test
