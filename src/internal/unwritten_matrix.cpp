// Allocation of results.
// SPDX-License-Identifier: Apache-2.0
#include "internal/unwritten_matrix.hpp"

#ifdef __linux__
#include <sys/mman.h>
#endif

#include <cerrno>
#include <cstddef>
#include <memory>

namespace velmora::internal {
namespace {

#ifdef MADV_HUGEPAGE

// A smaller array holds one whole huge page at most, and the call costs time even where the memory is not new.
constexpr std::size_t kWorthwhileBytes = std::size_t{4} << 20U;
constexpr std::size_t kHugePageBytes = std::size_t{2} << 20U;

// Whole huge pages inside the array alone, so that nothing else of the process is affected.
void AskForHugePages(double* values, std::size_t bytes) {
  if (bytes < kWorthwhileBytes) return;
  void* begin = values;
  std::size_t inside = bytes;
  if (std::align(kHugePageBytes, kHugePageBytes, begin, inside) == nullptr) return;
  const int error_before = errno;
  madvise(begin, inside / kHugePageBytes * kHugePageBytes, MADV_HUGEPAGE);  // a kernel without them refuses: no matter
  errno = error_before;
}

#else

void AskForHugePages(double*, std::size_t) {}

#endif

}  // namespace

native::Matrix UnwrittenMatrix(Eigen::Index rows, Eigen::Index cols) {
  native::Matrix matrix(rows, cols);
  AskForHugePages(matrix.data(), static_cast<std::size_t>(matrix.size()) * sizeof(double));
  return matrix;
}

}  // namespace velmora::internal
