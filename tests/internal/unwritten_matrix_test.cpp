// Allocation of results.
// SPDX-License-Identifier: Apache-2.0
#include "internal/unwritten_matrix.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>

namespace velmora::internal {
namespace {

using native::Matrix;

// The flags that the kernel keeps for the page at `address`, "hg" among them where huge pages were asked for.
std::string FlagsOfPage(const void* address) {
  const auto wanted = reinterpret_cast<std::uintptr_t>(address);
  std::ifstream maps("/proc/self/smaps");
  bool inside = false;
  for (std::string line; std::getline(maps, line);) {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    char dash = 0;
    std::istringstream range(line);
    if (range >> std::hex >> begin >> dash >> end && dash == '-') inside = begin <= wanted && wanted < end;
    if (inside && line.rfind("VmFlags:", 0) == 0) return line + ' ';
  }
  return {};
}

bool AsksForHugePages(const void* address) { return FlagsOfPage(address).find(" hg ") != std::string::npos; }

TEST(UnwrittenMatrix, HasItsShape) {
  for (const Eigen::Index rows : {0, 1, 1000, 100'000}) {
    for (const Eigen::Index cols : {0, 1, 7}) {
      const Matrix matrix = UnwrittenMatrix(rows, cols);
      EXPECT_EQ(matrix.rows(), rows);
      EXPECT_EQ(matrix.cols(), cols);
    }
  }
}

TEST(UnwrittenMatrix, AsksForHugePagesInsideLargeArraysAlone) {
  std::string enabled;
  std::getline(std::ifstream("/sys/kernel/mm/transparent_hugepage/enabled") >> std::ws, enabled);
  if (enabled.empty()) GTEST_SKIP() << "the kernel has no huge pages";
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizer's allocator asks for them by itself";
#endif
  const Matrix large = UnwrittenMatrix(100'000, 32);
  EXPECT_TRUE(AsksForHugePages(large.data() + large.size() / 2));
  const Matrix small = UnwrittenMatrix(60'000, 7);
  EXPECT_FALSE(AsksForHugePages(small.data() + small.size() / 2));
  const auto begin = reinterpret_cast<std::uintptr_t>(large.data());
  if (begin % (2U << 20U) > 4096) {
    EXPECT_FALSE(AsksForHugePages(large.data())) << "before the first whole page";
  }
}

TEST(UnwrittenMatrix, KeepsErrno) {
  errno = EDOM;
  const Matrix large = UnwrittenMatrix(100'000, 32);
  EXPECT_EQ(errno, EDOM);
  errno = 0;
}

}  // namespace
}  // namespace velmora::internal
