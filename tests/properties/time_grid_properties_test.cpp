// What holds for every time grid: where it ends, and that it increases.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "support/arrays.hpp"
#include "support/generator.hpp"
#include "util/timing/time_grid.hpp"

namespace velmora::util::timing {
namespace {

using testing::SplitMix64;

constexpr std::uint64_t kCases = 20000;

struct Span {
  double start_s;
  double end_s;
  double spacing_s;
};

// Starts up to 2^32 s (an epoch's stamps), steps down to 2^-20 s, up to a few hundred steps, often nearly whole.
Span AnySpan(SplitMix64& random) {
  const double spacing_s = std::ldexp(0.5 + 0.5 * random.Unit(), -static_cast<int>(random.Below(21)));
  const double scale = std::ldexp(1.0, static_cast<int>(random.Below(33)));
  const double start_s = random.OneIn(3) ? 0.0 : scale * random.Symmetric();
  double steps = 300.0 * random.Unit();
  if (random.OneIn(2)) steps = std::floor(steps) + 1.0;
  double end_s = start_s + steps * spacing_s;
  for (std::size_t k = random.Below(4); k > 0; --k) end_s = std::nextafter(end_s, random.OneIn(2) ? -1e300 : 1e300);
  return {start_s, end_s, spacing_s};
}

// The distance from one time of the span to the next double, at its largest.
double Resolution(const Span& span) {
  const double largest = std::max(std::abs(span.start_s), std::abs(span.end_s) + span.spacing_s);
  return std::nextafter(largest, 1e300) - largest;
}

// What the roundings of the span, of its quotients and products, and of a grid entry amount to at the end of a grid.
double EndRounding(const Span& span) {
  return Resolution(span) + 2.0 * testing::kEpsilon * (span.end_s - span.start_s);
}

bool Increases(const Vector& grid) {
  return std::adjacent_find(grid.begin(), grid.end(), [](double a, double b) { return b <= a; }) == grid.end();
}

template <typename Check>
void ForEachSpan(const Check& check) {
  for (std::uint64_t seed = 0; seed < kCases; ++seed) {
    SplitMix64 random(seed);
    const Span span = AnySpan(random);
    if (span.end_s > span.start_s) check(span, "seed " + std::to_string(seed));
  }
}

TEST(AppendGrid, EndsAtTheEndExactly) {
  ForEachSpan([](const Span& span, const std::string& seed) {
    const Vector grid = BuildResamplingTimeGrid(span.start_s, span.end_s, span.spacing_s,
                                                ResamplingTimeGridMode::exact_dt_append_endpoint);
    EXPECT_EQ(grid[grid.size() - 1], span.end_s) << seed;
  });
}

// The ratio D / dt is rounded, so the last step may fall short of the end by that rounding and by its own.
TEST(ExtendGrid, ReachesTheEndToARounding) {
  ForEachSpan([](const Span& span, const std::string& seed) {
    const Vector grid = BuildResamplingTimeGrid(span.start_s, span.end_s, span.spacing_s,
                                                ResamplingTimeGridMode::exact_dt_extend_endpoint);
    const double last = grid[grid.size() - 1];
    EXPECT_GE(last, span.end_s - EndRounding(span)) << seed;
    EXPECT_LE(last, span.end_s + span.spacing_s + EndRounding(span)) << seed;
  });
}

TEST(TrimGrid, StaysWithinTheSpanToARounding) {
  ForEachSpan([](const Span& span, const std::string& seed) {
    const Vector grid =
        BuildResamplingTimeGrid(span.start_s, span.end_s, span.spacing_s, ResamplingTimeGridMode::exact_dt_trim);
    EXPECT_LE(grid[grid.size() - 1], span.end_s + EndRounding(span)) << seed;
    EXPECT_GE(grid[grid.size() - 1], span.end_s - span.spacing_s - EndRounding(span)) << seed;
  });
}

TEST(AdjustGrid, CoversTheSpanToARounding) {
  ForEachSpan([](const Span& span, const std::string& seed) {
    const Vector grid = BuildResamplingTimeGrid(span.start_s, span.end_s, span.spacing_s,
                                                ResamplingTimeGridMode::exact_duration_adjust_dt);
    EXPECT_EQ(grid[0], span.start_s) << seed;
    EXPECT_NEAR(grid[grid.size() - 1], span.end_s, EndRounding(span)) << seed;
  });
}

// Steps from an index increase as soon as the spacing is two doubles wide or more. The exceptions: a spacing below the
// resolution of the times repeats entries, and in the append mode a base grid whose last entry is within the snapping
// tolerance, |end| * 1e-5 + 1e-8 s, of the end is moved onto it, which may be behind the entry before: only where the
// spacing is no more than that tolerance.
TEST(EveryGrid, IncreasesWhereTheSpacingIsAboveTheResolution) {
  ForEachSpan([](const Span& span, const std::string& seed) {
    if (span.spacing_s < 2.0 * Resolution(span)) return;
    for (int mode = 0; mode < 4; ++mode) {
      const Vector grid =
          BuildResamplingTimeGrid(span.start_s, span.end_s, span.spacing_s, static_cast<ResamplingTimeGridMode>(mode));
      EXPECT_TRUE(Increases(grid)) << seed << ", mode " << mode;
    }
  });
}

TEST(EveryGrid, RepeatsEntriesWhereTheSpacingIsBelowTheResolution) {
  const double start_s = 0x1p52;
  for (const auto mode :
       {ResamplingTimeGridMode::exact_dt_trim, ResamplingTimeGridMode::exact_dt_extend_endpoint,
        ResamplingTimeGridMode::exact_dt_append_endpoint, ResamplingTimeGridMode::exact_duration_adjust_dt}) {
    EXPECT_FALSE(Increases(BuildResamplingTimeGrid(start_s, start_s + 4.0, 0.25, mode)));
  }
}

}  // namespace
}  // namespace velmora::util::timing
