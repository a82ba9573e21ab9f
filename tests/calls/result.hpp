// What a call gave: arrays or a failure, comparable and condensable bit by bit.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "oracle/failure.hpp"
#include "oracle/table.hpp"

namespace velmora::testing {

/// Values stand in a fixed order per routine; there are none beside a failure.
struct Result {
  std::vector<oracle::Table> values;
  std::optional<oracle::Failure> failure;
};

/// Equal shapes, bits (all NaNs alike) and failures.
bool operator==(const Result& a, const Result& b);
inline bool operator!=(const Result& a, const Result& b) { return !(a == b); }

/// The failure, or where the values differ first, in one line.
std::string DescribeDifference(const Result& expected, const Result& actual);

/// FNV-1a over the bytes of 64-bit words, the least significant first (Fowler, Noll, Vo, "The FNV Non-Cryptographic
/// Hash Algorithm", IETF draft).
class Digest {
 public:
  enum class Zeros { signed_zeros, alike };

  Digest() = default;
  /// Zeros that are alike are for machines that get their sign wrong.
  explicit Digest(Zeros zeros) : zeros_(zeros) {}

  void Add(std::uint64_t word);
  /// All NaNs count as one.
  void Add(double value);
  void Add(const std::string& text);
  void Add(const Result& result);

  std::uint64_t value() const { return value_; }

 private:
  Zeros zeros_ = Zeros::signed_zeros;
  std::uint64_t value_ = 0xcbf29ce484222325U;
};

}  // namespace velmora::testing
