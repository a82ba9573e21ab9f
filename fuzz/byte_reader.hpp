// Reads arguments out of the bytes that a fuzzer offers.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "velmora/native/array_types.hpp"

namespace velmora::fuzzing {

/// After the last byte everything reads as zero.
class ByteReader {
 public:
  ByteReader(const std::uint8_t* bytes, std::size_t size) : next_(bytes), end_(bytes + size) {}

  bool empty() const { return next_ == end_; }
  std::uint8_t Byte() { return empty() ? std::uint8_t{0} : *next_++; }
  /// In 0 .. count - 1.
  std::size_t Below(std::size_t count) { return Byte() % count; }
  bool OneIn(std::size_t count) { return Below(count) == count - 1; }

  /// One byte chooses: a special value, a small integer, a fraction of one more byte, or all 64 bits.
  double Value();

  native::Matrix Array(Eigen::Index rows, Eigen::Index cols);
  /// Mostly strictly increasing, since anything else is rejected early.
  native::Vector Times(Eigen::Index size);
  std::string Text();

 private:
  const std::uint8_t* next_;
  const std::uint8_t* end_;
};

}  // namespace velmora::fuzzing
