// What a caller sees whose flags loosen arithmetic: each line is an error's message, or the bits of a result. All of
// them are those of the plain library, so the program itself computes nothing.
// SPDX-License-Identifier: Apache-2.0
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>

#include "velmora/control/shaper/blending.hpp"
#include "velmora/control/shaper/parameters.hpp"
#include "velmora/native/invalid_argument_error.hpp"
#include "velmora/util/smootherstep.hpp"
#include "velmora/util/timing/differentiation.hpp"
#include "velmora/util/timing/limits.hpp"
#include "velmora/util/timing/resampling.hpp"

namespace {

using namespace velmora::util::timing;
namespace shaper = velmora::control::shaper;

// Out of bits, and through memory that the compiler cannot see through: it takes NaN for a number that never occurs.
double FromBits(std::uint64_t bits) {
  volatile std::uint64_t hidden = bits;
  const std::uint64_t read = hidden;
  double value;
  std::memcpy(&value, &read, sizeof value);
  return value;
}

const double kNan = FromBits(0x7ff8000000000000);
const double kInfinity = FromBits(0x7ff0000000000000);

template <typename Call>
void Say(const char* what, Call call) {
  try {
    call();
    std::printf("%s: accepted\n", what);
  } catch (const velmora::native::InvalidArgumentError& error) {
    std::printf("%s: %s\n", what, error.what());
  }
}

template <typename Array>
void Digest(const char* what, const Array& array) {
  std::uint64_t hash = 0xcbf29ce484222325;  // FNV-1a
  for (Eigen::Index k = 0; k < array.size(); ++k) {
    unsigned char bytes[sizeof(double)];
    std::memcpy(bytes, array.data() + k, sizeof bytes);
    for (const unsigned char byte : bytes) hash = (hash ^ byte) * 0x100000001b3;
  }
  std::printf("%s: %ld values, digest %016llx\n", what, static_cast<long>(array.size()),
              static_cast<unsigned long long>(hash));
}

// Whole numbers, which every kind of arithmetic holds exactly.
Matrix Positions(Eigen::Index samples, Eigen::Index joints) {
  Matrix positions(samples, joints);
  std::uint32_t state = 12345;
  for (Eigen::Index k = 0; k < positions.size(); ++k) {
    state = state * 1664525u + 1013904223u;
    positions.data()[k] = static_cast<double>(static_cast<int>(state >> 12) - (1 << 19));
  }
  return positions;
}

Vector UnevenTimes(Eigen::Index samples) {
  Vector time(samples);
  int now = 3;
  for (Eigen::Index i = 0; i < samples; ++i) time[i] = static_cast<double>(now += 1 + static_cast<int>(i * i % 7));
  return time;
}

void SayErrors() {
  Matrix positions = Positions(20, 7);
  const Vector time = UnevenTimes(20);
  for (const double value : {kNan, kInfinity}) {
    Matrix broken = positions;
    broken(19, 6) = value;
    Say("positions", [&] { TrajectoryAtTimes(broken, time); });
    Say("velocities", [&] { JointTrajectory(positions, broken, std::nullopt, time, std::nullopt, std::nullopt); });
    Vector broken_time = time;
    broken_time[19] = value;
    Say("time", [&] { TrajectoryAtTimes(positions, broken_time); });
    Say("dt", [&] { TrajectoryAtSpacing(positions, value); });
    Say("limits", [&] { JointStateBox(broken_time, time); });
    Say("spacing", [&] { SampleAlignedFirstDifference(positions, value); });
    Say("sample times", [&] { SampleAlignedFirstDifference(positions, broken_time); });
    const JointTrajectory recorded = TrajectoryAtTimes(positions, time);
    Say("query", [&] { SampleTrajectoryAtTimes(recorded, Vector::Constant(1, value), false); });
    Say("grid", [&] {
      ResampleTrajectory(recorded, value, ResamplingMethod::cubic, ResamplingTimeGridMode::exact_dt_trim, true);
    });
    Say("weight", [&] { shaper::ValidateVibrationShapingWeight(value); });
    Say("transition", [&] { shaper::ValidateVibrationWeightTransitionS(value); });
    Say("rate", [&] { shaper::ValidateVibrationWeightRatePerS(value); });
    Say("progress", [&] { velmora::util::Smootherstep(value); });
  }
}

void SayResults() {
  const Matrix positions = Positions(300, 7);
  const JointTrajectory recorded = TrajectoryAtTimes(positions, UnevenTimes(300));
  Digest("velocities", recorded.velocities());
  Digest("jerks", recorded.jerks());
  Digest("difference", SampleAlignedFirstDifference(positions, recorded.time));
  for (const ResamplingMethod method : {ResamplingMethod::linear, ResamplingMethod::cubic}) {
    const JointTrajectory regular =
        ResampleTrajectory(recorded, 0.75, method, ResamplingTimeGridMode::exact_duration_adjust_dt, true);
    Digest("grid", regular.time);
    Digest("resampled positions", regular.positions);
    Digest("resampled accelerations", regular.accelerations());
  }
  Digest("short cubic",
         ResampleTrajectory(TrajectoryAtTimes(Positions(6, 3), UnevenTimes(6)), 0.5, ResamplingMethod::cubic,
                            ResamplingTimeGridMode::exact_dt_append_endpoint, true)
             .accelerations());
  Digest("blend", shaper::BlendArrays(positions, recorded.velocities(), 0.375));
  Digest("path", shaper::JointPathCoordinate(positions));
  Digest("ramp", Vector(Vector::Constant(1, velmora::util::Smootherstep(0.3125))));
}

}  // namespace

int main() {
  SayErrors();
  SayResults();
}
