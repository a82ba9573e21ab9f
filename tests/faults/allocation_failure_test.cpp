// Every allocation of every routine fails once: std::bad_alloc comes out, arguments stay as they are, nothing leaks.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <new>
#include <optional>
#include <string>

#include "calls/arguments.hpp"
#include "calls/call_library.hpp"
#include "calls/random_calls.hpp"
#include "faults/failing_allocation.hpp"
#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::testing {
namespace {

using util::timing::JointTrajectory;

constexpr std::size_t kCallsPerFamily = 30;
constexpr std::size_t kMostAllocations = 10'000;

// What a failed cubic resampling may give instead of an error.
std::optional<Result> LinearFallback(const Call& call) {
  const Resample* resample = std::get_if<Resample>(&call);
  if (resample == nullptr || resample->method == 0 || resample->strict_cubic) return std::nullopt;
  Call linear = call;
  std::get<Resample>(linear).method = 0;
  return CallLibrary(linear);
}

// With the same outcome where it is the copy of an error's text that cannot be allocated.
Result CallLibraryOutOfMemory(const Call& call) {
  try {
    return CallLibrary(call);
  } catch (const std::bad_alloc&) {
    return {{}, oracle::Failure{oracle::FailureKind::bad_alloc, "", std::nullopt}};
  }
}

// Whether every outcome is right; `fell_back` tells whether a linear result was one of them.
void FailEveryAllocation(const Call& call, const std::string& name, bool& fell_back) {
  const Result expected = CallLibrary(call);
  const std::optional<Result> fallback = LinearFallback(call);
  const std::uint64_t arguments = DigestOfArguments(call);
  for (std::size_t k = 1; k < kMostAllocations; ++k) {
    const long live_before = LiveAllocations();
    bool reached = false;
    {
      FailAllocation(k);
      const Result result = CallLibraryOutOfMemory(call);
      reached = StopFailing();
      const bool out_of_memory = result.failure && result.failure->kind == oracle::FailureKind::bad_alloc;
      if (!reached) {
        EXPECT_TRUE(result == expected) << name << ": " << DescribeDifference(expected, result);
      } else if (fallback && !out_of_memory) {
        EXPECT_TRUE(result == *fallback) << name << ", allocation " << k << ": "
                                         << DescribeDifference(*fallback, result);
        fell_back = true;
      } else {
        EXPECT_TRUE(out_of_memory) << name << ", allocation " << k << ": " << DescribeDifference(expected, result);
      }
    }
    EXPECT_EQ(LiveAllocations(), live_before) << name << ", allocation " << k;
    EXPECT_EQ(DigestOfArguments(call), arguments) << name << ", allocation " << k;
    if (!reached) return;
  }
  ADD_FAILURE() << name << ": more than " << kMostAllocations << " allocations";
}

TEST(AllocationFailure, IsReportedByEveryRoutineWithoutATrace) {
  std::size_t fallbacks = 0;
  for (std::size_t family = 0; family < CallFamilies().size(); ++family) {
    for (std::size_t index = 0; index < kCallsPerFamily; ++index) {
      SplitMix64 random(50'000 * (family + 1) + index);
      const std::string name = std::string(CallFamilies()[family].name) + " " + std::to_string(index);
      bool fell_back = false;
      FailEveryAllocation(CallFamilies()[family].make(random), name, fell_back);
      if (fell_back) ++fallbacks;
      if (HasFailure()) return;
    }
  }
  EXPECT_GE(fallbacks, 20U);  // the linear path is seen to step in
}

TEST(AllocationFailure, InAnAccessorLeavesTheTrajectoryUsable) {
  SplitMix64 random(77);
  const native::Matrix positions = RandomMatrix(random, 20, 3, ValueFamily::moderate);
  const auto make = [&] {
    return JointTrajectory(positions, std::nullopt, std::nullopt, std::nullopt, 0.1, std::nullopt);
  };
  const native::Matrix jerks = make().jerks();
  for (std::size_t level = 1; level <= 3; ++level) {  // each of the three caches cannot be allocated
    const JointTrajectory trajectory = make();
    FailAllocation(level);
    EXPECT_THROW(static_cast<void>(trajectory.jerks()), std::bad_alloc);
    StopFailing();
    EXPECT_TRUE(SameBits(jerks, trajectory.jerks()));
  }
}

}  // namespace
}  // namespace velmora::testing
