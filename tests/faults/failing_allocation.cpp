// Lets an allocation of this program fail on demand, and counts what is allocated.
//
// Eigen allocates by malloc, the standard library by operator new. The linker redirects the program's own calls of
// malloc and its relatives to the functions below (--wrap), and operator new is replaced as the language allows.
// Nothing of this reaches the C library or a sanitizer's runtime, so it also works under AddressSanitizer.
// SPDX-License-Identifier: Apache-2.0
#include "faults/failing_allocation.hpp"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <utility>

namespace {

thread_local std::size_t countdown = 0;
thread_local long live = 0;
thread_local std::size_t largest = 0;

bool Fails(std::size_t size) {
  largest = std::max(largest, size);
  return countdown > 0 && --countdown == 0;
}

}  // namespace

extern "C" {
void* __real_malloc(std::size_t size);                     // NOLINT(bugprone-reserved-identifier): the linker's names
void* __real_calloc(std::size_t count, std::size_t size);  // NOLINT(bugprone-reserved-identifier): the linker's names
void* __real_realloc(void* pointer, std::size_t size);     // NOLINT(bugprone-reserved-identifier): the linker's names
void __real_free(void* pointer);                           // NOLINT(bugprone-reserved-identifier): the linker's names

void* __wrap_malloc(std::size_t size) {  // NOLINT(bugprone-reserved-identifier): the linker's names
  void* const pointer = Fails(size) ? nullptr : __real_malloc(size);
  if (pointer != nullptr) ++live;
  return pointer;
}

// g++ makes it of a malloc whose result is zeroed.
void* __wrap_calloc(std::size_t count, std::size_t size) {  // NOLINT(bugprone-reserved-identifier): the linker's names
  void* const pointer = Fails(count * size) ? nullptr : __real_calloc(count, size);
  if (pointer != nullptr) ++live;
  return pointer;
}

void* __wrap_realloc(void* pointer, std::size_t size) {  // NOLINT(bugprone-reserved-identifier): the linker's names
  void* const moved = Fails(size) ? nullptr : __real_realloc(pointer, size);
  if (moved != nullptr && pointer == nullptr) ++live;
  return moved;
}

void __wrap_free(void* pointer) {  // NOLINT(bugprone-reserved-identifier): the linker's names
  if (pointer != nullptr) --live;
  __real_free(pointer);
}
}

void* operator new(std::size_t size) {
  void* const pointer = __wrap_malloc(size == 0 ? 1 : size);
  if (pointer == nullptr) throw std::bad_alloc();
  return pointer;
}

void operator delete(void* pointer) noexcept { __wrap_free(pointer); }
void operator delete(void* pointer, std::size_t) noexcept { __wrap_free(pointer); }

namespace velmora::testing {

void FailAllocation(std::size_t k) { countdown = k; }

bool StopFailing() {
  const bool reached = countdown == 0;
  countdown = 0;
  return reached;
}

long LiveAllocations() { return live; }

std::size_t TakeLargestAllocation() { return std::exchange(largest, 0); }

}  // namespace velmora::testing
