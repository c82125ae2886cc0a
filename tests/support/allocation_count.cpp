#include "support/allocation_count.h"

#include <cstdlib>
#include <fstream>

namespace {

constinit thread_local std::size_t allocations = 0;

}  // namespace

#ifdef QUORIN_SANITIZED
#include <sanitizer/allocator_interface.h>
#else

// The C library lets a program replace these; its own stay reachable under the second names.
// `operator new` of libstdc++ calls them too.
extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

void* malloc(std::size_t size) {
  ++allocations;
  return __libc_malloc(size);
}

void* calloc(std::size_t nmemb, std::size_t size) {
  ++allocations;
  return __libc_calloc(nmemb, size);
}

void* realloc(void* ptr, std::size_t size) {
  ++allocations;
  return __libc_realloc(ptr, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
  ++allocations;
  return __libc_memalign(alignment, size);
}
}

#endif

namespace quorin::test {

std::size_t allocationsOfThisThread() {
  return allocations;
}

bool allocationsAreCounted() {
#ifdef QUORIN_SANITIZED
  return false;
#else
  return true;
#endif
}

std::size_t memoryInUse() {
#ifdef QUORIN_SANITIZED
  return ::__sanitizer_get_current_allocated_bytes();
#else
  constexpr std::size_t kPageBytes = 4096;
  std::size_t total = 0;
  std::size_t resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident * kPageBytes;
#endif
}

}  // namespace quorin::test
