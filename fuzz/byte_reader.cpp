// Reads arguments out of the bytes that a fuzzer offers.
// SPDX-License-Identifier: Apache-2.0
#include "byte_reader.hpp"

#include <array>
#include <cmath>
#include <cstring>

#include "support/arrays.hpp"

namespace velmora::fuzzing {

double ByteReader::Value() {
  using testing::kInfinity;
  using testing::kLargest;
  using testing::kNan;
  using testing::kSmallest;
  constexpr double kNormal = std::numeric_limits<double>::min();
  const std::array<double, 16> special = {0.0,       -0.0,       1.0,       -1.0,       0.5,      kNan,
                                          kInfinity, -kInfinity, kSmallest, -kSmallest, kLargest, -kLargest,
                                          kNormal,   1e300,      -1e-300,   0.1};
  const std::uint8_t kind = Byte();
  if (kind < 32) return special.at(kind % special.size());
  if (kind < 96) return static_cast<double>(kind) - 64.0;
  if (kind < 224) return static_cast<double>(kind - 160) / 64.0 + static_cast<double>(Byte()) / 16384.0;
  std::uint64_t bits = 0;
  for (int k = 0; k < 8; ++k) bits = bits << 8U | Byte();
  double value = 0.0;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

native::Matrix ByteReader::Array(Eigen::Index rows, Eigen::Index cols) {
  native::Matrix array(rows, cols);
  // A few values read, repeated in turn, so that large arrays do not need as many bytes.
  const std::size_t count = 1 + Below(16);
  std::array<double, 16> values{};
  for (std::size_t k = 0; k < count; ++k) values.at(k) = Value();
  const double growth = OneIn(4) ? 1.0 : 0.0;
  for (Eigen::Index k = 0; k < array.size(); ++k) {
    array.data()[k] = values.at(static_cast<std::size_t>(k) % count) + growth * static_cast<double>(k % 7);
  }
  return array;
}

native::Vector ByteReader::Times(Eigen::Index size) {
  native::Vector times = Array(size, 1);
  if (OneIn(8)) return times;
  double time = Value();
  for (double& step : times) {
    const double magnitude = std::abs(step);
    const double given = step;
    step = time;
    time = std::isfinite(given) ? std::max(time + magnitude, std::nextafter(time, testing::kInfinity)) : time + 1.0;
  }
  return times;
}

std::string ByteReader::Text() {
  const std::array<const char*, 6> names = {"linear",
                                            "cubic",
                                            "exact_dt_append_endpoint",
                                            "exact_dt_trim",
                                            "exact_duration_adjust_dt",
                                            "exact_dt_extend_endpoint"};
  std::string text;
  if (const std::size_t name = Below(8); name < names.size()) text = names.at(name);
  for (std::size_t count = Below(4); count > 0; --count) {
    const char character = static_cast<char>(Byte());
    if (character != '\0') text += character;  // what() ends at a zero byte
  }
  return text;
}

}  // namespace velmora::fuzzing
