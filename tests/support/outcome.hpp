// Outcomes of calls, values or errors, so that library and reference can be compared whole.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <new>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include "oracle/failure.hpp"
#include "support/compare_bits.hpp"
#include "velmora/native/invalid_argument_error.hpp"

namespace velmora::testing {

/// What a call returned, or how it failed.
template <typename Value>
struct Outcome {
  std::optional<Value> value;
  std::optional<oracle::Failure> failure;
};

template <typename Call>
auto OutcomeOf(const Call& call) {
  Outcome<std::decay_t<decltype(call())>> outcome;
  try {
    outcome.value.emplace(call());
  } catch (const oracle::Failure& failure) {
    outcome.failure = failure;
  } catch (const native::InvalidArgumentError& error) {
    outcome.failure = oracle::Failure{oracle::FailureKind::invalid_argument, error.what(), error.argument_name()};
  } catch (const std::bad_alloc&) {
    outcome.failure = oracle::Failure{oracle::FailureKind::bad_alloc, "", std::nullopt};
  }
  return outcome;
}

inline ::testing::AssertionResult SameValues(double expected, double actual) {
  if (SameBits(expected, actual)) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "expected " << expected << ", actual " << actual << " ("
                                       << UlpDistance(expected, actual) << " ulp)";
}

template <typename Expected, typename Actual>
::testing::AssertionResult SameValues(const Expected& expected, const Actual& actual) {
  return SameBits(expected, actual);
}

inline std::string Describe(const std::optional<oracle::Failure>& failure) {
  if (!failure) return "no failure";
  if (failure->kind == oracle::FailureKind::bad_alloc) return "std::bad_alloc";
  return "'" + failure->message + "'";
}

/// Both failed alike, or both returned the same bits.
template <typename Expected, typename Actual>
::testing::AssertionResult SameOutcome(const Outcome<Expected>& expected, const Outcome<Actual>& actual) {
  if (expected.failure != actual.failure) {
    return ::testing::AssertionFailure() << "expected " << Describe(expected.failure) << ", actual "
                                         << Describe(actual.failure);
  }
  if (!expected.value) return ::testing::AssertionSuccess();
  return SameValues(*expected.value, *actual.value);
}

}  // namespace velmora::testing
