// Fuzzer: any sequence of calls of all exported routines gives what the reference gives, bit by bit.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "byte_reader.hpp"
#include "calls/call.hpp"
#include "calls/call_library.hpp"
#include "calls/call_reference.hpp"

namespace velmora::fuzzing {
namespace {

using native::Matrix;
using native::Vector;
using testing::Box;
using testing::Call;
using testing::MakeTrajectory;

// Results of earlier calls serve as arguments of later ones.
using Pool = std::vector<Matrix>;

struct Sizes {
  Eigen::Index samples;
  Eigen::Index joints;
};

Sizes ReadSizes(ByteReader& bytes) {
  const auto samples = static_cast<Eigen::Index>(bytes.Below(70));
  const auto joints = static_cast<Eigen::Index>(bytes.Below(10));
  return {samples, joints};
}

Matrix ReadArray(ByteReader& bytes, const Pool& pool, const Sizes& sizes) {
  const std::size_t source = bytes.Byte();
  if (source >= 192 && !pool.empty()) return pool[source % pool.size()];
  const Eigen::Index odd_row = source == 1 ? 1 : 0;
  const Eigen::Index odd_col = source == 2 ? 1 : 0;
  return bytes.Array(sizes.samples + odd_row, sizes.joints + odd_col);
}

MakeTrajectory ReadTrajectory(ByteReader& bytes, const Pool& pool) {
  const Sizes sizes = ReadSizes(bytes);
  const std::uint8_t given = bytes.Byte();
  MakeTrajectory trajectory;
  trajectory.positions = ReadArray(bytes, pool, sizes);
  const Sizes actual{trajectory.positions.rows(), trajectory.positions.cols()};
  if ((given & 1U) != 0) trajectory.velocities = ReadArray(bytes, pool, actual);
  if ((given & 2U) != 0) trajectory.accelerations = ReadArray(bytes, pool, actual);
  if ((given & 4U) != 0) trajectory.jerks = ReadArray(bytes, pool, actual);
  if ((given & 8U) == 0) trajectory.time = bytes.Times(actual.samples + ((given & 0xe0U) == 0xe0U ? 1 : 0));
  if ((given & 16U) != 0) trajectory.dt = bytes.Value();
  return trajectory;
}

// Neither the reference nor a fuzzer's memory is made for grids that are merely large.
double AffordableSpacing(ByteReader& bytes, const MakeTrajectory& trajectory) {
  double spacing = bytes.Value();
  // As the library does it: with one step more the span of huge steps would overflow where that of the times does not.
  double span = trajectory.dt.value_or(0.0) * static_cast<double>(trajectory.positions.rows() - 1);
  if (trajectory.time && trajectory.time->size() > 0)
    span = (*trajectory.time)[trajectory.time->size() - 1] - (*trajectory.time)[0];
  const bool relative = bytes.OneIn(2);
  if (relative) spacing = span / (1.0 + std::abs(spacing) * 8.0);
  const double steps = span / spacing;
  return steps > 500.0 && steps < 0x1p46 ? span / 7.0 : spacing;
}

Box ReadBox(ByteReader& bytes) {
  const auto joints = static_cast<Eigen::Index>(bytes.Below(6));
  Box box;
  box.lower = bytes.Array(joints, 1);
  box.upper = bytes.OneIn(2) ? Vector(box.lower.array() + std::abs(bytes.Value()))
                             : Vector(bytes.Array(joints + (bytes.OneIn(8) ? 1 : 0), 1));
  return box;
}

Call ReadResampling(ByteReader& bytes, const Pool& pool) {
  testing::Resample call;
  call.trajectory = ReadTrajectory(bytes, pool);
  call.method = static_cast<int>(bytes.Below(3));
  call.grid_mode = static_cast<int>(bytes.Below(5));
  call.strict_cubic = bytes.OneIn(2);
  call.sample_time_s = AffordableSpacing(bytes, call.trajectory);
  return call;
}

Call ReadSampling(ByteReader& bytes, const Pool& pool) {
  testing::SampleTrajectory call;
  call.trajectory = ReadTrajectory(bytes, pool);
  call.include_derivatives = bytes.OneIn(2);
  call.query_time_s = bytes.Times(static_cast<Eigen::Index>(bytes.Below(20)));
  return call;
}

Call ReadTail(ByteReader& bytes, const Pool& pool) {
  const Sizes sizes = ReadSizes(bytes);
  testing::BlendTail call;
  call.shaped_tail.positions = ReadArray(bytes, pool, sizes);
  const Sizes actual{call.shaped_tail.positions.rows(), call.shaped_tail.positions.cols()};
  call.shaped_tail.velocities = ReadArray(bytes, pool, actual);
  call.shaped_tail.accelerations = ReadArray(bytes, pool, actual);
  call.shaped_tail.time = bytes.Array(actual.samples + (bytes.OneIn(8) ? 1 : 0), 1);
  call.raw_position = bytes.Array(actual.joints + (bytes.OneIn(8) ? 1 : 0), 1);
  call.weight = bytes.Value();
  return call;
}

Call ReadCall(ByteReader& bytes, const Pool& pool) {
  const std::size_t kind = bytes.Below(14);
  switch (kind) {
    case 0:
      return ReadTrajectory(bytes, pool);
    case 1: {
      const int level = static_cast<int>(bytes.Below(4));
      return testing::CopyTrajectory{ReadTrajectory(bytes, pool), level};
    }
    case 2:
      return ReadSampling(bytes, pool);
    case 3:
      return ReadResampling(bytes, pool);
    case 4:
    case 5: {
      testing::Difference call;
      call.signal = ReadArray(bytes, pool, ReadSizes(bytes));
      call.sample_spacing = bytes.Value();
      if (kind == 5) call.sample_spacing = bytes.Times(call.signal.rows() + (bytes.OneIn(8) ? 1 : 0));
      return call;
    }
    case 6:
    case 7: {
      testing::Blend call;
      call.raw = ReadArray(bytes, pool, ReadSizes(bytes));
      call.shaped = ReadArray(bytes, pool, {call.raw.rows(), call.raw.cols()});
      call.weight = bytes.Value();
      if (kind == 7) call.weight = Vector(bytes.Array(call.raw.rows() + (bytes.OneIn(8) ? 1 : 0), 1));
      return call;
    }
    case 8:
      return testing::PathCoordinate{ReadArray(bytes, pool, ReadSizes(bytes))};
    case 9:
      return ReadTail(bytes, pool);
    case 10:
      return ReadBox(bytes);
    case 11: {
      testing::Limits call;
      for (std::optional<Box>& box : call.boxes) {
        if (!bytes.OneIn(3)) box = ReadBox(bytes);
      }
      return call;
    }
    case 12: {
      const auto routine = static_cast<testing::ScalarRoutine>(bytes.Below(4));
      return testing::Scalar{routine, bytes.Value()};
    }
    default: {
      const bool grid_mode = bytes.OneIn(2);
      return testing::Parse{grid_mode, bytes.Text()};
    }
  }
}

void CompareOne(ByteReader& bytes, Pool& pool) {
  const Call call = ReadCall(bytes, pool);
  const testing::Result expected = testing::CallReference(call);
  const testing::Result actual = testing::CallLibrary(call);
  if (expected != actual) {
    std::fprintf(stderr, "routine %zu: %s\n", call.index(), DescribeDifference(expected, actual).c_str());
    std::abort();
  }
  for (const oracle::Table& table : expected.values) {
    if (pool.size() >= 16 || table.rows > 200) break;
    pool.push_back(Eigen::Map<const Matrix>(table.values.data(), static_cast<Eigen::Index>(table.rows),
                                            static_cast<Eigen::Index>(table.cols)));
  }
}

}  // namespace
}  // namespace velmora::fuzzing

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  velmora::fuzzing::ByteReader bytes(data, size);
  velmora::fuzzing::Pool pool;
  while (!bytes.empty()) velmora::fuzzing::CompareOne(bytes, pool);
  return 0;
}
