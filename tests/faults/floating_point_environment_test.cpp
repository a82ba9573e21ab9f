// What holds where the caller has changed how the processor rounds, and what the library does to that state.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cfenv>
#include <optional>
#include <string>
#include <vector>

#include "calls/call_library.hpp"
#include "calls/call_reference.hpp"
#include "calls/random_calls.hpp"
#include "golden/corpus.hpp"
#include "support/arrays.hpp"

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

namespace velmora::testing {
namespace {

const int kRoundingModes[] = {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO};

// The state that the program started with, restored whatever a test does.
class FloatingPointEnvironment : public ::testing::Test {
 protected:
  FloatingPointEnvironment() { std::fegetenv(&saved_); }
  ~FloatingPointEnvironment() override { std::fesetenv(&saved_); }

 private:
  std::fenv_t saved_{};
};

template <typename Visitor>
void ForEachCall(std::size_t calls_per_family, const Visitor& visit) {
  for (std::size_t family = 0; family < CallFamilies().size(); ++family) {
    for (std::size_t index = 0; index < calls_per_family; ++index) {
      visit(GoldenCall(family, index), std::string(CallFamilies()[family].name) + " " + std::to_string(index));
    }
  }
}

TEST_F(FloatingPointEnvironment, KeepsItsRoundingMode) {
  for (const int mode : kRoundingModes) {
    ForEachCall(40, [&](const Call& call, const std::string& name) {
      std::fesetround(mode);
      CallLibrary(call);
      EXPECT_EQ(std::fegetround(), mode) << name;
    });
  }
}

struct Results {
  Result expected;
  Result actual;
};

Results CallUnder(int rounding_mode, const Call& call) {
  std::fesetround(rounding_mode);
  Results results{CallReference(call), CallLibrary(call)};
  std::fesetround(FE_TONEAREST);
  return results;
}

// Rounded downwards, compilers convert the integer 0 to either zero.
void DropSignsOfZeros(Result& result) {
  for (oracle::Table& table : result.values) {
    for (double& value : table.values) value += 0.0;
  }
}

// Every operation is rounded as the caller has it, in the same order. Towards zero that gives the reference's bits.
TEST_F(FloatingPointEnvironment, RoundsEveryOperationTowardsZeroWhereTheCallerHasIt) {
  ForEachCall(kCasesPerFamily, [&](const Call& call, const std::string& name) {
    const Results results = CallUnder(FE_TOWARDZERO, call);
    EXPECT_TRUE(results.expected == results.actual)
        << name << ": " << DescribeDifference(results.expected, results.actual);
  });
}

// Upwards and downwards -(a / b) and -a / b differ, and compilers choose between them: the weights of the three-point
// derivative and the spline's system may then differ in the last digits. All else has the reference's bits, but for the
// signs of zeros.
TEST_F(FloatingPointEnvironment, RoundsUpwardsAndDownwardsWhereTheCallerHasIt) {
  for (const int mode : {FE_UPWARD, FE_DOWNWARD}) {
    ForEachCall(kCasesPerFamily, [&](const Call& call, const std::string& name) {
      if (name.find("resample_cubic") == 0) return;
      Results results = CallUnder(mode, call);
      if (std::holds_alternative<MakeTrajectory>(call) || std::holds_alternative<SampleTrajectory>(call) ||
          std::holds_alternative<Resample>(call)) {
        constexpr std::size_t kTimesAndPositions = 2;
        if (!results.expected.failure) results.expected.values.resize(kTimesAndPositions);
        if (!results.actual.failure) results.actual.values.resize(kTimesAndPositions);
      } else if (std::holds_alternative<CopyTrajectory>(call)) {
        return;
      }
      DropSignsOfZeros(results.expected);
      DropSignsOfZeros(results.actual);
      EXPECT_TRUE(results.expected == results.actual)
          << name << ", mode " << mode << ": " << DescribeDifference(results.expected, results.actual);
    });
  }
}

#if defined(__SSE2__)
TEST_F(FloatingPointEnvironment, FlushesSubnormalsWhereTheCallerHasThemFlushed) {
  constexpr unsigned kFlushToZeroAndDenormalsAreZero = 0x8040U;
  const unsigned saved = _mm_getcsr();
  ForEachCall(kCasesPerFamily, [&](const Call& call, const std::string& name) {
    _mm_setcsr(saved | kFlushToZeroAndDenormalsAreZero);
    const Result expected = CallReference(call);
    const Result actual = CallLibrary(call);
    const unsigned after = _mm_getcsr();
    _mm_setcsr(saved);
    EXPECT_EQ(after & kFlushToZeroAndDenormalsAreZero, kFlushToZeroAndDenormalsAreZero) << name;
    EXPECT_TRUE(expected == actual) << name << ": " << DescribeDifference(expected, actual);
  });
}
#endif

int FlagsRaisedBy(const Call& call) {
  std::feclearexcept(FE_ALL_EXCEPT);
  CallLibrary(call);
  return std::fetestexcept(FE_ALL_EXCEPT);
}

TEST_F(FloatingPointEnvironment, HasNoFlagButInexactRaisedByOrdinaryData) {
  for (std::uint64_t seed = 0; seed < 40; ++seed) {
    SplitMix64 random(seed);
    const std::size_t samples = 2 + random.Below(60);
    const std::size_t joints = random.Below(9);
    const native::Matrix a = RandomMatrix(random, samples, joints, ValueFamily::moderate);
    const native::Matrix b = RandomMatrix(random, samples, joints, ValueFamily::moderate);
    const native::Vector time = RandomTimes(random, samples, TimeFamily::jittered);
    const native::Vector joint = RandomVector(random, joints, ValueFamily::moderate);
    const MakeTrajectory trajectory{a, std::nullopt, std::nullopt, time, std::nullopt, std::nullopt};
    const double spacing = (time[time.size() - 1] - time[0]) / 7.3;
    std::vector<Call> calls = {trajectory,
                               CopyTrajectory{trajectory, 3},
                               SampleTrajectory{trajectory, time, true},
                               Difference{a, 0.1},
                               Difference{a, time},
                               Blend{a, b, 0.3},
                               Blend{a, b, RandomVector(random, samples, ValueFamily::moderate)},
                               PathCoordinate{a},
                               BlendTail{joint, {a, b, a, time}, 0.7},
                               Box{joint, joint},
                               Scalar{ScalarRoutine::shaping_weight, 0.5},
                               Scalar{ScalarRoutine::smootherstep, 0.4}};
    for (int method = 0; method < 2; ++method) {
      for (int mode = 0; mode < 4; ++mode) calls.emplace_back(Resample{trajectory, spacing, method, mode, true});
    }
    for (const Call& call : calls) {
      EXPECT_EQ(FlagsRaisedBy(call) & ~FE_INEXACT, 0) << "seed " << seed << ", routine " << call.index();
    }
  }
}

TEST_F(FloatingPointEnvironment, KeepsFlagsThatTheCallerHadRaised) {
  ForEachCall(10, [&](const Call& call, const std::string& name) {
    std::feclearexcept(FE_ALL_EXCEPT);
    std::feraiseexcept(FE_DIVBYZERO | FE_UNDERFLOW);
    CallLibrary(call);
    EXPECT_EQ(std::fetestexcept(FE_DIVBYZERO | FE_UNDERFLOW), FE_DIVBYZERO | FE_UNDERFLOW) << name;
  });
}

// The finiteness rules compare with NaN and subtract infinities; whether that raises "invalid" is left to the compiler.
TEST_F(FloatingPointEnvironment, HasNoFlagButInvalidAndInexactRaisedByRejectedArguments) {
  for (const double value : {kNan, kInfinity, -kInfinity}) {
    for (const Call& call :
         {Call(Scalar{ScalarRoutine::smootherstep, value}), Call(Box{Values({0.0}), Values({value})}),
          Call(Difference{Rows({{1.0}, {2.0}}), value}),
          Call(MakeTrajectory{Rows({{value}}), std::nullopt, std::nullopt, std::nullopt, 1.0, std::nullopt})}) {
      EXPECT_EQ(FlagsRaisedBy(call) & ~(FE_INVALID | FE_INEXACT), 0) << value << ", routine " << call.index();
    }
  }
}

}  // namespace
}  // namespace velmora::testing
