// The arguments of a call, condensed.
// SPDX-License-Identifier: Apache-2.0
#include "calls/arguments.hpp"

#include "calls/result.hpp"

namespace velmora::testing {
namespace {

void Add(Digest& digest, double value) { digest.Add(value); }

void Add(Digest& digest, const native::Matrix& matrix) {
  digest.Add(static_cast<std::uint64_t>(matrix.rows()));
  digest.Add(static_cast<std::uint64_t>(matrix.cols()));
  for (Eigen::Index k = 0; k < matrix.size(); ++k) digest.Add(matrix.data()[k]);
}

void Add(Digest& digest, const native::Vector& vector) {
  digest.Add(static_cast<std::uint64_t>(vector.size()));
  for (const double value : vector) digest.Add(value);
}

void Add(Digest& digest, const Box& box) {
  Add(digest, box.lower);
  Add(digest, box.upper);
}

template <typename Value>
void Add(Digest& digest, const std::optional<Value>& value) {
  digest.Add(static_cast<std::uint64_t>(value.has_value()));
  if (value) Add(digest, *value);
}

template <typename... Alternatives>
void Add(Digest& digest, const std::variant<Alternatives...>& value) {
  std::visit([&](const auto& held) { Add(digest, held); }, value);
}

void Add(Digest& digest, const MakeTrajectory& call) {
  Add(digest, call.positions);
  Add(digest, call.velocities);
  Add(digest, call.accelerations);
  Add(digest, call.time);
  Add(digest, call.dt);
  Add(digest, call.jerks);
}

template <typename... Values>
void AddAll(Digest& digest, const Values&... values) {
  (Add(digest, values), ...);
}

void Add(Digest& digest, const CopyTrajectory& call) { Add(digest, call.trajectory); }

void Add(Digest& digest, const SampleTrajectory& call) { AddAll(digest, call.trajectory, call.query_time_s); }

void Add(Digest& digest, const Resample& call) { AddAll(digest, call.trajectory, call.sample_time_s); }

void Add(Digest& digest, const Difference& call) { AddAll(digest, call.signal, call.sample_spacing); }

void Add(Digest& digest, const Blend& call) { AddAll(digest, call.raw, call.shaped, call.weight); }

void Add(Digest& digest, const PathCoordinate& call) { Add(digest, call.positions); }

void Add(Digest& digest, const BlendTail& call) {
  const native::ShapedTrajectory& tail = call.shaped_tail;
  AddAll(digest, call.raw_position, tail.positions, tail.velocities, tail.accelerations, tail.time, call.weight);
}

void Add(Digest& digest, const Limits& call) {
  for (const std::optional<Box>& box : call.boxes) Add(digest, box);
}

void Add(Digest& digest, const Scalar& call) { Add(digest, call.value); }

void Add(Digest& digest, const Parse& call) { digest.Add(call.text); }

}  // namespace

std::uint64_t DigestOfArguments(const Call& call) {
  Digest digest;
  std::visit([&](const auto& arguments) { Add(digest, arguments); }, call);
  return digest.value();
}

}  // namespace velmora::testing
