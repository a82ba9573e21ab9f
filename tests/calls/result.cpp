// What a call gave: arrays or a failure, comparable and condensable bit by bit.
// SPDX-License-Identifier: Apache-2.0
#include "calls/result.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sstream>

namespace velmora::testing {
namespace {

std::uint64_t BitsOf(double value) {
  constexpr std::uint64_t kQuietNan = 0x7ff8000000000000U;
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return std::isnan(value) ? kQuietNan : bits;
}

bool SameTables(const oracle::Table& a, const oracle::Table& b) {
  return a.rows == b.rows && a.cols == b.cols &&
         std::equal(a.values.begin(), a.values.end(), b.values.begin(),
                    [](double x, double y) { return BitsOf(x) == BitsOf(y); });
}

std::string Describe(const std::optional<oracle::Failure>& failure) {
  if (!failure) return "no failure";
  if (failure->kind == oracle::FailureKind::bad_alloc) return "std::bad_alloc";
  if (failure->kind == oracle::FailureKind::bad_variant_access) return "std::bad_variant_access";
  return "'" + failure->message + "'";
}

}  // namespace

bool operator==(const Result& a, const Result& b) {
  return a.failure == b.failure &&
         std::equal(a.values.begin(), a.values.end(), b.values.begin(), b.values.end(), SameTables);
}

std::string DescribeDifference(const Result& expected, const Result& actual) {
  std::ostringstream text;
  if (expected.failure != actual.failure) {
    text << "expected " << Describe(expected.failure) << ", actual " << Describe(actual.failure);
    return text.str();
  }
  const std::size_t count = std::min(expected.values.size(), actual.values.size());
  for (std::size_t v = 0; v < count; ++v) {
    const oracle::Table& e = expected.values[v];
    const oracle::Table& a = actual.values[v];
    if (SameTables(e, a)) continue;
    text << "value " << v << ": expected " << e.rows << " x " << e.cols << ", actual " << a.rows << " x " << a.cols;
    for (std::size_t k = 0; k < std::min(e.values.size(), a.values.size()); ++k) {
      if (BitsOf(e.values[k]) == BitsOf(a.values[k])) continue;
      text << ", first difference at element " << k << ": expected " << std::hexfloat << e.values[k] << ", actual "
           << a.values[k];
      break;
    }
    return text.str();
  }
  text << "expected " << expected.values.size() << " values, actual " << actual.values.size();
  return text.str();
}

void Digest::Add(std::uint64_t word) {
  constexpr std::uint64_t kPrime = 0x100000001b3U;
  for (unsigned shift = 0; shift < 64; shift += 8) {
    value_ ^= (word >> shift) & 0xffU;
    value_ *= kPrime;
  }
}

void Digest::Add(double value) { Add(BitsOf(zeros_ == Zeros::alike && value == 0.0 ? 0.0 : value)); }

void Digest::Add(const std::string& text) {
  Add(static_cast<std::uint64_t>(text.size()));
  for (const char c : text) Add(static_cast<std::uint64_t>(static_cast<unsigned char>(c)));
}

void Digest::Add(const Result& result) {
  Add(static_cast<std::uint64_t>(result.values.size()));
  for (const oracle::Table& table : result.values) {
    Add(static_cast<std::uint64_t>(table.rows));
    Add(static_cast<std::uint64_t>(table.cols));
    for (const double value : table.values) Add(value);
  }
  Add(static_cast<std::uint64_t>(result.failure.has_value()));
  if (!result.failure) return;
  Add(static_cast<std::uint64_t>(result.failure->kind));
  Add(result.failure->message);
  Add(static_cast<std::uint64_t>(result.failure->argument_name.has_value()));
  if (result.failure->argument_name) Add(*result.failure->argument_name);
}

}  // namespace velmora::testing
